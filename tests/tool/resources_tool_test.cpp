// Runs `vesk resources` and `vesk strings` as a person making and checking a
// resource file would.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tool/tool_runner.h"

#ifndef VESK_TEST_LOCALE_DIR
#error "VESK_TEST_LOCALE_DIR names the compiled test catalogs"
#endif

namespace {

using Result = vesktest::ToolRun;

// The tool run with `args`, no shell, empty standard input, in a locale whose
// messages are translated from the test catalogs.
Result Vesk(const std::vector<std::string>& args) {
  std::vector<std::string> env = {"LC_ALL=C.UTF-8", "LANGUAGE=en"};
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry = *e;
    if (entry.rfind("ASAN_", 0) == 0 || entry.rfind("UBSAN_", 0) == 0 || entry.rfind("PATH=", 0) == 0)
      env.push_back(entry);
  }
  return vesktest::RunTool(args, "", &env);
}

class ResourcesTool : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(VESK_TOOL_PATH).empty()) GTEST_SKIP() << "the tool is not built in this configuration";
    path_ = ::testing::TempDir() + "tool_" + std::to_string(getpid()) + ".rsrc";
    std::remove(path_.c_str());
  }
  void TearDown() override { std::remove(path_.c_str()); }
  std::string path_;
};

TEST_F(ResourcesTool, WritesListsAndLoads) {
  struct Step {
    std::vector<std::string> args;
    int status;
  };
  const Step writes[] = {
      {{"resources", path_, "--add-strings", "STR#", "200", "zero", "", "table two hundred"}, 0},
      {{"resources", path_, "--add-strings", "STR", "300", "single"}, 0},
      {{"resources", path_, "--add-strings", "STRm", "0", "100=0", "101=1", "200=2"}, 0},
      {{"resources", path_, "--add-strings", "STR", "300", "single again"}, 0},  // replaces
  };
  for (const Step& step : writes) {
    const Result r = Vesk(step.args);
    EXPECT_EQ(r.status, step.status) << r.err;
    EXPECT_EQ(r.out, "");
  }
  const Result list = Vesk({"resources", path_});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out, "STR#\t200\t-\t26\nSTR \t300\t-\t13\nSTRm\t0\t-\t12\n");
  const Result json = Vesk({"resources", path_, "--json"});
  const auto first = nlohmann::json::parse(json.out.substr(0, json.out.find('\n')));
  EXPECT_EQ(first["type"], "STR#");
  EXPECT_EQ(first["size"], 26);
  EXPECT_TRUE(first["name"].is_null());

  const Result strings =
      Vesk({"strings", "100", "101", "200", "300", "400", "500", "1234", "--resources", path_, "--domain",
            "vesktest", "--locale-dir", VESK_TEST_LOCALE_DIR, "--table", "vesknamed1"});
  EXPECT_EQ(strings.status, 0) << strings.err;
  EXPECT_EQ(strings.out,
            "100\tlist\tzero\n"
            "101\tlist\t(not found) \n"
            "200\tlist\ttable two hundred\n"
            "300\tsingle\tsingle again\n"
            "400\tmain\tbundle four hundred\n"
            "500\tnamed:vesknamed1\tfirst table 500\n"
            "1234\tdigits\t1234\n");
  const Result one = Vesk({"strings", "200", "--json", "--resources", path_});
  const auto object = nlohmann::json::parse(one.out);
  EXPECT_EQ(object["store"], "list");
  EXPECT_EQ(object["found"], true);
  EXPECT_EQ(object["text"], "table two hundred");
}

TEST_F(ResourcesTool, BadInputGetsOneLineAndAFailureStatus) {
  std::ofstream(path_, std::ios::binary) << "not a resource file";
  struct Row {
    std::vector<std::string> args;
    std::string message;
  };
  const Row rows[] = {
      {{"resources", path_}, "damaged resource file"},
      {{"resources", path_ + ".missing"}, "cannot read the file"},
      {{"resources", path_, "--add-strings", "STR", "1", "x"}, "damaged resource file"},
      {{"resources", path_ + ".new", "--add-strings", "TOOLONG", "1", "x"}, "one to four characters"},
      {{"resources", path_ + ".new", "--add-strings", "STR", "99999", "x"}, "-32768 to 32767"},
      {{"resources", path_ + ".new", "--add-strings", "STR", "1", "a", "b"}, "exactly one TEXT"},
      {{"resources", path_ + ".new", "--add-strings", "ICON", "1", "a"}, "can be written"},
      {{"resources", path_ + ".new", "--add-strings", "STRm", "0", "1:2"}, "NUMBER=PLACE"},
      {{"strings", "12x"}, "not a string number"},
      {{"strings", "4294967296"}, "not a string number"},
      {{"strings", "1", "--resources", path_}, "damaged resource file"},
  };
  for (const Row& row : rows) {
    const Result r = Vesk(row.args);
    EXPECT_EQ(r.status, 1) << row.message;
    EXPECT_NE(r.err.find(row.message), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  std::remove((path_ + ".new").c_str());
}

}  // namespace
