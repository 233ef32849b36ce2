#ifndef VESK_TESTS_STRING_STRING_TEST_SUPPORT_H_
#define VESK_TESTS_STRING_STRING_TEST_SUPPORT_H_

// Helpers shared by the CString tests: UTF-16 literals in and out, and the
// invariant check after an operation.

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support/text.h"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"

namespace cstest {

using vesktest::U16;
using vesktest::W;

// A string of exactly these units, zero units included.
inline CString Make(std::u16string_view s) {
  const U16 w = W(s);
  return CString(w.data(), static_cast<int>(w.size()));
}

// All `length` units of a string.
inline std::u16string Text(const CString& s) {
  const unsigned short* p = s;
  return std::u16string(p, p + s.GetLength());
}

// The text up to its first zero unit.
inline std::u16string CText(const unsigned short* p) {
  std::u16string out;
  while (*p != 0) out += static_cast<char16_t>(*p++);
  return out;
}

inline int Capacity(const CString& s) { return s.GetData()->capacity; }
inline int Count(const CString& s) { return s.GetData()->refCount; }
inline bool OnNil(const CString& s) { return s.GetData() == _afxDataNil; }

}  // namespace cstest

// Expects the string's buffer, and every string pool, to satisfy their invariants.
#define EXPECT_SOUND(s) EXPECT_EQ(Vesk::CheckCString(s) + Vesk::CheckStringPools(), "") << "after " << #s

#endif  // VESK_TESTS_STRING_STRING_TEST_SUPPORT_H_
