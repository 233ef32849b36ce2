// CString text operations: parts between separators, searching, cutting,
// editing and trimming, and the plain-pointer text functions beside them.
#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cwctype>
#include <new>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "tiwa/tiwa"
#include "vesk/string/buffer_ops.h"
#include "vesk/string/cstring"

using Vesk::StringBuffers::CheckedSum;
using Vesk::StringBuffers::MoveUnits;
using Vesk::StringBuffers::ScanLength;
using Vesk::StringBuffers::SetLength;

namespace {

const unsigned short kNoUnits[1] = {0};

bool DoubleByteMode() { return IntlInfo::s_doubleByte; }

// A char separator as the units it is compared with: sign-extended, so that
// one of 0x80 or above (negative) never equals a unit.
int SeparatorValue(char separator) { return static_cast<signed char>(separator); }
// A char separator as a unit for searching and joining: sign-extended to 16 bits.
unsigned short SeparatorUnit(char separator) {
  return static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(separator)));
}

// First occurrence of non-empty `sought` in zero-terminated `text`, or null.
const unsigned short* Search(const unsigned short* text, const unsigned short* sought) {
  const unsigned short first = sought[0];
  for (; *text != 0; ++text) {
    if (*text != first) continue;
    size_t i = 1;
    while (sought[i] != 0 && text[i] == sought[i]) ++i;
    if (sought[i] == 0) return text;
  }
  return nullptr;
}

// The first unit in [p, end) that equals `unit` or zero, or `end`. Eight
// units at a time where the machine allows; `end` bounds every read.
const unsigned short* FindUnitOrZero(const unsigned short* p, const unsigned short* end,
                                     unsigned short unit) {
#if defined(__SSE2__)
  const __m128i wanted = _mm_set1_epi16(static_cast<short>(unit));
  const __m128i zero = _mm_setzero_si128();
  while (end - p >= 8) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const int mask =
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(units, wanted), _mm_cmpeq_epi16(units, zero)));
    if (mask != 0) return p + (__builtin_ctz(static_cast<unsigned>(mask)) >> 1);
    p += 8;
  }
#endif
  for (; p < end; ++p)
    if (*p == unit || *p == 0) return p;
  return end;
}

// Search of non-empty `sought` in the zero-terminated stretch at `text`,
// inside a buffer whose units up to `end` may be read (a zero unit lies
// before `end`). Returns the match, or null with `*stop` at the zero unit
// that ended the stretch.
const unsigned short* SearchStretch(const unsigned short* text, const unsigned short* end,
                                    const unsigned short* sought, const unsigned short** stop) {
  const unsigned short first = sought[0];
  for (const unsigned short* p = text;; ++p) {
    p = FindUnitOrZero(p, end, first);
    if (p == end || *p == 0) {
      *stop = p;
      return nullptr;
    }
    size_t i = 1;
    while (sought[i] != 0 && p[i] == sought[i]) ++i;
    if (sought[i] == 0) return p;
  }
}

bool InSet(unsigned short unit, const unsigned short* set) {
  for (; *set != 0; ++set)
    if (*set == unit) return true;
  return false;
}

// Whether the units at `at`, cut to at most `available` as Mid would cut them
// and read as zero-terminated text, equal the separator's zero-terminated text.
bool MatchesAt(const unsigned short* at, int available, const unsigned short* separator,
               int separator_length) {
  const int n = std::min(separator_length, available);
  for (int k = 0;; ++k) {
    const unsigned short a = k < n ? at[k] : 0;
    if (a != separator[k]) return false;
    if (a == 0) return true;
  }
}

// The non-overlapping left-to-right scan of the CString-separator forms,
// from `from`: calls `on_match(position)` for each match until it returns
// false, and returns where the scan stopped. An empty separator matches nowhere.
template <typename F>
int ScanSeparators(const CString& s, const CString& separator, int from, F on_match) {
  const int length = s.GetLength();
  const int separator_length = separator.GetLength();
  const unsigned short* text = s;
  int i = from;
  if (separator_length == 0) return length;
  while (i < length) {
    if (MatchesAt(text + i, length - i, separator, separator_length)) {
      const int at = i;
      i += separator_length;
      if (!on_match(at)) break;
    } else {
      ++i;
    }
  }
  return i;
}

