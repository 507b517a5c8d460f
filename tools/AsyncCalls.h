#pragma once

#include "quarnet/quarnet.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace quarnet::tools {

/// Sends one call over and over without blocking, and reports how the calls ended.
class AsyncCalls {
public:
  struct Options {
    /// One line of JSON a callback in place of the answers' texts.
    bool json = false;
    std::size_t repeat = 1;
    std::size_t inFlight = 1;
  };

  /// `makeBundle` gives a fresh bundle for each call.
  AsyncCalls(std::function<RequestBundle()> makeBundle, Options options)
      : makeBundle_(std::move(makeBundle)), options_(options) {}

  /// To be run on the main thread. Whether every call finished with a text.
  bool run();

private:
  using Clock = std::chrono::steady_clock;

  /// Has one call under way at a time.
  struct Caller {
    AsyncCalls* calls = nullptr;
    APIRequest request;
    Clock::time_point sent;
    bool lacksParameters = false;

    void send();
    void finished(const ResultDictionary& result) { calls->ended(*this, "finished", result); }
    void failed(const ResultDictionary& result) { calls->ended(*this, "failed", result); }
  };

  void ended(Caller& caller, std::string_view operation, const ResultDictionary& result);
  bool tellHowItWent() const;
  void show(std::string_view operation, const ResultDictionary& result) const;
  void showProgress() const;
  void showSummary(std::chrono::duration<double> elapsed);
  std::size_t answered() const { return latencies_.size(); }

  std::function<RequestBundle()> makeBundle_;
  Options options_;
  std::vector<std::unique_ptr<Caller>> callers_;
  std::size_t sent_ = 0;
  std::size_t failed_ = 0;
  bool textIsMissing_ = false;
  bool parametersAreMissing_ = false;
  std::vector<double> latencies_; ///< milliseconds, in the order of the answers
};

} // namespace quarnet::tools
