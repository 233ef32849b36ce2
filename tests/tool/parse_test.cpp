// Runs the vesk tool's parse command as a user would and checks what it prints.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tool/tool_runner.h"

namespace {

using vesktest::RunTool;
using vesktest::ToolRun;

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
