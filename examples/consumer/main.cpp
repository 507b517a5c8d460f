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

  quarnet::RequestBundle call;
  call.setUrl(argv[1]);
  call.setParameters(quarnet::Parameters{{"keyword", "서울"}});
  std::optional<quarnet::Error> error;
  const auto answer = quarnet::APIRequest().requestError(call, &error);
  if (answer) std::cout << answer->resultMessage().value_or("") << '\n';
  if (error) std::cerr << error->description.value_or(error->domain) << '\n';
  return error ? 1 : 0;
}
