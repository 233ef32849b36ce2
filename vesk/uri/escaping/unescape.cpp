// The reading half of percent-escaping: ParseHex, Unescape, QueryUnescape.
#include "vesk/uri/uri"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "vesk/uri/escaping/hex.h"

namespace Vesk {
namespace uri_internal {

namespace {

// White space as the C locale's isspace sees it.
inline bool IsCSpace(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline int HexDigitValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

int ScanHex(const char* digits, unsigned int& value) {
  const auto* s = reinterpret_cast<const unsigned char*>(digits);
  while (IsCSpace(*s)) ++s;
  if (*s == 0) return -1;  // end of input before any conversion
  bool negative = false;
  if (*s == '+' || *s == '-') {
    negative = *s == '-';
    ++s;
  }
  bool sawDigit = false;
  if (*s == '0') {
    // "0x" is a prefix; with nothing readable behind it the "0" is the number.
    sawDigit = true;
    ++s;
    if (*s == 'x' || *s == 'X') ++s;
  }
  unsigned long accumulated = 0;
  for (int d; (d = HexDigitValue(*s)) >= 0; ++s) {
    sawDigit = true;
    accumulated = accumulated * 16 + static_cast<unsigned long>(d);
  }
  if (!sawDigit) return 0;
  if (negative) accumulated = 0UL - accumulated;
  value = static_cast<unsigned int>(accumulated);
  return 1;
}

int ParseHexBytes(const char* text, size_t size, char& out) {
  if (size != 3) {
    // Only the first byte of the working copy matters. Closing the gaps left
    // by spaces brings the first byte that is not a space to the front; when
    // every byte is a space nothing moves. The empty text's first byte is its
    // terminator.
    if (size == 0) {
      out = '\0';
      return 1;
    }
    for (size_t i = 0; i < size; ++i) {
      if (text[i] != ' ') {
        out = text[i];
        return 1;
      }
    }
    out = ' ';
    return 1;
  }
  // Three bytes: close the gaps left by spaces without shortening, so the
  // bytes at the end stay where they were.
  char work[4] = {text[0], text[1], text[2], '\0'};
  if (work[0] == ' ' || work[1] == ' ' || work[2] == ' ') {
    size_t w = 0;
    for (size_t i = 0; i < 3; ++i) {
      if (text[i] != ' ') work[w++] = text[i];
    }
  }
  if (work[0] != '%') {
    out = work[0];
    return 1;
  }
  unsigned int value = 0;  // the byte given for end of input: NUL
  const int scanned = ScanHex(work + 1, value);
  if (scanned == 0) {
    out = '%';
    return 1;
  }
  out = static_cast<char>(value & 0xFFu);
  return 3;
}

}  // namespace uri_internal

int URI::ParseHex(const std::string& escape, char& out) {
  return uri_internal::ParseHexBytes(escape.data(), escape.size(), out);
}

namespace {

// Reads the escape at `p` (three bytes, the first a '%'). The common case of
// two hexadecimal digits is decided here; everything else takes the general
// reading.
inline int ReadEscape(const char* p, char& out) {
  static constexpr signed char kHex[256] = {
#define N -1
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, N, N, N, N, N, N,
      N, 10, 11, 12, 13, 14, 15, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, 10, 11, 12, 13, 14, 15, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
      N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N,
#undef N
  };
  const int hi = kHex[static_cast<unsigned char>(p[1])];
  const int lo = kHex[static_cast<unsigned char>(p[2])];
  if ((hi | lo) >= 0) {
    out = static_cast<char>(hi * 16 + lo);
    return 3;
  }
  return uri_internal::ParseHexBytes(p, 3, out);
}

}  // namespace

URI::StringProxy URI::Unescape(StringProxy text, bool highBytesOnly) {
  const size_t size = text.size();
  // Only a '%' with two bytes behind it is read; one in the last two places
  // stays as it is.
  if (size < 3) return text;
  char* const data = &text[0];
  const void* hit = std::memchr(data, '%', size - 2);
  if (hit == nullptr) return text;

  // The result is never longer than the text and the writing position `o`
  // never passes the reading position `i`, so the text is decoded in place,
  // in the copy that the caller handed over. Here data[i] is a '%' with two
  // bytes behind it.
  size_t i = static_cast<size_t>(static_cast<const char*>(hit) - data);
  char* o = data + i;
  while (true) {
    char c;
    const size_t n = static_cast<size_t>(ReadEscape(data + i, c));
    if (highBytesOnly && static_cast<signed char>(c) >= 0) {
      for (size_t j = 0; j < n; ++j) o[j] = data[i + j];
      o += n;
    } else {
      *o++ = c;
    }
    i += n;
    // Escapes often follow each other.
    if (size - i >= 3 && data[i] == '%') continue;
    // The run up to the next '%', sixteen bytes at a time. A whole block goes
    // out with one store: the bytes it overwrites are read already. Of a
    // block that holds a '%', only what stands before it is written, and
    // with one store only when that cannot reach the bytes still to read.
#ifdef __SSE2__
    const __m128i percent = _mm_set1_epi8('%');
    while (i + 16 <= size) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
      const unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, percent)));
      if (m == 0) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
        i += 16;
        o += 16;
        continue;
      }
      const size_t k = static_cast<size_t>(__builtin_ctz(m));
      if (data + i - o >= 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
      } else {
        for (size_t j = 0; j < k; ++j) o[j] = data[i + j];
      }
      o += k;
      i += k;
      break;
    }
#endif
    while (i < size && data[i] != '%') *o++ = data[i++];
    if (size - i < 3) break;
  }
  while (i < size) *o++ = data[i++];
  text.resize(static_cast<size_t>(o - data));
  return text;
}

URI::StringProxy URI::QueryUnescape(StringProxy text) {
  for (char& c : text) {
    if (c == '+') c = ' ';
  }
  return Unescape(std::move(text), false);
}

}  // namespace Vesk
