#ifndef VESK_TESTS_TOOL_TOOL_RUNNER_H_
#define VESK_TESTS_TOOL_TOOL_RUNNER_H_

// Runs the vesk binary as a user would, for the tests of its commands.
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

namespace vesktest {

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs the tool with `args`, feeding `input` on standard input; arguments are
// passed as they are, with no shell in between. With `env` the tool sees only
// those variables; otherwise it inherits the test's environment.
inline ToolRun RunTool(const std::vector<std::string>& args, const std::string& input = "",
                       const std::vector<std::string>* env = nullptr) {
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
  std::vector<std::string> env_store;
  std::vector<char*> envp;
  if (env != nullptr) {
    env_store = *env;
    for (std::string& e : env_store) envp.push_back(e.data());
    envp.push_back(nullptr);
  }
  pid_t pid = 0;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), env != nullptr ? envp.data() : environ) == 0) {
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

}  // namespace vesktest

#endif  // VESK_TESTS_TOOL_TOOL_RUNNER_H_
