// The writing half of percent-escaping: the five character maps, the bitmap
// escaper and every operation that escapes with a map. The maps and the
// escaper are private to this file, which is why the setters that escape with
// a map of their own (user name, password, authority, non-hierarchical body)
// and ToStringUTF8Escaped live here too.
#include "vesk/uri/uri"

#include <cstdio>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "vesk/uri/load_order.h"

namespace Vesk {

namespace {

// A set of byte values: bit (c & 7) of m_Bits[c >> 3] holds byte value c.
struct CharBitMap {
  unsigned char m_Bits[32];

  // Clears all 32 bytes, then sets the bit of each byte of `members`.
  explicit CharBitMap(const std::string& members) {
    std::memset(m_Bits, 0, sizeof m_Bits);
    for (const char ch : members) {
      const unsigned char c = static_cast<unsigned char>(ch);
      m_Bits[c >> 3] = static_cast<unsigned char>(m_Bits[c >> 3] | (1u << (c & 7)));
    }
  }

  bool Has(unsigned char c) const { return (m_Bits[c >> 3] >> (c & 7)) & 1u; }
};

std::string HighBytes() {
  std::string bytes;
  for (int c = 0x80; c <= 0xFF; ++c) bytes.push_back(static_cast<char>(c));
  return bytes;
}

#ifdef __SSE2__
// A map's members as runs of consecutive byte values, for testing sixteen
// bytes at once: byte v is in the run [low, low + span] exactly when
// (v - low) mod 256, saturated down by span, is zero. Every map of this file
// is a handful of runs; one with more than kMaxRuns is tested byte by byte.
struct ByteRuns {
  static constexpr int kMaxRuns = 16;
  int count = 0;
  __m128i low[kMaxRuns];
  __m128i span[kMaxRuns];

  explicit ByteRuns(const CharBitMap& map) {
    for (int c = 0; c < 256;) {
      if (!map.Has(static_cast<unsigned char>(c))) {
        ++c;
        continue;
      }
      int last = c;
      while (last < 255 && map.Has(static_cast<unsigned char>(last + 1))) ++last;
      if (count == kMaxRuns) {
        count = -1;
        return;
      }
      low[count] = _mm_set1_epi8(static_cast<char>(c));
      span[count] = _mm_set1_epi8(static_cast<char>(last - c));
      ++count;
      c = last + 1;
    }
  }

  bool Usable() const { return count >= 0; }

  // 0xFF in each lane of `v` that holds a member, 0 elsewhere.
  __m128i Lanes(__m128i v) const {
    __m128i least = _mm_set1_epi8(-1);
    for (int r = 0; r < count; ++r) {
      least = _mm_min_epu8(least, _mm_subs_epu8(_mm_sub_epi8(v, low[r]), span[r]));
    }
    return _mm_cmpeq_epi8(least, _mm_setzero_si128());
  }

  // Bit i set when byte i of `v` is a member.
  unsigned Mask(__m128i v) const { return static_cast<unsigned>(_mm_movemask_epi8(Lanes(v))); }
};

inline __m128i Load16(const unsigned char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Eight bytes at `a` in the low half, eight at `b` in the high half.
inline __m128i Load8And8(const unsigned char* a, const unsigned char* b) {
  return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)),
                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b)));
}
#endif

// A character map and the same set in the form for wide tests.
struct EscapeMap {
  CharBitMap bits;
#ifdef __SSE2__
  ByteRuns runs;
  explicit EscapeMap(const std::string& members) : bits(members), runs(bits) {}
#else
  explicit EscapeMap(const std::string& members) : bits(members) {}
#endif
};

// Built right after the character-class strings (priority 102), in this
// order; they have trivial destructors and are never changed.
#define VESK_CHAR_MAP __attribute__((init_priority(103)))
const EscapeMap URIexcludedBitMap VESK_CHAR_MAP(URI::URIexcluded);
const EscapeMap ModifiedURIEXcludedBitMap VESK_CHAR_MAP(URI::URIexcluded + "/;");
const EscapeMap URIqueryexcludedBitMap VESK_CHAR_MAP(URI::URIqueryexcluded);
const EscapeMap URInonhierexcludedBitMap VESK_CHAR_MAP(URI::URInonhierexcluded);
const EscapeMap URIhighBytesExcludedBitMap VESK_CHAR_MAP(HighBytes());

struct MapsDone {
  MapsDone() { uri_internal::RecordLoadStep(uri_internal::kLoadStepMaps); }
};
MapsDone mapsDone VESK_CHAR_MAP;
#undef VESK_CHAR_MAP

