#include "tools/LogoutCommand.h"

#include "tools/Terminal.h"

namespace quarnet::tools {
namespace {

bool hasTokens() {
  return !OAuthInfoManager::sharedInstance().oAuthInfo().accessToken().value_or("").empty();
}

} // namespace

LogoutCommand::LogoutCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand(
          "logout", "Revoke the access token at the server and drop the stored tokens")),
      settings_(settings) {
  options().add_flag("--async", asynchronous_,
                     "Without blocking; drops the tokens even when the server refuses");
}

int LogoutCommand::run() {
  if (!settings_.hasClientId()) return kFailed;
  const auto http = std::make_shared<ObservedHttpClient>(settings_.makeHttpClient());
  settings_.install(http);
  if (!hasTokens()) {
    tell("nobody is signed in: no access token is stored");
    settings_.storeIsSound();
    return kFailed;
  }
  const int code = asynchronous_ ? logoutAsynchronously(*http) : logoutBlocking(*http);
  return settings_.storeIsSound() ? code : kFailed;
}

int LogoutCommand::logoutBlocking(const ObservedHttpClient& http) {
  OAuthInfoManager::sharedInstance().logout();
  if (hasTokens()) {
    tell("the logout was not confirmed and the tokens stay stored; " + http.outcome());
    return kFailed;
  }
  printLine("Signed out: the token is revoked and no longer stored.");
  return kDone;
}

int LogoutCommand::logoutAsynchronously(const ObservedHttpClient& http) {
  OAuthInfoManager::sharedInstance().logoutFinishedFailed(this, &LogoutCommand::finished, nullptr);
  // An empty answer calls nobody back, so it is the connection that is waited for.
  const std::chrono::seconds limit(90);
  platform::GlibMainThread::runUntil([&http] { return http.isDelivered(); }, limit);
  if (confirmed_) {
    printLine("Signed out: the token is revoked and no longer stored.");
    return kDone;
  }
  const std::string reason = http.isDelivered() ? http.outcome() : "no answer within 90 seconds";
  tell(hasTokens() ? "the logout did not take place and the tokens stay stored; " + reason
                   : "the stored tokens were dropped, but the server did not confirm; " + reason);
  return kFailed;
}

void LogoutCommand::finished(const ResultDictionary&) {
  confirmed_ = true;
}

} // namespace quarnet::tools
