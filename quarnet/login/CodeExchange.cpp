// The exchange of the authorization code for tokens.

#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/login/OAuthClient.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRequest.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::log;
using platform::plainPiece;
using platform::Platform;

void OAuthClient::readUrl(const std::string& url) {
  getAsynchronously(url, [screen = shared_from_this()](const platform::HttpResult& answer) {
    screen->exchangeAnswered(answer);
  });
}

void OAuthClient::exchangeAnswered(const platform::HttpResult& answer) {
  withinMemory([&] { report(answer); },
               [this] {
                 log("Error = ", kNotEnoughMemory);
                 deliver(registration_, &CallbackTriple::failed,
                         resultDictionary("", kNotEnoughMemory, ""));
               });
}

void OAuthClient::report(const platform::HttpResult& answer) {
  if (!answer.body.empty() && !answer.error) {
    // The status is not looked at: a refusal, too, is taken for a token answer and ends the login.
    Text text = utf8Text(answer.body);
    setResult(text);
    log("result : ", formatted(text));
    ResultDictionary result = resultDictionary("", "", std::move(text));
    takeAndClose(answer.body);
    deliver(registration_, &CallbackTriple::finished, std::move(result));
  } else if (!answer.error) {
    log("Nothing was downloaded.");
  } else {
    log("Error = ", harmless(formatted(answer.error->description)));
    deliver(registration_, &CallbackTriple::failed,
            resultDictionary("", answer.error->description, ""));
  }
}

void OAuthClient::parseData(const Data& answer) {
  withinMemory([&] { takeAndClose(answer); }, [] { log("Error = ", kNotEnoughMemory); });
}

void OAuthClient::takeAndClose(const Data& answer) {
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  log("accessToken : ", formatted(manager.oAuthInfo().accessToken()));
  const OAuthInfo::Fields taken = takeTokenAnswer(answer);
  log("accessToken : ", formatted(taken.accessToken));
  log("Exfire Time : ", plainPiece(formatted(taken.expiresIn)));
  manager.saveOAuthInfo();
  manager.oAuthInfo().writeToLog();
  // Posted before the application's callback, and so seen before it.
  Platform::current().mainThread->post([screen = shared_from_this()] { screen->closeLoginView(); });
}

} // namespace quarnet
