// Runs the vesk tool as a user would: per command its arguments, standard
// input, --json and bad input, and the exit statuses and messages of each.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct ToolRun {
  int status = -1;
  std::string out, err;
};

std::string Quoted(const std::string& arg) {
  std::string out = "'";
  for (const char c : arg) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string ReadAll(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// Runs the tool with `args`, each quoted for the shell, and `input` on
// standard input.
ToolRun RunTool(const std::vector<std::string>& args, const std::string& input = "") {
  const std::string dir = ::testing::TempDir() + "vesk_tool_" + std::to_string(::getpid());
  std::ofstream(dir + ".in", std::ios::binary) << input;
  std::string command = Quoted(VESK_TOOL_PATH);
  for (const std::string& a : args) command += " " + Quoted(a);
  command += " <" + dir + ".in >" + dir + ".out 2>" + dir + ".err";
  const int status = std::system(command.c_str());
  ToolRun run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(dir + ".out"), ReadAll(dir + ".err")};
  for (const char* end : {".in", ".out", ".err"}) std::remove((dir + end).c_str());
  return run;
}

#define REQUIRE_TOOL() \
  if (std::string(VESK_TOOL_PATH).empty()) GTEST_SKIP() << "tool not built"

struct Row {
  std::vector<std::string> args;
  std::string input;  // standard input
  int status;
  std::string out;  // all of standard output
  std::string err;  // all of standard error
};

const char kJsonParse[] =
    "{\"input\":\"mailto:a%40b?s\",\"scheme\":\"mailto\",\"user\":\"\",\"password\":\"\",\"host\":\"\",\"port\":\"\","
    "\"path\":\"\",\"query\":\"s\",\"fragment\":\"\",\"body\":\"a%40b\",\"relative\":false,\"hierarchical\":false,"
    "\"stored\":\"mailto:a%40b?s\",\"reading\":\"mailto:a@b?s\",\"valid\":true}\n"
    "{\"input\":\"C:\\\\dir\",\"valid\":false,\"error\":\"not a valid URI\"}\n";

const Row kRows[] = {
    {{"parse", "http://u:p@Host:81/a%20b?q#f"}, "", 0,
     "input: http://u:p@Host:81/a%20b?q#f\nscheme: http\nuser: u\npassword: p\nhost: host\nport: 81\npath: /a%20b\n"
     "query: q\nfragment: f\nbody: \nrelative: false\nhierarchical: true\nstored: http://u:p@host:81/a%20b?q#f\n"
     "reading: http://u:p@host:81/a b?q#f\n\n", ""},
    {{"parse", "--get", "{host}|{:path}|{query}|{{"}, "http://h/a%20b?x\nno uri\\\r\nhttp://[::1]/\n", 1,
     "h|/a b|x|{\n[::1]|/||{\n", "vesk parse: not a valid URI: 'no uri\\'\n"},
    {{"parse", "--json", "mailto:a%40b?s", "C:\\dir"}, "", 1, kJsonParse, "vesk parse: not a valid URI: 'C:\\dir'\n"},
    {{"parse", "--verify", "--get", "{scheme}", "mailto:x", "x y:z", "http://h/"}, "", 1, "mailto\n",
     "vesk parse: not a valid URI: 'x y:z'\n"},
    {{"parse", "--json", "--get", "{path}", "http://h/\xFF\xC3\xA9"}, "", 0,
     "{\"input\":\"http://h/\xC3\xBF\xC3\x83\xC2\xA9\",\"get\":\"/\xC3\xBF\xC3\x83\xC2\xA9\",\"valid\":true,\"bytes\":true}\n",
     ""},
    {{"set", "http://h/p", "host=Example.COM", "path=/a b", "query=x y&z"}, "", 0, "http://example.com/a%20b?x%20y&z\n",
     ""},
    {{"set", "port=8"}, "http://h/\n", 0, "http://h:8/\n", ""},
    {{"set", "--json", "body=c@d", "mailto:a@b"}, "", 0, "{\"input\":\"mailto:a@b\",\"result\":\"mailto:c@d\",\"valid\":true}\n",
     ""},
    {{"set", "a/b", "body=x"}, "", 1, "", "vesk set: the result is not a valid URI: ':x': 'a/b'\n"},
    {{"resolve", "http://a/b/c", "../d", "g?q"}, "", 0, "http://a/d\nhttp://a/b/g?q\n", ""},
    {{"resolve", "--json"}, "http://a/b/\tx\nnotab\n", 1,
     "{\"base\":\"http://a/b/\",\"reference\":\"x\",\"changed\":true,\"relative\":false,\"result\":\"http://a/b/x\","
     "\"valid\":true}\n{\"input\":\"notab\",\"valid\":false,\"error\":\"expected two operands separated by a tab\"}\n",
     "vesk resolve: expected two operands separated by a tab: 'notab'\n"},
    {{"relative", "http://a/b/c", "http://a/x/y"}, "", 0, "../b/c\n", ""},
    {{"relative"}, "http://a/b/c\thttp://a/b/d\n", 0, "c\n", ""},
    {{"relation", "--json", "http://a/b", "http://a/b/c"}, "", 0,
     "{\"a\":\"http://a/b\",\"b\":\"http://a/b/c\",\"value\":3,\"relation\":\"parent\",\"valid\":true}\n", ""},
    {{"relation", "http://a/b", "bad\\uri"}, "", 1, "", "vesk relation: not a valid URI: 'bad\\uri'\n"},
    {{"common", "http://a/b/c"}, "http://a/b/d\nrel/x\n", 1, "http://a/b/\n",
     "vesk common: a relative URI has no parent directory: 'rel/x'\n"},
    {{"path", "file:///tmp/x"}, "", 0, "tmp\\x\t/tmp/x\ttmp:x\n", ""},
    {{"path", "--json", "--unix"}, "file:///tmp/a%20b\n", 0,
     "{\"input\":\"file:///tmp/a%20b\",\"unix\":\"/tmp/a b\",\"valid\":true}\n", ""},
    {{"path", "mailto:x"}, "", 1, "", "vesk path: no local path in the notation asked for: 'mailto:x'\n"},
    {{"from-path", "--win", "--unix", "C:\\x y"}, "", 0, "file:///C|/x%20y\tfile:///C%3A%5Cx%20y\n", ""},
    {{"from-path", "--json"}, "/tmp/a b\n", 0, "{\"input\":\"/tmp/a b\",\"uri\":\"file:///tmp/a%20b\",\"valid\":true}\n",
     ""},
    {{"name", "http://a/b/c.txt", "--type", "txt"}, "", 0, "c.txt\t.txt\tc.txt\ttrue\n", ""},
    {{"name", "--json"}, "http://a/d/\n", 0,
     "{\"input\":\"http://a/d/\",\"stem\":\"\",\"directory\":true,\"filename\":\"\",\"extension\":\"\",\"last\":\"d\","
     "\"valid\":true}\n", ""},
    {{"name", "a\\b"}, "", 1, "", "vesk name: not a valid URI: 'a\\b'\n"},
    {{"escape", "a b?"}, "", 0, "a%20b%3F\n", ""},
    {{"escape", "--query", "--json"}, "a&b=c\n", 0, "{\"input\":\"a&b=c\",\"escaped\":\"a%26b%3Dc\",\"valid\":true}\n", ""},
    {{"unescape", "%41%2f"}, "", 0, "A/\n", ""},
    {{"unescape", "--json", "%FF\"\x01"}, "", 0,
     "{\"input\":\"%FF\\\"\\u0001\",\"unescaped\":\"\xC3\xBF\\\"\\u0001\",\"valid\":true,\"bytes\":true}\n", ""},
    {{"guess", "example.com"}, "", 0, "true\thttp://example.com\n", ""},
    {{"guess", "--json"}, "/tmp/x\n", 0,
     "{\"input\":\"/tmp/x\",\"relative\":false,\"found\":true,\"uri\":\"file:///tmp/x\",\"valid\":true}\n", ""},
    {{"query", "http://h/?b=2&a=1"}, "", 0, "a\t1\nb\t2\n", ""},
    {{"query", "--get", "a", "--json"}, "http://h/?a=%41\nhttp://h/?b\n", 1,
     "{\"input\":\"http://h/?a=%41\",\"name\":\"a\",\"value\":\"A\",\"valid\":true}\n{\"input\":\"http://h/?b\",\"name\":"
     "\"a\",\"valid\":false,\"error\":\"no value named 'a' in the query of\"}\n",
     "vesk query: no value named 'a' in the query of: 'http://h/?b'\n"},
    {{"query", "--set", "a=x y", "http://h/?b=2"}, "", 0, "http://h/?a=x%20y&b=2\n", ""},
    {{"encodings", "utf-8", "UNICODE"}, "", 0, "utf-8\t0x8000100\tutf-8\tyes\nUNICODE\t0x100\tutf-16\tyes\n", ""},
    {{"encodings", "--json"}, "iso-8859-1\nbogus\n", 1,
     "{\"input\":\"iso-8859-1\",\"id\":65536,\"internet_name\":\"iso-8859-1\",\"converter\":true,\"valid\":true}\n"
     "{\"input\":\"bogus\",\"valid\":false,\"error\":\"unknown encoding\"}\n",
     "vesk encodings: unknown encoding: 'bogus'\n"},
    {{"encode", "--charset", "iso-8859-1", "http://x/caf%C3%A9"}, "", 0, "http://x/caf\xE9\n", ""},
    {{"encode", "--json", "--charset", "shift_jis"}, "http://x/%E3%81%82\n", 0,
     "{\"input\":\"http://x/%E3%81%82\",\"charset\":\"shift_jis\",\"hex\":\"687474703a2f2f782f82a0\",\"valid\":true}\n", ""},
    {{"convert", "--from", "iso-8859-1", "--to", "utf-8"}, "caf\xE9", 0, "caf\xC3\xA9", ""},
    {{"convert", "--from", "utf-8", "--to", "utf-8"}, "ab\xFF", 1, "",
     "vesk convert: not valid utf-8 text from byte 2: 'standard input'\n"},
    {{"time", "--year", "2001", "--month", "2", "--day", "3", "--hour", "4", "--minute", "5", "--second", "6",
      "--fraction", "5"}, "", 0, "126256467065000000\t2001-02-03 04:05:06.5000000\t2001-02-03T04:05:06Z\n", ""},
    {{"time", "--json", "--ticks", "-864000000000"}, "", 0,
     "{\"ticks\":-864000000000,\"year\":1600,\"month\":12,\"day\":31,\"hour\":0,\"minute\":0,\"second\":0,"
     "\"fraction\":0,\"w3c\":\"1600-12-31T00:00:00Z\",\"valid\":true}\n", ""},
    {{"strings", "x"}, "", 1, "", "vesk strings: not a string number (0 to 4294967295): 'x'\n"},
    {{"parse", "--url-file", "/nonexistent"}, "", 2, "",
     "vesk parse: cannot open '/nonexistent': No such file or directory\n"},
    {{"resources", "/tmp"}, "", 1, "", "vesk resources: not a regular file: '/tmp'\n"},
    {{"time", "--ticks", "-1"}, "", 1, "",
     "vesk time: before 1601 only whole days (multiples of 864000000000 ticks) have calendar fields: '-1'\n"},
    {{"time", "--year", "2000", "--fraction", "0000001"}, "", 2, "",
     "vesk time: --fraction '0000001': leading zeros cannot be given (5 is .5, never .05); use --ticks for such a time\n"},
    {{"time", "--year", "2000", "--fraction", "123456789"}, "", 0,
     "125911584001234568\t2000-01-01 00:00:00.1234568\t2000-01-01T00:00:00Z\n", ""},
    {{"parse", "--charset", "bogus", "http://x/"}, "", 2, "", "vesk parse: unknown charset 'bogus'\n"},
    {{"encode", "--charset", "iso-8859-1", "http://x/a%E3%81%82b"}, "", 1, "",
     "vesk encode: cannot be written in iso-8859-1 from byte 10 of 'http://x/a\xE3\x81\x82" "b': "
     "'http://x/a%E3%81%82b'\n"},
    {{"frobnicate"}, "", 2, "", "vesk: unknown command 'frobnicate'; 'vesk --help' lists the commands\n"},
};

TEST(Tool, EveryCommandWithArgumentsInputJsonAndBadInput) {
  REQUIRE_TOOL();
  for (const Row& row : kRows) {
    const ToolRun run = RunTool(row.args, row.input);
    const std::string what = ::testing::PrintToString(row.args);
    EXPECT_EQ(run.status, row.status) << what << "\n" << run.err;
    EXPECT_EQ(run.out, row.out) << what;
    EXPECT_EQ(run.err, row.err) << what;
  }
}

TEST(Tool, HelpListsEveryCommandAndEachCommandItsExitStatuses) {
  REQUIRE_TOOL();
  const ToolRun version = RunTool({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("vesk ", 0), 0u) << version.out;
  const std::string help = RunTool({"--help"}).out;
  for (const char* command : {"common", "convert", "encode", "encodings", "escape", "from-path", "guess", "name",
                              "parse", "path", "query", "relation", "relative", "resolve", "resources", "set",
                              "strings", "time", "unescape"}) {
    EXPECT_NE(help.find(std::string("  ") + command + " "), std::string::npos) << command;
    const ToolRun run = RunTool({command, "--help"});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_NE(run.out.find("Exit status: 0 when every item was done, 1 when"), std::string::npos) << command;
  }
}

}  // namespace
