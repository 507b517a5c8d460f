#include "quarnet/oauth/Revocation.h"

#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::HttpResult;
using platform::log;

namespace {

void endSession(Text answer, const std::shared_ptr<const Registration>& registration) {
  // Any answer ends the session here, a refusal included; only the blocking logout waits for
  // "success".
  log("Logout Success");
  TokenRecordStore::clear();
  log("revokeTokenToServer : ", formatted(answer));
  // Without a finished operation the failed one is not called for a refusal either: this is meant.
  if (!registration->current().finished) return;
  const auto operation =
      confirmsRevocation(answer) ? &CallbackTriple::finished : &CallbackTriple::failed;
  deliver(registration, operation, resultDictionary("", "", std::move(answer)));
}

} // namespace

bool confirmsRevocation(const Text& answer) {
  // A text that is absent because it is not UTF-8 confirms nothing.
  return answer && answer->find("success") != std::string::npos;
}

void revocationAnswered(HttpResult result,
                        const std::shared_ptr<const Registration>& registration) {
  if (result.error) {
    log("Error = ", harmless(formatted(result.error->description)));
    deliver(registration, &CallbackTriple::failed,
            resultDictionary("", result.error->description, ""));
  } else if (!result.body.empty()) {
    endSession(utf8Text(std::move(result.body)), registration);
  } else if (!OAuthInfoManager::sharedInstance().error()) {
    // An empty answer calls nobody, and after a sign-in's error says nothing either: this is meant.
    log("Nothing was downloaded.");
  }
}

} // namespace quarnet
