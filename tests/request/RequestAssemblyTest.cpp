#include "tests/support/LibraryTest.h"
#include "tests/support/Race.h"

#include <gmock/gmock.h>

namespace quarnet::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Assembly : public LibraryTest {
protected:
  std::optional<Error> assemble(RequestBundle& bundle) {
    std::optional<Error> error;
    request_._requestError(bundle, &error);
    return error;
  }

  static std::string preparedFields() {
    const auto request = APIRequest::urlRequest();
    std::string fields;
    for (const auto& [name, value] : request->headerFields)
      fields.append(fields.empty() ? "" : ", ").append(name).append(": ").append(value);
    return fields;
  }

  APIRequest request_;
};

TEST_F(Assembly, RefusesBundlesInTheOrderOfTheirFaults) {
  RequestBundle bundle;
  bundle.setHttpMethod(static_cast<HttpMethod>(4));
  bundle.setResponseType(static_cast<ContentFormat>(2));
  bundle.setParameters(Parameters{{"a", "x y"}});
  for (const Text& url : {Text(), Text("")}) {
    bundle.setUrl(url);
    EXPECT_EQ(assemble(bundle), (Error{"VornelError002", 2, "Url is null or empty"}));
    EXPECT_EQ(log_->lines().back(), "requestBundle.url : " + url.value_or("(null)"));
  }

  bundle.setUrl("http://host/path");
  EXPECT_EQ(assemble(bundle), (Error{"VornelError003", 3, "ReturnType-value is wrong"}));
  EXPECT_EQ(bundle.url(), "http://host/path");
  EXPECT_EQ(bundle.parameters(), (Parameters{{"a", "x y"}}));

  bundle.setResponseType(ContentFormat::XML);
  EXPECT_EQ(assemble(bundle), (Error{"VornelError001", 1, "HttpMethod is null"}));
  EXPECT_EQ(bundle.url(), "http://host/path.xml");
  EXPECT_EQ(bundle.parameters(), (Parameters{{"a", "x%20y"}}));
  EXPECT_EQ(APIRequest::urlRequest()->url, "http://host/path.xml");

  bundle.setHttpMethod(HttpMethod::POST);
  record_.setClientId(std::nullopt);
  EXPECT_EQ(assemble(bundle), (Error{"VornelError005", 5, "Client ID is null or empty"}));
  EXPECT_TRUE(APIRequest::urlRequest()->headerFields.get("Accept"));
  EXPECT_TRUE(server().received().empty());
}

TEST_F(Assembly, SetsTheHeaderFieldsInOrder) {
  signIn();
  const std::string token = *record_.accessToken(), refresh = *record_.refreshToken();
  RequestBundle get = bundleOf(HttpMethod::GET);
  get.setRequestType(static_cast<ContentFormat>(2));
  ASSERT_EQ(assemble(get), std::nullopt);
  EXPECT_EQ(preparedFields(),
            "Content-Type: error, swap_key: 1700000000250, client_id: demo-client, access_token: " +
                token + ", refresh_token: " + refresh +
                ", Accept: application/json, Accept-Encoding: utf-8");

  record_.setAccessToken(std::nullopt);
  RequestBundle post = bundleOf(HttpMethod::POST);
  post.setPayload("h\u00e9llo");
  post.setRequestType(ContentFormat::XML);
  post.setResponseType(ContentFormat::XML);
  ASSERT_EQ(assemble(post), std::nullopt);
  EXPECT_EQ(preparedFields(), "Content-Type: application/xml, Content-Length: 6, client_id: "
                              "demo-client, refresh_token: " +
                                  refresh + ", Accept: application/xml, Accept-Encoding: utf-8");
  EXPECT_EQ(log_->lines().back(), "HTTPHeaderFields : {" + preparedFields() + "}");
  EXPECT_EQ(*APIRequest::urlRequest()->body, "h\u00e9llo");
  EXPECT_EQ(log_->count("POST payload : h\u00e9llo"), 1U);

  // Without an error slot the call is prepared up to the tokens.
  RequestBundle put = bundleOf(HttpMethod::PUT);
  request_._requestError(put, nullptr);
  EXPECT_EQ(preparedFields(), "Content-Type: application/json, Content-Length: 0, client_id: "
                              "demo-client, refresh_token: " +
                                  refresh);
  EXPECT_EQ(APIRequest::urlRequest()->body, nullptr);
}

