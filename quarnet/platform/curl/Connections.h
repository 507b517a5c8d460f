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

/// What a client keeps between sends: a pool of lines for the synchronous ones and the threads of
/// the asynchronous ones. It belongs to the process that made it; safe from any of its threads.
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
