// Test data files under VESK_DATA_DIR (the repository's data/ unless the
// build was configured with another folder). A test whose file is not there
// is skipped, never failed: a source tree without the data still passes.
#ifndef VESK_TESTS_SUPPORT_DATA_H_
#define VESK_TESTS_SUPPORT_DATA_H_

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace vesktest {

// Marks the running test skipped, naming the missing file and where to get it.
inline void SkipForMissingData(const std::string& relative, const std::string& path) {
  const std::string folder = relative.substr(0, relative.find('/'));
  GTEST_SKIP() << "data file " << relative << " not found (looked for " << path << "); data/" << folder
               << "/README.md in the source tree says where it comes from; "
               << "configure with -DVESK_DATA_DIR=<folder holding " << relative << "> to run this test";
}

// The path of a file under the data folder, e.g. "urls/kasztp.txt"; "" when it
// is not there, after marking the running test skipped. Failures recorded
// afterwards still fail the test, so a test reading several files may go on
// with the others.
inline std::string DataFile(const std::string& relative) {
  std::string path = std::string(VESK_DATA_DIR) + "/" + relative;
  if (std::ifstream(path, std::ios::binary).good()) return path;
  SkipForMissingData(relative, path);
  return {};
}

}  // namespace vesktest

// In a test body: declares `var` as the path of the data file `relative`, or
// skips the test and returns from it when the file is missing.
#define VESK_DATA_FILE_OR_SKIP(var, relative)             \
  const std::string var = ::vesktest::DataFile(relative); \
  if (var.empty()) return

#endif  // VESK_TESTS_SUPPORT_DATA_H_
