// Replays fuzz inputs without libFuzzer: linked with one harness in the
// ordinary build, it calls the harness's LLVMFuzzerTestOneInput once for
// every file in the folders given on the command line (names starting with
// '.' are passed over), in name order. A fault ends the process as it would
// under the fuzzer; a folder that cannot be read, or no input at all, fails.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    std::error_code error;
    for (fs::directory_iterator it(argv[i], error), end; !error && it != end; it.increment(error)) {
      if (it->is_regular_file() && it->path().filename().string()[0] != '.') {
        inputs.push_back(it->path());
      }
    }
    if (error) {
      std::fprintf(stderr, "cannot read folder %s: %s\n", argv[i], error.message().c_str());
      return 2;
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "no inputs to replay\n");
    return 2;
  }
  std::sort(inputs.begin(), inputs.end());
  for (const fs::path& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
      std::fprintf(stderr, "cannot read %s\n", input.c_str());
      return 2;
    }
    std::fprintf(stderr, "replaying %s\n", input.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::fprintf(stderr, "replayed %zu inputs\n", inputs.size());
  return 0;
}
