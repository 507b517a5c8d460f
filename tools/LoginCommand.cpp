#include "tools/LoginCommand.h"

#include "tools/Terminal.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace quarnet::tools {

LoginCommand::LoginCommand(CLI::App& program, char** argv)
    : Command(*program.add_subcommand("login", "Sign in in a window and store the tokens")),
      argv_(argv) {
  options().footer("Tokens that are stored already are reissued, and no window opens.\n"
                   "Exit status: 0 signed in, 1 not signed in, 2 wrong usage.");
}

int LoginCommand::run() {
  std::error_code unknown;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", unknown);
  const std::string program = (self.parent_path() / QUARNET_LOGIN_PATH).lexically_normal();
  execv(program.c_str(), argv_);
  const std::string reason = std::strerror(errno);
  tell(errno == ENOENT ? "cannot sign in: this installation was built without GTK, libadwaita and "
                         "WebKitGTK, which the login window takes (there is no " +
                             program + ")"
                       : "cannot sign in: " + program + ": " + reason);
  return kFailed;
}

} // namespace quarnet::tools
