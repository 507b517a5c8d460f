#include "quarnet/platform/curl/EventLoop.h"

#include "quarnet/platform/curl/HttpError.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::size_t kMaximumOnWire = 64;
constexpr int kLongestSleepInMilliseconds = 60'000;

} // namespace

struct EventLoop::Flight {
  Flight(TrustStore& trust, std::size_t maximumBodySize)
      : transfer(trust, maximumBodySize, Transfer::Kind::multiplexed) {}

  Transfer transfer;
  Submission submission;
};

EventLoop::EventLoop(TrustStore& trust, std::size_t maximumBodySize, WorkerPool& workers)
    : trust_(trust), maximumBodySize_(maximumBodySize), workers_(workers),
      multi_(curl_multi_init(), curl_multi_cleanup) {
  if (!multi_) throw std::bad_alloc();
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, long{kMaximumOnWire});
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, long{kMaximumOnWire});
  flights_.reserve(kMaximumOnWire);
  idle_.reserve(kMaximumOnWire);
  thread_ = std::thread([this] { run(); });
}

EventLoop::~EventLoop() = default;

void EventLoop::submit(std::shared_ptr<const HttpRequest> request,
                       HttpClient::Completion& completion) {
  std::unique_lock lock(mutex_);
  if (endReason_ == nullptr) {
    queue_.emplace_back();
    queue_.back() = {std::move(request), std::move(completion)};
    if (std::exchange(starved_, false)) curl_multi_wakeup(multi_.get());
    return;
  }
  HttpResult result = failedResult(CURLE_ABORTED_BY_CALLBACK, endReason_);
  lock.unlock();
  workers_.run({[completion = std::move(completion), result = std::move(result)]() mutable {
    completion(std::move(result));
  }});
}

void EventLoop::stop(const char* reason) {
  {
    const std::lock_guard lock(mutex_);
    if (endReason_ == nullptr) endReason_ = reason;
    curl_multi_wakeup(multi_.get());
  }
  const std::lock_guard lock(joining_);
  if (thread_.joinable()) thread_.join();
}

void EventLoop::run() {
  while (!isEnding()) {
    int running = 0;
    curl_multi_perform(multi_.get(), &running);
    collect();
    const bool admitted = admit();
    workers_.run(std::exchange(completed_, {}));
    // What was just admitted wants to be started before anything is waited for.
    if (!admitted) {
      curl_multi_poll(multi_.get(), nullptr, 0, kLongestSleepInMilliseconds, nullptr);
    }
  }
  abandonAll();
}

bool EventLoop::isEnding() {
  const std::lock_guard lock(mutex_);
  return endReason_ != nullptr;
}

bool EventLoop::admit() {
  bool admitted = false;
  for (;;) {
    const std::size_t onWire = flights_.size() - idle_.size();
    std::vector<Submission> next = take(kMaximumOnWire - onWire);
    if (next.empty()) return admitted;
    admitted = true;
    for (Submission& submission : next)
      launch(std::move(submission));
  }
}

std::vector<EventLoop::Submission> EventLoop::take(std::size_t count) {
  const std::lock_guard lock(mutex_);
  starved_ = queue_.empty() && count > 0;
  const auto end = queue_.begin() + static_cast<std::ptrdiff_t>(std::min(count, queue_.size()));
  std::vector<Submission> taken(std::make_move_iterator(queue_.begin()),
                                std::make_move_iterator(end));
  queue_.erase(queue_.begin(), end);
  return taken;
}

void EventLoop::launch(Submission submission) {
  if (idle_.empty() && !addFlight()) {
    complete(std::move(submission),
             failedResult(CURLE_OUT_OF_MEMORY, "Not enough memory to send the request"));
    return;
  }
  Flight& flight = *idle_.back();
  idle_.pop_back();
  flight.submission = std::move(submission);
  if (flight.transfer.begin(*flight.submission.request)) {
    put(flight);
  } else {
    land(flight);
  }
}

void EventLoop::put(Flight& flight) {
  const CURLMcode code = curl_multi_add_handle(multi_.get(), flight.transfer.easy());
  if (code == CURLM_OK) return;
  complete(std::move(flight.submission),
           failedResult(CURLE_FAILED_INIT, curl_multi_strerror(code)));
  idle_.push_back(&flight);
}

bool EventLoop::addFlight() {
  try {
    auto flight = std::make_unique<Flight>(trust_, maximumBodySize_);
    curl_easy_setopt(flight->transfer.easy(), CURLOPT_PRIVATE, flight.get());
    idle_.push_back(flight.get());
    flights_.push_back(std::move(flight));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void EventLoop::collect() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    Flight* flight = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &flight);
    // The message is gone once its handle is removed.
    const CURLcode code = message->data.result;
    curl_multi_remove_handle(multi_.get(), flight->transfer.easy());
    if (flight->transfer.advance(code)) {
      put(*flight);
    } else {
      land(*flight);
    }
  }
}

void EventLoop::land(Flight& flight) {
  complete(std::move(flight.submission), flight.transfer.takeResult());
  idle_.push_back(&flight);
}

void EventLoop::complete(Submission submission, HttpResult result) {
  // The request goes along, so that it is let go of on a worker, too.
  completed_.emplace_back(
      [submission = std::move(submission), result = std::move(result)]() mutable {
        submission.completion(std::move(result));
      });
}

void EventLoop::abandonAll() {
  // From here on submit() turns new ones away: what the queue holds now is all there is.
  for (const auto& flight : flights_) {
    if (flight->submission.request == nullptr) continue;
    curl_multi_remove_handle(multi_.get(), flight->transfer.easy());
    HttpResult result = flight->transfer.takeResult();
    result.error = httpError(CURLE_ABORTED_BY_CALLBACK, endReason_);
    complete(std::move(flight->submission), std::move(result));
  }
  for (Submission& submission : take(queue_.size()))
    complete(std::move(submission), failedResult(CURLE_ABORTED_BY_CALLBACK, endReason_));
  workers_.run(std::exchange(completed_, {}));
}

} // namespace quarnet::platform
