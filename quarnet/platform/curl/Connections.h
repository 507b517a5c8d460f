#pragma once

#include "quarnet/platform/curl/Background.h"
#include "quarnet/platform/curl/CurlHttpClient.h"
#include "quarnet/platform/curl/Sender.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// All that a client has open: senders that wait for the next synchronous send, and the threads of
/// the asynchronous ones. Of one process; safe from any thread of it.
class Connections {
public:
  explicit Connections(const CurlHttpClientOptions& options);

  /// A sender for one synchronous send to `url`: the last one that was there, whose connection may
  /// still be open, or a new one.
  std::unique_ptr<Sender> take(std::string_view url);
  /// Keeps the sender for the next send to where `url` lies.
  void giveBack(std::unique_ptr<Sender> sender, std::string_view url);

  /// The client's threads, made with the first call. Throws std::system_error when none can be
  /// made.
  Background& background();

  /// Whether this is another process than the one that made the connections: a child that inherited
  /// them must neither use nor close them, since its parent does.
  bool inherited() const { return forks_ != forkCount(); }

private:
  struct Idle {
    std::string origin;
    std::unique_ptr<Sender> sender;
  };

  const std::size_t maximumBodySize_;
  const unsigned forks_ = forkCount();
  TrustStore trust_;
  std::mutex mutex_;
  std::vector<Idle> idle_;
  std::shared_ptr<Background> background_;
};

} // namespace quarnet::platform
