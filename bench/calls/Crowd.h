#pragma once

#include "quarnet/quarnet.h"

#include <string>

namespace quarnet::bench {

/// The payload of every asynchronous call here.
extern const std::string kCrowdPayload;

/// An application that keeps a number of asynchronous POSTs in flight, an APIRequest for each, and
/// sends the next one when one is answered.
class Crowd {
public:
  /// Makes `total` calls, at most `inFlight` at a time, and runs the main loop until all of them
  /// are answered.
  void run(int total, int inFlight);

private:
  void send();
  void finished(const ResultDictionary& result);
  void failed(const ResultDictionary& result);

  int unsent_ = 0;
  int unanswered_ = 0;
};

/// The same with one curl_multi: `handles` handles with a request each, used again for the next
/// call, over at most as many connections as the library opens.
class RawCrowd {
public:
  explicit RawCrowd(int handles);
  ~RawCrowd();
  RawCrowd(const RawCrowd&) = delete;
  RawCrowd& operator=(const RawCrowd&) = delete;

  void run(int total);

private:
  struct Impl;
  Impl* impl_;
};

} // namespace quarnet::bench
