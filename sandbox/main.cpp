#include "sandbox/Server.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using quarnet::sandbox::Misbehaviour;
using quarnet::sandbox::Options;
using quarnet::sandbox::Server;

constexpr long kLongestLifetime = 10L * 365 * 24 * 3600;

struct Arguments {
  Options options;
  long tokenLifetime = 3600;
  std::vector<std::string> misbehaviours;
  std::string caOut;
  std::string tokenOut;
  bool quiet = false;
};

const std::string kFooter =
    "Misbehaviours, each for one path as the server receives it (with its suffix), or \"*\":\n" +
    std::string(Misbehaviour::help()) +
    "Several for one path add up. The same at run time:\n"
    "  curl -d path=/v1/people.json -d kind=delay -d arg=500 http://HOST/sandbox/misbehave\n"
    "  (-d times=N: for the next N requests only)\n"
    "  curl -X DELETE http://HOST/sandbox/misbehave\n"
    "\n"
    "Addresses of use besides the API's own: /bytes/N.json answers N bytes,\n"
    "/redirect/STATUS/TARGET.json redirects (TARGET percent-escaped or base64url),\n"
    "/missing/... is never there, /echo-headers shows what headers came.\n"
    "Any other path with the suffix .json or .xml answers what the server understood of the "
    "call.\n";

void define(CLI::App& app, Arguments& arguments) {
  Options& options = arguments.options;
  options.port = 8443;
  app.add_option("--host", options.address,
                 "IP address to listen on; the certificate names 127.0.0.1, ::1 and localhost")
      ->capture_default_str();
  app.add_option("--port", options.port, "Port for https and http alike; 0: a free one")
      ->capture_default_str();
  app.add_option("--client-id", options.clientId, "The one client that is known")
      ->capture_default_str();
  app.add_option("--client-secret", options.clientSecret, "Its secret")->capture_default_str();
  app.add_option("--user", options.userName, "Name to sign in with")->capture_default_str();
  app.add_option("--password", options.password, "Password to sign in with")->capture_default_str();
  app.add_option("--token-lifetime", arguments.tokenLifetime, "Seconds an access token lives")
      ->check(CLI::Range(0L, kLongestLifetime))
      ->capture_default_str();
  app.add_option("--misbehave", arguments.misbehaviours,
                 "PATH=KIND[:ARG]: answer that path wrongly (kinds below); may be repeated")
      ->allow_extra_args(false)
      ->type_name("PATH=KIND[:ARG]");
  app.add_option("--ca-out", arguments.caOut, "Write the certificate to trust there")
      ->type_name("FILE");
  app.add_option("--token-out", arguments.tokenOut,
                 "Write a token answer there, as JSON, as if the user had signed in")
      ->type_name("FILE");
  app.add_flag("--quiet,!--log", arguments.quiet,
               "No line for each request (--log: one, as usual)");
  app.footer(kFooter);
}

void misbehave(Server& server, const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == 0 || equals == std::string::npos)
    throw std::invalid_argument("\"" + text + "\" is not PATH=KIND[:ARG]");
  const std::string fault = text.substr(equals + 1);
  const std::size_t colon = fault.find(':');
  server.misbehave(text.substr(0, equals),
                   Misbehaviour::parse(fault.substr(0, colon),
                                       colon == std::string::npos ? "" : fault.substr(colon + 1)));
}

/// The whole text or an exception; only the user may read a file that is made here.
void writeFile(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const bool written =
      file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  const int problem = errno;
  if (file >= 0) close(file);
  if (!written) throw std::runtime_error(path + ": " + std::strerror(problem));
}

std::string readFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// Every connection is a file descriptor, and the usual limit is low.
void allowManyConnections() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

sigset_t blockStopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  struct sigaction hangUp {};
  sigaction(SIGHUP, nullptr, &hangUp);
  if (hangUp.sa_handler != SIG_IGN) sigaddset(&signals, SIGHUP); // as nohup leaves it
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void greet(const Server& server, const Options& options, const std::string& caFile) {
  std::cout << "quarnet-sandbox listens on " << server.host() << ", https and http alike.\n"
            << "Sign in as " << options.userName << " with the password " << options.password
            << "; the client is " << options.clientId << " with the secret " << options.clientSecret
            << ".\nCtrl-C stops it.\n\n"
            << "export QUARNET_API_HOST=" << server.host() << "\n"
            << "export QUARNET_MOBILE_HOST=" << server.host() << "\n"
            << "export QUARNET_PORTAL_HOST=" << server.host() << "\n"
            << "export QUARNET_CLIENT_ID=" << options.clientId << "\n"
            << "export QUARNET_CLIENT_SECRET=" << options.clientSecret << "\n"
            << "export QUARNET_CA_FILE=" << caFile << "\n"
            << std::endl;
}

void serve(Arguments arguments) {
  arguments.options.accessTokenLifetime = std::chrono::seconds(arguments.tokenLifetime);
  if (!arguments.quiet)
    arguments.options.log = [](const std::string& line) { std::cout << line << std::endl; };
  // Blocked before the server's threads are there, the signals wait for this thread to take them.
  const sigset_t signals = blockStopSignals();
  allowManyConnections();

  Server server(arguments.options);
  for (const std::string& text : arguments.misbehaviours)
    misbehave(server, text);
  if (!arguments.caOut.empty()) writeFile(arguments.caOut, readFile(Server::caFile()));
  if (!arguments.tokenOut.empty())
    writeFile(arguments.tokenOut, server.issueTokens().json() + "\n");
  greet(server, arguments.options, arguments.caOut.empty() ? Server::caFile() : arguments.caOut);

  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
}

} // namespace

int main(int argc, char** argv) {
  CLI::App app("A local API server that speaks the whole protocol.", "quarnet-sandbox");
  Arguments arguments;
  define(app, arguments);
  CLI11_PARSE(app, argc, argv);
  try {
    serve(arguments);
  } catch (const std::exception& problem) {
    std::cerr << "quarnet-sandbox: " << problem.what() << std::endl;
    return 1;
  }
  return 0;
}
