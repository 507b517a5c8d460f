#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quarnet::test {

/// A web server of the real world on loopback, plain http on one port, https with HTTP/2 on
/// another. It answers with the target that was asked for; on "/large", with kLarge bytes.
class Nginx {
public:
  static constexpr std::size_t kLarge = 1 << 20;

  /// `directives` are added to the configuration of its two servers. Throws std::runtime_error.
  explicit Nginx(const std::string& directives = {});
  ~Nginx();
  Nginx(const Nginx&) = delete;
  Nginx& operator=(const Nginx&) = delete;

  std::uint16_t httpPort() const { return httpPort_; }
  std::uint16_t httpsPort() const { return httpsPort_; }
  std::string httpsUrl() const { return "https://127.0.0.1:" + std::to_string(httpsPort_); }
  std::string caFile() const { return folder_ + "/server.pem"; }

  struct Arrival {
    std::string method, target, protocol, connection;
  };
  /// Stops the server and tells every request whose head arrived, in the order of their ends.
  std::vector<Arrival> arrivals();

private:
  void stop(int signal);

  std::string folder_;
  std::uint16_t httpPort_, httpsPort_;
  pid_t process_ = -1;
};

} // namespace quarnet::test
