// Runs the vesk tool's guess, path, from-path and name commands as a user
// would, and checks what they print.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/tool_runner.h"

namespace {

using vesktest::RunTool;
using vesktest::ToolRun;

struct GuessRow {
  const char* text;
  const char* printed;  // the line printed for it
};

// Every row of the guessing table, through the tool, with the default scheme.
// An untouched object prints as a blank URI.
TEST(ToolGuess, DecisionTable) {
  REQUIRE_TOOL();
  const GuessRow rows[] = {
      {"", "false\tunknown:"},
      {"C:\\a\\b c.txt", "true\tfile:///C|/a/b%20c.txt"},
      {"D:/x", "true\tfile:///D|/x"},
      {"\\\\srv\\share\\a.txt", "true\tfile://srv/share/a.txt"},
      {"//srv/share/a.txt", "true\tfile://srv/share/a.txt"},
      {"/usr/lib/x", "true\tfile:///usr/lib/x"},
      {"\\usr\\lib", "true\tfile:///usr/lib"},
      {"Disk:Users:a.txt", "true\tfile:///Disk/Users/a.txt"},
      {"myhost:8080/a", "true\tfile:///myhost/8080/a"},
      {"page.html?t=1:2", "true\tfile:///page.html%3Ft=1/2"},
      {"MAILTO:joe@host", "true\tfile:///MAILTO/joe%40host"},
      {"mailto:joe@host", "true\tmailto:joe@host"},
      {"about:blank", "true\tabout:blank"},
      {"javascript:alert(1)", "true\tjavascript:alert(1)"},
      {"http://myhost/a b", "true\thttp://myhost/a%20b"},
      {"http://myhost/a%20b", "true\thttp://myhost/a%20b"},
      {"HTTP://MyHost", "true\thttp://myhost"},
      {"file:///etc/x", "true\tfile:///etc/x"},
      {"ftp://", "false\tftp:"},
      {"./a/b.html", "true\t./a/b.html"},
      {"../a", "true\t../a"},
      {"..", "true\t.."},
      {"index.html", "true\thttp://index.html"},
      {"myhost/a b?q=1#f", "true\thttp://myhost/a%20b?q=1#f"},
      {"?a=1", "false\t"},
      {"dir\\a.txt", "false\tunknown:"},
      {"s3://bucket/x", "false\tunknown:"},
  };
  std::string all_in, all_out;
  for (const GuessRow& row : rows) {
    const ToolRun run = RunTool({"guess", row.text});
    EXPECT_EQ(run.status, 0) << row.text;
    EXPECT_EQ(run.out, std::string(row.printed) + "\n") << row.text;
    EXPECT_EQ(run.err, "") << row.text;
    all_in += std::string(row.text) + "\n";
    all_out += std::string(row.printed) + "\n";
  }
  // The same rows as lines of standard input give the same lines, in order.
  const ToolRun piped = RunTool({"guess"}, all_in);
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.out, all_out);
}

TEST(ToolGuess, DefaultSchemeAndJson) {
  REQUIRE_TOOL();
  EXPECT_EQ(RunTool({"guess", "--default-scheme", "ftp", "host/a", "x"}).out,
            "true\tftp://host/a\ntrue\tftp://x\n");
  EXPECT_EQ(RunTool({"guess", "--default-scheme", "", "index.html"}).out, "false\t\n");
  const ToolRun json = RunTool({"guess", "--json", "C:\\a b"});
  EXPECT_EQ(json.out,
            "{\"input\":\"C:\\\\a b\",\"relative\":false,\"result\":true,\"uri\":\"file:///C|/a%20b\","
            "\"valid\":true}\n");
  // Bytes that are not UTF-8 survive in the JSON as their code points.
  const ToolRun raw = RunTool({"guess", "--json", "/a\xFF"});
  EXPECT_NE(raw.out.find("\"uri\":\"file:///a\xC3\xBF\""), std::string::npos) << raw.out;
}

