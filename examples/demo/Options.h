#pragma once

#include <CLI/App.hpp>
#include <quarnet/core/Hosts.h>
#include <string>

namespace demo {

/// What the application is told on its command line.
struct Options {
  quarnet::Hosts hosts;
  std::string caFile;
  std::string clientId = "demo-client";
  std::string clientSecret;
  std::string scope = "profile";
  std::string store;
  bool keyring = false;
};

/// Makes `program`, which is empty, the parser that fills `options` in.
void define(CLI::App& program, Options& options);

} // namespace demo
