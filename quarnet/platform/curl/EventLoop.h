#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/curl/Goaways.h"
#include "quarnet/platform/curl/SendQueue.h"
#include "quarnet/platform/curl/Share.h"
#include "quarnet/platform/curl/Transfer.h"
#include "quarnet/platform/curl/WorkerPool.h"

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quarnet::platform {

/// One thread that makes all asynchronous sends of a client.
///
/// Few transfers run at a time and the rest wait in a queue, so that a waiting send costs no more
/// than its entry there. Every send that was submitted completes exactly once, on the
/// workers.
class EventLoop {
public:
  /// `trust` must outlive the loop. Throws std::system_error when no thread can be made.
  EventLoop(TrustStore& trust, std::size_t maximumBodySize, WorkerPool& workers);
  /// The loop was stopped before.
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Safe from any thread. After stop() the send fails with the reason given there.
  void submit(Submission submission);

  /// Fails all sends, those that are submitted from now on included, with the description `reason`,
  /// and returns when the thread has ended. Safe from any thread, also twice.
  void stop(const char* reason);

private:
  struct Flight;

  void run();
  bool isEnding();
  bool admit();
  std::vector<SendQueue::Next> take();
  void launch(SendQueue::Next next);
  void addFlight();
  void put(Flight& flight);
  void collect();
  void sleep();
  void remindOfWaiting();
  void land(Flight& flight, HttpResult result);
  void complete(Submission submission, HttpResult result);
  void abandonAll();

  TrustStore& trust_;
  const std::size_t maximumBodySize_;
  WorkerPool& workers_;
  Share share_;
  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
  /// Never sends anything.
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> reminder_;

  // Used by the loop's thread alone.
  Goaways goaways_;
  std::chrono::steady_clock::time_point lastReminder_;
  std::vector<std::unique_ptr<Flight>> flights_;
  std::vector<Flight*> idle_;
  /// The origins of the sends that ended since queue_ was last updated.
  std::vector<SendQueue::Origin*> landed_;
  /// What ended in this turn of the loop, for the workers.
  std::vector<std::function<void()>> completed_;

  std::mutex mutex_;
  SendQueue queue_;
  /// Whether the thread found nothing that may be sent, so that the next submission must wake it.
  bool starved_ = false;
  const char* endReason_ = nullptr;

  std::mutex joining_;
  std::thread thread_;
};

} // namespace quarnet::platform
