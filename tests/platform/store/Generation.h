#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <array>
#include <string>

/// A record of five texts that all carry one number, long enough to lie on several pages.
inline constexpr std::array<std::string_view, 5> kRecordKeys = {
    "access_token", "refresh_token", "expires_in", "scope", "expires_systime"};

inline std::string generationText(long generation) {
  return std::to_string(generation) + ":" +
         std::string(1000 + generation % 7 * 900, static_cast<char>('a' + generation % 26));
}

inline void saveGeneration(quarnet::platform::UserDefaults& store, long generation) {
  for (const std::string_view key : kRecordKeys)
    store.setValue(key, generationText(generation));
  store.synchronize();
}

/// The number that all five texts carry; 0 when all are absent, -1 for a mix, -2 when they cannot
/// be read.
inline long storedGeneration(quarnet::platform::UserDefaults& store) {
  const auto texts = store.values(kRecordKeys);
  if (!texts) return -2;
  const quarnet::Text& first = texts->front();
  const long generation = first ? std::atol(first->c_str()) : 0;
  for (const quarnet::Text& text : *texts) {
    if (text != (first ? quarnet::Text(generationText(generation)) : first)) return -1;
  }
  return generation;
}
