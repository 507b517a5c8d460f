#include "quarnet/login/OAuthClient.h"

#include "quarnet/core/Constants.h"
#include "quarnet/core/NotEnoughMemory.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Registration.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/login/LoginListener.h"
#include "quarnet/login/LoginScreen.h"
#include "quarnet/oauth/OAuthInfoManager.h"
#include "quarnet/oauth/TokenAddresses.h"
#include "quarnet/oauth/TokenAnswer.h"
#include "quarnet/oauth/TokenRecordStore.h"
#include "quarnet/platform/LogPieces.h"
#include "quarnet/platform/Platform.h"

namespace quarnet {

using platform::deliver;
using platform::harmless;
using platform::HttpRequest;
using platform::HttpResult;
using platform::log;
using platform::plainPiece;
using platform::Platform;
using platform::Toolkit;

namespace {

/// A scheme of the server's own and the web's scheme for it.
struct SchemeRewrite {
  std::string_view scheme;
  /// How much of an address is compared with the scheme. One character less than the scheme has,
  /// so no address is ever rewritten: this is meant.
  std::size_t compared;
  std::string_view replacement;
};
constexpr SchemeRewrite kSchemeRewrites[] = {
    {"oauths://", 8, "https://"},
    {"oauth://", 7, "http://"},
};

void logAddress(std::string_view title, std::string_view url) {
  const auto [origin, rest] = platform::addressPieces(url);
  log(harmless(title), origin, rest);
}

/// The page that belongs into the system's browser.
bool isPortalPage(std::string_view url) {
  return url.starts_with(std::string("https://").append(VORNEL_URL_OAUTH_REDIRECT_URL).append("?"));
}

} // namespace

constinit platform::Rect oldStatusFrame;

std::shared_ptr<OAuthClient> OAuthClient::make() {
  return std::shared_ptr<OAuthClient>(new OAuthClient);
}

OAuthClient::OAuthClient()
    : screen_(std::make_unique<LoginScreen>(*this)),
      registration_(std::make_shared<Registration>()) {}

OAuthClient::~OAuthClient() {
  if (listener_) listener_->closed();
}

void OAuthClient::loginFinishedFailed(CallbackTriple callback) {
  registration_->set(callback);
  screen_->open();
}

void OAuthClient::closeLoginView() {
  close(screen_->latest());
}

void OAuthClient::close(const LoginOverlay& overlay) {
  screen_->close(overlay);
  if (listener_) listener_->closed();
}

std::function<void()> OAuthClient::closerOf(const platform::WebView& page) {
  return
      [screen = shared_from_this(), overlay = screen_->overlayOf(page)] { screen->close(overlay); };
}

void OAuthClient::alertViewClickedButtonAtIndex(int) {
  closeLoginView();
}

// The addresses that the page loads.

bool OAuthClient::webViewShouldStartLoadWithRequestNavigationType(platform::WebView& webView,
                                                                  const std::string& url, int) {
  logAddress("-[OAuthClient webView:shouldStartLoadWithRequest:navigationType:], URL : ", url);
  if (screen_->overlayOf(webView).isClosing) return url == kEmptyPage;
  for (const auto& [scheme, compared, replacement] : kSchemeRewrites) {
    if (!sameIgnoringCase(std::string_view(url).substr(0, compared), scheme)) continue;
    const std::string rewritten = std::string(replacement) + url.substr(scheme.size());
    const auto [origin, rest] = platform::addressPieces(rewritten);
    log(harmless(scheme), "를 제거한 URL : ", origin, rest);
    if (const auto page = loginView()) page->load(rewritten);
    return false;
  }
  if (!isPortalPage(url)) return true;
  if (const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit) {
    toolkit->openExternally(url);
  }
  return false;
}

void OAuthClient::webViewDidFailLoadWithError(platform::WebView&,
                                              const platform::WebLoadError& error) {
  log("웹뷰 로딩 에러 : ", error.description, " ", error.userInfo);
}

void OAuthClient::webViewDidFinishLoad(platform::WebView& webView) {
  const std::string url(formatted(webView.currentUrl()));
  logAddress("요청 완료된 URL : ", url);
  if (screen_->overlayOf(webView).isClosing) return;
  // One address may be both: the exchange starts first, then the error is shown.
  if (url.find("access_complete_mobile") != std::string::npos) exchangeCode(url, closerOf(webView));
  if (url.find("error_description") != std::string::npos) showAuthorizationError(url, webView);
}

void OAuthClient::showAuthorizationError(const std::string& url, const platform::WebView& page) {
  const Text error = StringUtil::getValueFromQueryStringKey(url, "error");
  const Text description = StringUtil::getValueFromQueryStringKey(url, "error_description");
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  // The value of the key that is named like the error, not the error itself: this is meant.
  manager.setError(StringUtil::getValueFromQueryStringKey(url, formatted(error)));
  manager.setErrorDesc(description);
  if (listener_) listener_->refused(error, description);

  const std::shared_ptr<Toolkit> toolkit = Platform::current().toolkit;
  // A page that brings one error after the other would leave an alert of each to be pressed.
  if (!toolkit || !screen_->beginAlert(page)) return;
  const Text shown = description ? replacingPercentEscapes(*description) : std::nullopt;
  toolkit->showAlert(error.value_or(""), shown.value_or(""), "확인", closerOf(page));
}

// The exchange of the authorization code for tokens.

std::string OAuthClient::getOAuthorizationUrl() {
  return authorizationAddress();
}

std::string OAuthClient::getOAccessTokenUrl() {
  return codeExchangeAddress();
}

void OAuthClient::exchangeCode(const std::string& url, std::function<void()> close) {
  if (listener_ && !listener_->mayExchange()) return;
  OAuthInfoManager::sharedInstance().setCode(
      StringUtil::getValueFromQueryStringKey(url, VORNEL_OAUTH_CODE));
  exchange(getOAccessTokenUrl(), std::move(close));
}

void OAuthClient::readUrl(const std::string& url) {
  exchange(url, [screen = shared_from_this()] { screen->closeLoginView(); });
}

void OAuthClient::exchange(const std::string& url, std::function<void()> close) {
  Platform::current().httpClient->sendAsynchronously(
      std::make_shared<HttpRequest>(HttpRequest{.url = url}),
      [screen = shared_from_this(), close = std::move(close)](const HttpResult& answer) {
        screen->exchangeAnswered(answer, close);
      });
}

void OAuthClient::exchangeAnswered(const HttpResult& answer, const std::function<void()>& close) {
  if (listener_) return listener_->exchanged(answer);
  withinMemory([&] { report(answer, close); },
               [this] {
                 log("Error = ", kNotEnoughMemory);
                 deliver(registration_, &CallbackTriple::failed,
                         resultDictionary("", kNotEnoughMemory, ""));
               });
}

void OAuthClient::report(const HttpResult& answer, const std::function<void()>& close) {
  if (!answer.body.empty() && !answer.error) {
    // The status is not looked at: a refusal, too, is taken for a token answer and ends the login.
    Text text = utf8Text(answer.body);
    setResult(text);
    log("result : ", formatted(text));
    ResultDictionary result = resultDictionary("", "", std::move(text));
    takeAndClose(answer.body, close);
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
  const auto close = [screen = shared_from_this()] { screen->closeLoginView(); };
  withinMemory([&] { takeAndClose(answer, close); }, [] { log("Error = ", kNotEnoughMemory); });
}

void OAuthClient::takeAndClose(const Data& answer, const std::function<void()>& close) {
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  log("accessToken : ", formatted(manager.oAuthInfo().accessToken()));
  const OAuthInfo::Fields taken = readTokenAnswer(answer);
  TokenRecordStore::take(taken, SessionEvent::SignedIn);
  const auto writeToLog = [&] {
    log("accessToken : ", formatted(taken.accessToken));
    log("Exfire Time : ", plainPiece(formatted(taken.expiresIn)));
  };
  withinMemory(writeToLog, [] {}); // calls wait for what was taken to be saved
  manager.saveOAuthInfo();
  manager.oAuthInfo().writeToLog();
  // Posted before the application's callback, and so seen before it.
  Platform::current().mainThread->post(close);
}

// Fields.

std::shared_ptr<platform::WebView> OAuthClient::loginView() const {
  return screen_->page.get();
}
void OAuthClient::setLoginView(std::shared_ptr<platform::WebView> view) {
  screen_->page.keep(std::move(view));
}

std::shared_ptr<platform::View> OAuthClient::viewBlock() const {
  return screen_->backdrop.get();
}
void OAuthClient::setViewBlock(std::shared_ptr<platform::View> view) {
  screen_->backdrop.keep(std::move(view));
}

std::shared_ptr<platform::View> OAuthClient::bgView() const {
  return screen_->panel.get();
}
void OAuthClient::setBgView(std::shared_ptr<platform::View> view) {
  screen_->panel.keep(std::move(view));
}

Text OAuthClient::result() const {
  const std::lock_guard lock(mutex_);
  return result_;
}
void OAuthClient::setResult(Text result) {
  const std::lock_guard lock(mutex_);
  result_.swap(result);
}

void* OAuthClient::_target() const {
  return registration_->current().target;
}
void OAuthClient::set_target(void* target) {
  registration_->set(&CallbackTriple::target, target);
}

Operation OAuthClient::_finishedSelector() const {
  return registration_->current().finished;
}
void OAuthClient::set_finishedSelector(Operation finished) {
  registration_->set(&CallbackTriple::finished, finished);
}

Operation OAuthClient::_failedSelector() const {
  return registration_->current().failed;
}
void OAuthClient::set_failedSelector(Operation failed) {
  registration_->set(&CallbackTriple::failed, failed);
}

} // namespace quarnet
