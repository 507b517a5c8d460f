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

/// One thread that carries all asynchronous sends of a client.
///
/// Few transfers are on the wire at a time and the rest wait in a queue, so that what a waiting
/// send costs is its entry there. Every send that was submitted completes exactly once, on the
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

  /// Fails all that is queued or on the wire, as all that is submitted from now on, with the
  /// description `reason`, and returns when the thread has ended. Safe from any thread, also twice.
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

  // Of the loop's thread alone.
  Goaways goaways_;
  std::chrono::steady_clock::time_point lastReminder_;
  std::vector<std::unique_ptr<Flight>> flights_;
  std::vector<Flight*> idle_;
  /// Where sends have left the wire since the queue was last told.
  std::vector<SendQueue::Origin*> landed_;
  /// What ended in this turn of the loop, for the workers.
  std::vector<std::function<void()>> completed_;

  std::mutex mutex_;
  SendQueue queue_;
  /// The thread found nothing that may go on the wire and wants to hear of the next submission.
  bool starved_ = false;
  const char* endReason_ = nullptr;

  std::mutex joining_;
  std::thread thread_;
};

} // namespace quarnet::platform
