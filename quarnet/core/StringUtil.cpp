#include "quarnet/core/StringUtil.h"

#include <algorithm>
#include <array>
#include <cstring>
#ifdef __x86_64__
#include <sys/platform/x86.h>
#endif
#include <utility>

namespace quarnet {
namespace {

constexpr bool isUnreserved(unsigned char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

/// Thirty-two bytes at once, in as many steps as the processor needs.
using Block = unsigned char __attribute__((vector_size(32)));

[[gnu::always_inline]] inline std::size_t countReservedIn(const char* text, std::size_t size) {
  std::size_t unreserved = 0;
  std::size_t done = 0;
  while (done + sizeof(Block) <= size) {
    // Each place of the sum counts up to 255 blocks.
    const std::size_t end = std::min(size, done + 255 * sizeof(Block));
    Block sum{};
    for (; done + sizeof(Block) <= end; done += sizeof(Block)) {
      Block bytes;
      std::memcpy(&bytes, text + done, sizeof(bytes));
      const Block letter = (bytes | 0x20) - 'a';
      const Block digit = bytes - '0';
      // A comparison gives -1 in each place where it holds.
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

#ifdef __x86_64__
/// For processors that take a block in one step; the library itself is built for all of them.
[[gnu::target("avx2")]] std::size_t countReservedWide(const char* text, std::size_t size) {
  return countReservedIn(text, size);
}
#endif

std::size_t countReserved(std::string_view text) {
#ifdef __x86_64__
  if (CPU_FEATURE_ACTIVE(AVX2)) return countReservedWide(text.data(), text.size());
#endif
  return countReservedIn(text.data(), text.size());
}

/// What each byte becomes: four bytes to write, of which one or three count.
struct EscapeTable {
  std::array<std::array<char, 4>, 256> text{};
  std::array<unsigned char, 256> size{};

  constexpr EscapeTable() {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    for (std::size_t byte = 0; byte < 256; ++byte) {
      if (isUnreserved(static_cast<unsigned char>(byte))) {
        text[byte] = {static_cast<char>(byte)};
        size[byte] = 1;
      } else {
        text[byte] = {'%', kHex[byte >> 4], kHex[byte & 15]};
        size[byte] = 3;
      }
    }
  }
};
constexpr EscapeTable kEscapes;

/// Below this, room for the worst case costs less than counting.
constexpr std::size_t kShort = 128;

void appendEscaped(std::string& out, std::string_view text) {
  std::size_t reserved = text.size();
  if (text.size() >= kShort) {
    reserved = countReserved(text);
    if (reserved == 0) {
      out += text;
      return;
    }
  }
  const std::size_t start = out.size();
  // Three more, as each byte writes four and may count for one.
  out.resize(start + text.size() + 2 * reserved + 3);
  char* to = out.data() + start;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    std::memcpy(to, kEscapes.text[byte].data(), 4);
    to += kEscapes.size[byte];
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
}

} // namespace

std::string escapeString(std::string_view text) {
  std::string escaped;
  appendEscaped(escaped, text);
  return escaped;
}

std::string StringUtil::escapedString(std::string_view text) {
  return escapeString(text);
}

Text StringUtil::getQueryStringFromDictionary(const std::optional<Parameters>& parameters) {
  if (!parameters || parameters->empty()) return std::nullopt;
  std::string query;
  query.reserve(parameters->size() * 64); // spares growing for texts of an ordinary length
  bool first = true;
  for (const auto& [key, value] : *parameters) {
    if (!std::exchange(first, false)) query += '&';
    appendEscaped(query, key);
    if (!value) continue;
    query += '=';
    appendEscaped(query, *value);
  }
  return query;
}

Text StringUtil::getValueFromQueryStringKey(std::string_view query, std::string_view key) {
  const std::string prefix = std::string(key) + '=';
  const std::size_t start = query.find(prefix);
  if (start == std::string_view::npos) return std::nullopt;
  const std::string_view rest = query.substr(start + prefix.size());
  return std::string(rest.substr(0, rest.find('&')));
}

} // namespace quarnet
