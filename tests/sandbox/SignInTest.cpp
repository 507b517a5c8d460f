#include "tests/sandbox/TestClient.h"

#include <gtest/gtest.h>

namespace quarnet::sandbox {
namespace {

/// The text between the first `from` behind it and the next `to`.
std::string between(const std::string& text, const std::string& from, const std::string& to) {
  const std::size_t start = text.find(from);
  if (start == std::string::npos) return {};
  return text.substr(start + from.size(), text.find(to, start + from.size()) - start - from.size());
}

std::string member(const Answer& answer, const std::string& name) {
  return between(answer.body, "\"" + name + "\":\"", "\"");
}

class SignInTest : public testing::Test {
protected:
  std::string begin(const std::string& more = "") {
    const Answer page =
        client_.get("/oauth/authorize?client_id=demo-client&response_type=code" + more);
    EXPECT_EQ(page.status, 200);
    return between(page.body, "name=\"transaction\" value=\"", "\"");
  }

  /// Goes through the pages; the address at which the sign-in ends.
  std::string signIn(const std::string& more = "") {
    const std::string transaction = "transaction=" + begin(more);
    const Answer asked = client_.submit("/oauth/authorize",
                                        transaction + "&username=demo&password=demo&action=signin");
    EXPECT_NE(asked.location.find("/oauth/consent?" + transaction), std::string::npos);
    return client_.submit("/oauth/consent", transaction + "&action=allow").location;
  }

  Answer token(const std::string& pairs) {
    return client_.get("/oauth/token?client_id=demo-client&client_secret=demo-secret&" + pairs);
  }

  Server server_;
  TestClient client_{server_};
};

TEST_F(SignInTest, EndsWithACodeThatGivesTokensOnce) {
  struct {
    std::string redirectUri, end;
  } const cases[] = {
      {"about:blank", "https://" + server_.host() + "/oauth/access_complete_mobile?code="},
      {"http://app.example/cb?x=1", "http://app.example/cb?x=1&access_complete_mobile=1&code="},
  };
  for (const auto& [redirectUri, end] : cases) {
    const std::string address = signIn("&scope=mail&redirect_uri=" + redirectUri);
    ASSERT_EQ(address.substr(0, end.size()), end);
    const std::string exchange = "grant_type=authorization_code&redirect_uri=" + redirectUri +
                                 "&code=" + address.substr(end.size());
    const Answer tokens = token(exchange);
    EXPECT_EQ(tokens.status, 200);
    EXPECT_TRUE(server_.tokenIsLive(member(tokens, "access_token")));
    EXPECT_EQ(member(tokens, "scope"), "mail");
    EXPECT_NE(tokens.body.find("\"expires_in\":3600"), std::string::npos);
    EXPECT_EQ(member(token(exchange), "error"), "invalid_grant");
  }
}

TEST_F(SignInTest, NeedsTheRightPasswordAndTellsOfAWrongOne) {
  const std::string transaction = "transaction=" + begin();
  const Answer page = client_.submit(
      "/oauth/authorize", transaction + "&username=%22%3E%3Cb%3E&password=x&action=signin");
  EXPECT_NE(page.body.find("id=\"refused\""), std::string::npos);
  EXPECT_NE(page.body.find("value=\"&quot;&gt;&lt;b&gt;\""), std::string::npos);
  for (const Answer& early : {client_.get("/oauth/consent?" + transaction),
                              client_.submit("/oauth/consent", transaction + "&action=allow")})
    EXPECT_NE(early.location.find("error=invalid_request"), std::string::npos);
}

TEST_F(SignInTest, ReportsRefusalsInTheAddress) {
  const std::string page = "https://" + server_.host() + "/oauth/error?error=";
  struct {
    std::string query, address;
  } const cases[] = {
      {"client_id=x&response_type=code&redirect_uri=http://evil/", page + "unauthorized_client&"},
      {"client_id=demo-client&response_type=token", page + "unsupported_response_type&"},
      {"client_id=demo-client&response_type=token&redirect_uri=http://a/b",
       "http://a/b?error=unsupported_response_type&"},
      {"client_id=demo-client&response_type=code&redirect_uri=(null)", page + "invalid_request&"},
  };
  for (const auto& [query, address] : cases)
    EXPECT_EQ(client_.get("/oauth/authorize?" + query).location.substr(0, address.size()), address);

  for (const char* const path : {"/oauth/authorize", "/oauth/consent"})
    EXPECT_EQ(client_.submit(path, "transaction=" + begin() + "&action=cancel").location,
              page + "access_denied&error_description=User%20denied%20the%20request.");
}

TEST_F(SignInTest, RefreshTokensRotateAndDieWithARevocation) {
  const Tokens first = server_.issueTokens("mail");
  const Answer second = token("grant_type=refresh_token&refresh_token=" + first.refreshToken);
  EXPECT_EQ(member(second, "scope"), "mail");
  const Answer again = token("grant_type=refresh_token&refresh_token=" + first.refreshToken);
  EXPECT_EQ(member(again, "error"), "invalid_grant");
  EXPECT_EQ(again.body.find("access_token"), std::string::npos);

  const std::string revoke =
      "/oauth/expireToken?client_id=demo-client&token=" + member(second, "access_token");
  EXPECT_EQ(client_.get(revoke).body, "{\"result\":\"success\"}");
  EXPECT_FALSE(server_.tokenIsLive(member(second, "access_token")));
  EXPECT_EQ(client_.get(revoke).body.find("success"), std::string::npos);
  EXPECT_EQ(
      member(token("grant_type=refresh_token&refresh_token=" + member(second, "refresh_token")),
             "error"),
      "invalid_grant");
}

TEST_F(SignInTest, TokenEndpointNamesWhatIsWrong) {
  struct {
    std::string query, error;
    long status;
  } const cases[] = {
      {"", "invalid_request", 400},
      {"grant_type=refresh_token&client_id=demo-client&client_secret=no", "invalid_client", 401},
      {"grant_type=x&client_id=demo-client&client_secret=demo-secret", "unsupported_grant_type",
       400},
      {"grant_type=x&grant_type=y", "invalid_request", 400},
      {"grant_type=authorization_code&client_id=demo-client&client_secret=demo-secret&code=" +
           server_.issueCode("http://other/") + "&redirect_uri=about:blank",
       "invalid_grant", 400},
  };
  for (const auto& [query, error, status] : cases) {
    const Answer answer = client_.get("/oauth/token?" + query);
    EXPECT_EQ(member(answer, "error"), error) << query;
    EXPECT_EQ(answer.status, status) << query;
  }
}

} // namespace
} // namespace quarnet::sandbox
