#pragma once

#include "quarnet/client/Pending.h"

#include <functional>
#include <optional>
#include <utility>

namespace quarnet::tools {

/// Runs the main loop until `isDone()`, asked at least every 10 milliseconds; false when the user
/// presses Ctrl-C (SIGINT) before that or in what the loop calls. A second Ctrl-C ends the process
/// at once.
bool runUntil(const std::function<bool()>& isDone);

/// The outcome, for which the main loop is run; absent when the user presses Ctrl-C before, and
/// then what was under way is cancelled.
template <class T>
std::optional<Result<T>> outcomeOf(Pending<T> pending) {
  std::optional<Result<T>> outcome;
  const Handle handle =
      std::move(pending).then([&](Result<T> result) { outcome.emplace(std::move(result)); });
  runUntil([&] { return outcome.has_value(); });
  return outcome;
}

/// Tells that Ctrl-C was pressed; the exit status for it.
int interrupted();

} // namespace quarnet::tools
