// UnknownToURI on any text with any default scheme. Input: the default scheme,
// a line feed, then the text (which may hold anything); without a line feed
// the whole input is the text and the default scheme is "http".
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
using Vesk::uri_internal::SameState;

using Vesk::URI;

// What every setter leaves: a hierarchical URI has no body, a non-hierarchical
// one no server, port, path or user information.
void RequireHierarchyConsistent(const URI& uri) {
  if (uri.m_IsHierarchical) {
    Require(uri.m_NonHierarchical.empty(), "hierarchical URI with a body");
  } else {
    Require(uri.m_Server.empty() && uri.m_Port.empty() && uri.m_Path.empty() && uri.m_Username.empty() &&
                uri.m_Password.empty(),
            "non-hierarchical URI with server, port, path or user");
  }
}

bool Opaque(const std::string& head) {
  static const char* const words[] = {"mailto",     "about",        "res",  "link",    "draft",
                                      "veskbrowse", "veskinternal", "vesk", "connect", "javascript"};
  for (const char* w : words)
    if (head == w) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::string scheme = "http";
  std::string text = input;
  const size_t newline = input.find('\n');
  if (newline != std::string::npos) {
    scheme = input.substr(0, newline);
    text = input.substr(newline + 1);
  }

  // A fresh object, and one that held a URI (without user information, which
  // path conversions would keep).
  const URI previous("ftp://oldhost:21/old/path?oq#of");
  URI fresh;
  URI used(previous);
  const bool result = fresh.UnknownToURI(text, scheme);
  Require(used.UnknownToURI(text, scheme) == result, "result depends on the object's previous state");

  const bool untouched = SameState(fresh, URI());
  if (result) {
    Require(SameState(fresh, used), "outcome depends on the object's previous state");
    Require(
        !fresh.m_Scheme.empty() || (fresh.m_IsRelative && !fresh.m_Path.empty() && fresh.m_Path[0] == '.'),
        "accepted without a scheme and not a ./ or ../ reference");
  } else if (untouched) {
    Require(SameState(used, previous), "a refused text changed the object");
  } else {
    Require(SameState(fresh, used), "outcome depends on the object's previous state");
    Require(fresh.m_Server.empty() && fresh.m_Port.empty() && fresh.m_Path.empty() && fresh.m_Query.empty() &&
                fresh.m_Fragment.empty() && fresh.m_NonHierarchical.empty(),
            "a failed guess left a component");
    Require(!fresh.m_IsValid, "a failed guess left a valid URI");
  }
  RequireHierarchyConsistent(fresh);
  RequireHierarchyConsistent(used);

  if (text.empty()) Require(!result && untouched, "empty text changed the object");

  // The path guesses come first and always succeed with a file URI.
  const std::string at1 = text.size() > 1 ? text.substr(1, 2) : std::string();
  const std::string at0 = text.substr(0, 2);
  const bool drive = at1 == ":\\" || at1 == ":/";
  const bool server = at0 == "\\\\" || at0 == "//";
  const bool slash = !text.empty() && (text[0] == '/' || text[0] == '\\');
  const size_t colon = text.find(':');
  const bool colonPath =
      colon != std::string::npos && text.compare(colon, 3, "://") != 0 && !Opaque(text.substr(0, colon));
  if (!text.empty() && (drive || server || slash || colonPath)) {
    Require(result && fresh.m_Scheme == "file" && fresh.m_IsHierarchical && !fresh.m_IsRelative,
            "a path was not made a file URI");
    Require(fresh.m_Port.empty() && fresh.m_Query.empty() && fresh.m_Fragment.empty(),
            "a path conversion left port, query or fragment");
    if (!server) Require(fresh.m_Server.empty(), "only a server path has an authority");
  }

  // The object's text is stable under one more round of canonical escaping,
  // except for what a bracketed host unescapes to.
  if (result && fresh.m_Server.find('[') == std::string::npos) {
    URI again(fresh);
    again.ForceEscape();
    Require(again.ToString(false) == fresh.ToString(false), "guessed URI not in canonical escaped form");
  }
  return 0;
}
