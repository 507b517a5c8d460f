// Tries every file of the folders that are named; a folder that is missing counts as empty.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size);

int main(int, char** folders) {
  while (const char* folder = *++folders) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      std::cout << file.path().string() << std::endl; // it may be the last
      std::ifstream stream(file.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
  }
}
