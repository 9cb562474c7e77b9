// Driver of the fuzz targets where libFuzzer is not in use: runs the target once on an empty input
// and once on every file given, folders with all that is below them.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerTestOneInput(nullptr, 0);
  int count = 1;
  for (int i = 1; i < argc; ++i) {
    if (fs::is_regular_file(argv[i])) {
      replay(argv[i]);
      ++count;
    }
    std::error_code none;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i], none)) {
      if (!entry.is_regular_file()) continue;
      replay(entry.path());
      ++count;
    }
  }
  std::printf("%d inputs replayed\n", count);
  return 0;
}
