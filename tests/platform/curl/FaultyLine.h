#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quarnet::test {

/// Stands between a client and a server on loopback and hands their bytes on, whatever they mean,
/// until the connection's fault happens.
class FaultyLine {
public:
  struct Fault {
    bool towardsServer = false;         ///< which direction's bytes are counted
    std::size_t after = SIZE_MAX;       ///< that many bytes get through before the end
    bool isReset = false;               ///< both ends see a reset, not an orderly end
    std::chrono::milliseconds delay{0}; ///< before each piece
  };

  /// `faults` is asked once for each connection, one after the other.
  FaultyLine(std::uint16_t serverPort, std::function<Fault()> faults);
  ~FaultyLine();
  FaultyLine(const FaultyLine&) = delete;
  FaultyLine& operator=(const FaultyLine&) = delete;

  std::uint16_t port() const { return port_; }

private:
  void accept(std::uint16_t serverPort);
  void carry(int client, int server, Fault fault);

  const std::function<Fault()> faults_;
  std::uint16_t port_ = 0;
  int listener_;
  std::atomic<bool> ending_ = false;
  std::vector<std::thread> lines_;
  std::thread acceptor_;
};

} // namespace quarnet::test
