// Runs the vesk tool's escape and unescape commands and checks what they print.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

extern char** environ;

namespace {

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs the tool with `args`, feeding `input` on standard input; arguments are
// passed as they are, with no shell in between.
ToolRun RunTool(const std::vector<std::string>& args, const std::string& input = "") {
  char dir[] = "/tmp/vesk_tool_test_XXXXXX";
  ToolRun run;
  if (mkdtemp(dir) == nullptr) return run;
  const std::string in = std::string(dir) + "/in", out = std::string(dir) + "/out", err = std::string(dir) + "/err";
  std::ofstream(in, std::ios::binary) << input;

  std::vector<std::string> argv_store = {VESK_TOOL_PATH};
  argv_store.insert(argv_store.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argv_store) argv.push_back(a.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = 0;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int wstatus = 0;
    waitpid(pid, &wstatus, 0);
    run.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
  }
  posix_spawn_file_actions_destroy(&actions);
  run.out = ReadAll(out);
  run.err = ReadAll(err);
  std::remove(in.c_str());
  std::remove(out.c_str());
  std::remove(err.c_str());
  rmdir(dir);
  return run;
}

#define REQUIRE_TOOL()                                                  \
  if (std::string(VESK_TOOL_PATH).empty()) GTEST_SKIP() << "tool not built"

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
