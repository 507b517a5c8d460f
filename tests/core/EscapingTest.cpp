#include "quarnet/core/Numbers.h"
#include "quarnet/core/PercentEscapes.h"
#include "quarnet/core/StringUtil.h"
#include "quarnet/core/Utf8.h"

#include <gtest/gtest.h>
#include <limits>

// What the inputs in fuzz/seeds/texts, which are compared with plainer code, leave open.

namespace quarnet {
namespace {

TEST(PlainEscaping, KeepsExactlyTheLegalCharacters) {
  std::string kept;
  for (int byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    if (addingPercentEscapes(one) == one) kept += one;
  }
  EXPECT_EQ(kept,
            "!$&'()*+,-./0123456789:;=?@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
  EXPECT_EQ(addingPercentEscapes("\"é"), "%22%C3%A9");
  EXPECT_EQ(addingPercentEscapes(std::nullopt), std::nullopt);
}

TEST(Escaping, RefusesWhatCannotBeCountedAnyMore) {
  if constexpr (sizeof(std::size_t) == 4) {
    EXPECT_THROW(escapeString(std::string(SIZE_MAX / 3 + 1, ' ')), std::length_error);
  }
}

TEST(Views, AreNotReadBehindTheirEnd) {
  EXPECT_FALSE(isUtf8(std::string_view("é", 1)));
  EXPECT_EQ(replacingPercentEscapes(std::string_view("%20", 2)), std::nullopt);
}

TEST(QueryString, IsBuiltFromPairsAndReadWhereTheKeyIsFound) {
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(std::nullopt), std::nullopt);
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(Parameters{}), std::nullopt);
  EXPECT_EQ(StringUtil::getQueryStringFromDictionary(
                Parameters{{"", std::nullopt}, {"a&", ""}, {"b", std::nullopt}, {"c", "%20"}}),
            "&a%26=&b&c=%2520");
  EXPECT_EQ(StringUtil::getValueFromQueryStringKey("barcode=1&code=2", "code"), "1"); // is meant
  const std::string many(10'000'000, 'a'); // a search that compares at every place takes minutes
  EXPECT_EQ(StringUtil::getValueFromQueryStringKey(many, many.substr(many.size() / 2)),
            std::nullopt);
}

TEST(Numbers, AreCutToTheirLimits) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(truncated(0x1p63), Limits::max());
  EXPECT_EQ(truncated(-0x1p63), Limits::min());
}

// The bounds of RFC 3629, at every place of a step of 32 bytes, and with the first half checked
// before.
TEST(Utf8Text, RefusesInvalidBytes) {
  for (std::size_t size = 0; size < 66; ++size) {
    const std::string x(size, 'x');
    const auto taken = [&x](const std::string& bytes) {
      int count = 0;
      for (const std::string& text : {x + bytes, bytes + x, x + bytes + x})
        count += utf8Text(text) == text &&
                 utf8Text(text, utf8Size(text.substr(0, text.size() / 2))) == text;
      return count;
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

} // namespace
} // namespace quarnet
