// CString's text search against std::u16string: Find with and without a
// start, _mbsstr, ReverseFind, SpanIncluding, SpanExcluding and Replace of
// text, on units from a small alphabet (so that long and periodic sought
// texts match often) with zero units inside; then GetPartRange against the
// join of GetPart it is defined by. Every result and every edited string must
// also be a sound buffer.
#include <algorithm>
#include <cstdint>
#include <string>

#include "fuzz/fuzz_support.h"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"

namespace {

using veskfuzz::Require;
using Text = std::u16string;

void Sound(const CString& s, const char* what) { veskfuzz::RequireSound(s, what); }

Text TextOf(const CString& s) {
  const unsigned short* p = s;
  return Text(p, p + s.GetLength());
}

CString Make(const Text& t) {
  return CString(reinterpret_cast<const unsigned short*>(t.data()), static_cast<int>(t.size()));
}

const unsigned short* Units(const Text& t) { return reinterpret_cast<const unsigned short*>(t.c_str()); }

// One unit per byte: 'a' to 'a' + alphabet - 1, or a zero unit for 0xFF when
// zeros are allowed.
Text Decode(const uint8_t* data, size_t size, int alphabet, bool zeros) {
  Text t;
  for (size_t i = 0; i < size; ++i)
    t += zeros && data[i] == 0xFF ? char16_t(0) : char16_t(u'a' + data[i] % alphabet);
  return t;
}

// The search of Find: first match of `sought` in the stretch from `start` up
// to the first zero unit, or -1; empty `sought` gives `start`.
int ModelFind(const Text& s, const Text& sought, int start) {
  if (start > static_cast<int>(s.size())) return -1;
  const size_t stop = std::min(s.find(char16_t(0), start), s.size());
  const size_t at = s.substr(start, stop - start).find(sought);
  return at == Text::npos ? -1 : start + static_cast<int>(at);
}

// GetPartRange as its definition reads, one GetPart at a time.
template <typename Sep>
Text ModelRange(const CString& s, const Sep& separator, const Text& joint, int count, int first, int last) {
  if ((first == 0 && last == -1) || (first == 0 && last == count)) return TextOf(s);
  if (last == -1) last = count;
  if (first == last) return TextOf(s.GetPart(separator, first));
  if (last < first) return Text();
  Text result = TextOf(s.GetPart(separator, first));
  for (int i = first + 1; i < last; ++i) result += joint + TextOf(s.GetPart(separator, i));
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  if (size < 4) return 0;
  const int alphabet = 1 + data[0] % 4;
  const size_t sought_length = std::min<size_t>(data[1], size - 4);
  const size_t to_length = std::min<size_t>(data[2] % 8, size - 4 - sought_length);
  const int start_pick = data[3];
  data += 4;
  size -= 4;
  const Text sought = Decode(data, sought_length, alphabet, false);
  const Text to = Decode(data + sought_length, to_length, alphabet + 1, false);
  const Text text = Decode(data + sought_length + to_length, size - sought_length - to_length, alphabet, true);
  const CString s = Make(text);
  Sound(s, "constructor");
  const int length = s.GetLength();

  // Find from the start and from a chosen start, and _mbsstr.
  Require(s.Find(Units(sought)) == ModelFind(text, sought, 0), "Find(text)");
  const int start = start_pick % (length + 2);
  Require(s.Find(Units(sought), start) == ModelFind(text, sought, start), "Find(text, start)");
  const unsigned short* hit = _mbsstr(s, Units(sought));
  const int expected = ModelFind(text, sought, 0);
  Require(expected < 0 ? hit == nullptr : hit == static_cast<const unsigned short*>(s) + expected, "_mbsstr");

  // The scans to the first zero unit: ReverseFind, SpanIncluding and
  // SpanExcluding with the sought text as the set.
  const Text head = text.substr(0, text.find(char16_t(0)));
  for (const char16_t unit : {char16_t(0), char16_t(u'a'), char16_t(u'b')}) {
    const size_t last = unit == 0 ? head.size() : head.rfind(unit);
    Require(s.ReverseFind(unit) == (last == Text::npos ? -1 : static_cast<int>(last)), "ReverseFind");
  }
  const size_t in_set = head.find_first_not_of(sought), out_set = head.find_first_of(sought);
  const CString including = s.SpanIncluding(Units(sought)), excluding = s.SpanExcluding(Units(sought));
  Sound(including, "SpanIncluding");
  Sound(excluding, "SpanExcluding");
  Require(TextOf(including) == head.substr(0, in_set), "SpanIncluding");
  Require(TextOf(excluding) == head.substr(0, out_set), "SpanExcluding");

  // Replace: non-overlapping matches left to right, none spanning a zero unit.
  Text model;
  int count = 0;
  size_t read = 0;
  if (!sought.empty()) {
    for (size_t at = 0; (at = text.find(sought, at)) != Text::npos; at += sought.size(), ++count) {
      model.append(text, read, at - read).append(to);
      read = at + sought.size();
    }
  }
  model.append(text, read, Text::npos);
  CString replaced(s);
  Require(replaced.Replace(Units(sought), Units(to)) == count, "Replace count");
  Require(TextOf(replaced) == model, "Replace text");
  Sound(replaced, "Replace");
  Sound(s, "Replace left its source");
  Require(TextOf(s) == text, "Replace changed a sharing copy");

  // GetPartRange, both forms, over ranges around the count, against the join
  // of single parts, on at most the first 128 units: the model is quadratic.
  const CString r = s.Left(128);
  const char separator = static_cast<char>('a' + start_pick % alphabet);
  const int char_count = r.GetPartCount(separator);
  const CString joint_text = sought.empty() ? Make(u"ab") : Make(sought);
  const int text_count = r.GetPartCount(joint_text);
  const int firsts[] = {-3, -1, 0, 1, 2, char_count - 1, char_count, char_count + 2};
  const int spans[] = {-2, -1, 0, 1, 2, 5};
  for (int k = 0; k < 2; ++k) {
    {
      const int pick = (start_pick >> (2 * k)) + k * 7 + alphabet;
      const int first = firsts[pick % 8], span = spans[(pick / 8 + k) % 6];
      const int last = span == -2 ? -1 : first + span;
      const CString range = r.GetPartRange(separator, first, last);
      Sound(range, "GetPartRange(char)");
      Require(TextOf(range) == ModelRange(r, separator, Text(1, char16_t(separator)), char_count, first, last),
              "GetPartRange(char)");
      const CString text_range = r.GetPartRange(joint_text, first, last);
      Sound(text_range, "GetPartRange(CString)");
      Require(TextOf(text_range) == ModelRange(r, joint_text, TextOf(joint_text), text_count, first, last),
              "GetPartRange(CString)");
    }
  }
  return 0;
}
