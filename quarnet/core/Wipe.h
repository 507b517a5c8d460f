#pragma once

#include "quarnet/core/Types.h"

#include <array>
#include <cstddef>
#include <string.h>

namespace quarnet {

/// Overwrites all of the text's memory, its unused capacity included, and leaves it empty. Memory
/// that the text used before it grew or was moved is out of reach.
inline void wipe(std::string& text) noexcept {
  text.resize(text.capacity());
  explicit_bzero(text.data(), text.size());
  text.clear();
}

/// The same for a text that may be absent; a present one is empty then.
inline void wipe(Text& text) noexcept {
  if (text) wipe(*text);
}

template <std::size_t size>
void wipe(std::array<unsigned char, size>& bytes) noexcept {
  explicit_bzero(bytes.data(), size);
}

/// Wipes a secret at the end of the scope, however that is left.
template <class T>
class WipeAtEnd {
public:
  explicit WipeAtEnd(T& secret) : secret_(secret) {}
  ~WipeAtEnd() { wipe(secret_); }
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;

private:
  T& secret_;
};

} // namespace quarnet
