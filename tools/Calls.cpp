#include "tools/Calls.h"

#include "tools/Command.h"
#include "tools/JsonText.h"
#include "tools/MainLoop.h"
#include "tools/OutputFile.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cstdio>

namespace quarnet::tools {
namespace {

/// What the server answered; absent when that is no text or when there is no answer.
Text bodyOf(const Result<Answer>& result) {
  if (result) return result->body;
  return result.error().kind == ApiErrorKind::Refused ? Text(result.error().body) : std::nullopt;
}

const std::string& headOf(const Result<Answer>& result) {
  return result ? result->head : result.error().head;
}

/// What the server answered, text or not; null when that is a refusal or when there is no answer.
const Data* bytesOf(const Result<Answer>& result) {
  if (result) return &result->body;
  return result.error().kind == ApiErrorKind::NotUtf8 ? &result.error().body : nullptr;
}

std::string jsonLine(const Result<Answer>& result) {
  const long status = result ? result->status : result.error().status;
  std::string line = "{\"statusCode\":";
  line += jsonText(status == 0 ? Text() : Text(std::to_string(status)));
  line += ",\"resultMessage\":" + jsonText(bodyOf(result));
  line += ",\"error\":";
  if (result) return line + "null}";
  line += "{\"kind\":" + jsonText(describe(result.error().kind));
  return line + ",\"description\":" + jsonText(std::string_view(result.error().text)) + "}}";
}

std::string describe(const ApiError& error) {
  switch (error.kind) {
  case ApiErrorKind::SignedOut:
    return excerpt(error.description()) + "; sign in with `quarnet login`";
  case ApiErrorKind::KeyNotHad:
    return "nothing was sent: " + excerpt(error.description());
  case ApiErrorKind::NoConnection:
    return "no answer: " + excerpt(error.text);
  case ApiErrorKind::Refused:
    if (error.status < 300) return "the server answered the reissue without tokens";
    return "the server answered " + std::to_string(error.status);
  case ApiErrorKind::NotUtf8:
    return "the answer is not UTF-8 text and cannot be shown";
  default:
    return excerpt(error.description());
  }
}

/// What `share` of the values do not exceed.
double percentile(std::vector<double>& values, double share) {
  const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

} // namespace

Calls::Calls(Call call, Options options) : call_(std::move(call)), options_(std::move(options)) {
  if (!isMany()) call_.progress = [this](const Progress& now) { progress_ = now; };
}

int Calls::run() {
  const auto start = Clock::now();
  latencies_.reserve(options_.repeat);
  handles_.resize(std::min(options_.inFlight, options_.repeat));
  for (Handle& place : handles_)
    send(place);
  const bool isWhole = runUntil([this] {
    showProgress();
    return answered() == options_.repeat;
  });
  handles_.clear();
  line_.clear();
  if (isMany()) showSummary(Clock::now() - start);
  if (!isWhole) return interrupted();
  if (failed_ == 0) return kDone;
  return signedOut_ == failed_ ? kSignedOut : kFailed;
}

void Calls::send(Handle& place) {
  ++sent_;
  place =
      client_.send(call_).then([this, &place, sent = Clock::now()](const Result<Answer>& result) {
        ended(sent, result);
        if (sent_ < options_.repeat) send(place);
      });
}

void Calls::ended(Clock::time_point sent, const Result<Answer>& result) {
  latencies_.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
  if (call_.wantsHead) showHead(headOf(result));
  if (const Data* bytes = options_.output ? bytesOf(result) : nullptr) {
    line_.clear();
    if (!writeOutput(*options_.output, *bytes)) ++failed_;
    return;
  }
  if (!result) ++failed_;
  if (!result && result.error().kind == ApiErrorKind::SignedOut) ++signedOut_;
  show(result);
}

void Calls::showHead(const std::string& head) {
  if (head.empty()) return;
  line_.clear();
  printText(head + "\n");
}

void Calls::show(const Result<Answer>& result) {
  const Text body = bodyOf(result);
  // The first failures say what is wrong; thousands more would only bury it.
  const bool isTold = !result && failed_ <= 3;
  if (isTold || options_.json || !isMany()) line_.clear();
  if (options_.json) {
    printLine(jsonLine(result));
  } else if (body && !isMany()) {
    printText(*body);
  }
  if (!isTold) return;
  const std::string text = describe(result.error());
  tell(isMany() && body ? text + ": " + excerpt(*body) : text);
}

void Calls::showProgress() {
  if (!line_.isDue()) return;
  const std::string text = isMany() ? std::to_string(answered()) + " of " +
                                          std::to_string(options_.repeat) + " calls answered, " +
                                          std::to_string(failed_) + " failed"
                                    : transferText(progress_, ProgressLine::width());
  if (!text.empty()) line_.show(text);
}

void Calls::showSummary(std::chrono::duration<double> elapsed) {
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
