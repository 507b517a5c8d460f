#pragma once

#include <string>
#include <vector>

namespace quarnet::bench {

/// How a child process ended.
struct ChildResult {
  /// What it wrote on its standard output.
  std::string output;
  /// From before it was made to its first byte of output, in seconds.
  double firstByte = 0;
  /// The most memory that it ever had in use, in bytes.
  double peakMemory = 0;
};

/// Runs a program to its end; an end other than exit(0) is reported and ends this process.
ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments);

/// This program once more, in another role.
ChildResult runSelf(const std::vector<std::string>& arguments);

} // namespace quarnet::bench