TEST_F(Assembly, ParametersAreEscapedInTheBundleEachTimeItIsSent) {
  RequestBundle bundle = bundleOf(HttpMethod::DELETE);
  bundle.setParameters(Parameters{{"a", "x y"}, {"k&", "%"}, {"n", std::nullopt}});
  assemble(bundle);
  EXPECT_EQ(log_->count("paramString : a=x%20y&k&=%25&n"), 1U);
  assemble(bundle);
  EXPECT_EQ(log_->count("paramString : a=x%2520y&k&=%2525&n"), 1U);
  EXPECT_EQ(bundle.url(), apiUrl("/v1/a.json.json"));
  EXPECT_THAT(APIRequest::urlRequest()->url, HasSubstr(apiUrl("/v1/a.json.json?enc=")));

  bundle.setParameters(Parameters{{"\xff", "1"}}); // no text
  EXPECT_EQ(assemble(bundle), std::nullopt);
  EXPECT_EQ(log_->count("paramString : (null)"), 1U);
}

TEST_F(Assembly, MultipartBytesAreLaidOutExactly) {
  RequestBundle bundle = bundleOf(HttpMethod::POST);
  bundle.setUploadFilePath(makeFile("p\"i\r\nc.jpg", std::string("a\0\r\n--b", 7)));
  dateIn2040(*bundle.uploadFilePath());
  bundle.setUploadFileKey("k\"\n키");
  ASSERT_EQ(assemble(bundle), std::nullopt);
  const auto sent = APIRequest::urlRequest();
  const std::string boundary = sent->body->substr(4, sent->body->find("\r\n", 4) - 4);
  EXPECT_EQ(sent->headerFields.get("Content-Type"), "multipart/form-data; boundary=" + boundary);
  EXPECT_EQ(
      *sent->body,
      "\r\n--" + boundary +
          "\r\nContent-Disposition: form-data; name=\"k%22%0A키\"; filename=\"p%22i%0D%0Ac.jpg\""
          "\r\nContent-Type: application/octet-stream\r\n\r\n" +
          std::string("a\0\r\n--b", 7) + "\r\nContent-Transfer-Encoding: binary\r\n\r\n--" +
          boundary + "--\r\n");
  EXPECT_FALSE(sent->headerFields.get("Content-Length"));
  EXPECT_EQ(log_->count("photo size : 7"), 1U);
  if constexpr (sizeof(std::size_t) == 4) {
    std::filesystem::resize_file(*bundle.uploadFilePath(), std::uintmax_t{3} << 30);
    EXPECT_EQ(assemble(bundle).value().description, "Not enough memory for the call");
  }
}

TEST_F(Assembly, AFileThatCannotBeReadIsUploadedEmpty) {
  RequestBundle bundle = bundleOf(HttpMethod::PUT);
  bundle.setPayload("text");
  for (const char* path : {"/missing.jpg", "/tmp", "/dev/zero", "/"}) {
    bundle.setUploadFilePath(path);
    EXPECT_EQ(assemble(bundle), std::nullopt) << path;
    EXPECT_THAT(*APIRequest::urlRequest()->body,
                HasSubstr("octet-stream\r\n\r\n\r\nContent-Transfer-Encoding"))
        << path;
  }
  bundle.setUploadFilePath("a/");
  assemble(bundle);
  EXPECT_THAT(*APIRequest::urlRequest()->body, HasSubstr("filename=\"a\""));
  bundle.setUploadFilePath("");
  assemble(bundle);
  EXPECT_EQ(*APIRequest::urlRequest()->body, "text");
}

TEST_F(Assembly, TheUrlConverterOnlyAddsAPlainQuery) {
  EXPECT_EQ(request_.urlConverter(RequestBundle()), std::nullopt);
  RequestBundle bundle;
  bundle.setUrl("http://h/p");
  bundle.setParameters(Parameters{});
  EXPECT_EQ(request_.urlConverter(bundle), "http://h/p");
  bundle.setParameters(Parameters{{"a", "x y"}});
  log_->clear();
  EXPECT_EQ(request_.urlConverter(bundle), "http://h/p?a=x%20y");
  EXPECT_THAT(log_->lines(), ElementsAre("URL : http://h/p", "paramSize : 1",
                                         "ENCODED URL : [http://h/p?a=x%20y]"));
}

TEST_F(Assembly, ThePreparedRequestIsWholeHoweverManyThreadsPrepare) {
  const auto prepare = [this](int) { request_.setHeaderErr("1", nullptr); };
  const auto isWhole = [] { return APIRequest::urlRequest()->headerFields.get("swap_key") == "1"; };
  EXPECT_EQ(halfSeen(prepare, isWhole), 0);
}

} // namespace
} // namespace quarnet::test
