#include "bench/support/Setting.h"

#include "bench/support/Failure.h"

#include "quarnet/quarnet.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace quarnet::bench {
namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  check(value != nullptr, std::string("scripts/bench has set ") + name);
  return value;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

const Setting& Setting::current() {
  static const Setting* const instance =
      new Setting{.sandbox = variable("QUARNET_BENCH_SANDBOX"),
                  .nginx = variable("QUARNET_BENCH_NGINX"),
                  .caFile = variable("QUARNET_BENCH_CA"),
                  .tokenAnswer = contentOf(variable("QUARNET_BENCH_TOKEN")),
                  .folder = variable("QUARNET_BENCH_FOLDER")};
  return *instance;
}

void setUpLibrary(const std::string& host) {
  const Setting& setting = Setting::current();
  configureHosts({.api = host, .mobile = host, .portal = host});
  platform::Platform::install({.httpClient = std::make_shared<platform::CurlHttpClient>(
                                   platform::CurlHttpClientOptions{.caFile = setting.caFile}),
                               .userDefaults = std::make_shared<platform::SqliteUserDefaults>(
                                   setting.folder + "/ours.sqlite"),
                               .log = std::make_shared<platform::NullLog>()});
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  manager.setClientId("demo-client");
  manager.setClientSecret("demo-secret");
  manager.setOAuthInfoWithJSON(setting.tokenAnswer);
}

std::string memberOf(std::string_view json, std::string_view name) {
  const std::string start = "\"" + std::string(name) + "\":\"";
  const std::size_t at = json.find(start);
  check(at != std::string_view::npos, "the answer holds " + std::string(name));
  const std::string_view rest = json.substr(at + start.size());
  return std::string(rest.substr(0, rest.find('"')));
}

} // namespace quarnet::bench
