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
  return kFailed;
}

} // namespace

LogoutCommand::LogoutCommand(CLI::App& program, Settings& settings)
    : Command(*program.add_subcommand(
          "logout", "Drop the stored tokens and revoke the access token at the server")),
      settings_(settings) {
  options().footer("Exit status: 0 confirmed by the server, 1 not confirmed or nothing to do, "
                   "2 wrong usage, 130 interrupted by Ctrl-C.");
}

int LogoutCommand::run() {
  if (!settings_.hasClientId()) return kFailed;
  settings_.install();
  const auto result = outcomeOf(Client().signOut());
  if (!result) return interrupted();
  // Whatever the server said: what is still in the file was not dropped.
  if (!settings_.storeIsSound()) return kFailed;
  return report(*result);
}

} // namespace quarnet::tools
