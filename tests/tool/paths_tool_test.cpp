// Runs the vesk tool's resolve, relative, relation and common commands as a
// user would, and checks what they print.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tool/tool_runner.h"

namespace {

using Result = vesktest::ToolRun;

Result Vesk(const std::vector<std::string>& args, const std::string& input = "") {
  return vesktest::RunTool(args, input);
}

struct ToolCase {
  std::vector<std::string> args;
  std::string input;  // standard input
  std::string out;
  int errors;              // lines on standard error, one per bad input
  std::string named = "";  // text the error lines must name
};

void check(const ToolCase& row) {
  std::string line;
  for (const auto& a : row.args) line += a + " ";
  SCOPED_TRACE(line + "<<< " + row.input);
  const Result r = Vesk(row.args, row.input);
  EXPECT_EQ(r.status, row.errors == 0 ? 0 : 1) << r.err;
  EXPECT_EQ(r.out, row.out);
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), row.errors) << r.err;
  if (!row.named.empty()) {
    EXPECT_NE(r.err.find(row.named), std::string::npos) << r.err;
  }
}

TEST(ToolResolve, Table) {
  const ToolCase rows[] = {
      {{"resolve", "http://host/a/b/c.html?q=1#f", "d.html", "../x/", "?r", "#g", "ftp://o/p"},
       "",
       "http://host/a/b/d.html\nhttp://host/a/x/\nhttp://host/a/b/?r\nhttp://host/a/b/c.html?q=1#g\nftp://o/p\n",
       0},
      {{"resolve", "http://host/a/b"}, "c\n/d\n../../../e\n", "http://host/a/c\nhttp://host/d\nhttp://host/e\n", 0},
      {{"resolve"},
       "http://h/a/b\tc\nno tab here\nhttp://h/\t../x\n",
       "http://h/a/c\nhttp://h/x\n",
       1,
       "'no tab here'"},
      {{"resolve", "a/b", "c"}, "", "", 1, "'a/b'"},
      {{"resolve", "C:\\dir", "c"}, "", "", 1, "'C:\\dir'"},
      {{"resolve", "http://h/a", "x\\y", "z"}, "", "http://h/z\n", 1, "'x\\y'"},
      // ChDir: relative bases are fine, and with --escape text is literal.
      {{"resolve", "--chdir", "a/b/c", "..", "../../../x"}, "", "a/\n../x\n", 0},
      {{"resolve", "--chdir", "http://h/a/", "b?c"}, "", "http://h/a/b?c\n", 0},
      {{"resolve", "--chdir", "--escape", "http://h/a/", "b?c", "50%"}, "", "http://h/a/b%3Fc\nhttp://h/a/50%25\n", 0},
      {{"resolve", "--chdir", "http://h/a/", "x:y"}, "", "", 1, "'x:y'"},
  };
  for (const auto& row : rows) check(row);

  // --escape belongs to --chdir.
  EXPECT_NE(Vesk({"resolve", "--escape", "http://h/", "x"}).status, 0);

  const Result json = Vesk({"resolve", "--json", "http://h/a/b", "c", "http://o/"});
  ASSERT_EQ(json.status, 0);
  std::istringstream lines(json.out);
  std::string first, second;
  std::getline(lines, first);
  std::getline(lines, second);
  const auto a = nlohmann::json::parse(first);
  EXPECT_EQ(a["result"], "http://h/a/c");
  EXPECT_EQ(a["changed"], true);
  EXPECT_EQ(a["reference"], "c");
  const auto b = nlohmann::json::parse(second);
  EXPECT_EQ(b["result"], "http://o/");
  EXPECT_EQ(b["changed"], false);
}

TEST(ToolRelative, Table) {
  const ToolCase rows[] = {
      {{"relative", "http://host/a/b/c.html", "http://host/a/d.html"}, "", "b/c.html\n", 0},
      {{"relative", "http://host/A/c.html", "http://host/a/d.html"}, "", "../A/c.html\n", 0},
      {{"relative", "--ignore-case", "http://host/A/c.html", "http://host/a/d.html"}, "", "c.html\n", 0},
      {{"relative", "http://host/"}, "http://host/a/b\nhttp://host/\n", "..\n./\n", 0},
      {{"relative"},
       "http://h/a/x?q#f\thttp://h/a/y\nhttp://other/\thttp://h/\nc.html\thttp://h/\n",
       "x?q#f\nc.html\n",
       1,
       "'http://other/'"},
      {{"relative", "http://h/x", "d.html"}, "", "", 1},
      {{"relative", "a\\b", "http://h/"}, "", "", 1, "'a\\b'"},
  };
  for (const auto& row : rows) check(row);
  // The first operand against each of the others.
  const Result many = Vesk({"relative", "http://h/a/b/c", "http://h/a/x", "http://h/a/b/y"});
  EXPECT_EQ(many.out, "b/c\nc\n");
}

TEST(ToolRelation, Table) {
  const ToolCase rows[] = {
      {{"relation", "http://host/a", "http://host/a/b"}, "", "parent\n", 0},
      {{"relation", "http://host/a/b", "http://host/a"}, "", "child\n", 0},
      {{"relation", "http://host:80/a", "http://host/a"}, "", "same\n", 0},
      {{"relation", "http://host/A", "http://host/a"}, "", "none\n", 0},
      {{"relation"}, "a/b\ta/b\nmailto:x\tmailto:x\n", "none\nsame\n", 0},
      {{"relation", "http://h/"}, "http://h/a\nsvn+ssh://h/\nhttp://h\n", "parent\nsame\n", 1, "'svn+ssh://h/'"},
  };
  for (const auto& row : rows) check(row);

  const Result json = Vesk({"relation", "--json", "http://h/a/b", "http://h/a"});
  ASSERT_EQ(json.status, 0);
  const auto j = nlohmann::json::parse(json.out);
  EXPECT_EQ(j["relation"], "child");
  EXPECT_EQ(j["value"], 1);
}

TEST(ToolCommon, Table) {
  const ToolCase rows[] = {
      {{"common", "http://host/a/b/c.html", "http://host/a/d/e.html"}, "", "http://host/a/\n", 0},
      {{"common", "http://host/A/b", "http://host/a/c"}, "", "http://host/\n", 0},
      {{"common", "--ignore-case", "http://host/A/b", "http://host/a/c"}, "", "http://host/A/\n", 0},
      {{"common", "http://host/a/b", "http://other/a/b"}, "", "http://host/\n", 0},
      {{"common"},
       "http://h/a/b/c\thttp://h/a/b/d\nrelative/path\thttp://h/\nhttp://h/x/\thttp://h/x/y/z\n",
       "http://h/a/b/\nhttp://h/x/\n",
       1,
       "'relative/path'"},
      {{"common", "http://h/a"}, "\n", "", 1},
  };
  for (const auto& row : rows) check(row);

  const Result json = Vesk({"common", "--json", "http://h/a/b", "http://h/a/c"});
  ASSERT_EQ(json.status, 0);
  EXPECT_EQ(nlohmann::json::parse(json.out)["result"], "http://h/a/");
}

}  // namespace
