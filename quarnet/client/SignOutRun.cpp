#include "quarnet/client/SignOutRun.h"

#include "quarnet/client/CallErrors.h"
#include "quarnet/client/Worker.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/oauth/Revocation.h"
#include "quarnet/oauth/TokenAddresses.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/Platform.h"

#include <string>
#include <utility>

namespace quarnet {

using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::Platform;

namespace {

using Out = Outcome<SignOut>;

SignOut notConfirmed(std::string why) {
  return {.ending = SignOut::Ending::NotConfirmed, .text = std::move(why)};
}

SignOut readAnswer(const HttpResult& answer) {
  if (answer.error) return notConfirmed(answer.error->description.value_or(""));
  const Text text = utf8Text(answer.body);
  log("revokeTokenToServer : ", formatted(text));
  if (confirmsRevocation(text)) return {.ending = SignOut::Ending::Confirmed};
  const long status = answer.response ? answer.response->statusCode : 0;
  return notConfirmed("The server's answer (" + std::to_string(status) + ") does not confirm it");
}

void revoke(const Text& accessToken, const std::shared_ptr<Out>& outcome) {
  Platform::current().httpClient->sendAsynchronously(
      std::make_shared<const HttpRequest>(HttpRequest{.url = revocationAddress(accessToken)}),
      [outcome](const HttpResult& answer) {
        outcome->settle(withinMemory([&] { return readAnswer(answer); },
                                     [] { return notConfirmed(kNotEnoughMemory); }));
      });
}

void signOut(const std::shared_ptr<Out>& outcome) {
  // A session that nobody has taken up yet would be back with the next sign-in.
  if (!isToken(TokenRecordStore::fields().accessToken)) TokenRecordStore::restore();
  if (isToken(TokenRecordStore::fields().accessToken)) {
    // Dropped before the server is asked: nothing that happens meanwhile can keep them.
    if (const Text dropped = TokenRecordStore::clear()) return revoke(dropped, outcome);
  }
  outcome->settle(SignOut{.ending = SignOut::Ending::NothingToDo});
}

} // namespace

void runSignOut(std::shared_ptr<Out> outcome) {
  const bool runs = runOnWorker([outcome] {
    withinMemory([&] { signOut(outcome); },
                 [&] { outcome->settle(notConfirmed(kNotEnoughMemory)); });
  });
  if (!runs) outcome->settle(tooLarge());
}

} // namespace quarnet
