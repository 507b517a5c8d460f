#pragma once

#include "sandbox/Misbehaviour.h"
#include "sandbox/Options.h"
#include "sandbox/ReceivedRequest.h"
#include "sandbox/Tokens.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quarnet::sandbox {

/// The whole API server on one loopback port, https and http alike, in this process.
///
/// The constructor returns when connections are accepted, and throws std::runtime_error with a text
/// for people when the port cannot be had. Every operation may be called from any thread; stop()
/// and destruction not from the log function. The certificate is made once a process, so a client
/// that trusts it trusts every server of this process, also one started later on the same port.
class Server {
public:
  explicit Server(Options options = {});
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Closes every connection and frees the port. What was received can still be read.
  void stop();

  /// Address and port, "127.0.0.1:40123": the host that serves API, mobile site and portal.
  std::string host() const;
  std::uint16_t port() const;
  /// Path of the PEM certificate to trust, in a private folder that is removed when the process
  /// exits.
  static std::string caFile();

  /// Signs the user in without a page: tokens as good as those of the token endpoint.
  Tokens issueTokens(std::string scope = {}, std::optional<std::chrono::seconds> lifetime = {});
  /// The code that a consent would end with; to be exchanged once, within a minute.
  std::string issueCode(std::string redirectUri = "about:blank", std::string scope = {});
  /// Whether an API call with this access token would be let in now.
  bool tokenIsLive(const std::string& accessToken) const;

  /// From now on, requests for exactly this path (as received, with its suffix; "*": every path
  /// that has none of its own) are answered wrongly.
  void misbehave(std::string path, Misbehaviour misbehaviour);
  void behave();

  /// The requests that were received completely, in that order, each recorded before it was
  /// answered: the last 20,000, and of those what fits in 256 MiB.
  std::vector<ReceivedRequest> received() const;
  void clearReceived();
  /// Every request since the start, recorded or not.
  std::uint64_t requestCount() const;

  std::size_t openConnections() const;
  std::uint64_t acceptedConnections() const;

private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

} // namespace quarnet::sandbox
