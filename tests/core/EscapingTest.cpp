#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>

namespace quarnet {
namespace {

using namespace std::string_literals;

std::string everyByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte)
    bytes += static_cast<char>(byte);
  return bytes;
}

TEST(EscapeString, LeavesOnlyTheUnreservedCharacters) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"AZaz09-_.~", "AZaz09-_.~"},
      {"a b&c=d/é", "a%20b%26c%3Dd%2F%C3%A9"},
      {"!*'();:@&=+$,/?%#[] ", "%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D%20"},
      {"가😀", "%EA%B0%80%F0%9F%98%80"},
      {"%20", "%2520"},
      {"a\0b"s, "a%00b"},
  };
  for (const auto& [text, escaped] : cases) {
    EXPECT_EQ(escapeString(text), escaped);
    EXPECT_EQ(StringUtil::escapedString(text), escaped);
  }
}

TEST(EscapeString, IsUndoneByUnescaping) {
  std::string ascii = everyByte().substr(0, 128);
  EXPECT_EQ(replacingPercentEscapes(escapeString(ascii + "한국어😀")), ascii + "한국어😀");
}

TEST(PlainEscaping, KeepsExactlyTheLegalCharacters) {
  std::string kept;
  for (const char c : everyByte()) {
    const std::string one(1, c);
    if (addingPercentEscapes(one) == one) kept += c;
  }
  EXPECT_EQ(kept,
            "!$&'()*+,-./0123456789:;=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
  EXPECT_EQ(addingPercentEscapes("a b\"#%[]é"), "a%20b%22%23%25%5B%5D%C3%A9");
  EXPECT_EQ(addingPercentEscapes(std::nullopt), std::nullopt);
}

TEST(Unescaping, RefusesWhatIsMalformedOrNoText) {
  EXPECT_EQ(replacingPercentEscapes("a%20b+c%ea%b0%80"), "a b+c가");
  EXPECT_EQ(replacingPercentEscapes("%00x"), "\0x"s);
  EXPECT_EQ(replacingPercentEscapes(std::string_view("%20", 2)), std::nullopt);
  for (const std::string_view malformed :
       {"%", "%2", "a%2", "%zz", "%2g", "%%20", "%FF", "%EA%B0"}) {
    EXPECT_EQ(replacingPercentEscapes(malformed), std::nullopt) << malformed;
  }
}

TEST(QueryString, IsBuiltFromPairs) {
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(std::nullopt), std::nullopt);
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(Parameters{}), std::nullopt);
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(Parameters{{"a", "x y"}}), "a=x%20y");
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(
                Parameters{{"", std::nullopt}, {"a&", ""}, {"b", std::nullopt}, {"c", "%20"}}),
            "&a%26=&b&c=%2520");
}

TEST(QueryString, IsReadByTheFirstOccurrenceOfTheKey) {
  const std::tuple<std::string, std::string, Text> cases[] = {
      {"a=1&b=2", "b", "2"},
      {"a=1&b=2", "a", "1"},
      {"a=1", "c", std::nullopt},
      {"a=&b=2", "a", ""},
      {"a=x%20y", "a", "x%20y"},
      {"barcode=1&code=2", "code", "1"}, // not anchored at a pair
      {"https://h/p?code=abc", "code", "abc"},
      {"a=1&b", "", "1"},
      {"=", "key", std::nullopt},
  };
  for (const auto& [query, key, value] : cases) {
    EXPECT_EQ(StringUtil::getValueFromQueryStringKey(query, key), value) << query << " " << key;
  }
}

// Long texts are worked through in blocks; a block's end must not show.
TEST(QueryString, IsReadAndWrittenAtEverySize) {
  for (std::size_t size = 0; size < 300; ++size) {
    const std::string plain(size, 'y');
    const std::string before = plain + "&ey=1&kkey2=";
    EXPECT_EQ(StringUtil::getValueFromQueryStringKey(before + "&key=v&z", "key"), "v") << size;
    EXPECT_EQ(StringUtil::getValueFromQueryStringKey(before + "key", "key"), std::nullopt) << size;
    EXPECT_EQ(StringUtil::getQueryStringFromDictionary(Parameters{{"k", plain + "/" + plain}}),
              "k=" + plain + "%2F" + plain);
  }
}

TEST(Numbers, AreDefinedForEveryText) {
  using Limits = std::numeric_limits<std::int64_t>;
  for (const std::string_view none : {"abc", "(null)", "", "-", "+-5", "--5", "- 5"})
    EXPECT_EQ(integerValue(none), 0) << none;
  EXPECT_EQ(integerValue("  +7"), 7);
  EXPECT_EQ(integerValue("\t-12xyz"), -12);
  EXPECT_EQ(integerValue("9223372036854775806"), Limits::max() - 1);
  EXPECT_EQ(integerValue(std::string(10'000, '9') + "x"), Limits::max());
  EXPECT_EQ(integerValue("-9223372036854775809"), Limits::min());
  EXPECT_EQ(truncated(0x1p63), Limits::max());
  EXPECT_EQ(truncated(-0x1p63), Limits::min());
}

// The bounds of RFC 3629, at every place in a block.
TEST(Utf8Text, RefusesInvalidBytes) {
  for (std::size_t size = 0; size < 300; ++size) {
    const std::string x(size, 'x');
    const auto taken = [&x](const std::string& bytes) {
      const std::string around[] = {x + bytes, bytes + x, x + bytes + x};
      return std::count_if(std::begin(around), std::end(around),
                           [](const std::string& text) { return utf8Text(text) == text; });
    };
    for (const char* valid :
         {"", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "한국어", "😀", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
      EXPECT_EQ(taken(valid), 3) << size << valid;
    for (const char* invalid :
         {"\x80", "\xBF", "\xC0\xAF", "\xC1\xBF", "\xC3", "\xC3(", "\xC3\xA9\x80", "\xE0\x9F\xBF",
          "\xED\xA0\x80", "\xE1\x80", "\xE1\x80(", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
          "\xF1\x80\x80", "\xF5\x80\x80\x80", "\xE1\x80\xE1\x80\x80"})
      EXPECT_EQ(taken(invalid), 0) << size << invalid;
  }
}

TEST(Case, IsIgnoredForAsciiLettersOnly) {
  EXPECT_TRUE(sameIgnoringCase("CLIENT_ID[z"s + '\0', "client_id[Z"s + '\0'));
  EXPECT_FALSE(sameIgnoringCase("a\0b"s, "a\0c"s));
  EXPECT_FALSE(sameIgnoringCase("[", "{") || sameIgnoringCase("@", "`"));
  EXPECT_FALSE(sameIgnoringCase("a", "ab"));
}

} // namespace
} // namespace quarnet
