// What servers answer and where pages go, through the whole library, with everything around it in
// memory and on one thread. No secret may leave the redacting log.

#include "fuzz/support/Fuzz.h"
#include "sandbox/Crypto.h"
#include "sandbox/Text.h"

#include "quarnet/core/Json.h"
#include "quarnet/core/Text.h"
#include "quarnet/platform/headless/HeadlessToolkit.h"
#include "quarnet/quarnet.h"

#include <deque>

namespace quarnet::fuzz {

using namespace platform;

namespace {

constexpr std::string_view kSecret = "secret-of-the-fuzz";

struct World final : HttpClient, UserDefaults, MainThread, Log {
  std::shared_ptr<HeadlessToolkit> screen = std::make_shared<HeadlessToolkit>();
  long status = 200;
  std::deque<std::string> answers; ///< to be taken in turn; then they are empty
  std::vector<std::string> sent;   ///< the addresses
  std::map<std::string_view, Text> stored;
  std::deque<std::function<void()>> waiting;
  std::string logged;

  HttpResult sendSynchronously(const HttpRequest& request) override {
    sent.push_back(request.url);
    HttpResult answer;
    answer.response = HttpResponse{status};
    if (answers.empty()) return answer;
    answer.body = std::move(answers.front());
    answers.pop_front();
    return answer;
  }
  void sendAsynchronously(std::shared_ptr<const HttpRequest> request, Completion done) override {
    post([this, request, done] { done(sendSynchronously(*request)); });
  }
  std::optional<std::vector<Text>> values(std::span<const std::string_view> keys) override {
    std::vector<Text> found;
    std::ranges::transform(keys, std::back_inserter(found), [&](auto key) { return stored[key]; });
    return found;
  }
  void setValues(std::span<const Entry> entries) override {
    for (const auto& [key, value] : entries)
      stored[key] = value; // all keys are constants
  }
  void synchronize() override {}
  void post(std::function<void()> call) override { waiting.push_back(std::move(call)); }
  void write(Line line) override { logged += text(line); }

  /// Lets everything happen that waits.
  void settle() {
    for (screen->advance(std::chrono::seconds(1)); !waiting.empty(); waiting.pop_front()) {
      waiting.front()();
      screen->advance(std::chrono::seconds(1));
    }
  }
};

/// With a signed-out session of a configured application in it.
std::shared_ptr<World> newWorld() {
  const auto world = std::make_shared<World>();
  Platform::install({.httpClient = world,
                     .userDefaults = world,
                     .mainThread = world,
                     .log = std::make_shared<RedactingLog>(world),
                     .toolkit = world->screen});
  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  manager.init();
  manager.setClientId("demo-client");
  manager.setClientSecret(std::string(kSecret));
  manager.restoreOAuthInfo();
  return world;
}

Text keyPart(const std::string& keyAnswer, std::string_view name) {
  const auto json = Json::parse(keyAnswer);
  const auto body = json ? json->member("body") : std::nullopt;
  const auto part = body ? body->member(name) : std::nullopt;
  return part && part->isString() ? part->text() : Text();
}

} // namespace

void answers(Input input) {
  const auto world = newWorld();
  world->status = input.flag() ? 200 : 404;
  const std::string keyAnswer = input.piece();
  const std::string apiAnswer = input.piece();
  const std::string tokenAnswer = input.rest();

  world->answers = {keyAnswer, apiAnswer, tokenAnswer, tokenAnswer};
  RequestBundle bundle;
  bundle.setUrl("https://api.example/v1");
  bundle.setParameters(Parameters{{"keyword", "a b"}});
  std::optional<Error> error;
  const auto message = APIRequest().requestError(bundle, &error);
  expect(message && message->statusCode() == std::to_string(world->status));
  expect(message->resultMessage() == (apiAnswer.empty() ? Text() : utf8Text(apiAnswer)));
  expect(error.has_value() == (world->status != 200));
  const std::string hex = world->sent.at(1).substr(world->sent[1].find('=') + 1);
  const auto parameters = sandbox::aes256Decrypted(keyPart(keyAnswer, "key").value_or(""),
                                                   keyPart(keyAnswer, "iv").value_or(""),
                                                   sandbox::hexDecoded(hex).value());
  expect(parameters == "keyword=a%20b");

  OAuthInfoManager& manager = OAuthInfoManager::sharedInstance();
  if (manager.reissueAccessToken()) {
    const auto json = Json::parse(tokenAnswer);
    expect(manager.oAuthInfo().accessToken() == formatted(memberText(json, "access_token")));
    expect(manager.oAuthInfo().refreshToken() == formatted(memberText(json, "refresh_token")));
  }
  manager.logout();
  expect(world->logged.find(kSecret) == std::string::npos);
}

void pages(Input input) {
  if (input.has(kSecret)) return; // a host may be logged
  const auto world = newWorld();
  OAuthInfoManager::sharedInstance().login();
  world->settle();
  while (!input.isEmpty() && world->screen->webView()) {
    HeadlessWebView& page = *world->screen->webView();
    const bool hasArrived = input.flag();
    const std::string url = input.piece();
    if (!hasArrived) {
      const std::string portal = std::string(VORNEL_URL_OAUTH_REDIRECT_URL) + '?';
      expect(page.navigate(url) != url.starts_with("https://" + portal));
      continue;
    }
    const std::size_t sent = world->sent.size();
    page.finish(url);
    expect(world->screen->alerts().size() == (url.find("error_description") != url.npos));
    world->screen->pressAlert();
    world->settle();
    expect(world->sent.size() - sent == (url.find("access_complete_mobile") != url.npos));
    if (world->sent.size() == sent) continue;
    const Text code = addingPercentEscapes(StringUtil::getValueFromQueryStringKey(url, "code"));
    const std::string pair = "&code=" + std::string(formatted(code)) + "&grant_type=";
    expect(world->sent.back().find(pair) != url.npos);
  }
  if (const auto titleBar = world->screen->titleBar()) titleBar->pressRightButton();
  world->settle();
  expect(!world->screen->webView());
  expect(world->logged.find(kSecret) == std::string::npos);
}

void log(Input input) {
  const auto world = std::make_shared<World>();
  std::vector<Log::Piece> line;
  std::deque<std::string> kept;
  std::string expected;
  while (!input.isEmpty()) {
    const bool isHarmless = input.flag();
    const std::string& text = kept.emplace_back(input.piece());
    line.push_back({text, isHarmless});
    expected += isHarmless || text.empty() || text == "(null)" ? text : "***";
  }
  RedactingLog(world).write(line);
  expect(world->logged == expected);
}

} // namespace quarnet::fuzz
