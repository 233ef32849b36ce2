#ifndef VESK_TESTS_STRING_CSTRING_MODEL_H_
#define VESK_TESTS_STRING_CSTRING_MODEL_H_

// Drives CString and std::u16string through the same operations, chosen by a
// stream of bytes, and says where they disagree. Shared by the model test and
// the fuzz target. Runs in normal (single-byte) mode and the C locale.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"

namespace cstring_model {

// Reads the choices of a run; past the end every read gives 0.
class Bytes {
 public:
  Bytes(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool done() const { return pos_ >= size_; }
  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  int Int(int limit) { return limit <= 0 ? 0 : static_cast<int>((Byte() | (Byte() << 8)) % limit); }
  // A small signed number around the interesting edges of a length `n`.
  int Index(int n) {
    const int kind = Byte() % 6;
    return kind == 0 ? -1 - Int(3) : kind == 1 ? n : kind == 2 ? n + 1 + Int(3) : Int(n + 1);
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

using U16 = std::basic_string<unsigned short>;

inline U16 ToUnits(const std::u16string& s) { return U16(s.begin(), s.end()); }
inline std::u16string TextOf(const CString& s) {
  const unsigned short* p = s;
  return std::u16string(p, p + s.GetLength());
}

// Units that exercise the special cases: zero, white space of either
// definition, a lead-byte look-alike, a lone surrogate, ASCII letters.
inline char16_t Unit(Bytes& in, bool allow_zero) {
  static const char16_t kUnits[] = {u'a',  u'b', u'A',   u'B',   u',', u' ', u'\t',
                                    u'\n', 0xA0, 0x3081, 0xD800, u'z', 0};
  const int n = static_cast<int>(sizeof kUnits / sizeof kUnits[0]) - (allow_zero ? 0 : 1);
  return kUnits[in.Byte() % n];
}

inline std::u16string Text(Bytes& in, bool allow_zero) {
  static const int kLengths[] = {0, 1, 2, 3, 5, 63, 64, 65, 127, 129, 255, 257, 511, 512, 513, 700};
  const int choice = in.Byte();
  const int length = choice < 200 ? choice % 6 : kLengths[choice % 16];
  std::u16string s;
  const char16_t fill = Unit(in, false);
  for (int i = 0; i < length; ++i) s += (i < 8 || i % 17 == 0) ? Unit(in, allow_zero) : fill;
  return s;
}

// Where the zero-terminated reading from `from` ends.
inline size_t ZeroEnd(const std::u16string& s, size_t from) {
  const size_t z = s.find(u'\0', from);
  return z == std::u16string::npos ? s.size() : z;
}

inline bool LeftSpace(char16_t u) { return u == u' ' || (u >= u'\t' && u <= u'\r'); }
inline bool RightSpace(char16_t u) { return u < 256 && std::isspace(u) != 0; }

class Run {
 public:
  static constexpr int kSlots = 4;
  static constexpr size_t kMaxLength = 20000;

  // Applies one operation chosen from `in`; returns what went wrong, or empty.
  std::string Step(Bytes& in) {
    const int op = in.Byte() % 30;
    const int i = in.Byte() % kSlots;
    const int j = in.Byte() % kSlots;
    CString& s = cs_[i];
    std::u16string& m = model_[i];
    const int n = static_cast<int>(m.size());
    std::string expectation;  // for results other than the texts
    auto expect = [&](long long got, long long want, const char* what) {
      if (got != want && expectation.empty())
        expectation = std::string(what) + ": got " + std::to_string(got) + ", want " + std::to_string(want);
    };
    switch (op) {
      case 0: {
        const std::u16string t = Text(in, true);
        const U16 u = ToUnits(t);
        s = CString(u.data(), static_cast<int>(u.size()));
        m = t;
        break;
      }
      case 1:
        s = CString(cs_[j]);
        m = model_[j];
        break;
      case 2:
        s = cs_[j];
        m = model_[j];
        break;
      case 3:
        s += cs_[j];
        m += model_[j];
        break;
      case 4: {
        const std::u16string t = Text(in, false);
        const U16 u = ToUnits(t);
        s += u.c_str();
        m += t;
        break;
      }
      case 5: {
        const char16_t u = Unit(in, true);
        s += static_cast<unsigned short>(u);
        m += u;
        break;
      }
      case 6: {
        const int k = in.Byte() % kSlots;
        const CString sum = cs_[j] + cs_[k];
        const std::u16string model_sum = model_[j] + model_[k];
        s = sum;
        m = model_sum;
        break;
      }
      case 7: {
        const int at = in.Index(n);
        const char16_t u = Unit(in, true);
        expect(s.Insert(at, static_cast<unsigned short>(u)), n + 1, "Insert unit");
        m.insert(static_cast<size_t>(std::clamp(at, 0, n)), 1, u);
        break;
      }
      case 8: {
        const int at = in.Index(n);
        const std::u16string t = Text(in, false);
        const U16 u = ToUnits(t);
        expect(s.Insert(at, u.c_str()), n + static_cast<int>(t.size()), "Insert text");
        if (!t.empty()) m.insert(static_cast<size_t>(std::clamp(at, 0, n)), t);
        break;
      }
      case 9: {
        const int at = in.Index(n);
        const int count = in.Index(n) - 1;
        expect(s.Delete(at, count), n, "Delete");
        const int from = std::max(at, 0);
        if (count > 0 && from < n)
          m.erase(static_cast<size_t>(from), static_cast<size_t>(std::min(count, n - from)));
        break;
      }
      case 10: {
        const char16_t u = Unit(in, true);
        const long long removed = static_cast<long long>(std::count(m.begin(), m.end(), u));
        expect(s.Remove(static_cast<unsigned short>(u)), removed, "Remove");
        m.erase(std::remove(m.begin(), m.end(), u), m.end());
        break;
      }
      case 11: {
        const char16_t from = Unit(in, true), to = Unit(in, true);
        long long count = from == to ? 0 : std::count(m.begin(), m.end(), from);
        expect(s.Replace(static_cast<unsigned short>(from), static_cast<unsigned short>(to)), count,
               "Replace units");
        if (from != to) std::replace(m.begin(), m.end(), from, to);
        break;
      }
      case 12: {
        std::u16string from = Text(in, false), to = Text(in, false);
        if (from.size() > 3) from.resize(3);
        const U16 f = ToUnits(from), t = ToUnits(to);
        expect(s.Replace(f.c_str(), t.c_str(), 0), ReplaceModel(m, from, to), "Replace text");
        break;
      }
      case 13: {
        const int first = in.Index(n), count = in.Index(n);
        const CString cut = cs_[i].Mid(first, count);
        int f = std::max(first, 0), c = std::max(count, 0);
        if (f > n) c = 0;
        if (c > n - f) c = std::max(n - f, 0);
        const std::u16string model_cut =
            c == 0 ? std::u16string() : m.substr(static_cast<size_t>(f), static_cast<size_t>(c));
        cs_[j] = cut;
        model_[j] = model_cut;
        break;
      }
      case 14: {
        const int count = in.Index(n);
        const int which = in.Byte() % 3;
        const int c = std::clamp(count, 0, n);
        const CString cut = which == 0 ? s.Left(count) : which == 1 ? s.Right(count) : s.RightMost(count);
        std::u16string model_cut;
        if (which == 0) model_cut = m.substr(0, static_cast<size_t>(c));
        if (which == 1) model_cut = m.substr(static_cast<size_t>(n - c));
        if (which == 2)
          model_cut = count == 0  ? m
                      : count > n ? std::u16string()
                                  : m.substr(static_cast<size_t>(std::min(std::max(count, 0), n)));
        if (which == 2 && count < 0) model_cut = m;
        cs_[j] = cut;
        model_[j] = model_cut;
        break;
      }
      case 15: {
        std::u16string t = Text(in, false);
        if (t.size() > 3) t.resize(3);
        const U16 u = ToUnits(t);
        const int start = in.Index(n);
        expect(s.Find(u.c_str(), start), FindModel(m, t, start), "Find text");
        const char16_t unit = Unit(in, true);
        long long want = -1;
        if (start >= 0 && start < n) {
          const size_t hit = m.find(unit, static_cast<size_t>(start));
          const size_t end = ZeroEnd(m, static_cast<size_t>(start));
          if (hit != std::u16string::npos && hit <= end) want = static_cast<long long>(hit);
          if (unit == 0) want = static_cast<long long>(end);
        }
        expect(s.Find(static_cast<unsigned short>(unit), start), want, "Find unit");
        break;
      }
      case 16:
        s.Empty();
        m.clear();
        break;
      case 17: {
        const int length = in.Index(std::min(n + 4, 600));
        if (length < 0) break;
        unsigned short* p = s.GetBufferSetLength(length);
        const char16_t u = Unit(in, false);
        m.resize(static_cast<size_t>(length), u);
        for (int k = n; k < length; ++k) p[k] = u;
        s.ReleaseBuffer(length);
        break;
      }
      case 18:
        in.Byte() % 2 == 0 ? static_cast<void>(s.LockBuffer()) : s.UnlockBuffer();
        break;
      case 19:
        s.FreeExtra();
        break;
      case 20: {
        const int at = in.Index(n);
        const char16_t u = Unit(in, true);
        s.SetAt(at, static_cast<unsigned short>(u));
        if (at >= 0 && at < n) m[static_cast<size_t>(at)] = u;
        break;
      }
      case 21:
        s.MakeReverse();
        std::reverse(m.begin(), m.begin() + static_cast<std::ptrdiff_t>(ZeroEnd(m, 0)));
        break;
      case 22: {
        const bool upper = in.Byte() % 2 == 0;
        upper ? s.MakeUpper() : s.MakeLower();
        for (char16_t& u : m)
          if (u < 256) u = static_cast<char16_t>(upper ? std::toupper(u) : std::tolower(u));
        break;
      }
      case 23: {
        size_t k = 0;
        while (k < m.size() && m[k] != 0 && LeftSpace(m[k])) ++k;
        s.TrimLeft();
        m.erase(0, k);
        break;
      }
      case 24: {
        const size_t end = ZeroEnd(m, 0);
        size_t run = end;
        while (run > 0 && RightSpace(m[run - 1])) --run;
        s.TrimRight();
        if (run < end) m.resize(run);
        break;
      }
      case 25:
        s += s;
        m += m;
        break;
      case 26: {
        const char separator = static_cast<char>(Unit(in, false) & 0x7F);
        const int index = in.Index(3);
        expect(s.GetPartCount(separator),
               std::count(m.begin(), m.end(), static_cast<char16_t>(separator)) + 1, "GetPartCount");
        const std::u16string want = PartModel(m, static_cast<char16_t>(separator), index);
        if (TextOf(s.GetPart(separator, index)) != want && expectation.empty())
          expectation = "GetPart differs";
        break;
      }
      case 27:
        s = s.Mid(0);  // the whole string, shared with itself
        break;
      case 28: {
        // Appending a tail of itself, through a plain pointer.
        const int from = std::min(in.Int(n + 1), n);
        const size_t end = ZeroEnd(m, static_cast<size_t>(from));
        const std::u16string tail = m.substr(static_cast<size_t>(from), end - static_cast<size_t>(from));
        s += static_cast<const unsigned short*>(s) + from;
        m += tail;
        break;
      }
      default: {
        const CString keep(s);  // a second owner, then a write through the first
        s.CopyBeforeWrite();
        if (TextOf(keep) != m && expectation.empty()) expectation = "copy kept by another owner changed";
        break;
      }
    }
    if (!expectation.empty()) return "op " + std::to_string(op) + ": " + expectation;
    for (int k = 0; k < kSlots; ++k) {
      // Appending to itself doubles a string: keep runs from growing without end.
      if (model_[k].size() > kMaxLength) {
        cs_[k] = CString();
        model_[k].clear();
      }
      const unsigned short* units = cs_[k];
      if (static_cast<size_t>(cs_[k].GetLength()) != model_[k].size() ||
          !std::equal(model_[k].begin(), model_[k].end(), units))
        return "op " + std::to_string(op) + ": slot " + std::to_string(k) + " text differs";
      const std::string why = Vesk::CheckCString(cs_[k]);
      if (!why.empty()) return "op " + std::to_string(op) + ": slot " + std::to_string(k) + ": " + why;
    }
    const std::string pools = Vesk::CheckStringPools();
    return pools.empty() ? pools : "op " + std::to_string(op) + ": " + pools;
  }

 private:
  static long long FindModel(const std::u16string& m, const std::u16string& t, int start) {
    const int n = static_cast<int>(m.size());
    if (start < 0 || start > n) return -1;
    if (t.empty()) return start;
    const size_t end = ZeroEnd(m, static_cast<size_t>(start));
    const size_t hit = m.find(t, static_cast<size_t>(start));
    return hit != std::u16string::npos && hit + t.size() <= end ? static_cast<long long>(hit) : -1;
  }

  static long long ReplaceModel(std::u16string& m, const std::u16string& from, const std::u16string& to) {
    if (from.empty() || m.empty()) return 0;
    std::u16string out;
    long long count = 0;
    size_t a = 0;
    while (a < m.size()) {
      const size_t z = ZeroEnd(m, a);
      size_t p = a;
      while (true) {
        const size_t hit = m.find(from, p);
        if (hit == std::u16string::npos || hit + from.size() > z) break;
        out.append(m, p, hit - p);
        out += to;
        p = hit + from.size();
        ++count;
      }
      out.append(m, p, z - p);
      if (z < m.size()) out += u'\0';
      a = z + 1;
    }
    if (count > 0) m = out;
    return count;
  }

  static std::u16string PartModel(const std::u16string& m, char16_t separator, int index) {
    if (index < 0) return {};
    size_t i = 0;
    for (int skipped = 0; skipped < index; ++i) {
      if (i >= m.size()) return {};
      if (m[i] == separator) ++skipped;
    }
    const std::u16string rest = m.substr(i);
    if (rest.empty()) return rest;
    const size_t end = ZeroEnd(rest, 0);
    const size_t hit = rest.find(separator);
    return hit != std::u16string::npos && hit <= end ? rest.substr(0, hit) : rest;
  }

  CString cs_[kSlots];
  std::u16string model_[kSlots];
};

}  // namespace cstring_model

#endif  // VESK_TESTS_STRING_CSTRING_MODEL_H_
