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

// The first unit in [p, end) that equals `unit` (or, with kStopAtZero, is
// zero), or `end`. Eight units at a time where the machine allows; `end`
// bounds every read.
template <bool kStopAtZero>
const unsigned short* FindUnitIn(const unsigned short* p, const unsigned short* end, unsigned short unit) {
#if defined(__SSE2__)
  const __m128i wanted = _mm_set1_epi16(static_cast<short>(unit));
  const __m128i zero = _mm_setzero_si128();
  while (end - p >= 8) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i hits = _mm_cmpeq_epi16(units, wanted);
    if (kStopAtZero) hits = _mm_or_si128(hits, _mm_cmpeq_epi16(units, zero));
    const int mask = _mm_movemask_epi8(hits);
    if (mask != 0) return p + (__builtin_ctz(static_cast<unsigned>(mask)) >> 1);
    p += 8;
  }
#endif
  for (; p < end; ++p)
    if (*p == unit || (kStopAtZero && *p == 0)) return p;
  return end;
}

const unsigned short* FindUnitOrZero(const unsigned short* p, const unsigned short* end, unsigned short unit) {
  return FindUnitIn<true>(p, end, unit);
}

// The search behind Find, Replace and _mbsstr: the first match of a sought
// text of at least one unit in a range of units, in time linear in the range
// and the sought text whatever they hold. It is the two-way search: the
// sought text is cut at a critical factorisation (found from its maximal
// suffixes); the right half is compared left to right, the left half right to
// left, and a mismatch shifts by an amount that never skips a match. Where
// the right half's first unit does not line up, the window jumps to where it
// does by a vector scan, which keeps ordinary text fast.
class UnitSearch {
 public:
  UnitSearch(const unsigned short* sought, int length) : x_(sought), m_(length) {
    int p = 0, q = 0;
    const int i = MaximalSuffix(false, &p);
    const int j = MaximalSuffix(true, &q);
    ell_ = i > j ? i : j;
    period_ = i > j ? p : q;
    periodic_ = std::equal(x_, x_ + ell_ + 1, x_ + period_);
    if (!periodic_) period_ = std::max(ell_ + 1, m_ - ell_ - 1) + 1;
  }

  // Position of the first match that lies inside text[from, n), or -1.
  int Next(const unsigned short* text, int n, int from) const {
    const int last_start = n - m_;
    const int pivot = ell_ + 1;  // first unit of the right half
    int memory = -1;             // units known to match at the window's start
    for (int j = from; j <= last_start;) {
      int i;
      if (memory < 0) {
        const unsigned short* at =
            FindUnitIn<false>(text + j + pivot, text + last_start + pivot + 1, x_[pivot]);
        if (at == text + last_start + pivot + 1) return -1;
        j = static_cast<int>(at - text) - pivot;
        i = pivot + 1;
      } else {
        i = std::max(ell_, memory) + 1;
      }
      while (i < m_ && x_[i] == text[i + j]) ++i;
      if (i < m_) {
        j += i - ell_;
        memory = -1;
        continue;
      }
      const int floor = periodic_ ? memory : -1;
      i = ell_;
      while (i > floor && x_[i] == text[i + j]) --i;
      if (i <= floor) return j;
      j += period_;
      if (periodic_) memory = m_ - period_ - 1;
    }
    return -1;
  }

 private:
  // Start (less one) of the maximal suffix of the sought text under the unit
  // order, or under the reversed order; `*period` gets that suffix's period.
  int MaximalSuffix(bool reversed, int* period) const {
    int ms = -1, j = 0, k = 1;
    *period = 1;
    while (j + k < m_) {
      const unsigned short a = x_[j + k], b = x_[ms + k];
      if (reversed ? a > b : a < b) {
        j += k;
        k = 1;
        *period = j - ms;
      } else if (a == b) {
        if (k != *period) {
          ++k;
        } else {
          j += *period;
          k = 1;
        }
      } else {
        ms = j;
        j = ms + 1;
        k = *period = 1;
      }
    }
    return ms;
  }

  const unsigned short* x_;
  int m_;
  int ell_;
  int period_;
  bool periodic_;
};

// The search of Find on the zero-terminated stretch of `text` that begins at
// `start`, inside a string of `length` units (a terminator at `length`):
// position of the first match of non-empty `sought`, or -1.
int SearchStretch(const unsigned short* text, int length, int start, const unsigned short* sought) {
  const int stop = static_cast<int>(FindUnitOrZero(text + start, text + length + 1, 0) - text);
  const int sought_length = ScanLength(sought);
  if (sought_length > stop - start) return -1;
  return UnitSearch(sought, sought_length).Next(text, stop, start);
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
  return SearchStretch(text, ScanLength(text), 0, sought);
}

