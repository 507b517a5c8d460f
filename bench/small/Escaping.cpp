#include "bench/small/Pairs.h"

#include "quarnet/core/StringUtil.h"

#include <curl/curl.h>
#include <string>

namespace quarnet::bench {
namespace {

/// What a person types: Hangul, letters, digits, blanks and signs.
std::string mixedText() {
  std::string text;
  while (text.size() < 1024)
    text += "중앙도서관 3층 Reading room (open 09:00-18:00), seats=120 & lockers; ";
  return text;
}

} // namespace

void addEscaping() {
  const std::string mixed = mixedText();
  add({.what = "escapeString, mixed text",
       .measure = "speed, 1 KiB, against curl_easy_escape",
       .bound = atLeast(3),
       .ours = repeat([mixed] { return escapeString(mixed); }),
       .yardstick = repeat([mixed, easy = curl_easy_init()] {
         char* escaped = curl_easy_escape(easy, mixed.data(), static_cast<int>(mixed.size()));
         curl_free(escaped);
         return escaped;
       })});
}

} // namespace quarnet::bench
