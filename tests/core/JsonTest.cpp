#include "quarnet/core/Json.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace quarnet {
namespace {

Text memberOf(const std::string& document, std::string_view name = "v") {
  const auto json = Json::parse(document);
  return json ? memberText(json, name) : Text("invalid");
}

// What is valid, and what strings hold, the inputs in fuzz/seeds/json ask another reader.
TEST(Json, PrintsEveryKindOfValueAsText) {
  const std::pair<std::string, std::string> cases[] = {
      {R"("\ud800x\udc00\ud800\ud83d\ude00\ud800")", "\uFFFDx\uFFFD\uFFFD😀\uFFFD"},
      {"3600", "3600"},
      {"-0", "-0"},
      {"3600.5", "3600.5"},
      {"1E5", "100000"},
      {"1e17", "1e+17"},
      {"12345678901234567890.0e-3", "12345678901234568"},
      {"18446744073709551615", "18446744073709551615"},
      {"99999999999999999999999999", "99999999999999999999999999"},
      {"1e400", "1e400"}, // more than a double holds
      {"true", "1"},
      {"false", "0"},
      {"null", "<null>"},
      {R"([1, "a\"b", {"x" : null}])", R"([1,"a\"b",{"x":null}])"},
      {R"({ "k" : [ ] , "\u001F\/" : 1E400 })", R"({"k":[],"\u001f/":1E400})"},
  };
  for (const auto& [value, text] : cases)
    EXPECT_EQ(memberOf("\xEF\xBB\xBF {\"v\":" + value + "} "), text) << value;
}

TEST(Json, FindsTheLastMemberOfANameAtItsOwnLevel) {
  const std::string document =
      R"({"v":1,"w":{"v":{"v":2},"":[{"v":3}]},"\u0076":4,"x":"\"v\":5,","y":["}"]})";
  EXPECT_EQ(memberOf(document), "4");
  EXPECT_EQ(memberOf(document, "y"), R"(["}"])");
  EXPECT_EQ(memberOf(document, "z"), std::nullopt);
  const auto inner = Json::parse(document)->member("w");
  EXPECT_EQ(memberText(inner, "v"), R"({"v":2})");
  EXPECT_EQ(memberText(inner->member("")->member("v"), "v"), std::nullopt);
  EXPECT_EQ(memberOf("{}"), std::nullopt);
}

TEST(Json, TakesAnySizeAndDepthInLittleMemory) {
  constexpr std::size_t kCount = std::size_t{1} << 20;
  const std::string nested = std::string(kCount, '[') + std::string(kCount, ']');
  std::string flat = "[0";
  for (std::size_t i = 0; i < kCount; ++i)
    flat += ",0";
  flat += ']';
  for (const std::string& value : {nested, flat}) {
    const std::string document = "{\"w\":" + value + ",\"v\":1}";
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(memberOf(document), "1");
    EXPECT_EQ(memberOf(document, "w"), value);
    EXPECT_FALSE(Json::parse(document.substr(0, document.size() - 10)));
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT((after.ru_maxrss - before.ru_maxrss) * 1024, 4 * static_cast<long>(document.size()));
  }
}

} // namespace
} // namespace quarnet
