#pragma once

#include "quarnet/platform/ForkCount.h"
#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/WorkerPool.h"
#include "quarnet/platform/curl/ConnectionOpener.h"
#include "quarnet/platform/curl/Goaways.h"
#include "quarnet/platform/curl/SendQueue.h"
#include "quarnet/platform/curl/Share.h"
#include "quarnet/platform/curl/Transfer.h"

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <set>
#include <string>
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
  /// `trust` must outlive the loop. Throws std::system_error when no thread can be made or
  /// the descriptors do not suffice.
  EventLoop(TrustStore& trust, std::size_t maximumBodySize, WorkerPool& workers);
  /// The loop was stopped before.
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Safe from any thread. After stop() the send fails with the reason given there.
  void submit(Submission submission);

  /// Takes a submitted send off the wire or out of the queue and completes it with an error;
  /// nothing for null and when it has ended. Safe from any thread of the process that made the
  /// loop; does nothing in another one.
  void cancel(std::shared_ptr<Cancellation> cancellation);

  /// See HttpClient. Safe from any thread.
  void openConnection(const std::string& url);

  struct Flight;

  /// Fails all sends, those that are submitted from now on included, with the description `reason`,
  /// and returns when the thread has ended. Safe from any thread, also twice.
  void stop(const char* reason);

private:
  void run();
  bool isEnding();
  bool admit();
  std::vector<SendQueue::Next> take();
  void launch(SendQueue::Next next);
  void addFlight();
  void put(Flight& flight);
  void collect();
  void endCancelled();
  void openWanted();
  void sleep();
  void remindOfWaiting();
  HttpResult abandon(Flight& flight, const char* reason);
  void land(Flight& flight, HttpResult result);
  void complete(Submission submission, HttpResult result);
  void abandonAll();

  TrustStore& trust_;
  const std::size_t maximumBodySize_;
  const unsigned forks_ = forkCount();
  WorkerPool& workers_;
  Share share_;
  Sockets sockets_;
  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi_;
  /// Never sends anything.
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> reminder_;

  // Used by the loop's thread alone.
  ConnectionOpener opener_{multi_.get(), sockets_};
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
  /// What is to end before its time.
  std::vector<std::shared_ptr<Cancellation>> cancelled_;
  /// The origins to which a connection is to be opened.
  std::set<std::string, std::less<>> wanted_;
  /// Whether the thread found nothing that may be sent, so that the next submission must wake it.
  bool starved_ = false;
  const char* endReason_ = nullptr;

  std::mutex joining_;
  std::thread thread_;
};

} // namespace quarnet::platform
