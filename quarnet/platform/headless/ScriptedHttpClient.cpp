#include "quarnet/platform/headless/ScriptedHttpClient.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/platform/headless/OneTimeKey.h"
#include "quarnet/platform/headless/ScriptedRule.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>

namespace quarnet::platform {
namespace {

using std::chrono::milliseconds;

/// What a request gets, and how long after it was sent.
struct Outcome {
  milliseconds delay{0};
  HttpResult result;
};

std::string addressWithoutQuery(const HttpRequest& request) {
  return request.method + " " + request.url.substr(0, request.url.find('?'));
}

HttpResult cancelled() {
  return failedAnswer(kCancelled, "The request was cancelled");
}

HttpResult newKey(const ReceivedRequest& request) {
  const std::string_view form = request.body ? std::string_view(*request.body) : "";
  const Text swapKey = StringUtil::getValueFromQueryStringKey(form, "swap_key");
  const auto [key, iv] = oneTimeKey(swapKey.value_or(""));
  return {.response = HttpResponse{200},
          .body = R"({"body":{"key":")" + key + R"(","iv":")" + iv + R"("}})",
          .error = std::nullopt};
}

} // namespace

struct ScriptedHttpClient::State {
  using Cancellation = std::stop_callback<std::function<void()>>;
  struct Waiting {
    std::uint64_t number = 0;
    HttpResult result;
    Completion completion;
    /// Made and ended without the lock.
    std::unique_ptr<Cancellation> cancellation;
  };

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::shared_ptr<ScriptedRule>> rules;
  std::vector<ReceivedRequest> received;
  std::vector<std::string> unexpected;
  std::vector<std::string> openedConnections;
  std::atomic<std::uint64_t> sends = 0;
  std::size_t tokenAnswers = 0;
  milliseconds now{0};
  /// By the time at which they are answered.
  std::multimap<milliseconds, Waiting> waiting;
  bool isCompleting = false;
  bool isEnding = false;
  /// Started by the first asynchronous send.
  std::thread thread;

  bool isAnyDue() const { return !waiting.empty() && waiting.begin()->first <= now; }

  /// Keeps the request and says what it gets.
  Outcome receive(const HttpRequest& request) {
    const ReceivedRequest kept(request);
    for (const auto& rule : keep(kept)) {
      const auto answer = rule->matches(kept) ? rule->next() : std::nullopt;
      if (!answer) continue;
      if (answer->delay < request.timeout) return {answer->delay, answer->make(kept)};
      return {request.timeout, failedAnswer(kTimedOut, "The time for the request is up")};
    }
    const std::string address = addressWithoutQuery(request);
    const std::lock_guard lock(mutex);
    unexpected.push_back(address);
    return {milliseconds(0),
            failedAnswer(kCouldNotConnect, "No answer is scripted for " + address)};
  }

  /// Gives the rules as they stand, the latest first, to be asked while no lock is held.
  std::vector<std::shared_ptr<ScriptedRule>> keep(const ReceivedRequest& request) {
    const std::lock_guard lock(mutex);
    received.push_back(request);
    return {rules.rbegin(), rules.rend()};
  }

  void add(milliseconds delay, Waiting entry, const std::stop_token& token) {
    const std::uint64_t number = entry.number;
    {
      const std::lock_guard lock(mutex);
      if (!thread.joinable()) thread = std::thread([this] { complete(); });
      waiting.emplace(now + delay, std::move(entry));
      changed.notify_all();
    }
    if (token.stop_requested()) cancel(number);
  }

  void cancel(std::uint64_t number) {
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(waiting.begin(), waiting.end(), [number](const auto& entry) {
      return entry.second.number == number;
    });
    if (found == waiting.end()) return;
    auto entry = waiting.extract(found);
    entry.key() = now;
    entry.mapped().result = cancelled();
    waiting.insert(std::move(entry));
    changed.notify_all();
  }