// The Find of CString on plain text: position of `sought` in `text`, or -1.
int FindText(const unsigned short* text, const unsigned short* sought) {
  if (sought == nullptr || *sought == 0) return DoubleByteMode() && *text == 0 ? -1 : 0;
  const unsigned short* hit = Search(text, sought);
  return hit == nullptr ? -1 : static_cast<int>(hit - text);
}

// GetPartRange for either kind of separator: `part(i)` gives part i and
// `join(result)` appends one separator.
template <typename Part, typename Join>
CString PartRange(const CString& s, int count, int first, int last, Part part, Join join) {
  if (first == 0 && last == count) return s;
  if (last == -1) last = count;
  if (first == last) return part(first);
  if (last < first) return CString();
  CString result = part(first);
  for (int i = first + 1; i < last; ++i) {
    join(result);
    if (i >= 0 && i < count) result += part(i);
  }
  return result;
}

// Drops the leading units that `drop` accepts, stopping at a zero unit.
template <typename Drop>
CString& TrimLeftWith(CString& s, Drop drop) {
  s.CopyBeforeWrite();
  CStringData* data = s.GetData();
  unsigned short* text = data->data();
  int n = 0;
  while (text[n] != 0 && drop(text[n])) ++n;
  if (n > 0) {
    MoveUnits(text, text + n, data->length - n + 1);
    data->length -= n;
  }
  return s;
}

// Walks to the first zero unit and cuts at the start of the last run of
// units that `drop` accepts, if the text ends in one.
template <typename Drop>
CString& TrimRightWith(CString& s, Drop drop) {
  s.CopyBeforeWrite();
  CStringData* data = s.GetData();
  const unsigned short* text = data->data();
  int run = -1;
  for (int i = 0; text[i] != 0; ++i) {
    if (drop(text[i])) {
      if (run < 0) run = i;
    } else {
      run = -1;
    }
  }
  if (run >= 0) SetLength(data, run);
  return s;
}

}  // namespace

// ---- Parts ----

int CString::GetPartCount(char separator) const {
  const int value = SeparatorValue(separator);
  const int length = GetLength();
  int count = 1;
  for (int i = 0; i < length; ++i)
    if (static_cast<int>(m_chars[i]) == value) ++count;
  return count;
}

int CString::GetPartCount(const CString& separator) const {
  int count = 1;
  ScanSeparators(*this, separator, 0, [&](int) { return ++count, true; });
  return count;
}

CString CString::GetPart(char separator, int index) const {
  if (index < 0) return CString();
  const int value = SeparatorValue(separator);
  const int length = GetLength();
  int i = 0;
  for (int skipped = 0; skipped < index; ++i) {
    if (i >= length) return CString();
    if (static_cast<int>(m_chars[i]) == value) ++skipped;
  }
  const CString rest = Mid(i);
  const int end = rest.Find(SeparatorUnit(separator));
  return end >= 0 ? rest.Left(end) : rest;
}

CString CString::GetPart(const CString& separator, int index) const {
  if (index < 0) return CString();
  int skipped = 0;
  const int from =
      index == 0 ? 0 : ScanSeparators(*this, separator, 0, [&](int) { return ++skipped < index; });
  if (skipped < index) return CString();
  const CString rest = Mid(from);
  const int end = rest.Find(static_cast<const unsigned short*>(separator));
  return end >= 0 ? rest.Left(end) : rest;
}

CString CString::GetPartRange(char separator, int first, int last) const {
  if (first == 0 && last == -1) return *this;
  return PartRange(
      *this, GetPartCount(separator), first, last, [&](int i) { return GetPart(separator, i); },
      [&](CString& result) { result += SeparatorUnit(separator); });
}

CString CString::GetPartRange(const CString& separator, int first, int last) const {
  if (first == 0 && last == -1) return *this;
  return PartRange(
      *this, GetPartCount(separator), first, last, [&](int i) { return GetPart(separator, i); },
      [&](CString& result) { result += separator; });
}

CString CString::GetLastPart(char separator) const {
  const int at = ReverseFind(SeparatorUnit(separator));
  return at < 0 ? *this : Mid(at + 1);
}

CString CString::GetLastPart(const CString& separator) const {
  int last = Find(static_cast<const unsigned short*>(separator));
  if (last < 0) return *this;
  ScanSeparators(*this, separator, last, [&](int at) { return last = at, true; });
  return Mid(CheckedSum(last, separator.GetLength()));
}

// ---- Searching ----

int CString::Find(unsigned short unit) const {
  if (GetLength() == 0) return -1;
  return Find(unit, 0);
}

