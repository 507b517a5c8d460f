#pragma once

#include "quarnet/platform/HttpClient.h"

#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quarnet::platform {

/// How many asynchronous sends of a client run at a time ("on the wire"), and how many connections
/// they may have.
inline constexpr std::size_t kMaximumOnWire = 256;
inline constexpr std::size_t kMaximumOnWirePerOrigin = 64;

struct Cancellation;

/// One asynchronous send.
struct Submission {
  std::shared_ptr<const HttpRequest> request;
  HttpClient::Completion completion;
  /// Null when nobody can ask for its end.
  std::shared_ptr<Cancellation> cancellation = nullptr;
};

/// The sends that wait for their turn. The origins take turns, so that none delays another.
/// However many sends wait, each operation takes the same time. Not safe from several threads at
/// once.
class SendQueue {
public:
  struct Origin;

  SendQueue();
  ~SendQueue();

  /// Where a send waits; valid until the send is taken or removed.
  struct Place {
    Origin* origin;
    std::list<Submission>::iterator entry;
  };
  /// Adds a send behind those of its origin.
  Place push(Submission submission);
  /// Takes a send out of the queue for good.
  Submission remove(const Place& place);
  /// Whether a send to the origin of that name waits or is on the wire.
  bool holds(std::string_view origin) const;
  /// Whether a send may start now.
  bool hasNext() const;

  struct Next {
    Submission submission;
    Origin* origin;
  };
  /// The send whose turn it is; counts as on the wire until its origin is given to landed().
  Next take();
  /// Notes that a send to this origin has ended.
  void landed(Origin* origin);

  /// Takes what waits, in whatever order.
  std::vector<Submission> takeAll();

private:
  void update(Origin& origin);

  std::map<std::string, Origin, std::less<>> origins_;
  /// The origins with a waiting send that may start, the next one in front.
  std::list<Origin*> ready_;
  std::size_t onWire_ = 0;
};

} // namespace quarnet::platform
