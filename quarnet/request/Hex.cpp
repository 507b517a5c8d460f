#include "quarnet/request/Hex.h"

namespace quarnet {

std::string hexEncoded(std::string_view data) {
  // Arithmetic instead of a table, so that the compiler can turn many bytes at once.
  const auto digit = [](int nibble) {
    return static_cast<char>(nibble + (nibble > 9 ? 'a' - 10 : '0'));
  };
  std::string text(data.size() * 2, '\0');
  const auto* in = reinterpret_cast<const unsigned char*>(data.data());
  char* out = text.data();
  for (std::size_t i = 0; i < data.size(); ++i) {
    out[2 * i] = digit(in[i] >> 4);
    out[2 * i + 1] = digit(in[i] & 15);
  }
  return text;
}

} // namespace quarnet
