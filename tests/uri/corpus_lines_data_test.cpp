// The URL corpora of the data folder through the parser.
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/data.h"
#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"

namespace {

using Vesk::URI;

// Every line of the URL corpora: one of the four shapes; a valid URI writes
// back its own line, case aside, but for an empty query or fragment at the
// end; an invalid one has a reason the parser knows.
class CorpusLines : public testing::TestWithParam<const char*> {};

TEST_P(CorpusLines, ParseAndWriteBack) {
  const char* file = GetParam();
  VESK_DATA_FILE_OR_SKIP(path, std::string("urls/") + file + ".txt");
  std::ifstream in(path, std::ios::binary);
  std::string line;
  int lines = 0;
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    ++lines;
    const URI uri(line.c_str());
    ASSERT_EQ(Vesk::uri_internal::URIShapeError(uri), "") << line;
    if (!uri.IsValidURI()) {
      const size_t colon = line.find(':');
      const std::string scheme = colon < line.find('/') ? line.substr(0, colon) : std::string();
      const bool badScheme = colon < line.find('/') && (scheme.size() < 2 || !URI::VerifyAlpha(scheme));
      EXPECT_TRUE(badScheme || line.find('\\') != std::string::npos) << line;
      continue;
    }
    // Without a server, a scheme other than "file" loses its "//".
    if (uri.IsHierarchical() && !uri.IsRelative() && uri.m_Server.empty() && !uri.IsOfType("file")) continue;
    std::string expected = line;
    const std::string text = uri.ToString(false);
    while (URI::Compare(text, expected, false) != 0 && !expected.empty() &&
           (expected.back() == '?' || expected.back() == '#')) {
      expected.pop_back();
    }
    EXPECT_EQ(URI::Compare(text, expected, false), 0) << line;
  }
  EXPECT_GT(lines, 1000) << file;
}

INSTANTIATE_TEST_SUITE_P(ParseURI, CorpusLines,
                         testing::Values("isaacs_files", "kasztp", "node_files", "userbait"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param);
                         });

}  // namespace