  /// Runs on the thread: completes what is due until the client ends.
  void complete() {
    std::unique_lock lock(mutex);
    while (true) {
      changed.wait(lock, [this] { return isEnding || isAnyDue(); });
      if (!isAnyDue()) return;
      isCompleting = true;
      Waiting due = std::move(waiting.extract(waiting.begin()).mapped());
      lock.unlock();
      due.cancellation.reset();
      std::exchange(due.completion, nullptr)(std::move(due.result));
      lock.lock();
      isCompleting = false;
      changed.notify_all();
    }
  }
};

ScriptedHttpClient::ScriptedHttpClient() : state_(std::make_unique<State>()) {}

ScriptedHttpClient::~ScriptedHttpClient() {
  dropConnections();
  {
    const std::lock_guard lock(state_->mutex);
    state_->isEnding = true;
    state_->changed.notify_all();
  }
  if (state_->thread.joinable()) state_->thread.join();
}

ScriptedAnswers ScriptedHttpClient::on(std::string method, std::string address) {
  return on([method = std::move(method), address = std::move(address)](
                const ReceivedRequest& request) { return request.matches(method, address); });
}

ScriptedAnswers ScriptedHttpClient::on(std::function<bool(const ReceivedRequest&)> matches) {
  auto rule = std::make_shared<ScriptedRule>(std::move(matches));
  const std::lock_guard lock(state_->mutex);
  state_->rules.push_back(rule);
  return ScriptedAnswers(std::move(rule));
}

void ScriptedHttpClient::answerSession() {
  // Read when a request comes: the addresses follow configureHosts().
  const auto onEndpoint = [this](const std::string_view& address) {
    return on([&address](const ReceivedRequest& request) { return request.matches("", address); });
  };
  onEndpoint(VORNEL_URL_OAUTH_ACCESS).answer([this](const ReceivedRequest&) {
    return HttpResult{
        .response = HttpResponse{200}, .body = newTokenAnswer(), .error = std::nullopt};
  });
  onEndpoint(VORNEL_URL_OAUTH_REVOKE).answer(R"({"result":"success"})");
  onEndpoint(VORNEL_URL_OAUTH_PARAM_ENC_KEY).answer(newKey);
}

Data ScriptedHttpClient::newTokenAnswer() {
  const std::lock_guard lock(state_->mutex);
  const std::string number = std::to_string(++state_->tokenAnswers);
  return R"({"access_token":"access-)" + number + R"(","refresh_token":"refresh-)" + number +
         R"(","expires_in":3600,"scope":"profile"})";
}

std::vector<ReceivedRequest> ScriptedHttpClient::received(std::string_view method,
                                                          std::string_view address) const {
  const std::lock_guard lock(state_->mutex);
  std::vector<ReceivedRequest> found;
  for (const ReceivedRequest& request : state_->received) {
    if (request.matches(method, address)) found.push_back(request);
  }
  return found;
}

std::vector<std::string> ScriptedHttpClient::unexpected() const {
  const std::lock_guard lock(state_->mutex);
  return state_->unexpected;
}

std::vector<std::string> ScriptedHttpClient::openedConnections() const {
  const std::lock_guard lock(state_->mutex);
  return state_->openedConnections;
}

void ScriptedHttpClient::advance(milliseconds time) {
  const std::lock_guard lock(state_->mutex);
  state_->now += time;
  state_->changed.notify_all();
}

void ScriptedHttpClient::dropConnections() {
  const std::lock_guard lock(state_->mutex);
  std::multimap<milliseconds, State::Waiting> dropped;
  for (auto& [time, waiting] : state_->waiting) {
    waiting.result = failedAnswer(kCouldNotConnect, "The connection was lost");
    dropped.emplace(state_->now, std::move(waiting));
  }
  state_->waiting.swap(dropped);
  state_->changed.notify_all();
}

void ScriptedHttpClient::waitUntilIdle() {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [this] { return !state_->isCompleting && !state_->isAnyDue(); });
}

HttpResult ScriptedHttpClient::sendSynchronously(const HttpRequest& request) {
  return state_->receive(request).result;
}

void ScriptedHttpClient::sendAsynchronously(std::shared_ptr<const HttpRequest> request,
                                            Completion completion) {
  const std::stop_token& token = request->stopToken;
  Outcome outcome =
      token.stop_requested() ? Outcome{.result = cancelled()} : state_->receive(*request);
  const std::uint64_t number = ++state_->sends;
  auto cancellation = std::make_unique<State::Cancellation>(
      token, [state = state_.get(), number] { state->cancel(number); });
  state_->add(outcome.delay,
              {number, std::move(outcome.result), std::move(completion), std::move(cancellation)},
              token);
}

void ScriptedHttpClient::openConnection(const std::string& url) {
  const std::lock_guard lock(state_->mutex);
  state_->openedConnections.push_back(url);
}

} // namespace quarnet::platform
