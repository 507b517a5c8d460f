#include "quarnet/platform/RedactingLog.h"

#include <chrono>
#include <gtest/gtest.h>

using namespace quarnet::platform;

namespace {

class LastLine final : public Log {
public:
  void write(Line line) override {
    text.clear();
    for (const std::string_view piece : line)
      text += piece;
  }
  std::string text;
};

std::string redacted(std::initializer_list<std::string_view> pieces) {
  const auto sink = std::make_shared<LastLine>();
  RedactingLog(sink).write(std::span(pieces.begin(), pieces.size()));
  return sink->text;
}

struct Case {
  std::string line;
  std::string shown;
};

// Every secret in the lines begins with "Zq7".
const Case kCases[] = {
    // Addresses.
    {"OAuth RefreshToken URL : https://api/oauth/token?client_id=app&client_secret=Zq7+b/c=="
     "&redirect_uri=about:blank&grant_type=refresh_token&scope=(null)&refresh_token=Zq7.1",
     "OAuth RefreshToken URL : https://api/oauth/token?client_id=app&client_secret=***"
     "&redirect_uri=about:blank&grant_type=refresh_token&scope=(null)&refresh_token=***"},
    {"OAuth RevokeToken URL : https://api/oauth/expireToken?client_id=app&token=Zq7",
     "OAuth RevokeToken URL : https://api/oauth/expireToken?client_id=app&token=***"},
    {"OAuth RevokeToken URL : https://api/oauth/expireToken?client_id=app&token=",
     "OAuth RevokeToken URL : https://api/oauth/expireToken?client_id=app&token="},
    {"OAuth AccessToken URL : https://api/oauth/token?client_id=a&scope=s&redirect_uri=r"
     "&client_secret=Zq7&x=Zq7&Zq7&code=Zq7%26scope=Zq7&grant_type=authorization_code",
     "OAuth AccessToken URL : https://api/oauth/token?client_id=a&scope=s&redirect_uri=r"
     "&client_secret=***&code=***&grant_type=authorization_code"},
    {"OAuth Athorization URL : https://api/oauth/authorize?client_id=a&response_type=code&scope=s",
     "OAuth Athorization URL : https://api/oauth/authorize?client_id=a&response_type=code&scope=s"},
    {"요청 완료된 URL : https://m/access_complete_mobile?authcode=Zq7&state=1#access_token=Zq7&"
     "token_type=bearer",
     "요청 완료된 URL : https://m/access_complete_mobile?authcode=***&state=1#access_token=***&"
     "token_type=bearer"},
    {"요청 완료된 URL : "
     "https://m/next?redirect_uri=https%3A%2F%2Fm%2F%3Fcode%3DZq7%2526%26state%3D1"
     "%26CODE%3dZq7&client_secret=Zq7",
     "요청 완료된 URL : https://m/next?redirect_uri=https%3A%2F%2Fm%2F%3Fcode%3D***%26state%3D1"
     "%26CODE%3d***&client_secret=***"},
    {"URL : https://m/?u=https%253A%252F%252Fm%253Fcode%253DZq7%2526scope%253Ds",
     "URL : https://m/?u=https%253A%252F%252Fm%253Fcode%253D***%2526scope%253Ds"},
    {"웹뷰 로딩 에러 : failed {url=https://m/?access%5Ftoken=Zq7 at 3}",
     "웹뷰 로딩 에러 : failed {url=https://m/?access%5Ftoken=*** at 3}"},
    // Header fields and the printed record, whatever a token is made of.
    {"HTTPHeaderFields : {Content-Type: application/json, swap_key: 1700000000000, client_id: app, "
     "access_token: Zq7, Zq7&Zq7 \"Zq7, refresh_token: Zq7\nZq7, Accept: application/json}",
     "HTTPHeaderFields : {Content-Type: application/json, swap_key: 1700000000000, client_id: app, "
     "access_token: ***, refresh_token: ***, Accept: application/json}"},
    {"HTTPHeaderFields : {Accept: x, Access_Token: \"Zq7\"Zq7, Refresh_Token: [\"Zq7\"]}",
     "HTTPHeaderFields : {Accept: x, Access_Token: ***, Refresh_Token: ***}"},
    {"accessToken:Zq7\nZq7\nrefreshToken:Zq7\nexpiresIn:3600\nscope:s\nexpiresSystime:7\n",
     "accessToken:***\nrefreshToken:***\nexpiresIn:3600\nscope:s\nexpiresSystime:7\n"},
    {"accessToken:\nrefreshToken:(null)\nexpiresIn:0\nscope:(null)\nexpiresSystime:7\n",
     "accessToken:\nrefreshToken:(null)\nexpiresIn:0\nscope:(null)\nexpiresSystime:7\n"},
    {"accessToken : Zq7 Zq7", "accessToken : ***"},
    {"accessToken : (null)", "accessToken : (null)"},
    {"payload : swap_key=1700000000000&client_id=app",
     "payload : swap_key=1700000000000&client_id=app"},
    // Answers.
    {R"(response : {"body":{"key":"Zq7","iv":"Zq7\"Zq7\\","n":1},"code":200})",
     R"(response : {"body":{"key":"***","iv":"***","n":1},"code":***})"},
    {R"(result : {"access_token" : "Zq7\\\"Zq7", "refresh_token":12345, "expires_in":3600})",
     R"(result : {"access_token" : "***", "refresh_token":***, "expires_in":3600})"},
    {"reissueAccessToken : {\n  \"access\\u005ftoken\":\n    \"Zq7\\u0022Zq7%22Zq7\",\n  \"n\":1}",
     "reissueAccessToken : {\n  \"access\\u005ftoken\":\n    \"***\",\n  \"n\":1}"},
    {R"(result : {"token":{"a":["Zq7}",{"b":"Zq7"}],"c":1},"scope":"s","Refresh_Token":["Zq7"]})",
     R"(result : {"token":***,"scope":"s","Refresh_Token":***})"},
    {R"(result : {"text":"{\"access_token\":\"Zq7\\\"Zq7\\\\\",\"n\":1}\ncode=Zq7","m":2})",
     R"(result : {"text":"{\"access_token\":\"***\",\"n\":1}\ncode=***","m":2})"},
    {"result : access_token=Zq7&expires_in=3600&refresh_token=Zq7",
     "result : access_token=***&expires_in=3600&refresh_token=***"},
    {"result : {access_token=Zq7 'refresh_token': 'Zq7' } \xff\xfe",
     "result : {access_token=*** 'refresh_token': '***' } \xff\xfe"},
    {R"(reissueAccessToken : {"error":"invalid_grant","error_description":"token is old"})",
     R"(reissueAccessToken : {"error":"invalid_grant","error_description":"token is old"})"},
    // The user's own data.
    {"paramString : name=Zq7&n=Zq7", "paramString : ***"},
    {"paramString : ", "paramString : "},
    {"ENCODED URL : [name=Zq7]", "ENCODED URL : ***"},
    {"POST payload : {\"name\":\"Zq7\"}", "POST payload : ***"},
    {"POST payload : (null)", "POST payload : (null)"},
    {"Response data is going to be ==> <a>Zq7</a>", "Response data is going to be ==> ***"},
};

TEST(RedactingLogTest, BlanksSecretsAndNothingElse) {
  for (const auto& [line, shown] : kCases)
    EXPECT_EQ(redacted({line}), shown);
}

TEST(RedactingLogTest, NoSecretComesOutOfALineThatIsCutAnywhere) {
  for (const auto& [line, shown] : kCases) {
    for (std::size_t cut = 0; cut <= line.size(); ++cut) {
      const std::string_view start = std::string_view(line).substr(0, cut);
      EXPECT_EQ(redacted({start}).find("Zq7"), std::string::npos) << start;
      EXPECT_EQ(redacted({start, std::string_view(line).substr(cut)}), shown);
    }
  }
}

TEST(RedactingLogTest, TimeGrowsWithTheLengthOfALineOnly) {
  const auto start = std::chrono::steady_clock::now();
  for (const std::string head : {"", "code=", "code:", "\"code\":\"", "\"code\":[", "code%3D"}) {
    for (const std::string_view part : {"\\", "\"", "%25", "&", "& ", ", ", "\n", " ", "a", "{",
                                        "\"token\":", "code=&", "%2525"}) {
      std::string line = head;
      while (line.size() < 300'000)
        line += part;
      redacted({line});
    }
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

} // namespace
