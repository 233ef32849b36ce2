// Data files of the tests, under VESK_DATA_DIR (the repository's data/ unless
// configured otherwise). A missing file skips its test; it never fails it.
#ifndef VESK_TESTS_SUPPORT_DATA_H_
#define VESK_TESTS_SUPPORT_DATA_H_

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace vesktest {

// The path of a file under the data folder, e.g. "urls/kasztp.txt"; "" when
// it is missing, after marking the running test skipped with a message that
// names the file and where to get it.
inline std::string DataFile(const std::string& relative) {
  const std::string path = std::string(VESK_DATA_DIR) + "/" + relative;
  if (std::ifstream(path).good()) return path;
  [&] {
    GTEST_SKIP() << "data file " << relative << " is not in " << VESK_DATA_DIR << "; data/"
                 << relative.substr(0, relative.find('/')) << "/README.md in the source tree says where it "
                 << "comes from; configure with -DVESK_DATA_DIR=<a folder holding it> to run this test";
  }();
  return {};
}

}  // namespace vesktest

// In a test body: `var` is the path of the data file `relative`, or the test
// is skipped and returns here.
#define VESK_DATA_FILE_OR_SKIP(var, relative)              \
  const std::string var = ::vesktest::DataFile(relative); \
  if (var.empty()) return

#endif  // VESK_TESTS_SUPPORT_DATA_H_
