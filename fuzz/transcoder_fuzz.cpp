// Fuzzes the transcoder with any bytes under any encoding name. The first byte
// picks an encoding from a list, or (when it is 0xFF) says that the next byte
// gives the length of a name taken from the input; the rest is the text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include <unicode/ustring.h>

#include "vesk/encoding/transcoder"
#include "vesk/encoding/transcoder_internal.h"
#include "fuzz/fuzz_support.h"

namespace {

using Vesk::Transcoder;
using Wide = std::basic_string<unsigned short>;

const char* const kEncodings[] = {"utf-8",     "utf-16",      "unicode",      "utf-7",     "shift_jis",
                                  "euc-jp",    "iso-2022-jp", "iso-8859-1",   "windows-1252", "euc-kr",
                                  "big5",      "gb18030",     "koi8-r",       "utf-16be",  "utf-32",
                                  "us-ascii",  "hz-gb-2312",  "no-such-charset", ""};

void Check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "property violated: %s\n", what);
    std::abort();
  }
}

bool IsValidUtf8(const std::string& s) {
  size_t i = 0;
  while (i < s.size()) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    size_t n;
    unsigned cp;
    if (c < 0x80) {
      ++i;
      continue;
    } else if (c >= 0xC2 && c <= 0xDF) {
      n = 1;
      cp = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
      n = 2;
      cp = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      n = 3;
      cp = c & 0x07;
    } else {
      return false;
    }
    if (i + n >= s.size()) return false;
    for (size_t k = 1; k <= n; ++k) {
      const unsigned char t = static_cast<unsigned char>(s[i + k]);
      if ((t & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (t & 0x3F);
    }
    if ((n == 2 && cp < 0x800) || (n == 3 && (cp < 0x10000 || cp > 0x10FFFF)) || (cp >= 0xD800 && cp < 0xE000))
      return false;
    i += n + 1;
  }
  return true;
}

bool HasLoneSurrogate(const Wide& w) {
  for (size_t i = 0; i < w.size(); ++i) {
    if (w[i] >= 0xD800 && w[i] < 0xDC00) {
      if (i + 1 == w.size() || w[i + 1] < 0xDC00 || w[i + 1] >= 0xE000) return true;
      ++i;
    } else if (w[i] >= 0xDC00 && w[i] < 0xE000) {
      return true;
    }
  }
  return false;
}

// Every converter is idle in exactly one pool, once; the UTF-32 pool is never
// filled.
void CheckPools() {
  using Vesk::TranscoderView::Pool;
  std::set<const void*> seen;
  size_t total = 0;
  for (Pool pool : {Pool::kFromUTF16, Pool::kToUTF16, Pool::kFromUTF32}) {
    for (const auto& entry : Vesk::TranscoderView::Contents(pool)) {
      seen.insert(entry.converter);
      ++total;
    }
  }
  Check(seen.size() == total, "a converter is idle twice");
  Check(Vesk::TranscoderView::Contents(Pool::kFromUTF32).empty(), "the UTF-32 pool was filled");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  if (size == 0) return 0;
  std::string encoding;
  size_t at = 1;
  if (data[0] == 0xFF) {
    if (size < 2) return 0;
    const size_t length = data[1] < size - 2 ? data[1] : size - 2;
    encoding.assign(reinterpret_cast<const char*>(data + 2), length);
    at = 2 + length;
  } else {
    encoding = kEncodings[data[0] % (sizeof kEncodings / sizeof kEncodings[0])];
  }
  const std::string text(reinterpret_cast<const char*>(data + at), size - at);

  // Any bytes in any encoding: no fault, and the two-stage form agrees with
  // the one-stage forms.
  const Wide wide = Transcoder::EncodingToUTF16(text, encoding);
  const std::string utf8 = Transcoder::EncodingToUTF8(text, encoding);
  Check(utf8 == Transcoder::asUTF8(wide), "EncodingToUTF8 differs from EncodingToUTF16 then asUTF8");
  Transcoder::UTF8ToEncoding(text, encoding);
  Transcoder::UTF16ToEncoding(wide, encoding);
  Check(Transcoder::IsValidEncoding(encoding), "a name counted as invalid");

  // Bytes of a single-byte set each give one unit.
  if (encoding == "iso-8859-1") {
    Check(wide.size() == text.size(), "iso-8859-1 length");
    for (size_t i = 0; i < text.size(); ++i)
      Check(wide[i] == static_cast<unsigned char>(text[i]), "iso-8859-1 value");
  }

  // Valid UTF-8 makes the whole trip through UTF-16.
  if (IsValidUtf8(text)) {
    const Wide as16 = Transcoder::asUTF16(text);
    // The same units as ICU's own string conversion gives.
    Wide reference(text.size(), 0);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(reference.data()), static_cast<int32_t>(reference.size()), &length,
                  text.data(), static_cast<int32_t>(text.size()), &status);
    reference.resize(static_cast<size_t>(length));
    Check(U_SUCCESS(status) && as16 == reference, "asUTF16 differs from ICU");
    Check(Transcoder::asUTF8(as16) == text, "UTF-8 round trip");
    Check(Transcoder::EncodingToUTF8(Transcoder::UTF8ToEncoding(text, "utf-16"), "utf-16") == text,
          "UTF-16 bytes round trip");
  }

  // The text read as UTF-16 units, without lone surrogates, makes the trip
  // through UTF-8.
  Wide units;
  for (size_t i = 0; i + 1 < text.size(); i += 2)
    units.push_back(static_cast<unsigned short>(static_cast<unsigned char>(text[i]) |
                                                (static_cast<unsigned char>(text[i + 1]) << 8)));
  if (!HasLoneSurrogate(units)) Check(Transcoder::asUTF16(Transcoder::asUTF8(units)) == units, "UTF-16 round trip");

  // A stateful converter goes back to its pool reset.
  Check(Transcoder::UTF16ToEncoding(Wide{'a', 'b'}, encoding) == Transcoder::UTF16ToEncoding(Wide{'a', 'b'}, encoding),
        "a converter kept state between texts");
  CheckPools();
  return 0;
}
