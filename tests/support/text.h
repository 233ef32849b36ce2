#ifndef VESK_TESTS_SUPPORT_TEXT_H_
#define VESK_TESTS_SUPPORT_TEXT_H_

// UTF-16 literals as the library's unsigned short text, and bytes or units
// written out readably for assertion messages.

#include <cstdio>
#include <string>
#include <string_view>

namespace vesktest {

using U16 = std::basic_string<unsigned short>;

// A UTF-16 literal as unsigned short units, zero units included.
inline U16 W(std::u16string_view s) { return U16(s.begin(), s.end()); }

// Units as a char16_t string, for comparisons against literals.
inline std::u16string U(const U16& s) { return std::u16string(s.begin(), s.end()); }

// Each byte as two hex digits, or each UTF-16 unit as four, and a space:
// "41 C3 A9 " or "0041 00E9 ".
template <typename Unit>
std::string HexUnits(std::basic_string_view<Unit> units) {
  std::string out;
  char part[6];
  for (const Unit c : units) {
    if (sizeof(Unit) == 1) {
      std::snprintf(part, sizeof part, "%02X ", static_cast<unsigned>(c) & 0xFF);
    } else {
      std::snprintf(part, sizeof part, "%04X ", static_cast<unsigned>(c) & 0xFFFF);
    }
    out += part;
  }
  return out;
}
inline std::string Hex(std::string_view bytes) { return HexUnits(bytes); }
inline std::string HexW(std::basic_string_view<unsigned short> units) { return HexUnits(units); }
inline std::string HexW(std::u16string_view units) { return HexUnits(units); }

// Printable ASCII as itself, every other byte as \xNN.
inline std::string Show(std::string_view bytes) {
  std::string out;
  char part[5];
  for (const unsigned char c : bytes) {
    if (c >= 0x20 && c < 0x7F) {
      out += static_cast<char>(c);
    } else {
      std::snprintf(part, sizeof part, "\\x%02X", c);
      out += part;
    }
  }
  return out;
}

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_TEXT_H_
