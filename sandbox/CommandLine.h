#pragma once

#include "sandbox/Options.h"

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace quarnet::sandbox {

/// What `quarnet-sandbox` is told on its command line.
struct Arguments {
  Options options;
  long tokenLifetime = 3600;
  std::vector<std::string> misbehaviours;
  std::string caOut;
  std::string tokenOut;
  bool quiet = false;
};

/// Makes `app`, which is empty, the parser of `quarnet-sandbox` that fills `arguments` in.
void define(CLI::App& app, Arguments& arguments);

} // namespace quarnet::sandbox
