// Runs the vesk tool's query and encode commands (and parse with a charset)
// as a user would, and checks what they print.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tool/tool_runner.h"

namespace {

using vesktest::RunTool;
using Result = vesktest::ToolRun;

Result Vesk(const std::vector<std::string>& args, const std::string& input = "") {
  return RunTool(args, input);
}

struct ToolCase {
  std::vector<std::string> args;
  std::string input;  // standard input
  int status;
  std::string out;
};

void check(const ToolCase& row) {
  std::string line;
  for (const auto& a : row.args) line += a + " ";
  SCOPED_TRACE(line);
  const Result r = Vesk(row.args, row.input);
  EXPECT_EQ(r.status, row.status);
  EXPECT_EQ(r.out, row.out);
  if (row.status == 0) {
    EXPECT_EQ(r.err, "");
  } else {
    // One line naming the problem.
    ASSERT_FALSE(r.err.empty());
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
  }
}

TEST(ToolQuery, Table) {
  const ToolCase rows[] = {
      {{"query", "http://h/?b=2&a=1+x&c"}, "", 0, "a\t1 x\nb\t2\nc\t\n"},
      {{"query", "http://h/p"}, "", 0, ""},
      {{"query"}, "http://h/?x=1\nhttp://h/?y=%C3%A9\n", 0, "x\t1\n\ny\t\xC3\xA9\n\n"},
      {{"query", "--get", "a", "http://h/?a=b=c"}, "", 0, "b=c\n"},
      {{"query", "--get", "a", "http://h/?a"}, "", 0, "\n"},
      {{"query", "--get", "A", "http://h/?a=1"}, "", 1, ""},
      {{"query", "--set", "m=x y", "--set", "a=9", "http://h/?z=1&a=2#f"},
       "",
       0,
       "http://h/?a=9&m=x%20y&z=1#f\n"},
      {{"query", "--set", "k=a&b=c", "http://h/"}, "", 0, "http://h/?k=a%26b%3Dc\n"},
      {{"query", "--set", "novalue", "http://h/"}, "", 1, ""},
      {{"query", "a\\b"}, "", 1, ""},
      {{"query", "a\\b", "http://h/?k=v"}, "", 1, "k\tv\n\n"},
  };
  for (const auto& row : rows) check(row);
}

TEST(ToolQuery, Json) {
  const Result map = Vesk({"query", "--json", "http://h/?a=1&b=%C3%A9&a=2"});
  ASSERT_EQ(map.status, 0);
  const auto m = nlohmann::json::parse(map.out);
  EXPECT_EQ(m["uri"], "http://h/?a=1&b=%C3%A9&a=2");
  EXPECT_EQ(m["query"], (nlohmann::json{{"a", "2"}, {"b", "\xC3\xA9"}}));

  const Result got = Vesk({"query", "--json", "--get", "b", "http://h/?b=1"});
  ASSERT_EQ(got.status, 0);
  const auto g = nlohmann::json::parse(got.out);
  EXPECT_EQ(g["present"], true);
  EXPECT_EQ(g["value"], "1");

  const Result set = Vesk({"query", "--json", "--set", "b=2", "http://h/?a"});
  ASSERT_EQ(set.status, 0);
  EXPECT_EQ(nlohmann::json::parse(set.out)["result"], "http://h/?a=&b=2");
}

TEST(ToolEncode, Table) {
  const ToolCase rows[] = {
      {{"encode", "--charset", "iso-8859-1", "http://x/caf%C3%A9"}, "", 0, "http://x/caf\xE9\n"},
      {{"encode", "--charset", "iso-8859-1", "http://x/a%20b%41"}, "", 0, "http://x/a%20b%41\n"},
      {{"encode", "--charset", "shift_jis", "http://x/%E8%A1%A8?%E3%83%86"},
       "",
       0,
       "http://x/\x95\x5C?\x83\x65\n"},
      {{"encode", "--charset", "shift_jis"},
       "http://x/\xE3\x83\x86\nhttp://y/\n",
       0,
       "http://x/\x83\x65\nhttp://y/\n"},
      {{"encode", "--charset", "iso-8859-1", "%E2%82%AC"}, "", 1, ""},
      {{"encode", "--charset", "no-such-charset", "http://x/"}, "", 1, ""},
      {{"encode", "--charset", "iso-8859-1", "a\\b"}, "", 1, ""},
  };
  for (const auto& row : rows) check(row);

  const Result json = Vesk({"encode", "--json", "--charset", "iso-8859-1", "http://x/%C3%A9"});
  ASSERT_EQ(json.status, 0);
  EXPECT_EQ(nlohmann::json::parse(json.out)["hex"], "687474703a2f2f782fe9");
  // The charset is required.
  EXPECT_NE(Vesk({"encode", "http://x/"}).status, 0);
}

TEST(ToolParseCharset, ReadsLegacyText) {
  struct Row {
    const char* charset;
    std::string input;  // on standard input, raw bytes
    const char* path;   // stored path afterwards
    const char* stored;
  };
  const Row rows[] = {
      {"iso-8859-1", "http://x/caf%E9", "/caf\xC3\xA9", "http://x/caf\xC3\xA9"},
      {"iso-8859-1", "http://x/caf\xE9?q=%FC", "/caf\xC3\xA9", "http://x/caf\xC3\xA9?q=\xC3\xBC"},
      {"shift_jis", "http://x/\x95\x5C/%83%65", "/\xE8\xA1\xA8/\xE3\x83\x86",
       "http://x/\xE8\xA1\xA8/\xE3\x83\x86"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.input);
    const Result r = Vesk({"parse", "--json", "--charset", row.charset}, row.input + "\n");
    ASSERT_EQ(r.status, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["path"], row.path);
    EXPECT_EQ(j["stored"], row.stored);
    EXPECT_EQ(j["valid"], true);
  }
  // Text that does not parse is reported, and the rest goes on.
  const Result bad = Vesk({"parse", "--charset", "iso-8859-1", "a\\b", "http://x/"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.out.find("path: /"), std::string::npos);
}

}  // namespace
