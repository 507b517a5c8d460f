#pragma once

#include "quarnet/platform/curl/EventLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace quarnet::platform {

/// The link between the stop token of one asynchronous send and its loop: where the send is, and
/// what reports it to the loop when the token is asked to stop.
///
/// The link ends before the send completes. Its end waits for a report that another thread makes at
/// that moment, so the loop's lock must not be held then, nor when it is made.
struct Cancellation : std::enable_shared_from_this<Cancellation> {
  /// A token that was stopped already reports it before this returns.
  static std::shared_ptr<Cancellation> make(EventLoop& loop, const std::stop_token& token) {
    auto made = std::make_shared<Cancellation>();
    made->report.emplace(token, Report{loop, *made});
    return made;
  }

  void end() { report.reset(); }

  struct Report {
    EventLoop& loop;
    Cancellation& cancellation;
    void operator()() const { loop.cancel(cancellation.weak_from_this().lock()); }
  };

  /// Where the send waits; guarded by the loop's lock.
  std::optional<SendQueue::Place> place;
  /// What makes the send; for the loop's thread alone.
  EventLoop::Flight* flight = nullptr;
  std::optional<std::stop_callback<Report>> report;
};

} // namespace quarnet::platform
