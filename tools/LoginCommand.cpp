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
                   "Exit status:\n"
                   "    0  signed in, in the window or without it\n"
                   "    1  failed: no display, no connection, the store cannot be written\n"
                   "    2  wrong usage\n"
                   "    3  the window was closed\n"
                   "    4  the server or the user refused\n"
                   "    5  the code that the page brought was not exchanged for tokens\n"
                   "  130  interrupted by Ctrl-C");
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
