#include "bench/small/Pairs.h"

#include "quarnet/core/StringUtil.h"

#include <cstring>
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

std::string plainText(std::size_t size) {
  constexpr std::string_view kUnreserved =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string text;
  while (text.size() < size)
    text += kUnreserved.substr(0, size - text.size());
  return text;
}

void addPlain(std::size_t size, const std::string& sizeText) {
  const std::string text = plainText(size);
  add({.what = "escapeString, nothing to escape",
       .measure = "speed, " + sizeText + ", against memcpy",
       .figure = Figure::speed,
       .bound = atLeast(0.3),
       .ours = repeat([text] { return escapeString(text); }),
       .yardstick = repeat([text, copy = std::string(size, '\0')]() mutable {
         std::memcpy(copy.data(), text.data(), text.size());
         benchmark::ClobberMemory();
         return copy.data();
       })});
}

} // namespace

void addEscaping() {
  const std::string mixed = mixedText();
  add({.what = "escapeString, mixed text",
       .measure = "speed, 1 KiB, against curl_easy_escape",
       .figure = Figure::speed,
       .bound = atLeast(8),
       .ours = repeat([mixed] { return escapeString(mixed); }),
       .yardstick = repeat([mixed, easy = curl_easy_init()] {
         char* escaped = curl_easy_escape(easy, mixed.data(), static_cast<int>(mixed.size()));
         curl_free(escaped);
         return escaped;
       })});
  addPlain(4 << 10, "4 KiB");
  addPlain(64 << 10, "64 KiB");
  addPlain(1 << 20, "1 MiB");
}

} // namespace quarnet::bench
