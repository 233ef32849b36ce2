// The platform strings' constructors and number readers from any bytes, and
// CString's GetIntValue and GetDoubleValue, which read through them. Strings
// from UTF-16 hold exactly the units given; from 8-bit text they hold what
// the transcoder makes of it (or nothing, when the bytes do not decode);
// substrings hold their slice. The integer reader is held to strtoll over the
// text's leading ASCII, clamped to int, and the double reader to strtod where
// that reads a plain decimal number in range.
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/fuzz_support.h"
#include "vesk/encoding/transcoder"
#include "vesk/platform/cfstring"
#include "vesk/platform/locale_facts"
#include "vesk/platform/text_conversion"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"

namespace P = Vesk::Platform;

namespace {

using veskfuzz::Require;
using Wide = std::basic_string<unsigned short>;

Wide UnitsOf(CFStringRef s) {
  const unsigned short* p = P::StringCharacters(s);
  return p == nullptr ? Wide() : Wide(p, p + P::StringLength(s));
}

// The text the number readers look at: the units up to the first zero or
// non-ASCII unit.
std::string AsciiPrefix(const Wide& units) {
  std::string text;
  for (unsigned short u : units) {
    if (u == 0 || u >= 0x80) break;
    text += static_cast<char>(u);
  }
  return text;
}

void CheckNumbers(CFStringRef s, const Wide& units) {
  const std::string text = AsciiPrefix(units);
  const long long wide = std::strtoll(text.c_str(), nullptr, 10);
  const int expected = static_cast<int>(std::min<long long>(std::max<long long>(wide, INT_MIN), INT_MAX));
  Require(P::StringIntValue(s) == expected, "StringIntValue differs from strtoll");

  const double value = P::StringDoubleValue(s);
  Require(!std::isnan(value), "StringDoubleValue gave NaN");
  size_t i = text.find_first_not_of(" \t\n\v\f\r");
  if (i != std::string::npos && (text[i] == '+' || text[i] == '-')) ++i;
  const size_t at = i == std::string::npos ? text.size() : i;
  const bool hex = text.compare(at, 2, "0x") == 0 || text.compare(at, 2, "0X") == 0;
  const bool decimal = i != std::string::npos && i < text.size() &&
                       ((text[i] >= '0' && text[i] <= '9') ||
                        (text[i] == '.' && i + 1 < text.size() && text[i + 1] >= '0' && text[i + 1] <= '9'));
  if (decimal && !hex) {
    errno = 0;
    const double reference = std::strtod(text.c_str(), nullptr);
    if (errno == 0 && std::isfinite(reference) && (reference == 0 || std::fabs(reference) >= 2.2250738585072014e-308))
      Require(value == reference, "StringDoubleValue differs from strtod");
  } else {
    Require(value == 0, "StringDoubleValue read a number where there is none");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  static const bool locale = P::SetHostLocale("C");
  (void)locale;
  Wide units;
  for (size_t i = 0; i + 1 < size; i += 2) units += static_cast<unsigned short>(data[i] | (data[i + 1] << 8));
  const long n = static_cast<long>(units.size());

  // From UTF-16, copied and borrowed; then every substring edge.
  CFStringRef copied = P::CreateStringFromUTF16(units.data(), n);
  CFStringRef borrowed = P::CreateStringBorrowingUTF16(units.data(), n);
  Require(UnitsOf(copied) == units && UnitsOf(borrowed) == units, "string from UTF-16");
  Require(P::StringsEqual(copied, borrowed), "copied and borrowed strings differ");
  const long start = size > 0 ? data[0] % (n + 2) : 0;
  const long length = size > 1 ? data[1] % (n + 2) - 1 : 0;
  CFStringRef slice = P::CreateSubstring(copied, start, length);
  const bool inside = start >= 0 && length >= 0 && start + length <= n;
  Require((slice != nullptr) == inside, "CreateSubstring range");
  if (slice != nullptr) Require(UnitsOf(slice) == units.substr(start, length), "CreateSubstring text");
  CheckNumbers(copied, units);

  // CString's readers go through the same platform string.
  const CString s(units.data(), static_cast<int>(units.size()));
  Require(s.GetIntValue() == P::StringIntValue(copied), "GetIntValue");
  const double a = s.GetDoubleValue(), b = P::StringDoubleValue(copied);
  Require(std::memcmp(&a, &b, sizeof a) == 0, "GetDoubleValue");
  Require(Vesk::CheckCString(s).empty(), "CString after the number readers");

  // From 8-bit text: ASCII, the application's encoding and a few named sets.
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  P::TextEncoding latin1 = 0, shift_jis = 0, utf8 = P::UnicodeTextEncoding(P::kUnicodeDefaultBase, 0, P::kUTF8Format);
  static const unsigned char kLatin1[] = "\x0aiso-8859-1", kShiftJis[] = "\x09shift_jis";
  P::TextEncodingFromInternetName(&latin1, kLatin1);
  P::TextEncodingFromInternetName(&shift_jis, kShiftJis);
  for (const unsigned long encoding : {P::kEncodingASCII, P::kApplicationEncoding, latin1, shift_jis, utf8}) {
    CFStringRef ranged = P::CreateStringFromByteRange(bytes.data(), static_cast<long>(bytes.size()), encoding);
    if (ranged != nullptr) CheckNumbers(ranged, UnitsOf(ranged));
    if (encoding == latin1) {
      Require(ranged != nullptr && UnitsOf(ranged) == Vesk::Transcoder::EncodingToUTF16(bytes, "iso-8859-1"),
              "ISO 8859-1 bytes");
    }
    CFStringRef zero = P::CreateStringFromBytes(bytes.c_str(), encoding);
    CFStringRef head = P::CreateStringFromByteRange(bytes.c_str(), static_cast<long>(std::strlen(bytes.c_str())), encoding);
    Require((zero == nullptr) == (head == nullptr) && P::StringsEqual(zero, head) == (zero != nullptr),
            "zero-terminated text differs from its byte range");
    unsigned char prefixed[256];
    prefixed[0] = static_cast<unsigned char>(std::min<size_t>(bytes.size(), 255));
    std::memcpy(prefixed + 1, bytes.data(), prefixed[0]);
    CFStringRef counted = P::CreateStringFromLengthPrefixed(prefixed, encoding);
    CFStringRef same = P::CreateStringFromByteRange(bytes.data(), prefixed[0], encoding);
    Require((counted == nullptr) == (same == nullptr) && P::StringsEqual(counted, same) == (counted != nullptr),
            "length-prefixed text differs from its byte range");
    for (CFStringRef r : {ranged, zero, head, counted, same}) P::ReleaseObject(r);
  }
  for (CFStringRef r : {copied, borrowed, slice}) P::ReleaseObject(r);
  return 0;
}
