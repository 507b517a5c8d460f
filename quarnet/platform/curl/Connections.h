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

  /// A sender and the origin whose connection it may have.
  struct Line {
    std::string origin;
    std::unique_ptr<Sender> sender;
  };
  /// A line for one synchronous send to `url`: the last one that was used for its origin, whose
  /// connection may still be open, or a new one.
  Line take(std::string_view url);
  /// Keeps the line for the next send to its origin.
  void giveBack(Line line);

  /// The client's threads, made with the first call. Throws std::system_error when none can be
  /// made.
  Background& background();

  /// Whether this is another process than the one that made the connections: a child that inherited
  /// them must neither use nor close them, since its parent does.
  bool inherited() const { return forks_ != forkCount(); }

private:
  const std::size_t maximumBodySize_;
  const unsigned forks_ = forkCount();
  TrustStore trust_;
  std::mutex mutex_;
  std::vector<Line> idle_;
  std::shared_ptr<Background> background_;
};

} // namespace quarnet::platform
