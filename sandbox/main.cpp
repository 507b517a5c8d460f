#include "sandbox/CommandLine.h"
#include "sandbox/Misbehaviour.h"
#include "sandbox/Server.h"
#include "tools/usage/CommandLine.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using quarnet::sandbox::Arguments;
using quarnet::sandbox::Misbehaviour;
using quarnet::sandbox::Options;
using quarnet::sandbox::Server;

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

/// The text as one word of a shell.
std::string shellWord(const std::string& text) {
  constexpr char kPlain[] =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:@[]";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
  std::string word = "'";
  for (const char c : text)
    word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

void greet(const Server& server, const Options& options, const std::string& caFile) {
  std::cout << "quarnet-sandbox listens on " << server.host() << ", https and http alike.\n"
            << "Sign in as " << options.userName << " with the password " << options.password
            << "; the client is " << options.clientId << " with the secret " << options.clientSecret
            << ".\nCtrl-C stops it.\n\n"
            << "export QUARNET_API_HOST=" << server.host() << "\n"
            << "export QUARNET_MOBILE_HOST=" << server.host() << "\n"
            << "export QUARNET_PORTAL_HOST=" << server.host() << "\n"
            << "export QUARNET_CLIENT_ID=" << shellWord(options.clientId) << "\n"
            << "export QUARNET_CLIENT_SECRET=" << shellWord(options.clientSecret) << "\n"
            << "export QUARNET_CA_FILE=" << shellWord(caFile) << "\n"
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
  // It is to be pasted into a shell that may be in another folder.
  greet(server, arguments.options,
        arguments.caOut.empty() ? Server::caFile()
                                : std::filesystem::absolute(arguments.caOut).string());

  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
}

void tell(const std::exception& problem) {
  std::cerr << "quarnet-sandbox: " << problem.what() << std::endl;
}

} // namespace

int main(int argc, char** argv) {
  namespace usage = quarnet::usage;
  CLI::App app;
  Arguments arguments;
  quarnet::sandbox::define(app, arguments);
  if (const auto code = usage::parse(app, argc, argv)) return *code;
  try {
    serve(arguments);
  } catch (const std::invalid_argument& problem) {
    tell(problem);
    return usage::kWrongUsage;
  } catch (const std::exception& problem) {
    tell(problem);
    return usage::kFailed;
  }
  return usage::finished(app, usage::kDone);
}
