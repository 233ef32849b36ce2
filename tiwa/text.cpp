// Scans of zero-terminated UTF-16 text against a set of units, and the ASCII
// class and lower-case tables.
#include "tiwa/tiwa"

#include <array>

namespace {

bool InSet(unsigned short unit, const unsigned short* set) {
  for (; *set != 0; ++set)
    if (*set == unit) return true;
  return false;
}

constexpr unsigned short ClassOf(int c) {
  unsigned short bits = 0;
  if (c >= 'A' && c <= 'Z') bits |= TIWA_UPPER;
  if (c >= 'a' && c <= 'z') bits |= TIWA_LOWER;
  if (c >= '0' && c <= '9') bits |= TIWA_DIGIT | TIWA_XDIGIT;
  if ((c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f')) bits |= TIWA_XDIGIT;
  if (c < 32 || c == 127) bits |= TIWA_CNTRL;
  if (c >= 32 && c <= 126) bits |= TIWA_PRINT;
  if (c == ' ' || c == '\t') bits |= TIWA_BLANK;
  if (c == ' ' || (c >= '\t' && c <= '\r')) bits |= TIWA_SPACE;
  const bool alnum = (bits & (TIWA_UPPER | TIWA_LOWER | TIWA_DIGIT)) != 0;
  if (c > 32 && c <= 126 && !alnum) bits |= TIWA_PUNCT;
  return bits;
}

template <typename F>
constexpr std::array<unsigned short, 128> Table(F f) {
  std::array<unsigned short, 128> t{};
  for (int c = 0; c < 128; ++c) t[c] = f(c);
  return t;
}

constexpr auto kClasses = Table(ClassOf);
constexpr auto kLower =
    Table([](int c) { return static_cast<unsigned short>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });

}  // namespace

extern "C" {

const unsigned short __wctype_mapC[128] = {
#define ROW(i)                                                                                      \
  kClasses[i], kClasses[i + 1], kClasses[i + 2], kClasses[i + 3], kClasses[i + 4], kClasses[i + 5], \
      kClasses[i + 6], kClasses[i + 7]
    ROW(0),  ROW(8),  ROW(16), ROW(24), ROW(32), ROW(40),  ROW(48),  ROW(56),
    ROW(64), ROW(72), ROW(80), ROW(88), ROW(96), ROW(104), ROW(112), ROW(120),
#undef ROW
};

const unsigned short __wlower_mapC[128] = {
#define ROW(i)                                                                                         \
  kLower[i], kLower[i + 1], kLower[i + 2], kLower[i + 3], kLower[i + 4], kLower[i + 5], kLower[i + 6], \
      kLower[i + 7]
    ROW(0),  ROW(8),  ROW(16), ROW(24), ROW(32), ROW(40),  ROW(48),  ROW(56),
    ROW(64), ROW(72), ROW(80), ROW(88), ROW(96), ROW(104), ROW(112), ROW(120),
#undef ROW
};

size_t tiwa_wcsspn(const unsigned short* text, const unsigned short* set) {
  const unsigned short* p = text;
  while (*p != 0 && InSet(*p, set)) ++p;
  return static_cast<size_t>(p - text);
}

size_t tiwa_wcscspn(const unsigned short* text, const unsigned short* set) {
  const unsigned short* p = text;
  while (*p != 0 && !InSet(*p, set)) ++p;
  return static_cast<size_t>(p - text);
}

unsigned short* tiwa_wcspbrk(const unsigned short* text, const unsigned short* set) {
  for (const unsigned short* p = text; *p != 0; ++p)
    if (InSet(*p, set)) return const_cast<unsigned short*>(p);
  return nullptr;
}

}  // extern "C"
