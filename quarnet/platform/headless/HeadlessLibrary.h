#pragma once

#include "quarnet/platform/headless/HeadlessToolkit.h"
#include "quarnet/platform/headless/ManualClock.h"
#include "quarnet/platform/headless/ManualMainThread.h"
#include "quarnet/platform/headless/MemoryUserDefaults.h"
#include "quarnet/platform/headless/ScriptedHttpClient.h"

namespace quarnet::platform {

/// The whole library for a test of an application: no network, disk, clock, main loop, screen or
/// log, and nobody is signed in. One object serves one test:
///
///     HeadlessLibrary library;
///     library.signIn();
///     library.http->on("GET", "https://api.quarnet.example/v1/places").answer("[]");
///     app.showPlaces();
///     library.run();
///     EXPECT_EQ(app.shown, "[]");
///
/// docs/testing.md has two whole tests. Use it from one thread, which is the main thread for the
/// callbacks; the application may use any.
class QUARNET_EXPORT HeadlessLibrary {
public:
  /// Resets the library and installs the five services below. `http` answers the session's own
  /// requests; what the application calls is for the test to script.
  HeadlessLibrary();
  /// Ends what waits for an answer and resets the library; callbacks that were not run are dropped.
  ~HeadlessLibrary();
  HeadlessLibrary(const HeadlessLibrary&) = delete;
  HeadlessLibrary& operator=(const HeadlessLibrary&) = delete;

  /// Puts new tokens into the record and the store, as a sign-in does. Without a client identifier
  /// the session gets "test-client".
  void signIn();

  /// Gives the answers that are due and runs the callbacks, until there are none left. Waits for
  /// what the library reads and stores in the background.
  void run();
  /// The same until `done()` is true: for work on threads of the application's own. False when the
  /// time is up.
  bool runUntil(const std::function<bool()>& done,
                std::chrono::milliseconds limit = std::chrono::seconds(10));
  /// Moves the clock, the screen's animations and the delays of `http`, then runs what they set
  /// off.
  void advance(std::chrono::milliseconds time);
  /// What a restart of the application leaves: the store as it was saved, and nothing else.
  void restart();

  /// Puts the single instances back to how a process finds them: no session, configuration,
  /// registered callback or services of the test's. The hosts of configureHosts() stay. Calls of
  /// a Client that are under way, or wait to be sent again, end. Nothing else of the library may be
  /// under way on any thread: no other call, no login and no callback.
  static void reset();

  /// Answers as the test says and keeps what it received.
  const std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  /// Where the tokens are kept.
  const std::shared_ptr<MemoryUserDefaults> store = std::make_shared<MemoryUserDefaults>();
  /// Stands still but for advance().
  const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  /// Where callbacks wait for run().
  const std::shared_ptr<ManualMainThread> mainThread = std::make_shared<ManualMainThread>();
  /// The window, in which the test does what the user would.
  const std::shared_ptr<HeadlessToolkit> screen = std::make_shared<HeadlessToolkit>();
};

} // namespace quarnet::platform
