#include "quarnet/platform/headless/HeadlessLibrary.h"

#include "quarnet/client/ClientReset.h"
#include "quarnet/client/Worker.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/platform/Platform.h"

namespace quarnet::platform {

HeadlessLibrary::HeadlessLibrary() {
  http->answerSession();
  restart();
}

HeadlessLibrary::~HeadlessLibrary() {
  resetClient();
  http->dropConnections();
  http->waitUntilIdle();
  reset();
  mainThread->dropPending(); // an outcome there holds the main thread, which holds it
}

void HeadlessLibrary::signIn() {
  OAuthInfoManager& session = OAuthInfoManager::sharedInstance();
  if (!session.clientId()) session.setClientId("test-client");
  session.setOAuthInfoWithJSON(http->newTokenAnswer());
}

void HeadlessLibrary::run() {
  do {
    // A completion may have begun something there, which may send again.
    std::size_t calls = 0;
    do {
      calls = waitForWorkers();
      http->waitUntilIdle();
    } while (waitForWorkers() != calls);
  } while (mainThread->runPending() > 0);
}

bool HeadlessLibrary::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  return mainThread->runUntil(done, limit);
}

void HeadlessLibrary::advance(std::chrono::milliseconds time) {
  clock->advance(time);
  screen->advance(time);
  http->advance(time);
  run();
}

void HeadlessLibrary::restart() {
  reset();
  store->dropUnsaved();
  Platform::install({.httpClient = http,
                     .userDefaults = store,
                     .clock = clock,
                     .mainThread = mainThread,
                     .log = std::make_shared<NullLog>(),
                     .toolkit = screen});
}

void HeadlessLibrary::reset() {
  resetClient();
  Platform::uninstall();
  OAuthInfoManager& session = OAuthInfoManager::sharedInstance();
  for (const auto set : {&OAuthInfoManager::setClientId, &OAuthInfoManager::setClientSecret,
                         &OAuthInfoManager::setScope, &OAuthInfoManager::setCode,
                         &OAuthInfoManager::setError, &OAuthInfoManager::setErrorDesc}) {
    (session.*set)(std::nullopt);
  }
  session.set_target(nullptr);
  session.set_finishedSelector(nullptr);
  session.set_failedSelector(nullptr);
  session.init(); // the other fields' defaults, and a new login screen
  for (const auto set :
       {&OAuthInfo::setAccessToken, &OAuthInfo::setRefreshToken, &OAuthInfo::setExpiresIn,
        &OAuthInfo::setScope, &OAuthInfo::setExpiresSystime}) {
    (session.oAuthInfo().*set)(std::nullopt);
  }
}

} // namespace quarnet::platform
