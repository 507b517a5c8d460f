#include "tools/LoginCommand.h"

#include "tools/LoginOptions.h"
#include "tools/Terminal.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace quarnet::tools {

LoginCommand::LoginCommand(CLI::App& program, char** argv)
    : Command(addLogin(program)), argv_(argv) {}

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
