// The writing half of percent-escaping: the five character maps, the bitmap
// escaper and every operation that escapes with a map. The maps and the
// escaper are private to this file, which is why the setters that escape with
// a map of their own (user name, password, authority, non-hierarchical body)
// and ToStringUTF8Escaped live here too.
#include "vesk/uri/uri"

#include <cstdio>
#include <cstring>

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

// Built right after the character-class strings (priority 102), in this
// order; they have trivial destructors and are never changed.
#define VESK_CHAR_MAP __attribute__((init_priority(103)))
const CharBitMap URIexcludedBitMap VESK_CHAR_MAP(URI::URIexcluded);
const CharBitMap ModifiedURIEXcludedBitMap VESK_CHAR_MAP(URI::URIexcluded + "/;");
const CharBitMap URIqueryexcludedBitMap VESK_CHAR_MAP(URI::URIqueryexcluded);
const CharBitMap URInonhierexcludedBitMap VESK_CHAR_MAP(URI::URInonhierexcluded);
const CharBitMap URIhighBytesExcludedBitMap VESK_CHAR_MAP(HighBytes());

struct MapsDone {
  MapsDone() { uri_internal::RecordLoadStep(uri_internal::kLoadStepMaps); }
};
MapsDone mapsDone VESK_CHAR_MAP;
#undef VESK_CHAR_MAP

// The offset of the first byte of `text` that `map` holds, or its size.
inline size_t FirstMember(const char* text, size_t size, const CharBitMap& map) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0;
  // Four bit tests per branch; the byte loop below finds the exact place.
  for (; i + 4 <= size; i += 4) {
    if (map.Has(p[i]) | map.Has(p[i + 1]) | map.Has(p[i + 2]) | map.Has(p[i + 3])) break;
  }
  for (; i < size; ++i) {
    if (map.Has(p[i])) break;
  }
  return i;
}

// Escapes from `first`, the first member, on. The output is sized exactly
// before it is written: the prefix goes in with one copy, then each byte
// or its escape.
std::string EscapeFrom(const char* text, size_t size, size_t first, const CharBitMap& map) {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  size_t members = 0;
  for (size_t i = first; i < size; ++i) members += map.Has(p[i]);
  std::string out;
  out.resize(size + 2 * members);
  char* o = &out[0];
  std::memcpy(o, text, first);
  o += first;
  char escape[4] = {'%', '0', '0', '\0'};
  for (size_t i = first; i < size; ++i) {
    const unsigned char c = p[i];
    if (map.Has(c)) {
      const unsigned hi = c >> 4;
      const unsigned lo = c & 15u;
      escape[1] = static_cast<char>(hi > 9 ? hi + 0x37 : hi + 0x30);
      escape[2] = static_cast<char>(lo > 9 ? lo + 0x37 : lo + 0x30);
      o[0] = escape[0];
      o[1] = escape[1];
      o[2] = escape[2];
      o += 3;
    } else {
      *o++ = static_cast<char>(c);
    }
  }
  return out;
}

// Every byte of `text` that `map` holds becomes "%XY" (upper-case digits);
// text with no member comes back as a plain copy.
std::string FastEscapeChars(const std::string& text, const CharBitMap& map) {
  const size_t first = FirstMember(text.data(), text.size(), map);
  if (first == text.size()) return text;
  return EscapeFrom(text.data(), text.size(), first, map);
}

// FastEscapeChars on a text the caller gives up: with nothing to escape the
// text itself is the result, and nothing is allocated.
std::string FastEscapeChars(std::string&& text, const CharBitMap& map) {
  const size_t first = FirstMember(text.data(), text.size(), map);
  if (first == text.size()) return std::move(text);
  return EscapeFrom(text.data(), text.size(), first, map);
}

bool SameMembers(const CharBitMap& map, const CharBitMap& expected) {
  return std::memcmp(map.m_Bits, expected.m_Bits, sizeof map.m_Bits) == 0;
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
