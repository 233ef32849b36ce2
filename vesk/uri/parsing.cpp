// Parsing URI text into components, and validating them.
#include "vesk/uri/uri"

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Vesk {

namespace {

inline const char* FindByte(const char* begin, const char* end, char c) {
  if (begin >= end) return nullptr;
  return static_cast<const char*>(std::memchr(begin, c, static_cast<size_t>(end - begin)));
}

inline bool HasTwoColons(const char* begin, const char* end) {
  const char* first = FindByte(begin, end, ':');
  return first != nullptr && FindByte(first + 1, end, ':') != nullptr;
}

constexpr uint64_t kOnes = 0x0101010101010101ULL;
constexpr uint64_t kHighs = 0x8080808080808080ULL;

inline uint64_t Load8(const char* p) {
  uint64_t v;
  std::memcpy(&v, p, 8);
  return v;
}

// Non-zero when some byte of `v` equals `c` (the test of eight bytes at once).
inline uint64_t HasByte(uint64_t v, unsigned char c) {
  const uint64_t x = v ^ (kOnes * c);
  return (x - kOnes) & ~x & kHighs;
}

// The eight bytes of `v` with A-Z lowered; every other byte stays.
inline uint64_t LowerEight(uint64_t v) {
  const uint64_t h = v & ~kHighs;
  const uint64_t fromA = h + kOnes * (0x80 - 'A');
  const uint64_t pastZ = h + kOnes * (0x80 - 'Z' - 1);
  const uint64_t upper = (fromA ^ pastZ) & ~v & kHighs;
  return v | (upper >> 2);
}

// Bytes that end or divide an authority.
enum : unsigned char { kSlash = 1, kAt = 2, kColon = 3 };
constexpr unsigned char kAuthorityClass[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, kSlash, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, kColon, 0, 0, 0, 0, 0,
    kAt};

inline bool IsAsciiLetter(char c) { return static_cast<unsigned char>((c | 0x20) - 'a') < 26; }

// Whether every byte of the `size` bytes at `text` is in URIalpha. A letter
// found at its place in the load-time value ("a".."z", then "A".."Z") is a
// member without a search; anything else is searched for.
bool AllAlpha(const char* text, size_t size) {
  const std::string& alpha = URI::URIalpha;
  for (size_t i = 0; i < size; ++i) {
    const char c = text[i];
    size_t place = std::string::npos;
    if (c >= 'a' && c <= 'z') {
      place = static_cast<size_t>(c - 'a');
    } else if (c >= 'A' && c <= 'Z') {
      place = static_cast<size_t>(c - 'A') + 26;
    }
    if (place < alpha.size() && alpha[place] == c) continue;
    if (alpha.find(c) == std::string::npos) return false;
  }
  return true;
}

// Replaces `field`, which does not hold the source, by the bytes from `begin`
// to `end`. When the field must grow anyway, building a new string and moving
// it in takes a shorter road than assign, which allows for overlap.
inline void SetRange(std::string& field, const char* begin, const char* end) {
  const size_t size = static_cast<size_t>(end - begin);
  if (size <= field.capacity()) {
    // Appending to an emptied string is the shortest road when it fits.
    field.clear();
    field.append(begin, size);
  } else {
    field = std::string(begin, end);
  }
}

// Copies the `size` bytes at `text` into `field`, lower-cased.
void AssignLower(std::string& field, const char* text, size_t size) {
  SetRange(field, text, text + size);
  if (size == 0) return;
  char* o = &field[0];
  size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    const uint64_t v = LowerEight(Load8(o + i));
    std::memcpy(o + i, &v, 8);
  }
  if (i < size && size >= 8) {
    // The last eight bytes, overlapping what is done: lowering twice is
    // harmless.
    const uint64_t v = LowerEight(Load8(o + size - 8));
    std::memcpy(o + size - 8, &v, 8);
    return;
  }
  for (; i < size; ++i) {
    const unsigned char c = static_cast<unsigned char>(o[i]);
    o[i] = static_cast<char>(c | ((static_cast<unsigned char>(c - 'A') < 26) << 5));
  }
}

// Where the text divides before the authority is read, from one forward
// pass: the last '#', the last '?' before it, and the first ':' and '/'.
struct Marks {
  const char* hash = nullptr;      // the last '#', or null
  const char* question = nullptr;  // the last '?' before `hash` (or anywhere without one), or null
  const char* colon = nullptr;     // the first ':', or null
  const char* slash = nullptr;     // the first '/', or null
};

// Takes in one byte at `p`.
inline void Mark(Marks& marks, const char* p, const char*& lastQuestion) {
  switch (*p) {
    case '#':
      marks.hash = p;
      marks.question = lastQuestion;
      break;
    case '?':
      lastQuestion = p;
      break;
    case ':':
      if (marks.colon == nullptr) marks.colon = p;
      break;
    case '/':
      if (marks.slash == nullptr) marks.slash = p;
      break;
    default:
      break;
  }
}

Marks FindMarks(const char* text, const char* end) {
  Marks marks;
  const char* lastQuestion = nullptr;
  const char* p = text;
#ifdef __SSE2__
  const __m128i hash = _mm_set1_epi8('#');
  const __m128i question = _mm_set1_epi8('?');
  const __m128i colon = _mm_set1_epi8(':');
  const __m128i slash = _mm_set1_epi8('/');
  for (; end - p >= 16; p += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i any = _mm_or_si128(_mm_cmpeq_epi8(v, hash), _mm_cmpeq_epi8(v, question));
    if (marks.slash == nullptr) {
      // Before the first '/' the first ':' may still come; after it a ':'
      // decides nothing.
      any = _mm_or_si128(any, _mm_or_si128(_mm_cmpeq_epi8(v, colon), _mm_cmpeq_epi8(v, slash)));
    }
    for (unsigned m = static_cast<unsigned>(_mm_movemask_epi8(any)); m != 0; m &= m - 1) {
      Mark(marks, p + __builtin_ctz(m), lastQuestion);
    }
  }
#endif
  for (; p < end; ++p) Mark(marks, p, lastQuestion);
  if (marks.hash == nullptr) marks.question = lastQuestion;
  return marks;
}

// The authority and path of a hierarchical URI: `w` to `end` is what
// follows the "//" behind the scheme.
void ParseAuthority(URI& uri, const char* w, const char* end) {
  if (end - w >= 2 && w[0] == '/' && w[1] == '/') {
    while (w < end && *w == '/') ++w;
  }
  // One pass over the authority, up to the first '/': the first '@', the
  // first ':' before it (the password's), and the first two colons behind
  // it (the port's, or an IPv6 address).
  const char* serverEnd = end;
  const char* at = nullptr;
  const char* userColon = nullptr;
  const char* firstColon = nullptr;
  bool ipv6 = false;
  for (const char* p = w; p < end; ++p) {
    // Eight bytes at a time past stretches with none of '/', '@', ':'.
    while (end - p >= 8) {
      const uint64_t v = Load8(p);
      if (HasByte(v, '/') | HasByte(v, '@') | HasByte(v, ':')) break;
      p += 8;
    }
    if (p >= end) break;
    const unsigned char k = kAuthorityClass[static_cast<unsigned char>(*p)];
    if (k == 0) continue;
    if (k == kSlash) {
      serverEnd = p;
      break;
    }
    if (k == kAt) {
      if (at == nullptr) {
        at = p;
        userColon = firstColon;
        firstColon = nullptr;
        ipv6 = false;
      }
    } else if (firstColon == nullptr) {
      firstColon = p;
    } else {
      ipv6 = true;
    }
  }
  if (serverEnd != end) SetRange(uri.m_Path, serverEnd, end);
  const char* host = w;
  if (at != nullptr) {
    host = at + 1;
    if (userColon != nullptr) {
      SetRange(uri.m_Username, w, userColon);
      SetRange(uri.m_Password, userColon + 1, at);
    } else {
      SetRange(uri.m_Username, w, at);
    }
  }
  if (ipv6 && *host == '[') {
    const char* hostEnd = serverEnd;
    for (const char* p = host; p + 1 < serverEnd; ++p) {
      if (p[0] == ']' && p[1] == ':') {
        SetRange(uri.m_Port, p + 2, serverEnd);
        hostEnd = p + 1;
        break;
      }
    }
    AssignLower(uri.m_Server, host, static_cast<size_t>(hostEnd - host));
  } else if (ipv6) {
    uri.m_Server.reserve(static_cast<size_t>(serverEnd - host) + 2);
    uri.m_Server.push_back('[');
    uri.m_Server.append(host, serverEnd);
    uri.m_Server.push_back(']');
    URI::MakeLower(uri.m_Server);
  } else if (firstColon != nullptr) {
    SetRange(uri.m_Port, firstColon + 1, serverEnd);
    AssignLower(uri.m_Server, host, static_cast<size_t>(firstColon - host));
  } else {
    AssignLower(uri.m_Server, host, static_cast<size_t>(serverEnd - host));
  }
}

// The parse of the `size` bytes at `text` into `uri`, which must not hold
// them. Every field starts empty, the scheme too: each road below sets it,
// and a failed parse leaves the blank URI.
bool ParseInto(URI& uri, const char* text, size_t size) {
  uri.m_IsValid = false;
  uri.m_IsRelative = false;
  uri.m_IsHierarchical = false;
  for (std::string* field : {&uri.m_Scheme, &uri.m_Server, &uri.m_Port, &uri.m_Path, &uri.m_Query,
                             &uri.m_Fragment, &uri.m_Username, &uri.m_Password, &uri.m_NonHierarchical}) {
    field->clear();
  }
  const char* w = text;
  const char* end = text + size;

  // Fragment and query are cut at the last '#', then at the last '?' before it.
  const Marks marks = FindMarks(w, end);
  if (marks.hash != nullptr) {
    if (marks.hash + 1 < end) SetRange(uri.m_Fragment, marks.hash + 1, end);
    end = marks.hash;
  }
  if (marks.question != nullptr) {
    if (marks.question + 1 < end) SetRange(uri.m_Query, marks.question + 1, end);
    end = marks.question;
  }

  // A scheme exactly when the first ':' comes before any '/' and before the cuts.
  const char* colon = marks.colon;
  if (colon != nullptr && (colon >= end || (marks.slash != nullptr && marks.slash < colon))) colon = nullptr;

  if (colon == nullptr) {
    uri.m_IsRelative = true;
    uri.m_IsHierarchical = true;
    SetRange(uri.m_Path, w, end);
  } else {
    AssignLower(uri.m_Scheme, w, static_cast<size_t>(colon - w));
    w = colon + 1;
    if (end - w < 2 || w[0] != '/' || w[1] != '/') {
      SetRange(uri.m_NonHierarchical, w, end);
    } else {
      uri.m_IsHierarchical = true;
      ParseAuthority(uri, w + 2, end);
      // A drive letter of a file URI: "/C:" becomes "/C|".
      std::string& path = uri.m_Path;
      if (path.size() >= 3 && path[0] == '/' && path[2] == ':' && IsAsciiLetter(path[1]) &&
          uri.m_Scheme == "file") {
        path[2] = '|';
      }
    }
  }

  uri.m_IsValid = uri.ValidateURI();
  if (!uri.m_IsValid) uri.Initialize();
  return uri.m_IsValid;
}

}  // namespace

