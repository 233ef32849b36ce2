// Every URI setter with any text, on objects of each shape. The input is the
// object's text, a line feed, and the text to set. Each setter must store a
// form its getter reads back as given (lower-cased where the setter lowers),
// leave the other fields alone, and bring the flags where the setter's
// definition puts them; the object then serialises and parses without fault.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"

namespace {

using veskfuzz::Require;
using Vesk::URI;

std::string Lower(std::string text) {
  URI::MakeLower(text);
  return text;
}

// The flags that SetHierState(true) derives, and the fields it clears.
void RequireHierarchical(const URI& uri) {
  Require(uri.m_IsHierarchical && uri.m_NonHierarchical.empty(), "a hierarchical setter left an opaque body");
  Require(uri.m_IsValid == (!uri.m_Server.empty() || !uri.m_Path.empty()), "validity does not follow the fields");
}

void Finish(const URI& uri) {
  const URI again(std::string(uri.ToString(false)));
  Require(Vesk::uri_internal::URIShapeError(again).empty(), "a set URI parsed into an odd shape");
  uri.ToString(true);
}

bool TwoColons(const std::string& text) {
  const size_t first = text.find(':');
  return first != std::string::npos && text.find(':', first + 1) != std::string::npos;
}

void CheckSetters(const URI& base, const std::string& text) {
  URI u(base);
  u.SetScheme(text);
  Require(u.GetScheme() == Lower(text), "SetScheme");
  Require(u.m_IsValid == base.m_IsValid && u.m_IsRelative == base.m_IsRelative, "SetScheme changed a flag");
  Finish(u);

  u = base;
  u.SetAuthority(text);
  if (!TwoColons(text)) Require(u.GetAuthority() == Lower(text), "SetAuthority");
  Require(u.m_Path == base.m_Path && u.m_Port == base.m_Port, "SetAuthority touched path or port");
  RequireHierarchical(u);
  Finish(u);

  u = base;
  u.SetServerPort(text);
  Require(u.GetServerPort() == text, "SetServerPort");
  RequireHierarchical(u);
  Finish(u);

  u = base;
  u.SetPath(text);
  // A file URI's drive prefix ("/C|" and more behind) is stored raw, so a '%'
  // among its first two bytes is read back as the start of an escape.
  const bool raw_prefix = base.IsOfType("file") && text.size() > 3 && text[2] == '|';
  if (!raw_prefix || text.find('%') > 1) Require(u.GetPath() == text, "SetPath");
  Require(u.m_Scheme != "unknown", "SetPath kept the scheme \"unknown\"");
  RequireHierarchical(u);
  Finish(u);

  for (const bool escape : {true, false}) {
    u = base;
    u.SetQuery(text, escape);
    Require(escape ? u.GetQuery(true) == text : u.GetQuery(false) == text, "SetQuery");
    Require(u.m_IsValid == base.m_IsValid && u.m_IsHierarchical == base.m_IsHierarchical, "SetQuery changed a flag");
    Finish(u);
  }

  u = base;
  u.SetFragment(text);
  Require(u.GetFragment() == text, "SetFragment");
  Finish(u);

  u = base;
  u.SetUsername(text);
  u.SetPassword(text);
  Require(u.GetUsername() == text && u.GetPassword() == text, "SetUsername or SetPassword");
  Require(u.m_Username.find_first_of("/;") == std::string::npos, "user information kept a raw / or ;");
  Finish(u);

  u = base;
  u.SetNonHierarchical(text);
  Require(u.GetNonHierarchical() == text, "SetNonHierarchical");
  Require(!u.m_IsHierarchical && u.m_Server.empty() && u.m_Path.empty() && u.m_Port.empty(),
          "SetNonHierarchical kept a hierarchical field");
  Require(u.m_Query == base.m_Query && u.m_Fragment == base.m_Fragment, "SetNonHierarchical lost query or fragment");
  Finish(u);

  u = base;
  u.SetParts(text, text, text, text, text, text);
  // SetPath, called after SetScheme, empties the scheme "unknown".
  Require(u.GetScheme() == (Lower(text) == "unknown" ? std::string() : Lower(text)) && u.GetServerPort() == text && u.GetQuery(true) == text &&
              u.GetFragment() == text,
          "SetParts");
  RequireHierarchical(u);
  Finish(u);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::vector<std::string> in = veskfuzz::Lines(data, size, 2);
  const URI parsed(in[0]);
  Require(Vesk::uri_internal::URIShapeError(parsed).empty(), "the parser made an odd shape");
  CheckSetters(parsed, in[1]);
  CheckSetters(URI(), in[1]);
  CheckSetters(URI("file:///C:/x"), in[1]);
  return 0;
}
