#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace quarnet::test {

/// A loopback server that answers with exactly the bytes that a test gives it, over plain TCP.
class WireServer {
public:
  /// What to answer to a request, given as it arrived. After an empty answer, and after one with
  /// "Connection: close", the connection is closed; after the answer kSilence nothing more is said.
  using Script = std::function<std::string(const std::string& request)>;
  static constexpr const char* kSilence = "silence";

  explicit WireServer(Script script, std::uint16_t port = 0);
  ~WireServer();

  std::string url(const std::string& path = "/") const;
  std::uint16_t port() const { return port_; }
  /// All requests, head and body, in the order of their arrival.
  std::vector<std::string> requests() const;
  std::size_t connections() const { return accepted_; }

private:
  void accept();
  void serve(int connection);

  const Script script_;
  std::uint16_t port_;
  int listener_;
  std::atomic<std::size_t> accepted_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::vector<int> open_;
  std::vector<std::thread> threads_;
  bool closing_ = false;
  std::thread acceptor_;
};

/// A whole answer with a body of known length.
std::string answer(const std::string& body, const std::string& fields = {},
                   const std::string& status = "200 OK");

} // namespace quarnet::test