URI::URI(const char* text) : m_IsValid(false), m_IsRelative(false), m_IsHierarchical(false) {
  if (text == nullptr) text = "";
  if (!ParseInto(*this, text, std::strlen(text))) m_IsValid = false;
}

URI::URI(StringProxy text) : m_IsValid(false), m_IsRelative(false), m_IsHierarchical(false) {
  if (!ParseInto(*this, text.data(), text.size())) m_IsValid = false;
}

URI& URI::operator=(const char* text) {
  if (text == nullptr) text = "";
  // The text may point into one of this object's fields, which the parse
  // wipes before reading it.
  ConstructURI(std::string(text));
  return *this;
}

URI& URI::operator=(StringProxy text) {
  if (!ParseInto(*this, text.data(), text.size())) m_IsValid = false;
  return *this;
}

bool URI::ParseURI(const std::string& text) {
  const void* address = &text;
  if (address >= static_cast<const void*>(this) && address < static_cast<const void*>(this + 1)) {
    // One of our own fields: work on a copy, since the parse wipes the fields.
    const std::string copy(text);
    return ParseInto(*this, copy.data(), copy.size());
  }
  return ParseInto(*this, text.data(), text.size());
}

void URI::ConstructURI(const std::string& text) {
  if (!ParseURI(text)) m_IsValid = false;
}

bool URI::ValidateURI() {
  if (IsAbsolute()) {
    if (m_Scheme.size() < 2 || !AllAlpha(m_Scheme.data(), m_Scheme.size())) return false;
  }
  if (!m_IsHierarchical) return m_NonHierarchical.find('\\') == std::string::npos;
  if (m_Path.find('\\') != std::string::npos) return false;
  if (IsRelative()) return true;
  return !(m_Scheme.size() == 7 && std::memcmp(m_Scheme.data(), "unknown", 7) == 0);
}

bool URI::VerifyAlpha(StringProxy text) { return AllAlpha(text.data(), text.size()); }

bool URI::IsIPv6(const std::string& server) {
  return HasTwoColons(server.data(), server.data() + server.size());
}

URI::StringProxy URI::GetDefaultPort() const {
  if (m_Scheme == "http") return StringProxy("80");
  if (m_Scheme == "ftp") return StringProxy("21");
  if (m_Scheme == "sftp") return StringProxy("22");
  return StringProxy();
}

}  // namespace Vesk
