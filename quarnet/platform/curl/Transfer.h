#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/curl/EasyHandle.h"

namespace quarnet::platform {

/// The way of one request over one libcurl handle, redirects included; used for one request after
/// the other.
///
///     bool goesOn = transfer.begin(request);
///     while (goesOn) goesOn = transfer.advance(curl_easy_perform(transfer.easy()));
///     return transfer.takeResult();
class Transfer {
public:
  enum class Kind { single, multiplexed };

  /// A multiplexed transfer shares an HTTP/2 connection with others where the server offers it; one
  /// that has its connection to itself is cheaper over HTTP/1.1. `trust` must outlive the transfer.
  /// Throws std::bad_alloc.
  Transfer(TrustStore& trust, std::size_t maximumBodySize, Kind kind);
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Starts the clock and sets easy() up for `request`, which must stay as it is until the result
  /// is taken. False when nothing is to be sent, because the result is there already.
  bool begin(const HttpRequest& request) noexcept;

  /// Takes note of how libcurl ended. True when easy() is set up for another hop, false when the
  /// result is there.
  bool advance(CURLcode code) noexcept;

  HttpResult takeResult();

  CURL* easy() const { return handle_.get(); }

private:
  using Clock = std::chrono::steady_clock;

  static std::size_t onHeader(char* line, std::size_t, std::size_t size, void* transfer);
  static std::size_t onBody(char* data, std::size_t, std::size_t size, void* transfer);
  void receiveHeaderLine(std::string_view line);
  bool receiveBody(std::string_view piece) noexcept;

  bool follow(std::string url);
  bool prepareHop();
  bool wasTurnedAway(CURLcode code) const;
  bool fail(CURLcode code, std::string description);
  std::string describe(CURLcode code) const;

  TrustStore& trust_;
  const std::size_t maximumBodySize_;
  const Kind kind_;
  EasyHandle handle_;
  const HttpRequest* request_ = nullptr;
  Clock::time_point deadline_;
  Hop hop_;
  int redirects_ = 0;
  /// Whether an HTTP/2 connection turned the request away.
  bool withoutHttp2_ = false;
  HttpResult result_;
  /// Why the body was refused; CURLE_OK while it was not.
  CURLcode refusal_ = CURLE_OK;
};

} // namespace quarnet::platform
