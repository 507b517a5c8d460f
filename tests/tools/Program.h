#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace quarnet::test {

/// How a run of `quarnet` ended.
struct Outcome {
  int exitCode = -1;
  std::string out;
  std::string err;

  /// The lines of standard output.
  std::vector<std::string> lines() const;
};

/// Runs the built `quarnet` with nothing in its environment but `environment`, and with `input` on
/// standard input. Its files lie in `folder`.
Outcome runQuarnet(const std::filesystem::path& folder, const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment,
                   const std::string& input = {});

} // namespace quarnet::test
