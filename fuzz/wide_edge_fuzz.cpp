// Where UTF-16 meets the URI's UTF-8 and the file system: StringProxy from a
// CString and from UTF-16 units, StringProxy to CString, GetParts into narrow
// and wide targets mixed, and the file-system text conversions. The input is
// read both as UTF-8 text and as UTF-16 units (two bytes each, low first).
// UTF-8 of surrogate-free units is held to ICU's u_strToUTF8.
#include <cstdint>
#include <string>
#include <unicode/ustring.h>

#include "fuzz/fuzz_support.h"
#include "vesk/encoding/transcoder"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"
#include "vesk/uri/uri"

namespace {

using veskfuzz::Require;
using Vesk::Transcoder;
using Vesk::URI;
using Wide = std::basic_string<unsigned short>;

bool HasSurrogate(const Wide& w) {
  for (unsigned short u : w)
    if (u >= 0xD800 && u < 0xE000) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string text(reinterpret_cast<const char*>(data), size);
  Wide units;
  for (size_t i = 0; i + 1 < size; i += 2) units += static_cast<unsigned short>(data[i] | (data[i + 1] << 8));

  // UTF-16 into a StringProxy, from the units and from a CString of them.
  const std::string utf8 = Transcoder::asUTF8(units);
  Require(URI::StringProxy(units) == utf8, "StringProxy(UTF-16)");
  const CString wide(units.data(), static_cast<int>(units.size()));
  Require(Vesk::CheckCString(wide).empty(), "CString of the units");
  Require(URI::StringProxy(wide) == utf8, "StringProxy(CString)");
  if (!HasSurrogate(units)) {
    std::string reference(units.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(&reference[0], static_cast<int32_t>(reference.size()), &length,
                reinterpret_cast<const UChar*>(units.data()), static_cast<int32_t>(units.size()), &status);
    reference.resize(static_cast<size_t>(length));
    Require(U_SUCCESS(status) && utf8 == reference, "asUTF8 differs from ICU");
    Require(Transcoder::asUTF16(utf8) == units, "UTF-16 round trip");
  }

  // A StringProxy to CString: asUTF16, cut at the first zero unit.
  const Wide as16 = Transcoder::asUTF16(text);
  const CString back = URI::StringProxy(text);
  Require(Vesk::CheckCString(back).empty(), "StringProxy to CString");
  const unsigned short* p = back;
  Require(Wide(p, p + back.GetLength()) == as16.substr(0, as16.find(static_cast<unsigned short>(0))),
          "StringProxy to CString is not asUTF16 to the first zero unit");

  // GetParts: each narrow target gets the getter's text, each wide one its
  // UTF-16 form, whichever way they are mixed.
  const URI uri(text);
  veskfuzz::RequireShape(uri, "the parser");
  const std::string expected[6] = {uri.GetScheme(),     uri.GetAuthority(), uri.GetServerPort(),
                                   uri.GetPath(),       uri.GetQuery(true), uri.GetFragment()};
  std::string narrow[6];
  Wide wides[6];
  const unsigned mix = size > 0 ? data[0] : 0;
  const auto target = [&](int i) {
    return (mix >> i & 1) != 0 ? URI::StringRefProxy(wides[i]) : URI::StringRefProxy(narrow[i]);
  };
  uri.GetParts(target(0), target(1), target(2), target(3), target(4), target(5));
  for (int i = 0; i < 6; ++i) {
    if ((mix >> i & 1) != 0)
      Require(wides[i] == Transcoder::asUTF16(expected[i]) && narrow[i].empty(), "GetParts wide target");
    else
      Require(narrow[i] == expected[i] && wides[i].empty(), "GetParts narrow target");
  }

  // File-system text is the default channel encoding.
  const std::string channel = Transcoder::DefaultChannelEncoding();
  Require(Transcoder::asFilesystemString(units) == Transcoder::UTF16ToEncoding(units, channel),
          "asFilesystemString");
  Require(Transcoder::filesytemToUTF16(text) == Transcoder::EncodingToUTF16(text, channel), "filesytemToUTF16");
  return 0;
}
