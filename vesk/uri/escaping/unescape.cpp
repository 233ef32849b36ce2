// The reading half of percent-escaping: ParseHex, Unescape, QueryUnescape.
#include "vesk/uri/uri"

#include <cstdint>
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

// The position of the first '%' among the bytes at `p` that have two bytes
// behind them (the first size - 2 of `size`, at least 3), or size - 2 if there
// is none. Inlined so that short texts, where a library call would cost more
// than the search, need no call. The text was usually just copied, so the
// loads start at its start and end at its end, as a copy's stores do: a load
// that straddles two recent stores waits for both to retire.
inline size_t FindPercent(const char* p, size_t size) {
  const size_t n = size - 2;
#ifdef __SSE2__
  if (size >= 16) {
    const __m128i percent = _mm_set1_epi8('%');
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
      const unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, percent)));
      if (m != 0) return i + static_cast<size_t>(__builtin_ctz(m));
    }
    // The last 16 bytes, of which the two at the end do not count and those
    // already searched hold no '%'. They start one byte too late when the
    // part not yet searched is 15 bytes long.
    if (i + 15 == n && p[i] == '%') return i;
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + size - 16));
    const unsigned m = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, percent))) & 0x3FFFu;
    return m != 0 ? size - 16 + static_cast<size_t>(__builtin_ctz(m)) : n;
  }
#endif
  if (size >= 8) {
    // Two words, the first and the last eight bytes. In each, a byte equal
    // to '%' becomes zero, and the lowest zero byte is found exactly.
    const uint64_t ones = 0x0101010101010101ULL;
    const uint64_t highs = 0x8080808080808080ULL;
    uint64_t word;
    std::memcpy(&word, p, 8);
    word ^= ones * '%';
    uint64_t zero = (word - ones) & ~word & highs;
    if (zero != 0 && __builtin_ctzll(zero) / 8 < static_cast<int>(n))
      return static_cast<size_t>(__builtin_ctzll(zero)) / 8;
    std::memcpy(&word, p + size - 8, 8);
    word ^= ones * '%';
    zero = (word - ones) & ~word & highs & 0x0000808080808080ULL;
    return zero != 0 ? size - 8 + static_cast<size_t>(__builtin_ctzll(zero)) / 8 : n;
  }
  for (size_t i = 0; i < n; ++i) {
    if (p[i] == '%') return i;
  }
  return n;
}

#ifdef __SSE2__
// Reads five escapes "%XX" with two hexadecimal digits each from the first 15
// of the 16 bytes at `p` and writes their bytes at `o`, which stands before
// `p` in the same buffer (the eight bytes written end before p + 15). With
// `highBytesOnly` each must give a byte from 0x80 up. Returns false, having
// written nothing, when the 15 bytes are not five such escapes.
inline bool DecodeFiveEscapes(const char* p, char* o, bool highBytesOnly) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  // Signed compares: a byte from 0x80 up is negative and no digit.
  const __m128i digit =
      _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8('0' - 1)), _mm_cmpgt_epi8(_mm_set1_epi8('9' + 1), v));
  const __m128i lower = _mm_or_si128(v, _mm_set1_epi8(0x20));
  const __m128i letter = _mm_and_si128(_mm_cmpgt_epi8(lower, _mm_set1_epi8('a' - 1)),
                                       _mm_cmpgt_epi8(_mm_set1_epi8('f' + 1), lower));
  const unsigned percents = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8('%'))));
  const unsigned hex = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(digit, letter)));
  // Escapes at 0, 3, 6, 9 and 12, their digits at the two places behind.
  if ((percents & 0x7FFFu) != 0x1249u || (hex & 0x6DB6u) != 0x6DB6u) return false;
  // A digit's value is its low four bits; a letter's is those plus 9.
  const __m128i value =
      _mm_add_epi8(_mm_and_si128(v, _mm_set1_epi8(0x0F)), _mm_and_si128(letter, _mm_set1_epi8(9)));
  // Byte k: value[k] * 16 + value[k + 1]; the escape at 3j gives byte 3j + 1.
  // (Every value is below 16, so the 16-bit shift moves no bit across bytes.)
  const __m128i combined = _mm_or_si128(_mm_slli_epi16(value, 4), _mm_srli_si128(value, 1));
  if (highBytesOnly && (static_cast<unsigned>(_mm_movemask_epi8(combined)) & 0x2492u) != 0x2492u)
    return false;
  const uint64_t low = static_cast<uint64_t>(_mm_cvtsi128_si64(combined));
  const uint64_t high = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(combined, combined)));
  const uint64_t bytes = ((low >> 8) & 0xFF) | ((low >> 24) & 0xFF00) | ((low >> 40) & 0xFF0000) |
                         ((high << 8) & 0xFF000000) | ((high >> 8) & 0xFF00000000);
  std::memcpy(o, &bytes, 8);
  return true;
}
#endif

// Decodes `text` in place from its first '%' at `i`, which has two bytes
// behind it. Kept out of line so that the common text with no escape pays
// for none of its set-up.
__attribute__((noinline)) void DecodeInPlace(std::string& text, size_t i, bool highBytesOnly) {
  const size_t size = text.size();
  char* const data = &text[0];
  // The result is never longer than the text and the writing position `o`
  // never passes the reading position `i`, so the text is decoded in place,
  // in the copy that the caller handed over.
  char* o = data + i;
  while (true) {
    bool five = false;
#ifdef __SSE2__
    five = size - i >= 16 && DecodeFiveEscapes(data + i, o, highBytesOnly);
#endif
    if (five) {
      i += 15;
      o += 5;
    } else {
      char c;
      const size_t n = static_cast<size_t>(ReadEscape(data + i, c));
      if (highBytesOnly && static_cast<signed char>(c) >= 0) {
        for (size_t j = 0; j < n; ++j) o[j] = data[i + j];
        o += n;
      } else {
        *o++ = c;
      }
      i += n;
    }
    // Escapes often follow each other.
    if (size - i >= 3 && data[i] == '%') continue;
    // The run up to the next '%', sixteen bytes at a time. A whole block goes
    // out with one store: the bytes it overwrites are read already. Of a
    // block that holds a '%' at `k`, only the k bytes before it are wanted;
    // a store of 16 or 8 bytes may carry them when it ends at or before that
    // '%', which is the first byte still to read (the gap `data + i - o`
    // grows by two with every escape read).
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
      const size_t gap = static_cast<size_t>(data + i - o);
      if (gap + k >= 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
      } else if (k <= 8 && gap + k >= 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(o), v);
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
}

}  // namespace

URI::StringProxy URI::Unescape(StringProxy text, bool highBytesOnly) {
  // Only a '%' with two bytes behind it is read; one in the last two places
  // stays as it is.
  if (text.size() >= 3) {
    const size_t i = FindPercent(text.data(), text.size());
    if (i != text.size() - 2) DecodeInPlace(text, i, highBytesOnly);
  }
  return text;
}

URI::StringProxy URI::QueryUnescape(StringProxy text) {
  for (char& c : text) {
    if (c == '+') c = ' ';
  }
  return Unescape(std::move(text), false);
}

}  // namespace Vesk
