// Escaping and unescaping any bytes.
//
// Checked: Unescape(Escape(x)) and QueryUnescape(QueryEscape(x)) give x back;
// the escaped forms hold no byte that their map holds; the slow path agrees
// with the fast one on text without NUL; unescaping never lengthens text, and
// decoding high bytes only is undone by escaping those bytes again; ParseHex
// on the first three bytes reads what the C library's sscanf reads.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;

using Vesk::URI;

bool HasRawMember(const std::string& text, const std::string& members) {
  for (const char c : text) {
    if (c != '%' && c != '\0' && members.find(c) != std::string::npos) return true;
  }
  return false;
}

// Whether `text` could have come out of escaping (every '%' begins an escape
// of two upper-case hexadecimal digits).
bool WellEscaped(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') continue;
    if (i + 2 >= text.size()) return false;
    for (size_t k = i + 1; k <= i + 2; ++k) {
      const char c = text[k];
      if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string text(reinterpret_cast<const char*>(data), size);

  const std::string escaped = URI::Escape(text);
  Require(URI::Unescape(escaped, false) == text, "Unescape(Escape(x)) == x");
  Require(!HasRawMember(escaped, URI::URIexcluded) && WellEscaped(escaped), "Escape leaves nothing to escape");
  const std::string queryEscaped = URI::QueryEscape(text);
  Require(URI::QueryUnescape(queryEscaped) == text, "QueryUnescape(QueryEscape(x)) == x");
  Require(!HasRawMember(queryEscaped, URI::URIqueryexcluded) && WellEscaped(queryEscaped),
          "QueryEscape leaves nothing to escape");
  if (text.find('\0') == std::string::npos) {
    Require(URI::EscapeChars(text, URI::URIexcluded) == escaped, "EscapeChars agrees with Escape");
  }

  const std::string plain = URI::Unescape(text, false);
  Require(plain.size() <= text.size(), "Unescape never lengthens");
  const std::string high = URI::Unescape(text, true);
  Require(high.size() <= text.size() && plain.size() <= high.size(), "decoding high bytes only decodes less");
  Require(URI::QueryUnescape(text).size() == plain.size() || text.find('+') != std::string::npos,
          "QueryUnescape differs from Unescape only through '+'");

  if (size >= 3 && data[0] == '%') {
    char out = 0;
    const int consumed = URI::ParseHex(text.substr(0, 3), out);
    if (text.find(' ') > 2) {
      unsigned int value = 0;
      const std::string rest = text.substr(1, 2);
      const int scanned = std::sscanf(rest.c_str(), "%x", &value);
      Require(consumed == (scanned == 0 ? 1 : 3), "ParseHex consumes what sscanf reads");
      if (scanned == 1) Require(static_cast<unsigned char>(out) == (value & 0xFF), "ParseHex reads as sscanf");
    }
  }
  return 0;
}
