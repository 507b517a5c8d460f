#include "tools/AsyncCalls.h"

#include "tools/CallNotes.h"
#include "tools/JsonText.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace quarnet::tools {
namespace {

/// Longer than the time-outs of a call and of its key together: without any answer for so long,
/// none will come.
constexpr std::chrono::seconds kPatience(150);

std::string jsonLine(std::string_view operation, const ResultDictionary& result) {
  std::string line = "{\"operation\":" + jsonText(operation);
  for (const std::string_view key :
       {VornelAsyncResultCode, VornelAsyncResultMessage, VornelAsyncResultData}) {
    const auto entry = result.find(std::string(key));
    if (entry == result.end()) continue;
    line += ',' + jsonText(key) + ':' + jsonText(std::string_view(entry->second));
  }
  return line + '}';
}

std::string textOf(const ResultDictionary& result, std::string_view key) {
  const auto entry = result.find(std::string(key));
  return entry == result.end() ? std::string() : entry->second;
}

/// What `share` of the values do not exceed.
double percentile(std::vector<double>& values, double share) {
  const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

} // namespace

void AsyncCalls::Caller::send() {
  ++calls->sent_;
  sent = Clock::now();
  RequestBundle bundle = calls->makeBundle_();
  request.aSyncRequest(bundle);
  lacksParameters = parametersWereDropped(bundle);
}

bool AsyncCalls::run() {
  const auto start = Clock::now();
  latencies_.reserve(options_.repeat);
  for (std::size_t i = 0; i < std::min(options_.inFlight, options_.repeat); ++i) {
    auto& caller = callers_.emplace_back(std::make_unique<Caller>());
    caller->calls = this;
    caller->request.setDelegateFinishedFailed(caller.get(), &Caller::finished, &Caller::failed);
    caller->send();
  }

  auto lastAnswer = Clock::now();
  while (answered() < options_.repeat && Clock::now() - lastAnswer < kPatience) {
    const std::size_t before = answered();
    platform::GlibMainThread::runUntil([this] { return answered() == options_.repeat; },
                                       std::chrono::milliseconds(250));
    if (answered() > before) lastAnswer = Clock::now();
    showProgress();
  }
  if (options_.repeat > 1) showSummary(Clock::now() - start);
  return tellHowItWent();
}

bool AsyncCalls::tellHowItWent() const {
  if (parametersAreMissing_) tellDroppedParameters();
  if (textIsMissing_) tellMissingText();
  const bool isWhole = answered() == options_.repeat;
  if (!isWhole)
    tell("no callback came for " + std::to_string(sent_ - answered()) + " of the calls");
  return isWhole && failed_ == 0 && !textIsMissing_;
}

void AsyncCalls::ended(Caller& caller, std::string_view operation, const ResultDictionary& result) {
  latencies_.push_back(
      std::chrono::duration<double, std::milli>(Clock::now() - caller.sent).count());
  if (operation == "failed") ++failed_;
  if (operation == "finished" && !result.contains(std::string(VornelAsyncResultData)))
    textIsMissing_ = true;
  // A call that could not be made has no code, and nothing of it was sent.
  if (caller.lacksParameters && !textOf(result, VornelAsyncResultCode).empty())
    parametersAreMissing_ = true;
  show(operation, result);
  if (sent_ < options_.repeat) caller.send();
}

void AsyncCalls::show(std::string_view operation, const ResultDictionary& result) const {
  if (options_.json) return printLine(jsonLine(operation, result));
  if (operation == "finished") {
    if (options_.repeat == 1) printText(textOf(result, VornelAsyncResultData));
    return;
  }
  // The first failures say what is wrong; thousands more would only bury it.
  if (failed_ > 3) return;
  const std::string code = textOf(result, VornelAsyncResultCode);
  const std::string message = excerpt(textOf(result, VornelAsyncResultMessage));
  tell("the call failed" + (code.empty() ? "" : " (" + code + ")") +
       (message.empty() ? "" : ": " + message));
}

void AsyncCalls::showProgress() const {
  if (options_.repeat == 1 || isatty(STDERR_FILENO) == 0) return;
  std::fprintf(stderr, "\r%zu of %zu calls answered, %zu failed%s", answered(), options_.repeat,
               failed_, answered() == options_.repeat ? "\n" : "");
}

void AsyncCalls::showSummary(std::chrono::duration<double> elapsed) {
  // Beside lines of JSON, standard output is for a program to read.
  std::FILE* const out = options_.json ? stderr : stdout;
  std::fprintf(out, "finished %zu, failed %zu, %.0f calls per second", answered() - failed_,
               failed_, static_cast<double>(answered()) / elapsed.count());
  if (!latencies_.empty()) {
    std::fprintf(out, ", p50 %.2f ms, p99 %.2f ms", percentile(latencies_, 0.50),
                 percentile(latencies_, 0.99));
  }
  std::fputc('\n', out);
}

} // namespace quarnet::tools
