// Replays stored inputs through a fuzz target in an ordinary build, so that seeds and every
// input that once crashed stay regression tests.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <boost/filesystem.hpp>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  unsigned replayed = 0;
  for (int i = 1; i < argc; ++i) {
    boost::filesystem::path dir(argv[i]);
    if (!boost::filesystem::is_directory(dir)) continue;
    for (const auto& entry : boost::filesystem::directory_iterator(dir)) {
      if (!boost::filesystem::is_regular_file(entry.path())) continue;
      std::ifstream in(entry.path().string(), std::ios::binary);
      std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  std::printf("replayed %u inputs\n", replayed);
  return 0;
}
