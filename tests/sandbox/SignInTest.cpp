#include "tests/sandbox/TestClient.h"

#include <gtest/gtest.h>

namespace quarnet::sandbox {
namespace {

class SignInTest : public testing::Test {
protected:
  /// Asks for the sign-in page and gives the pair that names this sign-in.
  std::string begin(const std::string& more = "") {
    const Answer page =
        client_.get("/oauth/authorize?client_id=demo-client&response_type=code" + more);
    EXPECT_EQ(page.status, 200);
    return "transaction=" + between(page.body, "name=\"transaction\" value=\"", "\"");
  }

  /// Goes through the pages; where the sign-in ends.
  std::string signIn(const std::string& more) {
    const std::string transaction = begin(more);
    const Answer asked = client_.post("/oauth/authorize",
                                      transaction + "&username=demo&password=demo&action=signin");
    EXPECT_NE(asked.target.find("/oauth/consent?" + transaction), std::string::npos);
    return client_.post("/oauth/consent", transaction + "&action=allow").target;
  }

  Answer token(const std::string& pairs) {
    return client_.get("/oauth/token?client_id=demo-client&client_secret=demo-secret&" + pairs);
  }

  Server server_;
  TestClient client_{server_};
};

TEST_F(SignInTest, EndsWithACodeThatGivesTokensOnce) {
  const std::pair<std::string, std::string> ends[] = {
      {"about:blank", "/oauth/access_complete_mobile?code="},
      {"https://" + server_.host() + "/cb?x=1", "/cb?x=1&access_complete_mobile=1&code="},
  };
  for (const auto& [redirectUri, end] : ends) {
    const std::string address = signIn("&scope=mail&redirect_uri=" + redirectUri);
    ASSERT_EQ(address.substr(0, end.size()), end);
    const std::string exchange = "grant_type=authorization_code&redirect_uri=" + redirectUri +
                                 "&code=" + address.substr(end.size());
    const Answer tokens = token(exchange);
    EXPECT_TRUE(server_.tokenIsLive(tokens.member("access_token")));
    EXPECT_EQ(tokens.member("scope"), "mail");
    EXPECT_EQ(token(exchange).member("error"), "invalid_grant");
  }
}

TEST_F(SignInTest, NeedsTheRightPasswordAndTellsOfAWrongOne) {
  const std::string transaction = begin();
  const Answer page = client_.post(
      "/oauth/authorize", transaction + "&username=%22%3E%3Cb%3E&password=x&action=signin");
  EXPECT_NE(page.body.find("id=\"refused\""), std::string::npos);
  EXPECT_NE(page.body.find("value=\"&quot;&gt;&lt;b&gt;\""), std::string::npos);
  for (const Answer& early : {client_.get("/oauth/consent?" + transaction),
                              client_.post("/oauth/consent", transaction + "&action=allow")})
    EXPECT_NE(early.target.find("error=invalid_request"), std::string::npos);
}

TEST_F(SignInTest, ReportsRefusalsInTheAddress) {
  const std::string page = "/oauth/error?error=";
  const std::pair<std::string, std::string> cases[] = {
      {"client_id=x&response_type=code&redirect_uri=http://evil/", page + "unauthorized_client&"},
      {"client_id=demo-client&response_type=token", page + "unsupported_response_type&"},
      {"client_id=demo-client&response_type=token&redirect_uri=https://" + server_.host() + "/b",
       "/b?error=unsupported_response_type&"},
      {"client_id=demo-client&response_type=code&redirect_uri=(null)", page + "invalid_request&"},
  };
  for (const auto& [query, address] : cases)
    EXPECT_EQ(client_.get("/oauth/authorize?" + query).target.substr(0, address.size()), address);

  for (const char* const path : {"/oauth/authorize", "/oauth/consent"})
    EXPECT_EQ(client_.post(path, begin() + "&action=cancel").target,
              page + "access_denied&error_description=User%20denied%20the%20request.");
}

TEST_F(SignInTest, TokenEndpointNamesWhatIsWrong) {
  const Tokens revoked = server_.issueTokens();
  const Answer revocation =
      client_.get("/oauth/expireToken?client_id=demo-client&token=" + revoked.accessToken);
  EXPECT_EQ(revocation.body, "{\"result\":\"success\"}");
  const std::pair<std::string, std::string> cases[] = {
      {"", "invalid_request"},
      {"grant_type=x", "unsupported_grant_type"},
      {"grant_type=x&grant_type=y", "invalid_request"},
      {"grant_type=refresh_token", "invalid_request"},
      {"grant_type=refresh_token&refresh_token=" + revoked.refreshToken, "invalid_grant"},
      {"grant_type=authorization_code&redirect_uri=about:blank&code=" +
           server_.issueCode("http://other/"),
       "invalid_grant"},
  };
  for (const auto& [query, error] : cases) {
    const Answer answer = token(query);
    EXPECT_EQ(answer.member("error"), error) << query;
    EXPECT_EQ(answer.status, 400) << query;
  }
  EXPECT_EQ(client_.get("/oauth/token?client_id=demo-client&client_secret=no&grant_type=x").status,
            401);
}

} // namespace
} // namespace quarnet::sandbox
