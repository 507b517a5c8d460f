#include "tools/ReissueCommand.h"

#include "tools/MainLoop.h"
#include "tools/Terminal.h"
#include "tools/TokenAnswers.h"

namespace quarnet::tools {

ReissueCommand::ReissueCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand("reissue", "Get new tokens for the stored refresh token")),
      settings_(settings) {
  options().footer("Exit status:\n"
                   "  0  The tokens are reissued and stored.\n"
                   "  1  Failed; the tokens stay as they were.\n"
                   "  2  Wrong usage.\n"
                   "  6  No refresh token is stored, or the server does not take it any more.\n"
                   "  130  Interrupted by Ctrl-C.\n");
}

int ReissueCommand::run() {
  if (!settings_.hasClientId() || !settings_.hasClientSecret()) return kFailed;
  if (!settings_.install()) return kFailed;
  if (!isPresent(OAuthInfo::sharedInstance().refreshToken())) {
    tell("no refresh token is stored: sign in with `quarnet login`");
    return settings_.storeIsSound() ? kSignedOut : kFailed;
  }
  // Without a screen, signing in is to take up the stored session or nothing.
  const auto result = outcomeOf(Client().signIn());
  if (!result) return interrupted();
  const Result<SignIn>& end = *result;
  if (!end || !*end) {
    tell("the tokens were not reissued and stay as they were: " +
         excerpt(end ? end->text : end.error().description()));
    return end ? kSignedOut : kFailed;
  }
  if (!settings_.storeIsSound()) return kFailed;
  printLine("The tokens were reissued and saved.");
  return kDone;
}

} // namespace quarnet::tools
