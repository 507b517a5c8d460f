#pragma once

#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/curl/EasyHandle.h"
#include "quarnet/platform/curl/Goaways.h"
#include "quarnet/platform/curl/HttpError.h"
#include "quarnet/platform/curl/Resend.h"
#include "quarnet/platform/curl/Sockets.h"

namespace quarnet::platform {

/// One request from start to result, redirects and further attempts included; used for one request
/// after the other. A part of the request or of its answer that is too large for the memory is an
/// error of it.
///
///     bool isRunning = transfer.begin(request);
///     while (isRunning) isRunning = transfer.advance(code of performing transfer.easy());
///     return transfer.takeResult();
class Transfer {
public:
  /// With `goaways`, the transfer is one of many of a multi handle, and they share an HTTP/2
  /// connection where the server offers it; one that has its connection to itself, without
  /// `goaways`, is cheaper over HTTP/1.1. `share` holds what outlives a hop. New connections take
  /// their sockets from `sockets`; null for libcurl's own. All must outlive the transfer, `sockets`
  /// the connections.
  Transfer(TrustStore& trust, std::size_t maximumBodySize, CURLSH* share, Goaways* goaways,
           Sockets* sockets);
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Starts the clock and sets easy() up for `request`, which must stay as it is until the result
  /// is taken. False when nothing is to be sent, because there is a result already.
  bool begin(const HttpRequest& request) noexcept;

  /// Takes the code with which libcurl ended. True when easy(), which may be another handle now, is
  /// set up for another hop or attempt, false when there is a result.
  bool advance(CURLcode code) noexcept;

  HttpResult takeResult();

  /// Ends a transfer that libcurl had not ended; takes what had arrived, with an error.
  HttpResult abandon(const char* reason);

  CURL* easy() const { return handle_.get(); }

private:
  using Clock = std::chrono::steady_clock;

  static curl_socket_t onSocket(void* transfer, curlsocktype, curl_sockaddr* address);
  static int onSocketMade(void* transfer, curl_socket_t, curlsocktype);
  static int onStart(void* transfer, char* farAddress, char*, int farPort, int nearPort);
  static int onProgress(void* transfer, curl_off_t toReceive, curl_off_t received,
                        curl_off_t toSend, curl_off_t sent);
  static int onDebug(CURL*, curl_infotype type, char* text, std::size_t size, void* transfer);
  static std::size_t onHeader(char* line, std::size_t, std::size_t size, void* transfer);
  static std::size_t onBody(char* data, std::size_t, std::size_t size, void* transfer);
  bool receiveHeaderLine(std::string_view line) noexcept;
  void addToHead(std::string_view line);
  void endHead();
  bool receiveBody(std::string_view piece) noexcept;

  void renewHandle();
  void listen(bool isSent);
  bool follow(std::string url);
  bool sendAgain();
  bool prepareHop();
  FailedAttempt failedAttempt(CURLcode code) const;
  bool hasBegunToSend() const;
  bool isOnNewConnection() const;
  void report();
  bool fail(CURLcode code, std::string description) {
    return fail(code, std::move(description), failureOf(code));
  }
  bool fail(CURLcode code, std::string description, HttpFailure failure);
  std::string describe(CURLcode code) const;

  TrustStore& trust_;
  const std::size_t maximumBodySize_;
  Goaways* const goaways_;
  Sockets* const sockets_;
  EasyHandle handle_;
  const HttpRequest* request_ = nullptr;
  Clock::time_point deadline_;
  Hop hop_;
  int redirects_ = 0;
  /// How often libcurl has begun to send the hop in this attempt, and where it did so first.
  int starts_ = 0;
  Goaways::Connection connection_;
  unsigned stream_ = 0;
  /// Whether the last socket of this attempt was connected ahead, and whether any was.
  bool isConnected_ = false;
  bool wasConnectedAhead_ = false;
  /// Whether the server said that it did not process this attempt, and that it wants HTTP/1.1.
  bool wasRefused_ = false;
  bool wantsHttp1_ = false;
  bool isListening_ = false;
  /// How many further attempts the hop has had.
  int resends_ = 0;
  HttpProgress progress_;
  Clock::time_point lastReport_;
  /// The header fields of the head that arrives, for a request that wants them.
  std::string fields_;
  HttpResult result_;
  /// Why the body was refused; CURLE_OK while it was not.
  CURLcode refusal_ = CURLE_OK;
};

} // namespace quarnet::platform
