// ChDir from any object text by any reference, with both escape values, then
// MakeRelativeURI back against the same base. The input is the object's text,
// a line feed, and the reference; without a line feed the whole input is the
// reference and the object is a fixed file URI with query and fragment.
//
// Checked: ChDir returns true; the road that the reference takes decides the
// object's state exactly (unchanged, parsed anew, replaced by the parsed
// reference, fragment only, or a setter state with its flags derived from
// its fields); a merge leaves no "." and no ".." but those a relative path
// keeps at its start; MakeRelativeURI either refuses and changes nothing, or
// leaves a relative URI, which MakeAbsoluteURI takes back where the path
// promises a round trip. The two texts also go through GetRelationByString
// both ways round and GetCommonParentByString.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;
using veskfuzz::RequireShape;
using Vesk::uri_internal::SameState;

using Vesk::URI;

// Whether the text holds an ASCII capital, the only bytes that a case-blind
// comparison treats differently.
bool HasCapital(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

// The state that SetPath leaves: flags derived from the fields.
void RequireSetterState(const URI& uri) {
  Require(uri.m_IsHierarchical, "setter state not hierarchical");
  Require(uri.m_NonHierarchical.empty(), "setter state keeps an opaque body");
  Require(uri.m_Scheme != "unknown", "setter state keeps the scheme \"unknown\"");
  Require(uri.m_IsRelative == uri.m_Scheme.empty(), "relative flag does not follow the scheme");
  Require(uri.m_IsValid == (!uri.m_Server.empty() || !uri.m_Path.empty()), "valid flag does not follow the fields");
}

// Everything but the path, query and fragment stayed as it was.
void RequireAuthorityKept(const URI& now, const URI& before) {
  Require(now.m_Server == before.m_Server && now.m_Port == before.m_Port && now.m_Username == before.m_Username &&
              now.m_Password == before.m_Password,
          "a path move changed the authority");
  Require(now.m_Scheme == (before.m_Scheme == "unknown" ? std::string() : before.m_Scheme),
          "a path move changed the scheme");
}

// Whether MakeRelativeURI against `base` and MakeAbsoluteURI back give the
// path again: it has no dot segments and no doubled slashes, and it is not a
// file name that names a directory above the base's, which comes back as
// that directory ("http://h/a" against "http://h/a/b" gives "..").
bool PromisesRoundTrip(const std::string& path, const URI& base) {
  if (path.empty() || path[0] != '/') return false;
  std::vector<std::string> segments;
  bool leading = false;
  bool trailing = false;
  URI::SplitPath(path, segments, leading, trailing);
  for (const std::string& segment : segments) {
    if (segment == "." || segment == "..") return false;
  }
  if (URI::JoinPath(segments, leading, trailing) != path) return false;
  if (path.back() == '/') return true;
  URI directory(base);
  directory.ChDir(".", false);
  std::vector<std::string> from;
  URI::SplitPath(directory.GetPath(), from);
  if (segments.size() > from.size()) return true;
  for (size_t i = 0; i < segments.size(); ++i) {
    if (segments[i] != from[i]) return true;
  }
  return false;
}

// MakeRelativeURI step by step, with a working copy of the base moved by "."
// as the definition has it; the library takes the base's directory from its
// plain segments directly, and both must agree.
bool LiteralMakeRelative(URI& uri, const URI& base, bool caseSensitive) {
  URI work(base);
  const std::string path = uri.GetPath();
  const std::string query = uri.GetQuery(true);
  const std::string fragment = uri.GetFragment();
  if (uri.IsRelative()) return true;
  if (base.IsRelative()) return false;
  if (!uri.IsOfType(base.GetScheme())) return false;
  if (static_cast<const std::string&>(base.GetAuthority()) != uri.GetAuthority()) return false;
  work.ChDir(".", false);
  std::vector<std::string> own;
  bool leading = false;
  bool trailing = false;
  URI::SplitPath(path, own, leading, trailing);
  std::vector<std::string> from;
  URI::SplitPath(work.GetPath(), from);
  size_t common = 0;
  while (common < own.size() && common < from.size() && URI::Compare(own[common], from[common], caseSensitive) == 0)
    ++common;
  std::vector<std::string> result(from.size() - common, "..");
  result.insert(result.end(), own.begin() + static_cast<std::ptrdiff_t>(common), own.end());
  std::string text = URI::JoinPath(result, false, trailing);
  if (text.empty()) text = "./";
  uri.SetParts("", "", "", text, query, fragment);
  return true;
}

void CheckMove(const std::string& objectText, const std::string& reference, bool escape) {
  const URI base(objectText);
  RequireShape(base, "the parser");
  URI moved(base);
  Require(moved.ChDir(reference, escape), "ChDir returned false");

  const std::string effective = escape ? std::string(URI::Escape(reference)) : reference;
  bool setterState = false;
  if (effective.empty()) {
    Require(SameState(moved, base), "an empty reference changed the object");
  } else if (effective.rfind("//", 0) == 0) {
    URI expected;
    expected.ParseURI(std::string(base.GetScheme()) + ":" + effective);
    RequireShape(moved, "ChDir by a network-path reference");
    Require(SameState(moved, expected), "a network-path reference did not parse the object anew");
  } else {
    URI target;
    target.ParseURI(effective[0] == '?' ? "./" + effective : effective);
    const std::string targetPath = target.GetPath();
    std::vector<std::string> targetSegments;
    URI::SplitPath(targetPath, targetSegments);
    if (!target.m_IsRelative || !target.m_IsHierarchical) {
      RequireShape(moved, "ChDir by an absolute, opaque or bad reference");
      Require(SameState(moved, target), "an absolute, opaque or bad reference did not replace the object");
    } else if (!targetPath.empty() && targetPath[0] == '/') {
      setterState = true;
      RequireAuthorityKept(moved, base);
      Require(moved.GetPath() == targetPath, "a rooted path was not taken as it stands");
      Require(moved.GetQuery(true) == target.GetQuery(true), "a rooted path lost the reference's query");
      Require(moved.GetFragment() == target.GetFragment(), "a rooted path lost the reference's fragment");
    } else if (targetSegments.empty() && target.m_Query.empty()) {
      URI expected(base);
      expected.m_Fragment = moved.m_Fragment;
      Require(SameState(moved, expected), "a fragment-only reference changed more than the fragment");
      Require(moved.GetFragment() == target.GetFragment(), "a fragment-only reference set another fragment");
    } else {
      setterState = true;
      RequireAuthorityKept(moved, base);
      Require(moved.GetQuery(true) == target.GetQuery(true), "a merge lost the reference's query");
      Require(moved.GetFragment() == target.GetFragment(), "a merge lost the reference's fragment");
      std::vector<std::string> segments;
      URI::SplitPath(moved.GetPath(), segments);
      bool pastLeadingDotDots = false;
      for (const std::string& segment : segments) {
        Require(segment != ".", "a merge left a \".\"");
        if (segment == "..") {
          Require(base.m_IsRelative, "a merge left a \"..\" in an absolute path");
          Require(!pastLeadingDotDots, "a merge left a \"..\" after a name");
        } else {
          pastLeadingDotDots = true;
        }
      }
    }
  }
  if (setterState) RequireSetterState(moved);

  // Back against the same base. Segments compare with ASCII letters lowered,
  // so without a capital in either path the case-blind pass would repeat the
  // case-sensitive one.
  const bool capitals = HasCapital(moved.GetPath()) || HasCapital(base.GetPath());
  for (const bool caseSensitive : {true, false}) {
    if (!caseSensitive && !capitals) break;
    URI relative(moved);
    URI literal(moved);
    const bool literalResult = LiteralMakeRelative(literal, base, caseSensitive);
    const bool result = relative.MakeRelativeURI(base, caseSensitive);
    Require(result == literalResult && SameState(relative, literal), "MakeRelativeURI differs from its definition");
    if (!result) {
      Require(SameState(relative, moved), "a refused MakeRelativeURI changed the object");
      continue;
    }
    Require(relative.m_IsRelative, "MakeRelativeURI returned true on a URI that is not relative");
    if (moved.m_IsRelative) {
      Require(SameState(relative, moved), "MakeRelativeURI changed a relative URI");
      continue;
    }
    Require(relative.m_Scheme.empty() && relative.m_Server.empty() && relative.m_Port.empty(),
            "MakeRelativeURI left a scheme, server or port");
    Require(relative.m_IsValid && relative.m_IsHierarchical, "MakeRelativeURI left an invalid URI");
    Require(!relative.m_Path.empty() && relative.m_Path[0] != '/', "MakeRelativeURI left a rooted or empty path");

    // A path that promises it comes back as it was.
    const std::string movedPath = moved.GetPath();
    if (caseSensitive && setterState && !base.m_IsRelative && base.m_IsHierarchical && !base.m_Path.empty() &&
        PromisesRoundTrip(movedPath, base)) {
      const std::string relativeText = relative.ToString(false);
      URI back(relativeText);
      RequireShape(back, "the parser");
      Require(back.MakeAbsoluteURI(base), "MakeAbsoluteURI refused the relative form");
      Require(back.ToString(false) == moved.ToString(false), "relative form did not lead back");
    }
  }
}

Vesk::URIRelation Mirror(Vesk::URIRelation relation) {
  if (relation == Vesk::URIRelationChild) return Vesk::URIRelationParent;
  if (relation == Vesk::URIRelationParent) return Vesk::URIRelationChild;
  return relation;
}

// GetCommonParent one ".." at a time, as the definition has it, with the
// library's stop before a ".." that would lengthen a relative copy; without a
// resolver the library works the climb out instead, and both must agree.
URI LiteralCommonParent(const URI& a, const URI& b, bool caseSensitive) {
  URI climber(a);
  URI fixed(b);
  if (climber.IsRelative() || fixed.IsRelative()) return URI();
  climber.ChDir(".", false);
  fixed.ChDir(".", false);
  for (;;) {
    const Vesk::URIRelation relation = climber.GetRelation(fixed, caseSensitive);
    if (relation == Vesk::URIRelationSame || relation == Vesk::URIRelationParent) break;
    const URI before = climber;
    const std::string text = before.ToString(false);
    climber.ChDir("..", false);
    const std::string moved = climber.ToString(false);
    if (moved == text) break;
    if (before.IsRelative() && moved.size() > text.size()) return before;
  }
  return climber;
}

// The relation of the two texts either way round, and their common parent:
// a blank URI for a relative operand, else a directory that has reached the
// second operand's directory or cannot climb any further.
void CheckRelation(const std::string& a, const std::string& b) {
  Require(URI::GetRelationByString(b, a) == Mirror(URI::GetRelationByString(a, b)), "relation is not mirrored");
  const URI first(a);
  const URI second(b);
  // A '%' may unescape to a capital; without either the case-blind pass
  // would repeat the case-sensitive one.
  const bool capitals = HasCapital(a) || HasCapital(b) || (a + b).find('%') != std::string::npos;
  for (const bool caseSensitive : {true, false}) {
    if (!caseSensitive && !capitals) break;
    const URI parent = URI::GetCommonParentByString(a, b, caseSensitive);
    // A parser shape, or the state a climb by ChDir leaves.
    if (!Vesk::uri_internal::URIShapeError(parent).empty()) RequireSetterState(parent);
    // The step-by-step definition climbs one ".." at a time, each step a
    // ChDir over the whole path: quadratic in the depth, so it only checks
    // operands of up to 64 levels.
    if (std::count(a.begin(), a.end(), '/') <= 64)
      Require(SameState(parent, LiteralCommonParent(first, second, caseSensitive)),
              "GetCommonParent differs from its step-by-step definition");
    if (first.m_IsRelative || second.m_IsRelative) {
      Require(SameState(parent, URI()), "common parent of a relative URI is not blank");
      continue;
    }
    Require(parent.m_IsHierarchical && parent.m_Query.empty() && parent.m_Fragment.empty(),
            "common parent is not a directory");
    if (parent.m_IsRelative) continue;
    URI directory(second);
    directory.ChDir(".", false);
    const Vesk::URIRelation relation = parent.GetRelation(directory, caseSensitive);
    if (relation == Vesk::URIRelationSame || relation == Vesk::URIRelationParent) continue;
    URI up(parent);
    up.ChDir("..", false);
    Require(up.ToString(false) == parent.ToString(false), "common parent stopped short of its root");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t newline = input.find('\n');
  const std::string objectText =
      newline == std::string::npos ? std::string("http://host/a/b/c.html?q=1#f") : input.substr(0, newline);
  const std::string reference = newline == std::string::npos ? input : input.substr(newline + 1);
  CheckMove(objectText, reference, false);
  // Escaping that changes nothing would repeat the same move.
  if (std::string(URI::Escape(reference)) != reference) CheckMove(objectText, reference, true);
  CheckRelation(objectText, reference);
  return 0;
}
