#pragma once

#include "quarnet/oauth/SessionEvent.h"

#include <memory>

namespace quarnet {

/// Tells whoever wants to know what happens to the session. Safe from any thread.
///
/// An event is noted at the moment when it happens, under whatever lock orders it, and told later
/// without that lock. Events are told one after another, in the order in which they were noted.
class SessionEvents {
public:
  class Observer {
  public:
    virtual ~Observer() = default;
    /// Called on any thread, never by two at a time. Must be short.
    virtual void happened(SessionEvent event) = 0;
  };

  /// Keeps the observer and tells it what is noted from now on.
  static void add(std::shared_ptr<Observer> observer);

  /// Lets go of the observer. A thread that tells an event just now may still call it.
  static void remove(const Observer* observer);

  /// Notes an event for tell(). One that does not fit into the memory is not told.
  static void note(SessionEvent event) noexcept;

  /// Tells what was noted; when another thread does so just now, that one tells all of it.
  static void tell();

  /// Both, for what needs no lock.
  static void publish(SessionEvent event);
};

} // namespace quarnet
