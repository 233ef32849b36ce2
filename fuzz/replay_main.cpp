// Runs a fuzz target over files and folders of inputs without libFuzzer, so
// that any compiler and CTest can replay the seed corpus.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int RunFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // An exactly sized heap copy, so that a read past the end is caught.
  std::vector<uint8_t> copy(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(copy.empty() ? nullptr : copy.data(), copy.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path arg(argv[i]);
    if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(arg)) {
        if (entry.is_regular_file()) {
          failures += RunFile(entry.path());
          ++count;
        }
      }
    } else {
      failures += RunFile(arg);
      ++count;
    }
  }
  std::printf("replayed %zu inputs\n", count);
  return failures == 0 ? 0 : 1;
}
