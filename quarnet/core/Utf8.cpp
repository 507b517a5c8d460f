#include "quarnet/core/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace quarnet {
namespace {

/// Several bytes at once: most of what servers answer is ASCII, and an answer may be large.
using AsciiStep = std::array<std::uint64_t, 4>;

bool startsWithAscii(std::string_view bytes) {
  AsciiStep step;
  if (bytes.size() < sizeof(step)) return false;
  std::memcpy(step.data(), bytes.data(), sizeof(step));
  return ((step[0] | step[1] | step[2] | step[3]) & 0x8080808080808080) == 0;
}

/// The size of the character that `bytes`, which are not empty, start with (RFC 3629, section 4);
/// 0 when they start with none.
std::size_t characterSize(std::string_view bytes) {
  const auto byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const auto continues = [&](std::size_t i) {
    return i < bytes.size() && (byte(i) & 0xC0) == 0x80;
  };
  const unsigned char first = byte(0);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4 || !continues(1)) return 0;
  if (first < 0xE0) return 2;
  // Not longer than needed (E0, F0), no half of a surrogate pair (ED), not beyond U+10FFFF (F4).
  const unsigned char second = byte(1);
  if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return 0;
  if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return 0;
  if (!continues(2)) return 0;
  if (first < 0xF0) return 3;
  return continues(3) ? 4 : 0;
}

} // namespace

std::size_t utf8Size(std::string_view bytes, std::size_t known) {
  std::string_view rest = bytes.substr(std::min(known, bytes.size()));
  while (!rest.empty()) {
    while (startsWithAscii(rest))
      rest.remove_prefix(sizeof(AsciiStep));
    // Where one character is not ASCII, its neighbours are not either, mostly.
    const std::size_t left = rest.size() - std::min(rest.size(), sizeof(AsciiStep));
    while (rest.size() > left) {
      const std::size_t size = characterSize(rest);
      if (size == 0) return bytes.size() - rest.size();
      rest.remove_prefix(size);
    }
  }
  return bytes.size();
}

Text utf8Text(Data bytes, std::size_t known) {
  if (!isUtf8(bytes, known)) return std::nullopt;
  return bytes;
}

} // namespace quarnet
