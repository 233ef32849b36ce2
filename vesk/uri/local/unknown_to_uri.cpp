// Typed text of unknown kind into the URI it most likely means. A fixed chain
// of textual guesses: the first that matches decides, and the order of the
// guesses is the whole algorithm.
#include <string>
#include <string_view>
#include <utility>

#include "vesk/uri/uri"

namespace Vesk {

namespace {

// Whether `text` holds `pattern` at `pos`; bytes behind the end of the text
// count as empty, so a short text never matches.
bool HasAt(const std::string& text, size_t pos, std::string_view pattern) {
  return pos <= text.size() && std::string_view(text).substr(pos, pattern.size()) == pattern;
}

// Schemes that, written with a colon and without "//", still make a URI and
// not a colon path. Checked in this order against the text before the colon.
constexpr std::string_view kOpaqueSchemes[] = {
    "mailto", "about", "res", "link", "draft", "veskbrowse", "veskinternal", "vesk", "connect", "javascript",
};

bool IsOpaqueScheme(std::string_view head) {
  for (std::string_view word : kOpaqueSchemes) {
    if (head == word) return true;
  }
  return false;
}

}  // namespace

bool URI::UnknownToURI(StringProxy text, StringProxy defaultScheme) {
  if (text.empty()) return false;

  // Windows forms: a drive (any byte before the colon will do), a server path.
  if (HasAt(text, 1, ":\\") || HasAt(text, 0, "\\\\") || HasAt(text, 1, ":/") || HasAt(text, 0, "//")) {
    LocalPathToURIWin(std::move(text));
    return true;
  }

  if (text[0] == '/') {
    LocalPathToURIUnix(std::move(text));
    return true;
  }

  if (text[0] == '\\') {
    std::string slashed = text;
    for (char& c : slashed) {
      if (c == '\\') c = '/';
    }
    LocalPathToURIUnix(StringProxy(std::move(slashed)));
    return true;
  }

  // A colon makes a colon path unless "://" or a known opaque scheme shows a
  // URI; a host with a port and a colon in a query end up here as well.
  const size_t colon = text.find(':');
  if (colon != std::string::npos && !HasAt(text, colon, "://") &&
      !IsOpaqueScheme(std::string_view(text).substr(0, colon))) {
    LocalPathToURIMac(std::move(text));
    return true;
  }

  URI scratch(text);
  bool accept = false;
  if (!scratch.IsHierarchical()) {
    // Text that did not validate leaves a blank, non-hierarchical URI.
    if (scratch.GetScheme() == "unknown") return false;
    accept = true;
  } else {
    const std::string scheme = scratch.GetScheme();
    if (!scheme.empty() && scheme != "unknown") {
      if (!scratch.GetAuthority().empty() || scheme == "file") {
        accept = true;
      } else if (scratch.GetPath().empty()) {
        // A scheme and nothing else.
        SetParts(StringProxy(scheme), StringProxy(), StringProxy(), StringProxy(), StringProxy(),
                 StringProxy());
        return false;
      }
    } else {
      // Only a leading "./" or "../" makes a text relative; a bare word is a host.
      const std::string path = scratch.GetPath();
      accept = path == ".." || path == "." || HasAt(path, 0, "../") || HasAt(path, 0, "./");
    }
    if (!accept) {
      if (!scratch.ParseURI(defaultScheme + "://" + text)) scratch.m_IsValid = false;
      if (scratch.GetScheme().empty() || scratch.GetAuthority().empty()) {
        SetParts(StringProxy("unknown"), StringProxy(), StringProxy(), StringProxy(), StringProxy(),
                 StringProxy());
        return false;
      }
      accept = true;
    }
  }

  CopyURI(scratch);
  ForceEscape();
  return true;
}

}  // namespace Vesk
