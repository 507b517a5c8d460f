// Where libFuzzer begins.

#include "fuzz/support/Fuzz.h"

namespace quarnet::fuzz {
void FUZZ_TARGET(Input input);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
  quarnet::fuzz::FUZZ_TARGET(quarnet::fuzz::Input({reinterpret_cast<const char*>(bytes), size}));
  return 0;
}