TEST(ToolPath, ThreeNotations) {
  REQUIRE_TOOL();
  const ToolRun all = RunTool({"path", "file:///C|/a/b.txt", "file:///usr/a%20b", "dir/a.txt", ""});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out,
            "C:\\a\\b.txt\t/C|/a/b.txt\tC|:a:b.txt\n"
            "usr\\a b\t/usr/a b\tusr:a b\n"
            "dir\\a.txt\tdir/a.txt\t:dir:a.txt\n"
            "\t\t:\n");
  EXPECT_EQ(RunTool({"path", "--win", "file://server/share/a.txt"}).out, "\\\\server\\share\\a.txt\n");
  EXPECT_EQ(RunTool({"path", "--unix", "--mac", "file:///x/y"}).out, "/x/y\tx:y\n");
  EXPECT_EQ(RunTool({"path", "--mac", "--json", "file://localhost/usr/a"}).out,
            "{\"mac\":\"Root:usr:a\",\"uri\":\"file://localhost/usr/a\"}\n");
  EXPECT_EQ(RunTool({"path", "--mac", "--root-volume", "Main Disk", "file://localhost/usr/a"}).out,
            "Main Disk:usr:a\n");
}

TEST(ToolPath, BadInputIsReportedAndTheRestGoesOn) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"path"}, "http://x/y\nfile:///a\ndir\\a.txt\nfile://server/x\n");
  EXPECT_NE(run.status, 0);
  EXPECT_EQ(run.out, "a\t/a\ta\n\\\\server\\x\t\t\n");
  EXPECT_EQ(run.err,
            "vesk path: no local path in the notation asked for: 'http://x/y'\n"
            "vesk path: not a valid URI: 'dir\\a.txt'\n");
  const ToolRun unix_only = RunTool({"path", "--unix", "file://server/x", "file:///b"});
  EXPECT_NE(unix_only.status, 0);
  EXPECT_EQ(unix_only.out, "/b\n");
}

TEST(ToolFromPath, Notations) {
  REQUIRE_TOOL();
  EXPECT_EQ(RunTool({"from-path", "--win", "C:\\dir\\a b.txt", "\\\\Server\\share\\a.txt"}).out,
            "file:///C|/dir/a%20b.txt\nfile://server/share/a.txt\n");
  EXPECT_EQ(RunTool({"from-path", "--unix", "/a:b", "dir/a"}).out, "file:///a%3Ab\nfile:///dir/a\n");
  EXPECT_EQ(RunTool({"from-path", "--mac", "Disk:Users:a.txt"}).out, "file:///Disk/Users/a.txt\n");
  // Without a notation the library's own one reads colon paths.
  EXPECT_EQ(RunTool({"from-path", "/a:b"}).out, "file:///a/b\n");
  EXPECT_EQ(RunTool({"from-path", "--win", "--unix", "--mac", "/a:b"}).out,
            "file:///a|b\tfile:///a%3Ab\tfile:///a/b\n");
  EXPECT_EQ(RunTool({"from-path", "--json", "--unix", "/x"}).out,
            "{\"path\":\"/x\",\"unix\":\"file:///x\"}\n");
}

TEST(ToolName, FileNameExtensionAndLastComponent) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"name", "http://x/a/b.tar.gz", "/a/b/", "/a/.profile", "http://x/"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "b.tar.gz\t.gz\tb.tar.gz\n\t\tb\n.profile\t\t.profile\n\t\t\n");
  EXPECT_EQ(RunTool({"name", "--type", ".TXT", "/a/b.txt", "/a/b.tar"}).out,
            "b.txt\t.txt\tb.txt\ttrue\nb.tar\t.tar\tb.tar\tfalse\n");
  EXPECT_EQ(RunTool({"name", "--json", "/a%20b.txt"}).out,
            "{\"directory\":false,\"extension\":\".txt\",\"filename\":\"a b.txt\",\"last\":\"a b.txt\","
            "\"stem\":\"a b\",\"uri\":\"/a%20b.txt\"}\n");
  const ToolRun bad = RunTool({"name", "s3://x/a", "/ok.txt"});
  EXPECT_NE(bad.status, 0);
  EXPECT_EQ(bad.out, "ok.txt\t.txt\tok.txt\n");
  EXPECT_EQ(bad.err, "vesk name: not a valid URI: 's3://x/a'\n");
}

}  // namespace
