// Legacy-charset forms of a URI: FromEncodedString, NormalizeEncoding,
// ToEncodedString and ToStringUTF8Escaped on any bytes. The first input byte
// picks the charset from a short list; the rest is the text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;

const char* const kCharsets[] = {"iso-8859-1",  "shift_jis",    "utf-8",          "euc-jp",
                                 "iso-2022-jp", "windows-1252", "no-such-charset"};

std::string Fields(const Vesk::URI& uri) {
  std::string all;
  for (const std::string* f : {&uri.m_Scheme, &uri.m_Server, &uri.m_Port, &uri.m_Path, &uri.m_Query,
                               &uri.m_Fragment, &uri.m_Username, &uri.m_Password, &uri.m_NonHierarchical}) {
    all += *f;
    all += '\n';
  }
  all += uri.m_IsValid ? '1' : '0';
  all += uri.m_IsRelative ? '1' : '0';
  all += uri.m_IsHierarchical ? '1' : '0';
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  if (size == 0) return 0;
  const std::string charset = kCharsets[data[0] % (sizeof kCharsets / sizeof kCharsets[0])];
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

  // NormalizeEncoding either succeeds or leaves its text as it was.
  {
    Vesk::URI scratch;
    std::string normal = text;
    if (!scratch.NormalizeEncoding(normal, charset))
      Require(normal == text, "failed NormalizeEncoding changed text");
    Require(Fields(scratch) == Fields(Vesk::URI()), "NormalizeEncoding changed the object");
  }

  Vesk::URI uri("http://stale/state?q#f");
  if (!uri.FromEncodedString(text, charset)) {
    // Failure leaves a blank URI.
    Require(Fields(uri) == Fields(Vesk::URI()), "failed FromEncodedString left more than a blank URI");
    Require(Vesk::uri_internal::URIShapeError(uri).empty(), "failed FromEncodedString left a bad shape");
    return 0;
  }
  if (!uri.m_IsHierarchical) {
    Require(uri.m_Server.empty() && uri.m_Path.empty() && uri.m_Port.empty(),
            "non-hierarchical URI with hierarchical parts");
  }

  const std::string before = Fields(uri);
  const std::string encoded = uri.ToEncodedString(charset);
  Require(Fields(uri) == before, "ToEncodedString changed the object");

  // No high byte survives the escaped form, and nothing else is added.
  const std::string stored = uri.ToString(false);
  const std::string escaped = uri.ToStringUTF8Escaped();
  size_t high = 0;
  for (const char c : stored) high += static_cast<unsigned char>(c) >= 0x80;
  for (const char c : escaped)
    Require(static_cast<unsigned char>(c) < 0x80, "high byte left in escaped form");
  Require(escaped.size() == stored.size() + 2 * high, "escaped form has the wrong length");
  Require(Fields(uri) == before, "ToStringUTF8Escaped changed the object");

  // Reading the written text again must not crash either.
  Vesk::URI again;
  (void)again.FromEncodedString(encoded, charset);
  return 0;
}
