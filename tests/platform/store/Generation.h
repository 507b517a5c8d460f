#pragma once

#include "quarnet/platform/UserDefaults.h"

#include <array>
#include <string>

/// A record of five texts that all carry one number, long enough to lie on several pages.
inline constexpr std::array kRecordKeys = {"access_token", "refresh_token", "expires_in", "scope",
                                           "expires_systime"};

inline std::string generationText(long generation) {
  return std::to_string(generation) + ":" +
         std::string(1000 + generation % 7 * 900, static_cast<char>('a' + generation % 26));
}

inline void saveGeneration(quarnet::platform::UserDefaults& store, long generation) {
  for (const char* key : kRecordKeys)
    store.setValue(key, generationText(generation));
  store.synchronize();
}

/// The number that all five texts carry; 0 when all are absent, -1 for a mix.
inline long storedGeneration(quarnet::platform::UserDefaults& store) {
  const quarnet::Text first = store.value(kRecordKeys[0]);
  const long generation = first ? std::atol(first->c_str()) : 0;
  for (const char* key : kRecordKeys) {
    if (store.value(key) != (first ? quarnet::Text(generationText(generation)) : first)) return -1;
  }
  return generation;
}
