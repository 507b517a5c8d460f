#include "quarnet/core/Json.h"

#include <gtest/gtest.h>

namespace quarnet {
namespace {

Text memberOf(const std::string& document, std::string_view name = "v") {
  const auto json = Json::parse(document);
  return json ? memberText(&*json, name) : Text("invalid");
}

TEST(Json, PrintsEveryKindOfValueAsText) {
  const std::pair<std::string, std::string> cases[] = {
      {R"("a\u00e9\n\"")", "aé\n\""},
      {R"("")", ""},
      {"3600", "3600"},
      {"-5", "-5"},
      {"3600.5", "3600.5"},
      {"1e3", "1000"},
      {"1E5", "100000"},
      {"-0.5", "-0.5"},
      {"18446744073709551615", "18446744073709551615"},
      {"99999999999999999999999999", "99999999999999999999999999"},
      {"true", "1"},
      {"false", "0"},
      {"null", "<null>"},
      {R"([1, "a\"b", {"x" : null}])", R"([1,"a\"b",{"x":null}])"},
      {R"({ "k" : [ ] , "\u0001" : true })", R"({"k":[],"\u0001":true})"},
  };
  for (const auto& [value, text] : cases)
    EXPECT_EQ(memberOf("{\"v\":" + value + "}"), text) << value;
  EXPECT_EQ(memberOf(R"({"v":1,"w":2,"v":3})"), "3");
  EXPECT_EQ(memberOf("{}"), std::nullopt);
}

TEST(Json, RefusesWhatIsNoObject) {
  const std::string refused[] = {
      "",
      " ",
      "[]",
      "\"text\"",
      "12",
      "null",
      "{",
      "{\"v\":1",
      "{\"v\":1}x",
      "{\"v\":1}{}",
      "{\"v\":}",
      "{\"v\" 1}",
      "{v:1}",
      "{\"v\":01}",
      "{\"v\":+1}",
      "{\"v\":1.}",
      "{\"v\":tru}",
      "{\"v\":\"a",
      "{\"v\":\"\\ud800\"}",
      "{\"v\":\"\xff\"}",
      "{\"v\":1,}",
      "{\"v\":[1,]}",
      "<html></html>",
      "{\"v\":1,\"w\":[tru]}",
  };
  for (const std::string& document : refused)
    EXPECT_FALSE(Json::parse(document)) << document;
}

TEST(Json, RefusesEndlessNesting) {
  for (const int depth : {400, 5'000, 1'000'000}) {
    const std::string arrays = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_EQ(Json::parse("{\"v\":" + arrays + "}").has_value(), depth < 500) << depth;
    EXPECT_FALSE(Json::parse("{\"v\":" + std::string(depth, '[')));
  }
}

} // namespace
} // namespace quarnet
