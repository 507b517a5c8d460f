#include "tools/LogoutCommand.h"

#include "tools/MainLoop.h"
#include "tools/Terminal.h"

namespace quarnet::tools {
namespace {

/// Says how the logout ended; an ExitCode.
int report(const Result<SignOut>& result) {
  if (!result) {
    tell("not signed out: " + excerpt(result.error().description()));
    return kFailed;
  }
  switch (result->ending) {
  case SignOut::Ending::Confirmed:
    printLine("Signed out: the token is revoked and no longer stored.");
    return kDone;
  case SignOut::Ending::NotConfirmed:
    tell("the stored tokens were dropped, but the server did not confirm: " +
         excerpt(result->text));
    return kFailed;
  case SignOut::Ending::NothingToDo:
    break;
  }
  tell("nobody is signed in: no access token is stored");
  return kSignedOut;
}

} // namespace

LogoutCommand::LogoutCommand(CLI::App& program, Settings& settings)
    : Command(
          *program.add_subcommand("logout", "Drop the stored tokens and revoke the access token")),
      settings_(settings) {
  options().footer(
      "Exit status:\n"
      "  0  The server confirmed it.\n"
      "  1  The server did not confirm it; the stored tokens are dropped all the same.\n"
      "  2  Wrong usage.\n"
      "  6  Nobody is signed in.\n"
      "  130  Interrupted by Ctrl-C.\n");
}

int LogoutCommand::run() {
  if (!settings_.hasClientId()) return kFailed;
  if (!settings_.install()) return kFailed;
  const auto result = outcomeOf(Client().signOut());
  if (!result) return interrupted();
  // Whatever the server said: what is still in the file was not dropped.
  if (!settings_.storeIsSound()) return kFailed;
  return report(*result);
}

} // namespace quarnet::tools
