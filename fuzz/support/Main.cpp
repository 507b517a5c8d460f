#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace quarnet::fuzz {
void FUZZ_TARGET(std::string input);
}

#ifdef FUZZ_REPLAY
// Tries every file of the folders that are named; one that is missing counts as empty.
int main(int, char** folders) {
  while (const char* folder = *++folders) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      std::fprintf(stderr, "%s\n", file.path().c_str());
      std::ifstream stream(file.path(), std::ios::binary);
      quarnet::fuzz::FUZZ_TARGET({std::istreambuf_iterator<char>(stream), {}});
    }
  }
}
#else
extern "C" int LLVMFuzzerTestOneInput(const char* bytes, std::size_t size) {
  quarnet::fuzz::FUZZ_TARGET({bytes, size});
  return 0;
}
#endif
