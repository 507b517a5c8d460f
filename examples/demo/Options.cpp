#include "Options.h"

#include "tools/usage/CommandLine.h"

namespace demo {

void define(CLI::App& program, Options& options) {
  program.name("quarnet-demo");
  program.description("A small application on the Quarnet API.");
  quarnet::usage::prepare(program);
  const auto add = [&](const char* name, std::string& value, const char* type, const char* variable,
                       const char* text) {
    program.add_option(name, value, text)
        ->type_name(type)
        ->envname(variable)
        ->capture_default_str();
  };
  add("--api-host", options.hosts.api, "HOST", "QUARNET_API_HOST", "Host of the API server");
  add("--mobile-host", options.hosts.mobile, "HOST", "QUARNET_MOBILE_HOST",
      "Host of the mobile site");
  add("--portal-host", options.hosts.portal, "HOST", "QUARNET_PORTAL_HOST", "Host of the portal");
  add("--ca-file", options.caFile, "FILE", "QUARNET_CA_FILE",
      "Certificates that vouch for these hosts beside the system's (PEM)");
  add("--client-id", options.clientId, "ID", "QUARNET_CLIENT_ID",
      "The application's client identifier");
  add("--client-secret", options.clientSecret, "SECRET", "QUARNET_CLIENT_SECRET",
      "The client secret; the variable keeps it out of the list of processes");
  add("--scope", options.scope, "SCOPE", "QUARNET_SCOPE", "Scope to ask for");
  add("--store", options.store, "FILE", "QUARNET_STORE",
      "File that keeps the token record; the user's data folder when left out");
#if QUARNET_HAS_KEYRING
  program
      .add_flag("--keyring", options.keyring, "Keep it in the desktop's keyring in place of a file")
      ->excludes(program.get_option("--store"));
#endif
  program.footer("It signs in in its window, makes a few calls and logs out.\n"
                 "Exit status:\n"
                 "  0  The window was closed.\n"
                 "  1  Failed: no display.\n"
                 "  2  Wrong usage.\n");
}

} // namespace demo
