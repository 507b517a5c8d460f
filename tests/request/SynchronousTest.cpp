#include "tests/support/LibraryTest.h"

#include <gmock/gmock.h>
#include <simdjson.h>

namespace quarnet::test {
namespace {

using sandbox::Misbehaviour;
using ::testing::HasSubstr;

class Synchronous : public LibraryTest {
protected:
  void SetUp() override {
    LibraryTest::SetUp();
    signIn();
  }

  std::optional<ResponseMessage> send(HttpMethod method, const std::string& url) {
    error_.reset();
    bundle_.setHttpMethod(method);
    bundle_.setUrl(url);
    return request_.requestError(bundle_, &error_);
  }

  /// The parameters that the server says it decrypted.
  static Parameters understood(const ResponseMessage& message) {
    simdjson::dom::parser parser;
    Parameters parameters;
    for (const auto [key, value] :
         parser.parse(*message.resultMessage())["parameters"].get_object()) {
      parameters.emplace(key, std::string(value.get_string().value()));
    }
    return parameters;
  }

  APIRequest request_;
  RequestBundle bundle_;
  std::optional<Error> error_;
};

TEST_F(Synchronous, TheServerUnderstandsWhatWasAskedFor) {
  std::string everyCharacter;
  for (char c = 1; c < 127; ++c)
    everyCharacter += c;
  const Parameters parameters = {{"ascii", everyCharacter + "\x7f"},
                                 {"korean", "안녕하세요"},
                                 {"emoji", "😀🇰🇷"},
                                 {"long", std::string(400'000, 'x')},
                                 {"empty", ""}};
  for (const HttpMethod method : {HttpMethod::GET, HttpMethod::DELETE}) {
    server().clearReceived();
    bundle_.setParameters(parameters);
    const auto message = send(method, apiUrl("/v1/search"));
    EXPECT_EQ(error_, std::nullopt);
    ASSERT_EQ(message->statusCode(), "200");
    const auto call = server().received().back();
    EXPECT_TRUE(call.secure);
    EXPECT_EQ(call.method, method == HttpMethod::GET ? "GET" : "DELETE");
    EXPECT_EQ(call.path(), "/v1/search.json");
    EXPECT_EQ(call.header("swap_key"), "1700000000250");
    EXPECT_EQ(call.header("access_token"), record_.accessToken());
    EXPECT_EQ(call.header("refresh_token"), record_.refreshToken());
    EXPECT_EQ(call.header("Accept-Encoding"), "utf-8");
    EXPECT_EQ(understood(*message), parameters);
  }
}

TEST_F(Synchronous, PayloadsTravelAsTheyAre) {
  bundle_.setPayload(R"({"이름":"홍길동"})");
  bundle_.setRequestType(ContentFormat::XML);
  bundle_.setResponseType(ContentFormat::XML);
  EXPECT_EQ(send(HttpMethod::POST, apiUrl("/v1/people"))->statusCode(), "200");
  const auto post = server().received().back();
  EXPECT_EQ(post.body, R"({"이름":"홍길동"})");
  EXPECT_EQ(post.header("Content-Type"), "application/xml");
  EXPECT_EQ(post.header("Accept"), "application/xml");
  EXPECT_EQ(post.header("swap_key"), std::nullopt);
  EXPECT_EQ(post.target, "/v1/people.xml");

  bundle_.setPayload(std::nullopt);
  EXPECT_EQ(send(HttpMethod::PUT, apiUrl("/v1/people"))->statusCode(), "200");
  EXPECT_EQ(server().received().back().header("Content-Length"), "0");

  bundle_.setUploadFilePath(makeFile("pic.jpg", std::string("abc\0\xff", 5)));
  EXPECT_EQ(send(HttpMethod::POST, apiUrl("/v1/photos"))->statusCode(), "200");
  const auto upload = server().received().back();
  ASSERT_EQ(upload.uploads.size(), 1U);
  EXPECT_EQ(upload.uploads[0].field, "image");
  EXPECT_EQ(upload.uploads[0].fileName, "pic.jpg");
  EXPECT_EQ(upload.body, *APIRequest::urlRequest()->body);
}

TEST_F(Synchronous, EveryStatusBut200IsAnErrorWithItsBody) {
  for (const unsigned status : {201U, 401U, 404U, 500U}) {
    server().misbehave("/v1/a.json", Misbehaviour::status(status));
    const auto message = send(HttpMethod::POST, apiUrl("/v1/a"));
    EXPECT_EQ(message->statusCode(), std::to_string(status));
    EXPECT_TRUE(message->resultMessage());
    EXPECT_EQ(error_, (Error{"vornelAPIError", 1, std::nullopt}));
    server().behave();
  }
  record_.setAccessToken("unknown");
  EXPECT_EQ(send(HttpMethod::POST, apiUrl("/v1/a"))->statusCode(), "401");
}

TEST_F(Synchronous, TransportFaultsAreStatusZeroWithADescription) {
  server().misbehave("/reset.json", Misbehaviour::reset());
  server().misbehave("/cut.json", Misbehaviour::cut(5));
  const std::string urls[] = {apiUrl("/reset"), apiUrl("/cut"), "https://127.0.0.1:1/x",
                              "no address",     "http://[",     "ftp://127.0.0.1/x"};
  for (const std::string& url : urls) {
    const auto message = send(HttpMethod::POST, url);
    ASSERT_TRUE(message) << url;
    EXPECT_EQ(message->statusCode(), "0") << url;
    ASSERT_TRUE(error_) << url;
    EXPECT_EQ(error_->domain, "vornelAPIError") << url;
    EXPECT_FALSE(error_->description.value_or("").empty()) << url;
  }
}

TEST_F(Synchronous, NothingIsSentWithoutAClientIdentifier) {
  record_.setClientId(std::nullopt);
  EXPECT_EQ(send(HttpMethod::GET, apiUrl("/v1/a")), std::nullopt);
  EXPECT_EQ(error_, (Error{"VornelError005", 5, "Client ID is null or empty"}));
  EXPECT_TRUE(server().received().empty());
  bundle_.setUrl(apiUrl("/v1/a"));
  EXPECT_EQ(request_.requestError(bundle_, nullptr), std::nullopt);
}

TEST_F(Synchronous, ACallWithoutItsKeyGoesOutWithoutParameters) {
  server().misbehave("/oauth/get_param_enc_key", Misbehaviour::reset());
  bundle_.setParameters(Parameters{{"a", "1"}});
  EXPECT_EQ(send(HttpMethod::GET, apiUrl("/v1/a"))->statusCode(), "200");
  EXPECT_EQ(server().received().back().target, "/v1/a.json");
  EXPECT_EQ(server().received().back().header("swap_key"), "1700000000250");
}

TEST_F(Synchronous, BodiesThatAreNoTextLeaveTheMessageAbsent) {
  server().misbehave("/utf8.json", Misbehaviour::utf8());
  server().misbehave("/empty.json", Misbehaviour::empty());
  for (const std::string& path : {std::string("/utf8"), std::string("/empty")}) {
    EXPECT_EQ(send(HttpMethod::POST, apiUrl(path))->resultMessage(), std::nullopt);
    EXPECT_EQ(error_, std::nullopt);
    EXPECT_EQ(log_->lines().back(), "Response data is going to be ==> (null)");
  }
  bundle_.setHttpMethod(HttpMethod::GET);
  EXPECT_EQ(request_.requestURLHTTPMethodError(bundle_, apiUrl("/v1/b"), HttpMethod::PUT, &error_)
                ->statusCode(),
            "200");
  EXPECT_EQ(server().received().back().method, "PUT");
}

} // namespace
} // namespace quarnet::test
