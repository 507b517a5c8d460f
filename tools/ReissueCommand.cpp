#include "tools/ReissueCommand.h"

#include "tools/ObservedHttpClient.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

namespace quarnet::tools {

ReissueCommand::ReissueCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("reissue", "Get new tokens for the stored refresh token")),
      settings_(settings) {}

int ReissueCommand::run() {
  if (!settings_.hasClientId() || !settings_.hasClientSecret()) return kFailed;
  const auto http = std::make_shared<ObservedHttpClient>(settings_.makeHttpClient());
  settings_.install(http);
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  if (manager.oAuthInfo().refreshToken().value_or("").empty()) {
    tell("no refresh token is stored: sign in with `quarnet login`");
    settings_.storeIsSound();
    return kFailed;
  }
  if (!manager.reissueAccessToken()) {
    tell("the tokens were not reissued and stay as they were; " + http->outcome());
    return kFailed;
  }
  if (!settings_.storeIsSound()) return kFailed;
  // The library takes every answer that mentions the member for a token answer.
  if (!isPresent(manager.oAuthInfo().accessToken())) {
    tell("the stored tokens were replaced by an answer without tokens; " + http->outcome());
    return kFailed;
  }
  printLine("The tokens were reissued and saved.");
  return kDone;
}

} // namespace quarnet::tools
