// CString editing driven by the input: each step applies one operation to
// both CString and std::u16string, and any disagreement, or a buffer whose
// invariants fail, aborts. Then the text-only operations run on the result.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/fuzz_support.h"
#include "tests/string/cstring_model.h"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"

namespace {

void Fail(const std::string& why) {
  std::fprintf(stderr, "cstring_fuzz: %s\n", why.c_str());
  std::abort();
}

// Operations outside the model, on a string made of the input's units:
// checked for their own promises.
void TextOperations(const uint8_t* data, size_t size) {
  std::basic_string<unsigned short> units;
  for (size_t i = 0; i + 1 < size; i += 2) units += static_cast<unsigned short>(data[i] | (data[i + 1] << 8));
  const CString s(units.data(), static_cast<int>(units.size()));
  const int length = s.GetLength();
  static const unsigned short kSet[] = {',', ' ', 0};
  static const unsigned short kSeparator[] = {':', ':', 0};
  int start = 0;
  for (int guard = 0; start != -1; ++guard) {
    const int before = start;
    const CString token = s.Tokenize(kSet, start);
    if (start != -1 && (start <= before || start > length + 1)) Fail("Tokenize did not advance");
    if (guard > length + 1) Fail("Tokenize did not end");
    if (!Vesk::CheckCString(token).empty()) Fail("Tokenize result broken");
  }
  const CString separator(kSeparator);
  const int parts = s.GetPartCount(separator);
  if (parts < 1 || parts > length + 1) Fail("GetPartCount out of range");
  if (s.Find(static_cast<unsigned short>(0)) == length && parts <= 64) {
    // Without zero units inside, the parts joined again give the string back.
    CString joined = s.GetPart(separator, 0);
    for (int i = 1; i < parts; ++i) joined += separator + s.GetPart(separator, i);
    if (!(cstring_model::TextOf(joined) == cstring_model::TextOf(s))) Fail("parts do not join back");
    if (!(cstring_model::TextOf(s.GetPartRange(separator, 0, parts - 1) + separator +
                                s.GetLastPart(separator)) == cstring_model::TextOf(s)) &&
        parts > 1)
      Fail("GetPartRange and GetLastPart do not join back");
  }
  for (int i = -1; i <= parts && i < 8; ++i)
    if (!Vesk::CheckCString(s.GetPart(separator, i)).empty()) Fail("GetPart result broken");
  if (!Vesk::CheckCString(s.GetLastPart(separator)).empty()) Fail("GetLastPart result broken");
  const int one = s.GetPartCount(',');
  if (s.GetPart(',', one).GetLength() != 0) Fail("GetPart past the last part not empty");
  CString trimmed(s);
  trimmed.Trim();
  trimmed.TrimLeft(kSet);
  trimmed.TrimRight(kSet);
  if (trimmed.GetLength() > length || !Vesk::CheckCString(trimmed).empty())
    Fail("trim grew or broke the string");
  const int hit = s.FindOneOf(kSet);
  if (hit >= length || (hit >= 0 && s[hit] != ',' && s[hit] != ' ')) Fail("FindOneOf wrong");
  if (s.CompareNoCase(s) != 0) Fail("CompareNoCase of itself not 0");
  CString reversed(s);
  reversed.MakeReverse();
  reversed.MakeReverse();
  if (!(cstring_model::TextOf(reversed) == cstring_model::TextOf(s)))
    Fail("reversing twice changed the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  cstring_model::Bytes in(data, size);
  cstring_model::Run run;
  // Runs of at most 32 steps: the model's texts are compared whole after
  // every step, so a run costs its steps times the texts' length.
  for (int step = 0; !in.done() && step < 32; ++step) {
    const std::string why = run.Step(in);
    if (!why.empty()) Fail("step " + std::to_string(step) + ": " + why);
  }
  TextOperations(data, size);
  return 0;
}
