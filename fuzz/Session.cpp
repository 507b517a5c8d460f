// What servers answer and where pages go, through the whole library, with everything around it in
// memory and on one thread. No secret may leave the redacting log.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Crypto.h"
#include "sandbox/Text.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/Text.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/Utf8.h"
#include "quarnet/platform/headless/HeadlessToolkit.h"
#include "quarnet/quarnet.h"

#include <deque>

namespace quarnet::fuzz {

using namespace platform;

namespace {

const std::string kSecret = "secret-of-the-fuzz";

struct World final : HttpClient, MainThread, Log {
  std::shared_ptr<HeadlessToolkit> screen = std::make_shared<HeadlessToolkit>();
  long status = 200;
  std::deque<std::string> answers; ///< to be taken in turn; then they are empty
  std::vector<std::string> sent;   ///< the addresses
  std::deque<std::function<void()>> waiting;
  std::string logged;

  HttpResult sendSynchronously(const HttpRequest& request) override {
    sent.push_back(request.url);
    answers.push_back("");
    HttpResult answer;
    answer.response = HttpResponse{status};
    answer.body = std::move(answers.front());
    answers.pop_front();
    return answer;
  }
  void sendAsynchronously(std::shared_ptr<const HttpRequest> request, Completion done) override {
    done(sendSynchronously(*request));
  }
  void post(std::function<void()> call) override { waiting.push_back(std::move(call)); }
  void write(Line line) override { logged += text(line); }

  /// Lets everything happen that waits.
  void settle() {
    for (; !waiting.empty(); waiting.pop_front())
      waiting.front()();
    screen->advance(std::chrono::seconds(1));
  }
};

/// With a signed-out session of a configured application in it.
std::shared_ptr<World> newWorld() {
  const auto world = std::make_shared<World>();
  Platform::install({.httpClient = world,
                     .userDefaults = std::make_shared<SqliteUserDefaults>("/dev/null/in-memory"),
                     .mainThread = world,
                     .log = std::make_shared<RedactingLog>(world),
                     .toolkit = world->screen});
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  manager.init();
  manager.setClientId("demo-client");
  manager.setClientSecret(kSecret);
  manager.oAuthInfo().setAccessToken("");
  return world;
}

} // namespace

void answers(std::string tokenAnswer) {
  if (tokenAnswer.find(kSecret) != std::string::npos) return; // a host and a scope may be logged
  const auto world = newWorld();
  world->status = flag(tokenAnswer) ? 200 : 404;
  const std::string keyAnswer = piece(tokenAnswer);
  const std::string apiAnswer = piece(tokenAnswer);
  world->answers = {keyAnswer, apiAnswer, tokenAnswer, tokenAnswer};
  RequestBundle bundle;
  bundle.setUrl("https://api.example/v1");
  bundle.setParameters(Parameters{{"keyword", "a b"}});
  std::optional<Error> error;
  const auto message = APIRequest().requestError(bundle, &error);
  expect(message && message->statusCode() == std::to_string(world->status));
  expect(message->resultMessage() == (apiAnswer.empty() ? Text() : utf8Text(apiAnswer)));
  expect(error.has_value() == (world->status != 200));
  const auto keys = Json::parse(keyAnswer);
  const auto keyPart = [body = keys ? keys->member("body") : keys](std::string_view name) {
    const auto part = body ? body->member(name) : body;
    return part && part->isString() ? part->text() : "";
  };
  const auto encrypted = sandbox::hexDecoded(world->sent[1].substr(world->sent[1].find('=') + 1));
  expect(sandbox::aes256Decrypted(keyPart("key"), keyPart("iv"), encrypted.value()) ==
         "keyword=a%20b");

  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  if (manager.reissueAccessToken()) {
    const auto tokens = Json::parse(tokenAnswer);
    expect(manager.oAuthInfo().accessToken() == formatted(memberText(tokens, "access_token")));
    expect(manager.oAuthInfo().refreshToken() == formatted(memberText(tokens, "refresh_token")));
  }
  manager.logout();
  expect(world->logged.find(kSecret) == std::string::npos);
}

void pages(std::string input) {
  if (input.find(kSecret) != std::string::npos) return; // a host and a scope may be logged
  const auto world = newWorld();
  OAuthInfoManager::sharedInstance().login();
  world->settle();
  while (!input.empty() && world->screen->webView()) {
    const auto page = world->screen->webView();
    const bool hasArrived = flag(input);
    const std::string url = piece(input);
    if (!hasArrived) {
      const std::string portal = std::string(VORNEL_URL_OAUTH_REDIRECT_URL) + '?';
      expect(page->navigate(url) != url.starts_with("https://" + portal));
      continue;
    }
    const std::size_t sent = world->sent.size();
    page->finish(url);
    expect(world->screen->alerts().size() == (url.find("error_description") != url.npos));
    world->screen->pressAlert();
    world->settle();
    expect(world->sent.size() - sent == (url.find("access_complete_mobile") != url.npos));
    const Text code = addingPercentEscapes(StringUtil::getValueFromQueryStringKey(url, "code"));
    const std::string pair = "&code=" + std::string(formatted(code)) + "&grant_type=";
    expect(world->sent.size() == sent || world->sent.back().find(pair) != url.npos);
  }
  if (const auto titleBar = world->screen->titleBar()) titleBar->pressRightButton();
  world->settle();
  expect(!world->screen->webView());
  expect(world->logged.find(kSecret) == std::string::npos);
}

} // namespace quarnet::fuzz