int CString::Find(unsigned short unit, int start) const {
  if (start < 0 || start >= GetLength()) return -1;
  const unsigned short* p = FindUnitOrZero(m_chars + start, m_chars + GetLength() + 1, unit);
  return *p == unit ? static_cast<int>(p - m_chars) : -1;
}

int CString::Find(const unsigned short* text) const { return Find(text, 0); }

int CString::Find(const unsigned short* text, int start) const {
  if (start < 0 || start > GetLength()) return -1;
  if (text == nullptr || *text == 0) return DoubleByteMode() && m_chars[start] == 0 ? -1 : start;
  const unsigned short* stop;
  const unsigned short* hit = SearchStretch(m_chars + start, m_chars + GetLength() + 1, text, &stop);
  return hit == nullptr ? -1 : static_cast<int>(hit - m_chars);
}

int CString::ReverseFind(unsigned short unit) const {
  const unsigned short* last = nullptr;
  const unsigned short* p = m_chars;
  for (; *p != 0; ++p)
    if (*p == unit) last = p;
  if (unit == 0) last = p;
  return last == nullptr ? -1 : static_cast<int>(last - m_chars);
}

int CString::FindOneOf(const unsigned short* set) const {
  if (set == nullptr || *set == 0) return -1;
  if (DoubleByteMode()) {
    for (const unsigned short* p = m_chars; *p != 0; ++p)
      if (InSet(*p, set)) return static_cast<int>(p - m_chars);
    return -1;
  }
  const unsigned short* hit = tiwa_wcspbrk(m_chars, set);
  return hit == nullptr ? -1 : static_cast<int>(hit - m_chars);
}

