#ifndef VESK_TESTS_SUPPORT_URI_H_
#define VESK_TESTS_SUPPORT_URI_H_

// URIs for table rows, the invariant checks after each operation, and the
// driver that runs a table of operations kept in tests/data/.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/text.h"
#include "tests/support/tsv.h"
#include "vesk/string/cstring_check.h"
#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"

namespace vesktest {

using Vesk::URI;
using Cells = std::vector<std::string>;

// Stands for a default-constructed (blank) URI in a row.
constexpr const char* kBlank = "<blank>";

// The URI a row names: parsed text, or blank for kBlank.
inline URI MakeURI(const std::string& text) { return text == kBlank ? URI() : URI(URI::StringProxy(text)); }

inline std::string Bit(bool b) { return b ? "1" : "0"; }

// The three flags as digits "vrh": valid, relative, hierarchical.
inline std::string Flags(const URI& uri) {
  return Bit(uri.m_IsValid) + Bit(uri.m_IsRelative) + Bit(uri.m_IsHierarchical);
}

// The stored text of a URI that the parser or a path operation made, once its
// shape has been checked.
inline std::string Shaped(const URI& uri) {
  EXPECT_EQ(Vesk::uri_internal::URIShapeError(uri), "") << "URI " << std::string(uri.ToString(false));
  return uri.ToString(false);
}

// Flags, a space, then the stored text, of a checked URI.
inline std::string State(const URI& uri) { return Flags(uri) + " " + Shaped(uri); }

// The units of a CString, once its header has been checked.
inline U16 Units(const CString& s) {
  EXPECT_EQ(Vesk::CheckCString(s), "");
  const unsigned short* units = s;
  return U16(units, static_cast<size_t>(s.GetLength()));
}

// One operation of a table: how many cells it reads, and what it gives.
struct Op {
  size_t inputs;
  std::function<Cells(const Cells&)> run;
};

// Runs every row of tests/data/NAME: the first cell names one of `ops`, the
// next cells are its arguments and the rest what it must give.
inline void RunTable(const std::string& name, const std::map<std::string, Op>& ops) {
  std::map<std::string, int> used;
  for (const TsvRow& row : ReadTestTable(name)) {
    const auto op = ops.find(row[0]);
    if (op == ops.end() || row.cells.size() <= op->second.inputs + 1) {
      ADD_FAILURE() << row.where << ": unknown operation or short row";
      continue;
    }
    SCOPED_TRACE(row.where);
    ++used[row[0]];
    const auto first = row.cells.begin() + 1;
    const Cells in(first, first + static_cast<long>(op->second.inputs));
    const Cells want(first + static_cast<long>(op->second.inputs), row.cells.end());
    EXPECT_EQ(op->second.run(in), want) << row.where << " " << ::testing::PrintToString(in);
  }
  for (const auto& op : ops) EXPECT_GT(used[op.first], 0) << name << " has no row for " << op.first;
}

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_URI_H_
