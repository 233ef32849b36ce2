#ifndef VESK_TESTS_SUPPORT_TSV_H_
#define VESK_TESTS_SUPPORT_TSV_H_

// Test tables kept as tab-separated text: one row a line, cells split at tabs,
// blank lines and lines starting with '#' skipped. In a cell \t \n \r \\ stand
// for the character, \xNN for one byte, \uXXXX for the code point as UTF-8
// (lone surrogates included, three bytes each), and a cell that is "-" alone
// for the empty text ("\-" is a dash).

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesktest {

struct TsvRow {
  std::string where;               // "file:line", for assertion messages
  std::vector<std::string> cells;  // unescaped
  const std::string& operator[](size_t i) const { return cells.at(i); }
  int Int(size_t i) const { return std::atoi(cells.at(i).c_str()); }
};

// A cell's text with its escapes read.
inline std::string TsvCell(const std::string& cell) {
  if (cell == "-") return {};
  std::string out;
  for (size_t i = 0; i < cell.size(); ++i) {
    if (cell[i] != '\\' || i + 1 == cell.size()) {
      out += cell[i];
      continue;
    }
    const char c = cell[++i];
    const size_t digits = c == 'x' ? 2 : c == 'u' ? 4 : 0;
    if (digits && i + digits < cell.size()) {
      const unsigned long v = std::strtoul(cell.substr(i + 1, digits).c_str(), nullptr, 16);
      i += digits;
      if (digits == 2 || v < 0x80) {
        out += static_cast<char>(v);
      } else if (v < 0x800) {
        out += static_cast<char>(0xC0 | (v >> 6));
        out += static_cast<char>(0x80 | (v & 0x3F));
      } else {
        out += static_cast<char>(0xE0 | (v >> 12));
        out += static_cast<char>(0x80 | ((v >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (v & 0x3F));
      }
    } else {
      out += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
  }
  return out;
}

// The rows of the file at `path`, each expected to hold `columns` cells (any
// number when 0). A file that cannot be read, or a row of another width, fails
// the calling test; such rows are left out.
inline std::vector<TsvRow> ReadTsv(const std::string& path, size_t columns = 0) {
  std::vector<TsvRow> rows;
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << "cannot read " << path;
  const std::string name = path.substr(path.rfind('/') + 1);
  std::string text;
  for (int line = 1; std::getline(in, text); ++line) {
    if (text.empty() || text[0] == '#') continue;
    TsvRow row{name + ":" + std::to_string(line), {}};
    size_t start = 0;
    for (size_t tab; (tab = text.find('\t', start)) != std::string::npos; start = tab + 1) {
      row.cells.push_back(TsvCell(text.substr(start, tab - start)));
    }
    row.cells.push_back(TsvCell(text.substr(start)));
    EXPECT_TRUE(columns == 0 || row.cells.size() == columns)
        << row.where << " has " << row.cells.size() << " cells, not " << columns;
    if (columns == 0 || row.cells.size() == columns) rows.push_back(std::move(row));
  }
  return rows;
}

// The rows of tests/data/NAME (the repository's own tables, always present).
inline std::vector<TsvRow> ReadTestTable(const std::string& name, size_t columns = 0) {
  return ReadTsv(std::string(VESK_TEST_SOURCE_DIR) + "/data/" + name, columns);
}

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_TSV_H_
