#include "tools/LoginOptions.h"

namespace quarnet::tools {

CLI::App& addLogin(CLI::App& program) {
  CLI::App& login = *program.add_subcommand("login", "Sign in in a window and store the tokens");
  login.footer("Tokens that are stored already are reissued, and no window opens.\n"
               "Exit status:\n"
               "  0  Signed in, in the window or without it.\n"
               "  1  Failed: no display, no connection, the store cannot be written.\n"
               "  2  Wrong usage.\n"
               "  3  The window was closed.\n"
               "  4  The server or the user refused.\n"
               "  5  The code that the page brought was not exchanged for tokens.\n"
               "  130  Interrupted by Ctrl-C.\n");
  return login;
}

} // namespace quarnet::tools
