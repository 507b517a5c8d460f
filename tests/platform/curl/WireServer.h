#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quarnet::test {

/// A server on loopback over plain TCP, with a thread for each connection. It answers with exactly
/// the bytes that a test gives it, or serves its connections as the test does.
class WireServer {
public:
  /// What to answer to a request, given as it arrived. After an empty answer, and after one with
  /// "Connection: close", the connection is closed; after the answer kSilence nothing more is said.
  using Script = std::function<std::string(const std::string& request)>;
  static constexpr const char* kSilence = "silence";
  /// Serves a connection, which is closed when it returns and sees its end with the server's.
  using Serve = std::function<void(int connection)>;

  explicit WireServer(Script script);
  explicit WireServer(Serve serve);
  ~WireServer();

  std::string url(const std::string& path = "/", const std::string& scheme = "http") const;
  std::uint16_t port() const { return port_; }
  /// All requests that the script answered, head and body, in the order of their arrival.
  std::vector<std::string> requests() const;
  std::size_t connections() const { return accepted_; }

private:
  void accept();
  void converse(int connection, const Script& script);

  const Serve serve_;
  std::uint16_t port_ = 0;
  int listener_;
  std::atomic<std::size_t> accepted_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::vector<int> open_;
  std::vector<std::jthread> threads_;
  std::thread acceptor_;
};

/// A whole answer with a body of known length.
std::string answer(const std::string& body, const std::string& fields = {},
                   const std::string& status = "200 OK");

/// A socket that is connected to that port; negative when nobody listens there.
int connectToLoopback(std::uint16_t port);
/// A port that was free a moment ago: each one once, and none of those that the system gives to
/// connections.
std::uint16_t freeLoopbackPort();

} // namespace quarnet::test