int CString::CompareNoCase(const unsigned short* text) const {
  if (text == nullptr) text = kNoUnits;
  const unsigned short* p = m_chars;
  for (;; ++p, ++text) {
    unsigned short a = *p, b = *text;
    if (a < 128) a = __wlower_mapC[a];
    if (b < 128) b = __wlower_mapC[b];
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
}

// ---- Cutting ----

CString CString::Mid(int first, int count) const {
  const int length = GetLength();
  if (first < 0) first = 0;
  if (count < 0) count = 0;
  if (first > length) count = 0;
  if (count > length - first) count = std::max(length - first, 0);
  if (first == 0 && count == length) return *this;
  CString dest;
  AllocCopy(dest, count, first, 0);
  return dest;
}

CString CString::Mid(int first) const {
  if (first < 0) first = 0;
  return Mid(first, GetLength() - first);
}

CString CString::Left(int count) const {
  if (count < 0) count = 0;
  if (count >= GetLength()) return *this;
  CString dest;
  AllocCopy(dest, count, 0, 0);
  return dest;
}

CString CString::Right(int count) const {
  if (count < 0) count = 0;
  if (count >= GetLength()) return *this;
  CString dest;
  AllocCopy(dest, count, GetLength() - count, 0);
  return dest;
}

CString CString::RightMost(int count) const {
  if (count == 0) return *this;
  const long long keep = static_cast<long long>(GetLength()) - count;
  return Right(static_cast<int>(std::clamp<long long>(keep, -1, INT_MAX)));
}

CString CString::SpanIncluding(const unsigned short* set) const {
  return Left(static_cast<int>(tiwa_wcsspn(m_chars, set == nullptr ? kNoUnits : set)));
}

CString CString::SpanExcluding(const unsigned short* set) const {
  return Left(static_cast<int>(tiwa_wcscspn(m_chars, set == nullptr ? kNoUnits : set)));
}

CString CString::Tokenize(const unsigned short* delimiters, int& start) const {
  if (delimiters == nullptr) return *this;
  const int length = GetLength();
  if (start >= 0 && start < length) {
    const int skip = static_cast<int>(tiwa_wcsspn(m_chars + start, delimiters));
    if (start + skip < length) {
      const int from = start + skip;
      const int token = static_cast<int>(tiwa_wcscspn(m_chars + from, delimiters));
      start = from + token + 1;
      return Mid(from, token);
    }
  }
  start = -1;
  return CString();
}

// ---- Editing ----

int CString::Insert(int index, unsigned short unit) {
  CopyBeforeWrite();
  CStringData* data = GetData();
  const int length = data->length;
  index = std::clamp(index, 0, length);
  const int new_length = CheckedSum(length, 1);
  if (data->capacity < new_length) {
    AllocBuffer(new_length);
    MoveUnits(m_chars, data->data(), length + 1);
    Release(data);
  }
  MoveUnits(m_chars + index + 1, m_chars + index, new_length - index);
  m_chars[index] = unit;
  GetData()->length = new_length;
  return new_length;
}

int CString::Insert(int index, const unsigned short* text) {
  if (text == nullptr || *text == 0) return GetLength();
  CString hold;
  if (text >= m_chars && text <= m_chars + GetData()->capacity) {
    hold = CString(text);  // text from this very buffer: take a copy first
    text = hold;
  }
  const int count = ScanLength(text);
  CopyBeforeWrite();
  CStringData* data = GetData();
  const int length = data->length;
  index = std::clamp(index, 0, length);
  const int new_length = CheckedSum(length, count);
  if (data->capacity < new_length) {
    AllocBuffer(new_length);
    MoveUnits(m_chars, data->data(), length + 1);
    Release(data);
  }
  MoveUnits(m_chars + index + count, m_chars + index, length - index + 1);
  MoveUnits(m_chars + index, text, count);
  GetData()->length = new_length;
  return new_length;
}

int CString::Delete(int index, int count) {
  if (index < 0) index = 0;
  const int length = GetLength();
  if (count > 0 && index < length) {
    CopyBeforeWrite();
    count = std::min(count, length - index);
    MoveUnits(m_chars + index, m_chars + index + count, length - index - count + 1);
    GetData()->length = length - count;
  }
  return length;
}

int CString::Remove(unsigned short unit) {
  CopyBeforeWrite();
  CStringData* data = GetData();
  const int length = data->length;
  int kept = 0;
  for (int i = 0; i < length; ++i)
    if (m_chars[i] != unit) m_chars[kept++] = m_chars[i];
  SetLength(data, kept);
  return length - kept;
}

int CString::Replace(unsigned short from, unsigned short to) {
  if (from == to) return 0;
  CopyBeforeWrite();
  const int length = GetLength();
  int count = 0;
  for (int i = 0; i < length; ++i) {
    if (m_chars[i] == from) {
      m_chars[i] = to;
      ++count;
    }
  }
  return count;
}

int CString::Replace(const unsigned short* from, const unsigned short* to, int) {
  if (from == nullptr || *from == 0) return 0;
  if (to == nullptr) to = kNoUnits;
  const int length = GetLength();
  if (length == 0) return 0;
  // Arguments taken from this very buffer are copied before it changes.
  CString hold_from, hold_to;
  const unsigned short* end_of_buffer = m_chars + GetData()->capacity;
  if (from >= m_chars && from <= end_of_buffer) from = hold_from = CString(from);
  if (to >= m_chars && to <= end_of_buffer) to = hold_to = CString(to);
  const int from_length = ScanLength(from);
  const int to_length = ScanLength(to);

  // Counting pass, stretch by stretch: zero units end a stretch, not the scan.
  std::vector<int> matches;
  const unsigned short* const end = m_chars + length + 1;
  for (const unsigned short* p = m_chars; p < m_chars + length;) {
    const unsigned short* stop;
    if (const unsigned short* hit = SearchStretch(p, end, from, &stop)) {
      matches.push_back(static_cast<int>(hit - m_chars));
      p = hit + from_length;
    } else {
      p = stop + 1;  // over the zero unit into the next stretch
    }
  }
  if (matches.empty()) return 0;

  CopyBeforeWrite();
  const long long grown =
      static_cast<long long>(length) +
      static_cast<long long>(matches.size()) * (static_cast<long long>(to_length) - from_length);
  if (grown > INT_MAX) throw std::bad_alloc();
  const int new_length = static_cast<int>(grown);
  CStringData* data = GetData();
  if (new_length > data->capacity) {
    // Into a new buffer: the segments between matches, and `to` for each.
    const unsigned short* old_text = data->data();
    AllocBuffer(new_length);
    int read = 0, write = 0;
    for (int at : matches) {
      MoveUnits(m_chars + write, old_text + read, at - read);
      write += at - read;
      MoveUnits(m_chars + write, to, to_length);
      write += to_length;
      read = at + from_length;
    }
    MoveUnits(m_chars + write, old_text + read, length - read);
    Release(data);
  } else if (to_length <= from_length) {
    // Shrinking in place: left to right, writing never passes reading.
    int read = matches.front(), write = matches.front();
    for (size_t k = 0; k < matches.size(); ++k) {
      MoveUnits(m_chars + write, m_chars + read, matches[k] - read);
      write += matches[k] - read;
      MoveUnits(m_chars + write, to, to_length);
      write += to_length;
      read = matches[k] + from_length;
    }
    MoveUnits(m_chars + write, m_chars + read, length - read);
  } else {
    // Growing in place: right to left, so that nothing is overwritten unread.
    int source_end = length, target_end = new_length;
    for (size_t k = matches.size(); k-- > 0;) {
      const int tail = source_end - (matches[k] + from_length);
      MoveUnits(m_chars + target_end - tail, m_chars + matches[k] + from_length, tail);
      target_end -= tail;
      MoveUnits(m_chars + target_end - to_length, to, to_length);
      target_end -= to_length;
      source_end = matches[k];
    }
  }
  SetLength(GetData(), new_length);
  return static_cast<int>(matches.size());
}

CString& CString::MakeReverse() {
  CopyBeforeWrite();
  unsigned short* end = m_chars;
  while (*end != 0) ++end;
  std::reverse(m_chars, end);
  return *this;
}

namespace {

// Folds each unit through `fold` (the C library's tolower or toupper, which
// leave values from 256 up alone). In double-byte mode a unit whose low byte
// is a lead byte is kept, and so is the unit after it.
template <typename Fold>
void FoldUnits(unsigned short* text, int length, Fold fold) {
  const bool double_byte = DoubleByteMode();
  for (int i = 0; i < length; ++i) {
    const unsigned short unit = text[i];
    if (double_byte && IntlInfo::s_leadByteTable[unit & 0xFF] != 0) {
      ++i;
      continue;
    }
    if (unit < 256) text[i] = static_cast<unsigned short>(fold(unit));
  }
}

}  // namespace

CString& CString::MakeLower() {
  CopyBeforeWrite();
  FoldUnits(m_chars, GetLength(), [](int c) { return std::tolower(c); });
  return *this;
}

CString& CString::MakeUpper() {
  CopyBeforeWrite();
  FoldUnits(m_chars, GetLength(), [](int c) { return std::toupper(c); });
  return *this;
}

CString& CString::TrimLeft() {
  return TrimLeftWith(*this,
                      [](unsigned short u) { return u < 128 && (__wctype_mapC[u] & TIWA_SPACE) != 0; });
}

CString& CString::TrimRight() {
  return TrimRightWith(*this, [](unsigned short u) { return u < 256 && std::isspace(u) != 0; });
}

CString& CString::Trim() {
  TrimLeft();
  return TrimRight();
}

CString& CString::TrimLeft(unsigned short unit) {
  return TrimLeftWith(*this, [unit](unsigned short u) { return u == unit; });
}

CString& CString::TrimRight(unsigned short unit) {
  return TrimRightWith(*this, [unit](unsigned short u) { return u == unit; });
}

CString& CString::TrimLeft(const unsigned short* set) {
  if (set == nullptr || *set == 0) return *this;
  CString hold;
  if (set >= m_chars && set <= m_chars + GetData()->capacity) set = hold = CString(set);
  return TrimLeftWith(*this, [set](unsigned short u) { return InSet(u, set); });
}

CString& CString::TrimRight(const unsigned short* set) {
  if (set == nullptr) set = kNoUnits;
  CString hold;
  if (set >= m_chars && set <= m_chars + GetData()->capacity) set = hold = CString(set);
  return TrimRightWith(*this, [set](unsigned short u) { return InSet(u, set); });
}

// ---- Free functions ----

const unsigned short* _mbsstr(const unsigned short* text, const unsigned short* sought, int) {
  const int at = FindText(text, sought);
  return at < 0 ? nullptr : text + at;
}

unsigned short* CharLower(unsigned short* text) {
  if (text == nullptr) return text;
  for (unsigned short* p = text; *p != 0; ++p) *p = static_cast<unsigned short>(std::towlower(*p));
  return text;
}

unsigned short* CharUpper(unsigned short* text) {
  if (text == nullptr) return text;
  for (unsigned short* p = text; *p != 0; ++p) *p = static_cast<unsigned short>(std::towupper(*p));
  return text;
}

void inflateAsciiToLPTSTR(const char* source, unsigned short* target, int count) {
  for (int i = count; i-- > 0;)
    target[i] = static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(source[i])));
}
