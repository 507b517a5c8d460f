// The smallest program on the installed library: one API call as the user whose tokens are stored.
// `consumer URL` reads QUARNET_API_HOST, QUARNET_CA_FILE, QUARNET_CLIENT_ID and QUARNET_STORE.

#include <cstdlib>
#include <iostream>
#include <quarnet/quarnet.h>

namespace {

std::string setting(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: consumer URL\n";
    return 2;
  }
  namespace platform = quarnet::platform;
  quarnet::configureHosts({.api = setting("QUARNET_API_HOST"), .mobile = {}, .portal = {}});
  platform::Platform services;
  services.httpClient = std::make_shared<platform::CurlHttpClient>(
      platform::CurlHttpClientOptions{.caFile = setting("QUARNET_CA_FILE")});
  services.userDefaults = std::make_shared<platform::SqliteUserDefaults>(setting("QUARNET_STORE"));
  services.log = std::make_shared<platform::NullLog>();
  platform::Platform::install(std::move(services));

  auto& session = quarnet::OAuthInfoManager::sharedInstance();
  session.setClientId(setting("QUARNET_CLIENT_ID"));
  session.restoreOAuthInfo();

  quarnet::Client client;
  const auto answer = client.send({.url = argv[1], .parameters = {{"keyword", "서울"}}}).wait();
  if (answer) std::cout << answer->body << '\n';
  if (!answer) std::cerr << answer.error() << '\n';
  return answer ? 0 : 1;
}
