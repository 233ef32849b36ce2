// Runs the vesk tool's convert, encodings and time commands and checks what
// they print.

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

struct Row {
  std::vector<std::string> args;
  std::string input;  // standard input
  int status;
  std::string out;
  std::string err;  // a part of standard error
};

void CheckRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    std::string line;
    for (const std::string& a : row.args) line += a + " ";
    const ToolRun run = RunTool(row.args, row.input);
    EXPECT_EQ(run.status, row.status) << line << run.err;
    EXPECT_EQ(run.out, row.out) << line;
    if (!row.err.empty()) {
      EXPECT_NE(run.err.find(row.err), std::string::npos) << line << run.err;
    } else {
      EXPECT_EQ(run.err, "") << line;
    }
  }
}

TEST(ToolConvert, StandardInputToStandardOutput) {
  REQUIRE_TOOL();
  const std::string nihongo = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";
  CheckRows({
      {{"convert", "--from", "utf-8", "--to", "shift_jis"}, nihongo, 0, "\x93\xFA\x96\x7B\x8C\xEA", ""},
      {{"convert", "--from", "Shift_JIS", "--to", "UTF-8"}, "\x93\xFA\x96\x7B\x8C\xEA", 0, nihongo, ""},
      {{"convert", "--from", "utf-8", "--to", "utf-16"}, "ab", 0, std::string("a\0b\0", 4), ""},
      {{"convert", "--from", "unicode", "--to", "utf-8"}, std::string("a\0\xE9\0", 4), 0, "a\xC3\xA9", ""},
      {{"convert", "--from", "iso-8859-1", "--to", "utf-8"}, "caf\xE9", 0, "caf\xC3\xA9", ""},
      {{"convert", "--from", "utf-8", "--to", "iso-2022-jp"}, "a" + nihongo, 0, "a\x1B$BF|K\\8l\x1B(B", ""},
      {{"convert", "--from", "utf-8", "--to", "utf-8"}, "", 0, "", ""},
      {{"convert", "--from", "utf-8", "--to", "iso-8859-1"}, "\xE2\x82\xAC", 1, "",
       "cannot hold the character U+20AC"},
      {{"convert", "--from", "utf-8", "--to", "utf-16"}, "ab\xFF", 1, "", "not valid"},
      {{"convert", "--from", "no-such-set", "--to", "utf-8"}, "ab", 1, "", "unknown encoding: 'no-such-set'"},
      {{"convert", "--from", "utf-8", "--to", std::string(300, 'x')}, "ab", 1, "", "unknown encoding"},
  });
  // A text much larger than the converter's buffers comes out whole.
  std::string big;
  for (int i = 0; i < 20000; ++i) big += nihongo;
  const ToolRun there = RunTool({"convert", "--from", "utf-8", "--to", "euc-jp"}, big);
  ASSERT_EQ(there.status, 0);
  const ToolRun back = RunTool({"convert", "--from", "euc-jp", "--to", "utf-8"}, there.out);
  EXPECT_EQ(back.out, big);
}

TEST(ToolEncodings, WhatNamesMapTo) {
  REQUIRE_TOOL();
  const ToolRun run = RunTool({"encodings", "UTF-8", "unicode", "utf-7", "latin1"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "UTF-8\t0x8000100\tutf-8\tyes\n"
            "unicode\t0x100\tutf-16\tyes\n"
            "utf-7\t0x4000100\tutf-7\tyes\n"
            "latin1\t0x10000\tiso-8859-1\tyes\n");
  CheckRows({
      {{"encodings", "no-such-set"}, "", 1, "", "vesk encodings: unknown encoding: 'no-such-set'"},
      {{"encodings", "--json"}, "Shift_JIS\n", 0,
       "{\"converter\":true,\"id\":65536,\"internet_name\":\"shift_jis\",\"name\":\"Shift_JIS\"}\n", ""},
  });
}

TEST(ToolTime, FromFieldsTicksAndClock) {
  REQUIRE_TOOL();
  CheckRows({
      {{"time", "--year", "2001", "--month", "2", "--day", "3", "--hour", "4", "--minute", "5", "--second", "6",
        "--fraction", "5"},
       "", 0, "126256467065000000\t2001-02-03 04:05:06.5000000\t2001-02-03T04:05:06Z\n", ""},
      {{"time", "--ticks", "0"}, "", 0, "0\t1601-01-01 00:00:00.0000000\t1601-01-01T00:00:00Z\n", ""},
      {{"time", "--ticks", "116444736000000000", "--json"}, "", 0,
       "{\"day\":1,\"fraction\":0,\"hour\":0,\"minute\":0,\"month\":1,\"second\":0,\"ticks\":116444736000000000,"
       "\"w3c\":\"1970-01-01T00:00:00Z\",\"year\":1970}\n",
       ""},
      {{"time", "--year", "2000", "--month", "13", "--day", "1"}, "", 0,
       "126227808000000000\t2001-01-01 00:00:00.0000000\t2001-01-01T00:00:00Z\n", ""},
      {{"time", "--year", "999999"}, "", 1, "", "field out of range"},
      {{"time", "--ticks", "1", "--year", "2000"}, "", 1, "", "not both"},
  });
  const ToolRun now = RunTool({"time"});
  EXPECT_EQ(now.status, 0);
  EXPECT_NE(now.out.find("\t"), std::string::npos);
  EXPECT_NE(now.out.find("Z\n"), std::string::npos);
}

}  // namespace
