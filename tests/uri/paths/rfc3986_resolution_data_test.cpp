#include "vesk/uri/uri"

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/data.h"

namespace {

using Vesk::URI;

// Rows where our rules give another result than the one in the data file;
// every other row must give the data file's result.
struct OurResult {
  const char* base;
  const char* reference;
  const char* result;
};

const OurResult kWhereWeDiffer[] = {
    // A one-letter scheme is refused, so the reference parses to a blank URI,
    // which is not relative: MakeAbsoluteURI leaves it alone.
    {"http://a/b/c/d;p?q", "g:h", "unknown:"},
    // A bare query is a move to the current directory: the file name goes.
    {"http://a/b/c/d;p?q", "?y", "http://a/b/c/?y"},
    // A rooted path is taken as it stands, without removing dots.
    {"http://a/b/c/d;p?q", "/./g", "http://a/./g"},
    {"http://a/b/c/d;p?q", "/../g", "http://a/../g"},
    // The base has a one-letter scheme and so is blank; a blank base is not
    // relative, and the reference comes back relative with its dots removed.
    {"f:/a", ".//g", "g"},
};

TEST(MakeAbsoluteURI, ReferenceResolutionExamples) {
  VESK_DATA_FILE_OR_SKIP(path, "rfc3986/resolution-5.4.json");
  std::ifstream in(path);
  const nlohmann::json vectors = nlohmann::json::parse(in);
  ASSERT_TRUE(vectors.contains("base"));
  std::map<std::pair<std::string, std::string>, std::string> ours;
  for (const OurResult& row : kWhereWeDiffer) ours[{row.base, row.reference}] = row.result;

  size_t cases = 0;
  size_t differing = 0;
  for (const char* group : {"rfc3986_normal", "rfc3986_abnormal", "regressions"}) {
    ASSERT_TRUE(vectors.contains(group)) << group;
    for (const nlohmann::json& row : vectors[group]) {
      const std::string base = row.value("base", vectors["base"].get<std::string>());
      const std::string reference = row["ref"].get<std::string>();
      const std::string theirs = row["expected"].get<std::string>();
      std::string expected = theirs;
      const auto own = ours.find({base, reference});
      if (own != ours.end()) {
        EXPECT_NE(own->second, theirs) << "listed as differing but agrees: " << reference;
        expected = own->second;
        ++differing;
      }
      URI object(reference);
      object.MakeAbsoluteURI(URI(base));
      EXPECT_EQ(object.ToString(false), expected) << group << ": base '" << base << "' reference '" << reference
                                                  << "' (data file: '" << theirs << "')";
      ++cases;
    }
  }
  EXPECT_EQ(cases, 53u);
  EXPECT_EQ(differing, std::size(kWhereWeDiffer));
}

}  // namespace
