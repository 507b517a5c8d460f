#include "tools/ReissueCommand.h"

#include "tools/MainLoop.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

namespace quarnet::tools {

ReissueCommand::ReissueCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("reissue", "Get new tokens for the stored refresh token")),
      settings_(settings) {}

int ReissueCommand::run() {
  if (!settings_.hasClientId() || !settings_.hasClientSecret()) return kFailed;
  settings_.install();
  if (!isPresent(OAuthInfo::sharedInstance().refreshToken())) {
    tell("no refresh token is stored: sign in with `quarnet login`");
    settings_.storeIsSound();
    return kFailed;
  }
  // Without a screen, signing in is to take up the stored session or nothing.
  const auto result = outcomeOf(Client().signIn());
  if (!result) return interrupted();
  const Result<SignIn>& end = *result;
  if (!end || !*end) {
    tell("the tokens were not reissued and stay as they were: " +
         excerpt(end ? end->text : end.error().description()));
    return kFailed;
  }
  if (!settings_.storeIsSound()) return kFailed;
  printLine("The tokens were reissued and saved.");
  return kDone;
}

} // namespace quarnet::tools
