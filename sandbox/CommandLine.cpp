#include "sandbox/CommandLine.h"

#include "sandbox/Misbehaviour.h"
#include "tools/usage/CommandLine.h"

#include <CLI/CLI.hpp>

namespace quarnet::sandbox {
namespace {

constexpr long kLongestLifetime = 10L * 365 * 24 * 3600;

const std::string kFooter =
    "It serves every address of the API for one user and one client, https and http on one port, "
    "with a certificate of its own, and prints the variables that quarnet reads. Ctrl-C stops it.\n"
    "A misbehaviour is for one path as the server receives it (with its suffix), or \"*\" for all; "
    "several for one path add up.\n"
    "Misbehaviours:\n" +
    std::string(Misbehaviour::help()) +
    "\n"
    "Misbehaviours at run time:\n"
    "  curl -d path=/v1/people.json -d kind=delay -d arg=500 http://HOST/sandbox/misbehave\n"
    "  curl -d path=/v1/a.json -d kind=reset -d times=2 http://HOST/sandbox/misbehave\n"
    "  curl -X DELETE http://HOST/sandbox/misbehave\n"
    "\n"
    "Addresses beside the API's own:\n"
    "  /bytes/N.json  Answers N bytes.\n"
    "  /redirect/STATUS/TARGET.json  Redirects; TARGET is percent-escaped or base64url.\n"
    "  /missing/...  Is never there.\n"
    "  /echo-headers  Shows what header fields came.\n"
    "  any other .json or .xml  Answers what the server understood of the call.\n"
    "\n"
    "Examples:\n"
    "  quarnet-sandbox --ca-out ca.pem --token-out token.json\n"
    "  quarnet-sandbox --port 0 --misbehave /v1/people.json=status:503\n"
    "\n"
    "Exit status:\n"
    "  0  Stopped by Ctrl-C or another signal.\n"
    "  1  Failed: the port is taken, a file cannot be written.\n"
    "  2  Wrong usage.\n";

} // namespace

void define(CLI::App& app, Arguments& arguments) {
  app.name("quarnet-sandbox");
  app.description("A local API server that speaks the whole protocol.");
  usage::prepare(app);
  Options& options = arguments.options;
  options.port = 8443;
  const auto add = [&app](const char* name, auto& value, const char* type, const char* text) {
    return app.add_option(name, value, text)->type_name(type)->capture_default_str();
  };
  add("--host", options.address, "ADDRESS",
      "IP address to listen on; the certificate names 127.0.0.1, ::1 and localhost");
  add("--port", options.port, "PORT", "Port for https and http alike; 0 for a free one");
  add("--client-id", options.clientId, "ID", "The one client that is known");
  add("--client-secret", options.clientSecret, "SECRET", "Its secret");
  add("--user", options.userName, "NAME", "Name to sign in with");
  add("--password", options.password, "PASSWORD", "Password to sign in with");
  add("--token-lifetime", arguments.tokenLifetime, "SECONDS", "How long an access token lives")
      ->check(CLI::Range(0L, kLongestLifetime));
  add("--misbehave", arguments.misbehaviours, "PATH=KIND[:ARG]",
      "Answer that path wrongly, in a way that is listed below; repeatable")
      ->allow_extra_args(false);
  add("--ca-out", arguments.caOut, "FILE", "Write the certificate to trust there");
  add("--token-out", arguments.tokenOut, "FILE",
      "Write a token answer there, as JSON, as if the user had signed in");
  app.add_flag("--quiet,!--log", arguments.quiet, "No line for each request; --log: one, as usual");
  app.footer(kFooter);
}

} // namespace quarnet::sandbox
