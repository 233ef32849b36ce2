// Parsing and serialising any bytes.
//
// Checked: the parse leaves one of the four shapes; its result is the object's
// validity and agrees with ValidateURI; every entry point that parses gives
// the same object; the stored text compares equal to the URI; parsing and
// serialising the stored text again and again settles on a fixed point and
// does not oscillate (a round may still change it: it drops what the text
// cannot carry, such as an empty fragment behind a '#' that then ends the
// path, one '#' per round, or brackets a server that lost its user
// information); the reading and
// UTF-8 forms can be made; ToStringUTF8 undoes ToStringUTF8Escaped where
// the text is well escaped.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;
using Vesk::uri_internal::SameState;

using Vesk::URI;

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

// Whether every '%' of `text` is followed by two hexadecimal digits.
bool WellEscaped(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && (i + 2 >= text.size() || !IsHexDigit(text[i + 1]) || !IsHexDigit(text[i + 2])))
      return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string text(reinterpret_cast<const char*>(data), size);

  URI uri("ftp://old@h:1/p?q#f");
  const bool valid = uri.ParseURI(text);
  Require(valid == uri.IsValidURI(), "ParseURI returns the validity");
  Require(Vesk::uri_internal::URIShapeError(uri).empty(), "parse leaves one of the four shapes");
  if (valid) Require(uri.ValidateURI(), "a valid parse passes ValidateURI");

  const URI fromProxy{URI::StringProxy(text)};
  URI assigned;
  assigned = URI::StringProxy(text);
  Require(SameState(uri, fromProxy) && SameState(uri, assigned), "every parsing entry point agrees");
  if (text.find('\0') == std::string::npos) {
    const URI fromChars(text.c_str());
    Require(SameState(uri, fromChars), "the char* constructor agrees");
  }

  const std::string stored = uri.ToString(false);
  Require(uri == URI::StringProxy(stored), "a URI equals its stored text");
  std::string previous = stored;
  bool fixed = false;
  for (size_t round = 0; round < stored.size() + 4 && !fixed; ++round) {
    const std::string next = URI(URI::StringProxy(previous)).ToString(false);
    fixed = next == previous;
    previous = next;
  }
  Require(fixed, "parsing and serialising the stored text again settles");

  const std::string reading = uri.ToString(true);
  (void)reading;
  const std::string utf8 = uri.ToStringUTF8();
  // Where every '%' begins a proper escape, the escapes added for high bytes
  // cannot combine with what stands around them.
  if (WellEscaped(stored)) {
    Require(URI::Unescape(URI::StringProxy(uri.ToStringUTF8Escaped()), true) == utf8,
            "ToStringUTF8 undoes ToStringUTF8Escaped");
  }
  return 0;
}
