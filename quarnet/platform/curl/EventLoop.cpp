#include "quarnet/platform/curl/EventLoop.h"

#include "quarnet/platform/curl/Cancellation.h"
#include "quarnet/platform/curl/HttpError.h"
#include "quarnet/platform/curl/Origin.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

namespace quarnet::platform {
namespace {

constexpr std::chrono::milliseconds kLongestSleep{60'000};
constexpr std::chrono::milliseconds kBetweenReminders{500};
constexpr const char* kCancelled = "The request was cancelled";

} // namespace

struct EventLoop::Flight {
  Flight(TrustStore& trust, std::size_t maximumBodySize, CURLSH* share, Goaways& goaways,
         Sockets& sockets)
      : transfer(trust, maximumBodySize, share, &goaways, &sockets) {}

  Transfer transfer;
  Submission submission;
  SendQueue::Origin* origin = nullptr;
};

EventLoop::EventLoop(TrustStore& trust, std::size_t maximumBodySize, WorkerPool& workers)
    : trust_(trust), maximumBodySize_(maximumBodySize), workers_(workers),
      multi_(curl_multi_init(), curl_multi_cleanup),
      reminder_(curl_easy_init(), curl_easy_cleanup) {
  if (!multi_ || !reminder_) throw std::bad_alloc();
  // libcurl says nothing when it had no descriptors left for this; the loop would sleep through
  // what is submitted for good.
  if (curl_multi_wakeup(multi_.get()) != CURLM_OK) {
    throw std::system_error(std::make_error_code(std::errc::too_many_files_open));
  }
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS, long{kMaximumOnWirePerOrigin});
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, long{kMaximumOnWire});
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, long{kMaximumOnWire});
  thread_ = std::thread([this] { run(); });
}

EventLoop::~EventLoop() = default;

void EventLoop::submit(Submission submission) {
  const std::stop_token token = submission.request->stopToken;
  const std::shared_ptr<Cancellation> cancellation =
      token.stop_possible() ? Cancellation::make(*this, token) : nullptr;
  submission.cancellation = cancellation;
  std::unique_lock lock(mutex_);
  // A stop from here on finds the send in the queue: it is looked for under the lock.
  const char* const refusal = token.stop_requested() ? kCancelled : endReason_;
  if (refusal == nullptr) {
    const SendQueue::Place place = queue_.push(std::move(submission));
    if (cancellation) cancellation->place = place;
    if (starved_ && queue_.hasNext()) {
      starved_ = false;
      curl_multi_wakeup(multi_.get());
    }
    return;
  }
  lock.unlock();
  if (cancellation) cancellation->end();
  HttpResult result = failedResult(CURLE_ABORTED_BY_CALLBACK, refusal);
  workers_.run({[submission = std::move(submission), result = std::move(result)]() mutable {
    submission.completion(std::move(result));
  }});
}

void EventLoop::cancel(std::shared_ptr<Cancellation> cancellation) {
  // The lock of another process's loop may be held for good.
  if (cancellation == nullptr || forks_ != forkCount()) return;
  const std::lock_guard lock(mutex_);
  if (cancelled_.empty()) curl_multi_wakeup(multi_.get());
  cancelled_.push_back(std::move(cancellation));
}

void EventLoop::openConnection(const std::string& url) {
  const std::string_view origin = originIn(url);
  const std::lock_guard lock(mutex_);
  // What is on its way there has its connections.
  if (queue_.holds(origin) || wanted_.contains(origin)) return;
  if (wanted_.empty()) curl_multi_wakeup(multi_.get());
  wanted_.emplace(origin);
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
    endCancelled();
    openWanted();
    const bool admitted = admit();
    workers_.run(std::exchange(completed_, {}));
    // What was just admitted is started before the thread waits.
    if (!admitted) sleep();
  }
  abandonAll();
}

void EventLoop::sleep() {
  sockets_.closeUnused();
  const bool isIdle = flights_.size() == idle_.size();
  const auto limit = isIdle && !sockets_.hasUnused() ? kLongestSleep : kBetweenReminders;
  curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(limit.count()), nullptr);
  const auto now = std::chrono::steady_clock::now();
  if (isIdle || now - lastReminder_ < kBetweenReminders) return;
  lastReminder_ = now;
  remindOfWaiting();
}

// libcurl 7.88 may forget requests that wait for a connection to share, until their time is up.
// Each handle that is removed makes it check the first of them.
void EventLoop::remindOfWaiting() {
  for (std::size_t i = idle_.size(); i < flights_.size(); ++i) {
    curl_multi_add_handle(multi_.get(), reminder_.get());
    curl_multi_remove_handle(multi_.get(), reminder_.get());
  }
}

