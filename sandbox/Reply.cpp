#include "sandbox/Reply.h"

#include "sandbox/Text.h"

namespace quarnet::sandbox {

Reply redirectReply(unsigned status, std::string_view location) {
  std::string safe;
  for (const char c : location) {
    const bool printable = c > ' ' && c < '\x7F';
    safe += printable ? std::string(1, c) : percentEncoded({&c, 1});
  }
  return {.status = status, .headers = {{"Location", std::move(safe)}}};
}

} // namespace quarnet::sandbox
