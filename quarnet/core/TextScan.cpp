#include "quarnet/core/TextScan.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#ifdef __x86_64__
#ifdef __clang__
#define _Bool bool // which the header uses and clang knows in C only
#endif
#include <sys/platform/x86.h>
#endif

namespace quarnet {
namespace {

// Bytes that are worked on at once; a comparison gives -1 in each place where it holds. Most
// processors take a narrow one in one step, newer ones a wide one. One that takes neither is slow
// and right.
using Narrow = unsigned char __attribute__((vector_size(16)));
using Wide = unsigned char __attribute__((vector_size(32)));

// By reference, since such a value is handed over differently from processor to processor.
template <class Block>
[[gnu::always_inline]] inline void load(Block& block, const char* text) {
  std::memcpy(&block, text, sizeof(block));
}

/// The first place that is not 0; the block's size when all are.
template <class Block>
[[gnu::always_inline]] inline std::size_t firstSet(const Block& block) {
  static_assert(std::endian::native == std::endian::little);
  std::array<std::uint64_t, sizeof(Block) / sizeof(std::uint64_t)> words;
  std::memcpy(words.data(), &block, sizeof(block));
  std::uint64_t any = 0;
  for (const std::uint64_t word : words)
    any |= word;
  if (any == 0) return sizeof(Block);
  std::size_t i = 0;
  while (words[i] == 0)
    ++i;
  return i * sizeof(std::uint64_t) + static_cast<std::size_t>(std::countr_zero(words[i])) / 8;
}

template <class Block>
[[gnu::always_inline]] inline std::size_t countReservedIn(const char* text, std::size_t size) {
  std::size_t unreserved = 0;
  std::size_t done = 0;
  while (done + sizeof(Block) <= size) {
    // Each place of the sum counts up to 255 blocks.
    const std::size_t end = std::min(size, done + 255 * sizeof(Block));
    Block sum{};
    for (; done + sizeof(Block) <= end; done += sizeof(Block)) {
      Block bytes;
      load(bytes, text + done);
      const Block letter = (bytes | 0x20) - 'a';
      const Block digit = bytes - '0';
      sum -= Block((letter < 26) | (digit < 10) | (bytes == '-') | (bytes == '.') | (bytes == '_') |
                   (bytes == '~'));
    }
    for (std::size_t place = 0; place < sizeof(Block); ++place)
      unreserved += sum[place];
  }
  for (; done < size; ++done)
    unreserved += isUnreserved(static_cast<unsigned char>(text[done]));
  return size - unreserved;
}

/// Adds the places among the block's where a pair begins.
template <class Block>
[[gnu::always_inline]] inline void markPairs(Block& pairs, const char* text, unsigned char first,
                                             unsigned char second) {
  Block here;
  Block next;
  load(here, text);
  load(next, text + 1);
  pairs |= Block((here == first) & (next == second));
}

/// The first place of the pair, or `size`.
template <class Block>
[[gnu::always_inline]] inline std::size_t findPairIn(const char* text, std::size_t size,
                                                     unsigned char first, unsigned char second) {
  constexpr std::size_t kRun = 4 * sizeof(Block);
  std::size_t place = 0;
  // Several blocks at once, since asking for the result takes longer than a block's comparison.
  for (; place + kRun < size; place += kRun) {
    Block pairs{};
    for (std::size_t i = 0; i < kRun; i += sizeof(Block))
      markPairs(pairs, text + place + i, first, second);
    if (firstSet(pairs) < sizeof(Block)) break;
  }
  for (; place + sizeof(Block) < size; place += sizeof(Block)) {
    Block pairs{};
    markPairs(pairs, text + place, first, second);
    const std::size_t found = firstSet(pairs);
    if (found < sizeof(Block)) return place + found;
  }
  const char pair[] = {static_cast<char>(first), static_cast<char>(second)};
  while (place + 1 < size && std::memcmp(text + place, pair, sizeof(pair)) != 0)
    ++place;
  return place + 1 < size ? place : size;
}

/// Marks what is no UTF-8 in a block: each byte is judged with the three in front of it.
template <class Block>
[[gnu::always_inline]] inline void markNoUtf8(Block& marks, const char* text) {
  Block byte;
  Block before;
  Block second;
  Block third;
  load(byte, text);
  load(before, text - 1);
  load(second, text - 2);
  load(third, text - 3);
  const Block continues = (byte & 0xC0) == 0x80;
  const Block mustContinue = (before >= 0xC0) | (second >= 0xE0) | (third >= 0xF0);
  marks |= Block(continues != mustContinue);
  // Never used, or beyond U+10FFFF.
  marks |=
      Block((byte == 0xC0) | (byte == 0xC1) | (byte > 0xF4) | ((before == 0xF4) & (byte > 0x8F)));
  // Longer than needed, or half of a surrogate pair.
  marks |= Block(((before == 0xE0) & (byte < 0xA0)) | ((before == 0xF0) & (byte < 0x90)) |
                 ((before == 0xED) & (byte > 0x9F)));
}

template <class Block>
[[gnu::always_inline]] inline bool isAscii(const char* text, std::size_t size) {
  Block all{};
  for (std::size_t i = 0; i < size; i += sizeof(Block)) {
    Block block;
    load(block, text + i);
    all |= block;
  }
  return firstSet(Block(all & 0x80)) == sizeof(Block);
}

template <class Block>
[[gnu::always_inline]] inline bool isUtf8In(const char* text, std::size_t size) {
  constexpr std::size_t kBefore = 3;
  constexpr std::size_t kRun = 8 * sizeof(Block);
  Block marks{};
  // Where a block or the three bytes before it would leave the text, zero bytes stand instead: a
  // character that is cut off there is none.
  const auto markPart = [&](std::size_t start, std::size_t count) {
    std::array<char, kBefore + sizeof(Block)> part{};
    const std::size_t before = std::min(start, kBefore);
    std::memcpy(part.data() + kBefore - before, text + start - before, before + count);
    markNoUtf8(marks, part.data() + kBefore);
  };
  if (size == 0) return true;
  std::size_t done = std::min(size, sizeof(Block));
  markPart(0, done);
  for (; done + kRun <= size; done += kRun) {
    markNoUtf8(marks, text + done);
    if (isAscii<Block>(text + done, kRun)) continue;
    for (std::size_t i = sizeof(Block); i < kRun; i += sizeof(Block))
      markNoUtf8(marks, text + done + i);
  }
  for (; done + sizeof(Block) <= size; done += sizeof(Block))
    markNoUtf8(marks, text + done);
  if (size >= sizeof(Block)) markPart(done, size - done);
  return firstSet(marks) == sizeof(Block);
}

#ifdef __x86_64__
bool takesWide() {
  return CPU_FEATURE_ACTIVE(AVX2);
}

[[gnu::target("avx2")]] std::size_t countReservedWide(const char* text, std::size_t size) {
  return countReservedIn<Wide>(text, size);
}
[[gnu::target("avx2")]] std::size_t findPairWide(const char* text, std::size_t size,
                                                 unsigned char first, unsigned char second) {
  return findPairIn<Wide>(text, size, first, second);
}
[[gnu::target("avx2")]] bool isUtf8Wide(const char* text, std::size_t size) {
  return isUtf8In<Wide>(text, size);
}
#endif

} // namespace

std::size_t countReserved(std::string_view text) {
#ifdef __x86_64__
  if (takesWide()) return countReservedWide(text.data(), text.size());
#endif
  return countReservedIn<Narrow>(text.data(), text.size());
}

std::size_t findPair(std::string_view text, char first, char second, std::size_t start) {
  if (start >= text.size()) return std::string_view::npos;
  const char* from = text.data() + start;
  const std::size_t size = text.size() - start;
  const auto a = static_cast<unsigned char>(first);
  const auto b = static_cast<unsigned char>(second);
#ifdef __x86_64__
  const std::size_t place =
      takesWide() ? findPairWide(from, size, a, b) : findPairIn<Narrow>(from, size, a, b);
#else
  const std::size_t place = findPairIn<Narrow>(from, size, a, b);
#endif
  return place < size ? start + place : std::string_view::npos;
}

bool isUtf8(std::string_view bytes) {
#ifdef __x86_64__
  if (takesWide()) return isUtf8Wide(bytes.data(), bytes.size());
#endif
  return isUtf8In<Narrow>(bytes.data(), bytes.size());
}

} // namespace quarnet
