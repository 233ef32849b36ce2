// Runs the vesk tool's parse command as a user would and checks what it prints.
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

TEST(ToolParse, PrintsEveryFieldFlagAndForm) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"parse", "http://u:p@Host:81/a%20b?q#f"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "input: http://u:p@Host:81/a%20b?q#f\n"
            "scheme: http\nserver: host\nport: 81\npath: /a%20b\nquery: q\nfragment: f\n"
            "username: u\npassword: p\nnonhierarchical: \n"
            "valid: true\nrelative: false\nhierarchical: true\n"
            "stored: http://u:p@host:81/a%20b?q#f\nreading: http://u:p@host:81/a b?q#f\n\n");
}

TEST(ToolParse, JsonFromStandardInput) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"parse", "--json"}, "mailto:a%40b?s\n\nHTTP://[::1]:8/\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "{\"fragment\":\"\",\"hierarchical\":false,\"input\":\"mailto:a%40b?s\",\"nonhierarchical\":\"a%40b\","
            "\"password\":\"\",\"path\":\"\",\"port\":\"\",\"query\":\"s\",\"reading\":\"mailto:a@b?s\","
            "\"relative\":false,\"scheme\":\"mailto\",\"server\":\"\",\"stored\":\"mailto:a%40b?s\","
            "\"username\":\"\",\"valid\":true}\n"
            "{\"fragment\":\"\",\"hierarchical\":true,\"input\":\"\",\"nonhierarchical\":\"\","
            "\"password\":\"\",\"path\":\"\",\"port\":\"\",\"query\":\"\",\"reading\":\"\","
            "\"relative\":true,\"scheme\":\"\",\"server\":\"\",\"stored\":\"\","
            "\"username\":\"\",\"valid\":true}\n"
            "{\"fragment\":\"\",\"hierarchical\":true,\"input\":\"HTTP://[::1]:8/\",\"nonhierarchical\":\"\","
            "\"password\":\"\",\"path\":\"/\",\"port\":\"8\",\"query\":\"\",\"reading\":\"http://::1:8/\","
            "\"relative\":false,\"scheme\":\"http\",\"server\":\"[::1]\",\"stored\":\"http://[::1]:8/\","
            "\"username\":\"\",\"valid\":true}\n");
}

TEST(ToolParse, BadInputReportedOthersGoOn) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"parse", "--json", "C:\\dir", "a/b", "svn+ssh://h/"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "vesk parse: not a valid URI: 'C:\\dir'\n"
            "vesk parse: not a valid URI: 'svn+ssh://h/'\n");
  EXPECT_NE(run.out.find("\"input\":\"a/b\""), std::string::npos);
  EXPECT_EQ(run.out.find("dir"), std::string::npos);
}

TEST(ToolParse, InvalidUtf8StaysReadableInJson) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"parse", "--json", "http://h/\xFF"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("\"path\":\"/\xC3\xBF\""), std::string::npos) << run.out;
}

}  // namespace
