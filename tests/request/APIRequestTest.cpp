#include "tests/support/Callbacks.h"
#include "tests/support/LibraryTest.h"

#include "quarnet/core/Json.h"

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;

constexpr std::string_view kDataReceived = "APIRequest async data received";

class Call : public LibraryTest {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    signIn();
    request_.setDelegateFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
  }

  /// Waits for the answer and gives its status.
  Text send(HttpMethod method, std::string_view path) {
    error_.reset();
    bundle_.setUrl(apiUrl(path));
    message_ = request_.requestHTTPMethodError(bundle_, method, &error_);
    return message_ ? message_->statusCode() : std::nullopt;
  }

  /// Gives what the callback got.
  ResultDictionary sendAsync(const std::string& url, bool isToFinish = false) {
    app_.heard.clear();
    request_.aSyncRequestURLHTTPMethod(bundle_, url, HttpMethod::PUT);
    EXPECT_TRUE(app_.heard.empty()); // never inside the call
    if (!app_.waitFor(1)) return {};
    EXPECT_EQ(app_.heard[0].finished, isToFinish);
    EXPECT_EQ(app_.onWrongThread, 0);
    return app_.heard[0].result;
  }

  Callbacks app_;
  APIRequest request_;
  RequestBundle bundle_;
  std::optional<Error> error_;
  std::optional<ResponseMessage> message_;
};

TEST_F(Call, IsUnderstoodByTheServer) {
  std::string everyCharacter;
  for (char c = 1; c < 127; ++c)
    everyCharacter += c;
  const Parameters parameters = {{"ascii", everyCharacter + "\x7f"},
                                 {"more", "안녕하세요😀🇰🇷"},
                                 {"long", std::string(400'000, 'x')},
                                 {"empty", ""}};
  for (const auto& [method, name] :
       {std::pair(HttpMethod::GET, "GET"), std::pair(HttpMethod::DELETE, "DELETE")}) {
    bundle_.setParameters(parameters);
    ASSERT_EQ(send(method, "/v1/search"), "200");
    const auto call = server().received().back();
    EXPECT_TRUE(call.secure);
    EXPECT_EQ(call.method, name);
    EXPECT_EQ(call.path(), "/v1/search.json");
    const auto understood = Json::parse(*message_->resultMessage())->member("parameters");
    for (const auto& [key, value] : parameters)
      EXPECT_EQ(memberText(understood, key), value);
  }
}

TEST_F(Call, CarriesItsPayloadAsItIs) {
  bundle_.setPayload(R"({"이름":"홍길동"})");
  EXPECT_EQ(send(HttpMethod::POST, "/v1/people"), "200");
  EXPECT_EQ(server().received().back().body, R"({"이름":"홍길동"})");

  bundle_.setPayload(std::nullopt);
  EXPECT_EQ(send(HttpMethod::PUT, "/v1/people"), "200");
  EXPECT_EQ(server().received().back().method, "PUT");
  EXPECT_EQ(server().received().back().header("Content-Length"), "0");

  bundle_.setUploadFilePath(makeFile("pic.jpg", std::string("abc\0\xff", 5)));
  EXPECT_EQ(send(HttpMethod::POST, "/v1/photos"), "200");
  EXPECT_EQ(server().received().back().uploads.at(0).field, "image");
  EXPECT_EQ(server().received().back().body, *APIRequest::urlRequest()->body);
}

TEST_F(Call, HasOneOutcome) {
  const ResultDictionary empty = outcome("7", "Received data is empty", "");
  const std::tuple<Misbehaviour, std::string, std::size_t, ResultDictionary, std::string, Text>
      rows[] = {
          {Misbehaviour::status(200), "200", 2, outcome("200", "", "안녕"), "200", "안녕"},
          {Misbehaviour::utf8(), "200", 2, {{"RC", "200"}, {"RM", ""}}, "200", std::nullopt},
          {Misbehaviour::status(201), "201", 1, outcome("201", "안녕", ""), "201", "안녕"},
          {Misbehaviour::status(500), "500", 1, outcome("500", "안녕", ""), "500", "안녕"},
          {Misbehaviour::status(204), "204", 0, empty, "204", std::nullopt},
          {Misbehaviour::empty(), "200", 0, empty, "200", std::nullopt},
          {Misbehaviour::cut(3), "200", 0, outcome("200", "안", ""), "0", "안"},
          {Misbehaviour::reset(), "0", 0, outcome("0", "", ""), "0", std::nullopt},
      };
  for (const auto& [fault, logged, dataReceived, result, statusCode, message] : rows) {
    server().behave();
    server().misbehave("*", Misbehaviour::body("안녕"));
    server().misbehave("*", fault);
    log_->clear();
    EXPECT_EQ(sendAsync(apiUrl("/v1/a"), dataReceived == 2), result);
    EXPECT_EQ(log_->count(logged), 1U);
    EXPECT_EQ(log_->count(kDataReceived), dataReceived);
    EXPECT_EQ(request_.result().value_or(""), message.value_or(""));
    EXPECT_EQ(request_.receivedData(), "");

    EXPECT_EQ(send(HttpMethod::POST, "/v1/a"), statusCode);
    EXPECT_EQ(message_->resultMessage(), message);
    EXPECT_EQ(log_->lines().back(),
              "Response data is going to be ==> " + message.value_or("(null)"));
    ASSERT_EQ(error_.has_value(), statusCode != "200");
    if (!error_) continue;
    EXPECT_EQ(error_, (Error{"vornelAPIError", 1, error_->description}));
    EXPECT_EQ(error_->description.value_or("").empty(), statusCode != "0");
  }
  EXPECT_EQ(sendAsync("https://127.0.0.1:1/x"), outcome("0", "", ""));
  EXPECT_EQ(sendAsync(""), outcome("", "Url is null or empty", ""));
  EXPECT_EQ(request_.requestError(bundle_, nullptr), std::nullopt);
}

TEST_F(Call, WithoutItsKeyGoesOutWithoutParameters) {
  server().misbehave("/oauth/get_param_enc_key", Misbehaviour::reset());
  bundle_.setParameters(Parameters{{"a", "1"}});
  message_ =
      request_.requestURLHTTPMethodError(bundle_, apiUrl("/v1/a"), HttpMethod::DELETE, &error_);
  EXPECT_EQ(message_->statusCode(), "200");
  EXPECT_EQ(server().received().back().method, "DELETE");
  EXPECT_EQ(server().received().back().target, "/v1/a.json");
  EXPECT_EQ(server().received().back().header("swap_key"), "1700000000250");
}

TEST_F(Call, OfADroppedRequestIsToldToWhoIsRegisteredLast) {
  Callbacks other;
  server().misbehave("*", Misbehaviour::delay(std::chrono::milliseconds(200)));
  {
    APIRequest shortLived;
    shortLived.setDelegateFinishedFailed(&app_, &Callbacks::finished, &Callbacks::failed);
    RequestBundle bundle = bundleOf(HttpMethod::GET);
    shortLived.aSyncRequestHTTPMethod(bundle, HttpMethod::POST);
    APIRequest moved = std::move(shortLived);
    EXPECT_EQ(shortLived._target(), nullptr); // and may be used again
    moved.setDelegateFinishedFailed(&other, &Callbacks::finished, &Callbacks::failed);
  }
  EXPECT_TRUE(other.waitFor(1));
  EXPECT_TRUE(other.heard[0].finished);
  EXPECT_EQ(server().received().back().method, "POST");
  EXPECT_TRUE(app_.heard.empty());
}

} // namespace
} // namespace quarnet::test
