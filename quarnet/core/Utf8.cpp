#include "quarnet/core/Utf8.h"

#include <cstdint>
#include <cstring>

namespace quarnet {
namespace {

/// Eight bytes at once: most of what servers answer is ASCII, and an answer may be large.
constexpr std::size_t kAsciiStep = sizeof(std::uint64_t);

bool startsWithAscii(std::string_view bytes) {
  if (bytes.size() < kAsciiStep) return false;
  std::uint64_t step;
  std::memcpy(&step, bytes.data(), kAsciiStep);
  return (step & 0x8080808080808080) == 0;
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

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t size = startsWithAscii(bytes) ? kAsciiStep : characterSize(bytes);
    if (size == 0) return false;
    bytes.remove_prefix(size);
  }
  return true;
}

Text utf8Text(Data bytes) {
  if (!isUtf8(bytes)) return std::nullopt;
  return bytes;
}

} // namespace quarnet