inline size_t FirstMemberBytewise(const unsigned char* p, size_t from, size_t size, const CharBitMap& map) {
  size_t i = from;
  while (i < size && !map.Has(p[i])) ++i;
  return i;
}

// The offset of the first byte of `text` that `map` holds, or its size.
// Sixteen bytes at a time; the last block, and a text of 8 to 15 bytes, are
// read as blocks overlapping what is already done, never past the end.
size_t FirstMember(const char* text, size_t size, const EscapeMap& map) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
#ifdef __SSE2__
  if (map.runs.Usable() && size >= 8) {
    if (size < 16) {
      const unsigned m = map.runs.Mask(Load8And8(p, p + size - 8));
      if (m == 0) return size;
      if (m & 0xFFu) return static_cast<size_t>(__builtin_ctz(m));
      return size - 8 + static_cast<size_t>(__builtin_ctz(m >> 8));
    }
    size_t i = 0;
    for (; i + 16 <= size; i += 16) {
      const unsigned m = map.runs.Mask(Load16(p + i));
      if (m != 0) return i + static_cast<size_t>(__builtin_ctz(m));
    }
    if (i == size) return size;
    const unsigned m = map.runs.Mask(Load16(p + size - 16)) >> (16 - (size - i));
    return m == 0 ? size : i + static_cast<size_t>(__builtin_ctz(m));
  }
#endif
  return FirstMemberBytewise(p, 0, size, map.bits);
}

// How many bytes from `from` to `size` are members.
size_t CountMembers(const unsigned char* p, size_t from, size_t size, const EscapeMap& map) {
  size_t members = 0;
  size_t i = from;
#ifdef __SSE2__
  if (map.runs.Usable()) {
    while (i + 16 <= size) {
      // Per-lane counts, folded before any lane can pass 255.
      __m128i lanes = _mm_setzero_si128();
      const size_t stop = i + 16 * 255 < size ? i + 16 * 255 : size;
      for (; i + 16 <= stop; i += 16) lanes = _mm_sub_epi8(lanes, map.runs.Lanes(Load16(p + i)));
      const __m128i sums = _mm_sad_epu8(lanes, _mm_setzero_si128());
      members += static_cast<size_t>(_mm_cvtsi128_si32(sums)) +
                 static_cast<size_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(sums, sums)));
    }
  }
#endif
  for (; i < size; ++i) members += map.bits.Has(p[i]);
  return members;
}

// Writes the escape of `c` at `o`: "%" and two upper-case hexadecimal digits.
inline char* PutEscape(char* o, unsigned char c) {
  const unsigned hi = c >> 4;
  const unsigned lo = c & 15u;
  o[0] = '%';
  o[1] = static_cast<char>(hi > 9 ? hi + 0x37 : hi + 0x30);
  o[2] = static_cast<char>(lo > 9 ? lo + 0x37 : lo + 0x30);
  return o + 3;
}

// Writes the escaped form of the `size` bytes at `p`, whose first member is
// at `first`, to `o`, which has room for it, and returns its end. The prefix
// goes in with one copy, then runs of sixteen bytes with no member in one
// store each, and each member as its escape.
char* WriteEscaped(char* o, const unsigned char* p, size_t first, size_t size, const EscapeMap& map) {
  std::memcpy(o, p, first);
  o += first;
  size_t i = first;
#ifdef __SSE2__
  if (map.runs.Usable()) {
    // What is left to write is never shorter than what is left to read, so a
    // block of sixteen input bytes always fits where its first byte goes.
    // Behind each member of a block, the bytes up to the next member go out
    // as the sixteen input bytes that follow it, in one store.
    while (i + 16 <= size) {
      const __m128i v = Load16(p + i);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
      unsigned m = map.runs.Mask(v);
      size_t done = 0;  // bytes of the block written or stored from here
      while (m != 0) {
        const size_t k = static_cast<size_t>(__builtin_ctz(m));
        m &= m - 1;
        o = PutEscape(o + (k - done), p[i + k]);
        done = k + 1;
        if (i + done + 16 > size) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), Load16(p + i + done));
      }
      if (i + done + 16 > size) {
        // Too close to the end for another block: the rest goes byte by byte.
        i += done;
        break;
      }
      o += 16 - done;
      i += 16;
    }
  }
