// Runs the vesk tool's escape and unescape commands and checks what they print.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/tool_runner.h"

namespace {

using vesktest::RunTool;
using vesktest::ToolRun;

struct Row {
  std::vector<std::string> args;
  std::string input;  // standard input
  std::string out;
};

TEST(ToolEscape, FormsAndOptions) {
  REQUIRE_TOOL();
  const Row rows[] = {
      {{"escape", "a b:c/d", "100%"}, "", "a%20b%3Ac/d\n100%25\n"},
      {{"escape", "--query", "a=b&c d"}, "", "a%3Db%26c%20d\n"},
      {{"escape", "--chars", "b", "abc"}, "", "a%62c\n"},
      {{"escape"}, "x y\r\n\xC3\xA9\n", "x%20y\n\xC3\xA9\n"},
      {{"escape", "--json", "a b"}, "", "{\"escaped\":\"a%20b\",\"input\":\"a b\"}\n"},
      {{"unescape", "a%20b", "%C3%A9%zz"}, "", "a b\n\xC3\xA9%zz\n"},
      {{"unescape", "--query", "a+b%2Bc"}, "", "a b+c\n"},
      {{"unescape", "--high-bytes-only", "%C3%A9%20"}, "", "\xC3\xA9%20\n"},
      {{"unescape", "--json"}, "%FF\n", "{\"input\":\"%FF\",\"unescaped\":\"\xC3\xBF\"}\n"},
  };
  for (const Row& row : rows) {
    const ToolRun run = RunTool(row.args, row.input);
    EXPECT_EQ(run.status, 0) << row.args[1];
    EXPECT_EQ(run.out, row.out) << row.args[1];
    EXPECT_EQ(run.err, "");
  }
}

TEST(ToolEscape, RoundTripThroughBothCommands) {
  REQUIRE_TOOL();
  std::string input;
  for (int c = 1; c < 256; ++c) {
    if (c != '\n' && c != '\r') input.push_back(static_cast<char>(c));
  }
  const ToolRun escaped = RunTool({"escape"}, input + "\n");
  ASSERT_EQ(escaped.status, 0);
  const ToolRun back = RunTool({"unescape"}, escaped.out);
  EXPECT_EQ(back.out, input + "\n");
}

TEST(ToolEscape, ConflictingOptionsAreAnError) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"unescape", "--query", "--high-bytes-only", "x"});
  EXPECT_NE(run.status, 0);
  EXPECT_EQ(run.out, "");
}

}  // namespace
