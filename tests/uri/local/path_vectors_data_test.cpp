// Real-world path-like inputs (file URLs, drive letters, backslashes, UNC
// forms) from the data folder, through the guess and the conversions.
// The vectors' own expectations follow another standard, so only this
// library's promises are checked here.
#include "vesk/uri/uri"

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/data.h"

namespace {

using Vesk::URI;

TEST(LocalPathVectors, GuessAndConversionsKeepTheirPromises) {
  VESK_DATA_FILE_OR_SKIP(path, "derived/wpt-file-and-windows-paths.json");
  std::ifstream in(path);
  std::vector<std::string> inputs;
  for (const auto& entry : nlohmann::json::parse(in)) {
    if (entry.is_object() && entry.contains("input")) inputs.push_back(entry["input"].get<std::string>());
  }
  ASSERT_GT(inputs.size(), 100u);
  for (const std::string& text : inputs) {
    SCOPED_TRACE("input \"" + text + "\"");
    URI first;
    URI second;
    const bool found = first.UnknownToURI(text, "http");
    EXPECT_EQ(second.UnknownToURI(text, "http"), found);
    EXPECT_EQ(std::string(first.ToString(false)), std::string(second.ToString(false)));
    const bool pathForm = !text.empty() && (text[0] == '/' || text[0] == '\\' ||
                                            text.compare(1, 2, ":\\") == 0 || text.compare(1, 2, ":/") == 0);
    if (pathForm) {
      EXPECT_TRUE(found);
      EXPECT_EQ(first.m_Scheme, "file");
    }

    URI slashes;
    slashes.LocalPathToURIUnix(text);
    EXPECT_EQ(std::string(slashes.ToLocalPathUnix()), !text.empty() && text[0] == '/' ? text : "/" + text);

    URI win;
    win.LocalPathToURIWin(text);
    const std::string back = win.ToLocalPathWin();
    EXPECT_EQ(back.find_first_of("/|"), std::string::npos) << back;
  }
}

}  // namespace