#endif
  for (; i < size; ++i) {
    const unsigned char c = p[i];
    if (map.bits.Has(c)) {
      o = PutEscape(o, c);
    } else {
      *o++ = static_cast<char>(c);
    }
  }
  return o;
}

// Escapes from `first`, the first member, on, into a string of the exact
// size. A short text is written into a buffer with room for the worst case
// and copied out; a long one has its members counted first.
std::string EscapeFrom(const char* text, size_t size, size_t first, const EscapeMap& map) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  constexpr size_t kShort = 256;
  if (size <= kShort) {
    char buffer[3 * kShort];
    return std::string(buffer, WriteEscaped(buffer, p, first, size, map));
  }
  std::string out;
  out.resize(size + 2 * CountMembers(p, first, size, map));
  WriteEscaped(&out[0], p, first, size, map);
  return out;
}

// Every byte of `text` that `map` holds becomes "%XY" (upper-case digits);
// text with no member comes back as a plain copy.
std::string FastEscapeChars(const std::string& text, const EscapeMap& map) {
  const size_t first = FirstMember(text.data(), text.size(), map);
  if (first == text.size()) return text;
  return EscapeFrom(text.data(), text.size(), first, map);
}

// FastEscapeChars on a text the caller gives up: with nothing to escape the
// text itself is the result, and nothing is allocated.
std::string FastEscapeChars(std::string&& text, const EscapeMap& map) {
  const size_t first = FirstMember(text.data(), text.size(), map);
  if (first == text.size()) return std::move(text);
  return EscapeFrom(text.data(), text.size(), first, map);
}

bool SameMembers(const EscapeMap& map, const CharBitMap& expected) {
  return std::memcmp(map.bits.m_Bits, expected.m_Bits, sizeof expected.m_Bits) == 0;
}

}  // namespace

namespace uri_internal {

bool CharacterMapsMatchStrings() {
  return SameMembers(URIexcludedBitMap, CharBitMap(URI::URIexcluded)) &&
         SameMembers(ModifiedURIEXcludedBitMap, CharBitMap(URI::URIexcluded + "/;")) &&
         SameMembers(URIqueryexcludedBitMap, CharBitMap(URI::URIqueryexcluded)) &&
         SameMembers(URInonhierexcludedBitMap, CharBitMap(URI::URInonhierexcluded)) &&
         SameMembers(URIhighBytesExcludedBitMap, CharBitMap(HighBytes()));
}

}  // namespace uri_internal

URI::StringProxy URI::Escape(StringProxy text) { return FastEscapeChars(std::move(text), URIexcludedBitMap); }

URI::StringProxy URI::QueryEscape(StringProxy text) {
  return FastEscapeChars(std::move(text), URIqueryexcludedBitMap);
}

URI::StringProxy URI::EscapeChars(StringProxy text, StringProxy set) {
  StringProxy out;
  if (text.empty()) return out;
  for (const char ch : text) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == 0x7F || set.find(ch) != std::string::npos) {
      char buffer[8];
      const int n = std::snprintf(buffer, sizeof buffer, "%%%02X", static_cast<unsigned>(c));
      out.append(buffer, static_cast<size_t>(n));
    } else {
      out.push_back(ch);
    }
  }
  return out;
}

void URI::SetUsername(StringProxy username) { m_Username = FastEscapeChars(std::move(username), ModifiedURIEXcludedBitMap); }

void URI::SetPassword(StringProxy password) { m_Password = FastEscapeChars(std::move(password), ModifiedURIEXcludedBitMap); }

void URI::SetAuthority(StringProxy authority) {
  size_t colons = 0;
  for (const char c : authority) colons += c == ':';
  if (colons >= 2) {
    if (authority.size() >= 3 && authority[0] != '[') {
      m_Server.clear();
      m_Server.reserve(authority.size() + 2);
      m_Server.push_back('[');
      m_Server.append(authority);
      m_Server.push_back(']');
    } else {
      m_Server = authority;
    }
    MakeLower(m_Server);
  } else {
    MakeLower(authority);
    m_Server = FastEscapeChars(std::move(authority), ModifiedURIEXcludedBitMap);
  }
  SetHierState(true);
}

void URI::SetNonHierarchical(StringProxy body) {
  m_NonHierarchical = FastEscapeChars(std::move(body), URInonhierexcludedBitMap);
  SetHierState(false);
}

URI::StringProxy URI::ToStringUTF8Escaped() const {
  const StringProxy text = ToString(false);
  return StringProxy(FastEscapeChars(text, URIhighBytesExcludedBitMap));
}

}  // namespace Vesk