bool EventLoop::isEnding() {
  const std::lock_guard lock(mutex_);
  return endReason_ != nullptr;
}

bool EventLoop::admit() {
  bool admitted = false;
  for (;;) {
    std::vector<SendQueue::Next> next = take();
    if (next.empty()) return admitted;
    admitted = true;
    for (SendQueue::Next& one : next)
      launch(std::move(one));
  }
}

std::vector<SendQueue::Next> EventLoop::take() {
  std::vector<SendQueue::Next> taken;
  const std::lock_guard lock(mutex_);
  for (SendQueue::Origin* origin : std::exchange(landed_, {}))
    queue_.landed(origin);
  while (queue_.hasNext()) {
    taken.push_back(queue_.take());
    if (const auto& cancellation = taken.back().submission.cancellation)
      cancellation->place.reset();
  }
  starved_ = taken.empty();
  return taken;
}

void EventLoop::launch(SendQueue::Next next) {
  if (idle_.empty()) addFlight();
  Flight& flight = *idle_.back();
  idle_.pop_back();
  flight.submission = std::move(next.submission);
  flight.origin = next.origin;
  if (flight.submission.cancellation) flight.submission.cancellation->flight = &flight;
  if (flight.transfer.begin(*flight.submission.request)) {
    put(flight);
  } else {
    land(flight, flight.transfer.takeResult());
  }
}

void EventLoop::addFlight() {
  flights_.push_back(
      std::make_unique<Flight>(trust_, maximumBodySize_, share_.get(), goaways_, sockets_));
  idle_.push_back(flights_.back().get());
}

void EventLoop::put(Flight& flight) {
  curl_easy_setopt(flight.transfer.easy(), CURLOPT_PRIVATE, &flight);
  const CURLMcode code = curl_multi_add_handle(multi_.get(), flight.transfer.easy());
  if (code != CURLM_OK) land(flight, failedResult(CURLE_FAILED_INIT, curl_multi_strerror(code)));
}

void EventLoop::collect() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    Flight* flight = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &flight);
    // The message is freed with the removal of its handle.
    const CURLcode code = message->data.result;
    if (flight == nullptr) {
      opener_.finish(message->easy_handle, code);
      continue;
    }
    curl_multi_remove_handle(multi_.get(), flight->transfer.easy());
    if (flight->transfer.advance(code)) {
      put(*flight);
    } else {
      land(*flight, flight->transfer.takeResult());
    }
  }
}

void EventLoop::endCancelled() {
  std::vector<std::shared_ptr<Cancellation>> cancelled;
  std::vector<Submission> waiting;
  {
    const std::lock_guard lock(mutex_);
    cancelled.swap(cancelled_);
    for (const auto& one : cancelled) {
      if (const auto place = std::exchange(one->place, {}))
        waiting.push_back(queue_.remove(*place));
    }
  }
  for (Submission& submission : waiting)
    complete(std::move(submission), failedResult(CURLE_ABORTED_BY_CALLBACK, kCancelled));
  for (const auto& one : cancelled) {
    Flight* const flight = one->flight;
    if (flight != nullptr) land(*flight, abandon(*flight, kCancelled));
  }
}

void EventLoop::openWanted() {
  std::set<std::string, std::less<>> wanted;
  {
    const std::lock_guard lock(mutex_);
    wanted.swap(wanted_);
  }
  for (const std::string& origin : wanted)
    opener_.open(origin);
}

HttpResult EventLoop::abandon(Flight& flight, const char* reason) {
  curl_multi_remove_handle(multi_.get(), flight.transfer.easy());
  return flight.transfer.abandon(reason);
}

void EventLoop::land(Flight& flight, HttpResult result) {
  complete(std::move(flight.submission), std::move(result));
  landed_.push_back(flight.origin);
  idle_.push_back(&flight);
}

void EventLoop::complete(Submission submission, HttpResult result) {
  if (submission.cancellation) {
    submission.cancellation->flight = nullptr;
    submission.cancellation->end();
  }
  // The request is captured as well, so that a worker frees it.
  completed_.emplace_back(
      [submission = std::move(submission), result = std::move(result)]() mutable {
        submission.completion(std::move(result));
      });
}

void EventLoop::abandonAll() {
  // submit() queues nothing any more, so the queue holds all that is left.
  for (const auto& flight : flights_) {
    if (flight->submission.request == nullptr) continue;
    HttpResult result = abandon(*flight, endReason_);
    complete(std::move(flight->submission), std::move(result));
  }
  for (Submission& submission : queue_.takeAll())
    complete(std::move(submission), failedResult(CURLE_ABORTED_BY_CALLBACK, endReason_));
  workers_.run(std::exchange(completed_, {}));
}

} // namespace quarnet::platform
