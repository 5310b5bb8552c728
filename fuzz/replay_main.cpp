// Replays a fuzz target's corpus: every file of the given folders (or the
// given files) goes once through LLVMFuzzerTestOneInput. A crash or a
// sanitizer report fails the test; an empty or missing corpus fails too, so
// that a target cannot pass by having nothing to replay.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  size_t replayed = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<fs::path> inputs;
    if (fs::is_directory(argv[i])) {
      for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
        if (entry.is_regular_file()) inputs.push_back(entry.path());
    } else {
      inputs.emplace_back(argv[i]);
    }
    for (const auto& path : inputs) {
      std::ifstream in(path, std::ios::binary);
      std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                                 std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++replayed;
    }
  }
  std::printf("replayed %zu inputs\n", replayed);
  return replayed ? 0 : 1;
}
