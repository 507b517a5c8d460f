#include "tools/Settings.h"

#include "tools/SecretFile.h"
#include "tools/Terminal.h"

#include <CLI/Validators.hpp>
#include <functional>
#if QUARNET_HAS_KEYRING
#include "quarnet/platform/secretservice/SecretServiceDefaults.h"
#endif

namespace quarnet::tools {
namespace {

std::string checkHost(const std::string& host) {
  if (!host.empty() && host.find_first_of("/@?# ") == std::string::npos) return {};
  return "a host with a port if it needs one is wanted (api.example.org, 127.0.0.1:8443), not " +
         host;
}

std::shared_ptr<platform::Log> makeLog(const std::string& kind) {
  if (kind == "none") return std::make_shared<platform::NullLog>();
  auto log = std::make_shared<platform::StandardErrorLog>();
  if (kind == "stderr") return log;
  return std::make_shared<platform::RedactingLog>(log);
}

#if QUARNET_HAS_KEYRING
constexpr char kWithoutKeyring[] = "";

/// What it returns is for when the library is set up.
std::function<void()> useKeyring(platform::Platform& services) {
  auto keyring = std::make_shared<platform::SecretServiceDefaults>("example.quarnet.CommandLine");
  services.userDefaults = keyring;
  return [keyring] { keyring->unlock(); };
}
#else
constexpr char kWithoutKeyring[] = "this installation was built without libsecret";

std::function<void()> useKeyring(platform::Platform&) {
  return [] {};
}
#endif

bool isGiven(const Text& value, const char* option, const char* variable) {
  if (!value.value_or("").empty()) return true;
  tell(std::string("nothing was sent: give ") + option + " or set " + variable);
  return false;
}

} // namespace

void Settings::addOptions(CLI::App& program) {
  const auto add = [&program](const char* name, auto& value, const char* variable,
                              const char* text) {
    return program.add_option(name, value, text)->envname(variable)->group("Every command");
  };
  const CLI::Validator host(checkHost, "");
  add("--api-host", hosts_.api, "QUARNET_API_HOST",
      "Host of the API server, and its port if it needs one")
      ->type_name("HOST")
      ->check(host);
  add("--mobile-host", hosts_.mobile, "QUARNET_MOBILE_HOST", "Host of the mobile site")
      ->type_name("HOST")
      ->check(host);
  add("--portal-host", hosts_.portal, "QUARNET_PORTAL_HOST", "Host of the portal")
      ->type_name("HOST")
      ->check(host);
  add("--ca-file", caFile_, "QUARNET_CA_FILE", "Certificates to trust beside the system's (PEM)")
      ->check(CLI::ExistingFile);
  add("--client-id", clientId_, "QUARNET_CLIENT_ID", "The application's client identifier")
      ->type_name("ID");
  add("--client-secret", clientSecret_, "QUARNET_CLIENT_SECRET",
      "The client secret, which the list of processes shows; --client-secret-file and the "
      "variable keep it out of there")
      ->type_name("SECRET");
  program
      .add_option("--client-secret-file", clientSecretFile_,
                  "Read the client secret from a file, or from standard input for -, in place of "
                  "--client-secret and its variable")
      ->type_name("FILE")
      ->group("Every command");
  add("--scope", scope_, "QUARNET_SCOPE", "Scope to ask for; the stored token's when left out")
      ->type_name("SCOPE");
  add("--redirect-uri", redirectUri_, "QUARNET_REDIRECT_URI", "Redirect address of the client")
      ->type_name("URL");
  CLI::Option* file = add("--store", store_, "QUARNET_STORE", "File that keeps the token record");
  file->type_name("FILE");
  program
      .add_flag("--keyring", usesKeyring_, "Keep it in the desktop's keyring in place of a file")
      ->group("Every command")
      ->check([](const std::string&) { return std::string(kWithoutKeyring); })
      ->excludes(file);
  add("--log", log_, "QUARNET_LOG", "The library's diagnostic lines; redacted blanks secrets")
      ->check(CLI::IsMember({"stderr", "redacted", "none"}))
      ->capture_default_str();
}

std::vector<std::string> Settings::hosts() const {
  const std::string_view builtIn =
      VORNEL_URL_OAUTH_SERVER.substr(std::string_view("https://").size());
  std::vector<std::string> hosts = {hosts_.api.empty() ? std::string(builtIn) : hosts_.api};
  for (const std::string& host : {hosts_.mobile, hosts_.portal})
    if (!host.empty()) hosts.push_back(host);
  return hosts;
}

bool Settings::install(std::shared_ptr<platform::Toolkit> toolkit) {
  if (clientSecretFile_) {
    clientSecret_ = readSecret(*clientSecretFile_);
    if (!clientSecret_) return false;
  }
  configureHosts(hosts_);
  watch_ = std::make_shared<StoreTroubleLog>(makeLog(log_));
  platform::Platform services;
  services.httpClient = std::make_shared<platform::CurlHttpClient>(
      platform::CurlHttpClientOptions{.caFile = caFile_});
  std::function<void()> unlock = [] {};
  if (usesKeyring_) {
    unlock = useKeyring(services);
  } else {
    services.userDefaults = std::make_shared<platform::SqliteUserDefaults>(store_);
  }
  services.log = watch_;
  services.toolkit = std::move(toolkit);
  platform::Platform::install(std::move(services));
  unlock();

  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  manager.setClientId(clientId_);
  manager.setClientSecret(clientSecret_);
  const Text storedScope =
      platform::Platform::current().userDefaults->value(VORNEL_OAUTH_END_SCOPE);
  manager.setScope(scope_ ? scope_ : storedScope);
  if (redirectUri_) manager.setRedirect_uri(redirectUri_);
  manager.restoreOAuthInfo();
  return true;
}

bool Settings::storeIsSound() const {
  const std::string trouble = watch_->trouble();
  if (!trouble.empty()) tell(trouble);
  return trouble.empty();
}

bool Settings::hasClientId() const {
  return isGiven(clientId_, "--client-id", "QUARNET_CLIENT_ID");
}

bool Settings::hasClientSecret() const {
  return clientSecretFile_ ||
         isGiven(clientSecret_, "--client-secret-file", "QUARNET_CLIENT_SECRET");
}

} // namespace quarnet::tools
