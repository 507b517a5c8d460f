#pragma once

#include "quarnet/core/Callback.h"
#include "quarnet/platform/Clock.h"
#include "quarnet/platform/HttpClient.h"
#include "quarnet/platform/Log.h"
#include "quarnet/platform/MainThread.h"
#include "quarnet/platform/UserDefaults.h"

#include <memory>

namespace quarnet {
class Registration;
}

namespace quarnet::platform {

class Toolkit;

/// The services that the library uses. Each has a default, which is there from the first use on.
struct QUARNET_EXPORT Platform {
  /// Default: libcurl.
  std::shared_ptr<HttpClient> httpClient = nullptr;
  /// Default: an SQLite file in the user's data folder.
  std::shared_ptr<UserDefaults> userDefaults = nullptr;
  /// Default: the system's clock.
  std::shared_ptr<Clock> clock = nullptr;
  /// Default: the default GLib main context.
  std::shared_ptr<MainThread> mainThread = nullptr;
  /// Default: the standard error stream.
  std::shared_ptr<Log> log = nullptr;
  /// Without a default: null until one is installed, `Platform::install({.toolkit = ...})`.
  std::shared_ptr<Toolkit> toolkit = nullptr;

  /// Replaces the services that are set and gives the others their defaults. Call it at start-up,
  /// before anything else of the library; a test may call it again while nothing of the library is
  /// under way. The services that were installed before are released.
  static void install(Platform replacements);

  /// Lets go of all services, so that the next use makes the defaults. For the end of a test, while
  /// nothing of the library is under way.
  static void uninstall();

  /// The services in force. Safe from any thread.
  static const Platform& current();
};

/// What log() makes of each argument: a literal is harmless, any other text a secret unless it is
/// wrapped in harmless(). A buffer is no literal and is not taken.
template <std::size_t size>
constexpr Log::Piece logPiece(const char (&literal)[size]) {
  return harmless({literal, size - 1});
}
template <std::size_t size>
Log::Piece logPiece(char (&buffer)[size]) = delete;
constexpr Log::Piece logPiece(std::string_view secret) {
  return {.text = secret};
}
constexpr Log::Piece logPiece(Log::Piece piece) {
  return piece;
}

/// Writes one line to the log in force. Nothing is thrown, whatever the log does.
QUARNET_EXPORT void writeLine(Log::Line line) noexcept;

/// Whether lines are wanted, for those that take time to put together.
QUARNET_EXPORT bool isLogOn() noexcept;

/// Writes one line, without putting its pieces together first: log("status : ", harmless(status)).
template <class... Pieces>
void log(Pieces&&... pieces) noexcept {
  const Log::Piece line[] = {logPiece(pieces)...};
  writeLine(line);
}

/// Queues the outcome of a call to the main thread for the target that is registered now; nothing
/// when there is no target or no such operation.
///
/// On the main thread the registration is read again. If the target was replaced meanwhile, neither
/// the old nor the new one is called; otherwise the operation that is registered by then is called,
/// if there is one. So a target that takes its registration back on the main thread may be
/// destroyed at once.
QUARNET_EXPORT void deliver(std::shared_ptr<const Registration> registration,
                            Operation CallbackTriple::*operation, ResultDictionary result);

} // namespace quarnet::platform
