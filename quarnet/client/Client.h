#pragma once

#include "quarnet/client/Call.h"
#include "quarnet/client/Pending.h"
#include "quarnet/client/SignIn.h"
#include "quarnet/core/Export.h"
#include "quarnet/oauth/SessionEvent.h"

#include <chrono>
#include <functional>
#include <memory>

namespace quarnet {

/// How a Client works; every default is what most applications want.
struct ClientOptions {
  /// Tokens that expire within this time are reissued before a call.
  std::chrono::seconds freshFor{60};
  /// Whether they are; with false, only a 401 has them reissued.
  bool reissuesBeforeExpiry = true;
  /// Whether a call that is answered with 401 has the tokens reissued and is sent once more.
  bool reissuesAfter401 = true;
  /// Where lambdas and coroutines run, one at a time; null for the platform's main thread.
  std::shared_ptr<platform::MainThread> callbacks = nullptr;
};

/// Uses the API for the signed-in user, and never blocks.
///
///     quarnet::Client client;
///     pending_ = client.send({.url = "https://api.quarnet.example/v1/places"}).then(
///         [this](quarnet::Result<quarnet::Answer> answer) { show(answer); });
///
/// All clients share the one session: OAuthInfoManager's configuration, the token record and its
/// store. Safe from any thread. Nothing is thrown. A client may be destroyed while its calls are
/// under way; they belong to their handles.
class QUARNET_EXPORT Client {
public:
  /// Costs little and begins nothing: a client may be made for one call.
  explicit Client(ClientOptions options = {});

  /// Makes the call: reissues the tokens when they are about to expire, fetches the one-time key
  /// for a GET's or DELETE's parameters, sends, and reissues and repeats once after a 401.
  ///
  /// Ends with exactly one outcome, or with the handle. A call whose parameters cannot be encrypted
  /// is not sent.
  Pending<Answer> send(Call call);

  /// Takes up the stored session, reissuing its tokens, or lays the login screen over the key
  /// window (RFC 6749, section 4.1). An error only when the stored session could be neither taken
  /// up nor refused (NoConnection, TimedOut, Refused for a server that is out of order, TooLarge),
  /// and when the caller cancelled.
  ///
  /// The screen belongs to the platform's main thread, wherever lambdas run. Ends when the screen
  /// begins to close, which takes half a second more. While one sign-in is under way, another one
  /// shares its screen and its outcome. The screen closes when the handles of all were dropped or
  /// cancelled, and nobody is signed in after that.
  Pending<SignIn> signIn();

  /// Drops the tokens, here and in the store, and then revokes the access token. A handle that is
  /// dropped stops neither. An error only when the memory does not suffice or the caller cancelled.
  Pending<SignOut> signOut();

  /// Has `observer` called where lambdas run, as long as the handle that this returns is there,
  /// with what happens to the session from now on, whoever causes it. A handle that is detached
  /// keeps it for ever; one that is cancelled ends it without a further call.
  Handle onSession(std::function<void(SessionEvent)> observer);

private:
  std::shared_ptr<platform::MainThread> callbacks() const;

  std::shared_ptr<const ClientOptions> options_;
};

} // namespace quarnet