// Parts `lo` to `hi` - 1 of the char form, as GetPart gives each, found in
// one pass: a part starts one past the separator that ends the part before,
// and ends at the next separator unit, or runs to the end of the string when
// a zero unit comes first (GetPart's Find stops there).
std::vector<CString> CharParts(const CString& s, char separator, int lo, int hi) {
  const int value = SeparatorValue(separator);
  const unsigned short unit = SeparatorUnit(separator);
  const unsigned short* text = s;
  const int length = s.GetLength();
  std::vector<CString> parts;
  int start = 0;
  for (int index = 0; index < hi; ++index) {
    if (index > 0) {
      if (value < 0) break;  // never matches: no part past the first
      const unsigned short* at = FindUnitIn<false>(text + start, text + length, static_cast<unsigned short>(value));
      if (at == text + length) break;
      start = static_cast<int>(at - text) + 1;
    }
    if (index < lo) continue;
    const int end = static_cast<int>(FindUnitOrZero(text + start, text + length + 1, unit) - text);
    parts.push_back(text[end] == unit ? s.Mid(start, end - start) : s.Mid(start));
  }
  return parts;
}

// GetPartRange for either kind of separator: parts `first` up to `last` with
// the `separator_length` units at `separator` between them. `parts(lo, hi)`
// gives parts lo to hi - 1 (all inside the count). The parts outside the count
// are empty, so only their separators are written, all into one buffer.
template <typename Parts>
CString PartRange(const CString& s, int count, int first, int last, const unsigned short* separator,
                  int separator_length, Parts parts) {
  if (first == 0 && last == count) return s;
  if (last == -1) last = count;
  if (first == last) {
    if (first < 0 || first >= count) return CString();
    return parts(first, first + 1).front();
  }
  if (last < first) return CString();
  const int lo = std::clamp(first, 0, count), hi = std::clamp(last, 0, count);
  const std::vector<CString> inside = lo < hi ? parts(lo, hi) : std::vector<CString>();
  long long total = (static_cast<long long>(last) - first - 1) * separator_length;
  for (const CString& part : inside) total += part.GetLength();
  if (total > INT_MAX) throw std::bad_alloc();
  CString result;
  result.AllocBuffer(static_cast<int>(total));
  unsigned short* out = result.GetData()->data();
  long long written = 0;  // parts written, empty ones included
  const auto separators = [&](long long n) {
    for (; n > 0; --n, out += separator_length) MoveUnits(out, separator, separator_length);
  };
  const auto empty_parts = [&](long long n) {
    if (n <= 0) return;
    separators(written == 0 ? n - 1 : n);
    written += n;
  };
  empty_parts(static_cast<long long>(inside.empty() ? last : lo) - first);
  for (const CString& part : inside) {
    if (written++ > 0) separators(1);
    MoveUnits(out, part, part.GetLength());
    out += part.GetLength();
  }
  if (!inside.empty()) empty_parts(static_cast<long long>(last) - hi);
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
  const unsigned short unit = SeparatorUnit(separator);
  return PartRange(*this, GetPartCount(separator), first, last, &unit, 1,
                   [&](int lo, int hi) { return CharParts(*this, separator, lo, hi); });
}

CString CString::GetPartRange(const CString& separator, int first, int last) const {
  if (first == 0 && last == -1) return *this;
  return PartRange(*this, GetPartCount(separator), first, last, separator, separator.GetLength(),
                   [&](int lo, int hi) {
                     std::vector<CString> parts;
                     for (int i = lo; i < hi; ++i) parts.push_back(GetPart(separator, i));
                     return parts;
                   });
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
  return SearchStretch(m_chars, GetLength(), start, text);
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

  // Counting pass. No match can span a zero unit, since `from` holds none, so
  // the non-overlapping matches of the whole buffer, left to right, are those
  // of its zero-terminated stretches one after the other.
  std::vector<int> matches;
  const UnitSearch search(from, from_length);
  for (int at = 0; (at = search.Next(m_chars, length, at)) >= 0; at += from_length) matches.push_back(at);
  if (matches.empty()) return 0;

  CopyBeforeWrite();
  const long long grown =
      static_cast<long long>(length) +
      static_cast<long long>(matches.size()) * (static_cast<long long>(to_length) - from_length);
  if (grown > INT_MAX) throw std::bad_alloc();
  const int new_length = static_cast<int>(grown);
  CStringData* data = GetData();
  // Left to right, the segments between matches and `to` for each, from
  // `source` to m_chars starting at unit `first`: into a new buffer, or in
  // place when shrinking, where writing never passes reading.
  const auto copy_forward = [&](const unsigned short* source, int first) {
    int read = first, write = first;
    for (int at : matches) {
      MoveUnits(m_chars + write, source + read, at - read);
      write += at - read;
      MoveUnits(m_chars + write, to, to_length);
      write += to_length;
      read = at + from_length;
    }
    MoveUnits(m_chars + write, source + read, length - read);
  };
  if (new_length > data->capacity) {
    AllocBuffer(new_length);
    copy_forward(data->data(), 0);
    Release(data);
  } else if (to_length <= from_length) {
    copy_forward(m_chars, matches.front());
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
