#pragma once

#include "bench/support/Report.h"

#include <functional>
#include <string>
#include <string_view>

namespace quarnet::bench {

// Each prints its rows. Every transfer runs in a process of its own, so that the peak of memory is
// its own.
void measureUpload();
void measureLargeAnswer();

// The roles of those processes: one transfer each.
void uploadOurs();
void uploadRaw();
void largeAnswerOurs();
void largeAnswerRaw();

/// Runs the two roles in turns and prints what ours needs of memory beyond `size` bytes and of
/// time, of which `time` is the bound.
void compareTransfers(std::string_view what, const std::string& ours, const std::string& raw,
                      double size, const Bound& time);

/// Prints how many seconds `transfer` took, for compareTransfers() to read.
void timeTransfer(const std::function<void()>& transfer);

} // namespace quarnet::bench
