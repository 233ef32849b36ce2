#ifndef VESK_URI_INVARIANTS_H_
#define VESK_URI_INVARIANTS_H_

// Checks of a URI's flags against its fields, for tests and fuzz targets.
// Internal: not installed.

#include <string>

#include "vesk/uri/uri"

namespace Vesk {
namespace uri_internal {

// Empty when `uri` has one of the four shapes that the parser makes (blank,
// relative, absolute hierarchical, non-hierarchical); otherwise a sentence
// saying what is wrong. Setters may legitimately leave other shapes.
inline std::string URIShapeError(const URI& uri) {
  const bool anyHier = !uri.m_Server.empty() || !uri.m_Port.empty() || !uri.m_Path.empty() ||
                       !uri.m_Username.empty() || !uri.m_Password.empty();
  if (!uri.m_IsValid) {
    if (uri.m_IsRelative || uri.m_IsHierarchical) return "invalid URI with a flag set";
    if (uri.m_Scheme != "unknown") return "invalid URI whose scheme is not \"unknown\"";
    if (anyHier || !uri.m_NonHierarchical.empty() || !uri.m_Query.empty() || !uri.m_Fragment.empty())
      return "invalid URI with a non-empty component";
    return std::string();
  }
  if (uri.m_IsRelative) {
    if (!uri.m_IsHierarchical) return "relative URI that is not hierarchical";
    if (!uri.m_Scheme.empty()) return "relative URI with a scheme";
    if (!uri.m_Server.empty() || !uri.m_Port.empty() || !uri.m_Username.empty() || !uri.m_Password.empty() ||
        !uri.m_NonHierarchical.empty())
      return "relative URI with an authority or body";
    return std::string();
  }
  if (uri.m_Scheme.empty()) return "absolute URI without a scheme";
  if (uri.m_IsHierarchical) {
    if (!uri.m_NonHierarchical.empty()) return "hierarchical URI with a non-hierarchical body";
    return std::string();
  }
  if (anyHier) return "non-hierarchical URI with server, user, port or path";
  return std::string();
}

// Whether two URIs hold the same nine fields and three flags.
inline bool SameState(const URI& a, const URI& b) {
  return a.m_Scheme == b.m_Scheme && a.m_Server == b.m_Server && a.m_Port == b.m_Port && a.m_Path == b.m_Path &&
         a.m_Query == b.m_Query && a.m_Fragment == b.m_Fragment && a.m_Username == b.m_Username &&
         a.m_Password == b.m_Password && a.m_NonHierarchical == b.m_NonHierarchical && a.m_IsValid == b.m_IsValid &&
         a.m_IsRelative == b.m_IsRelative && a.m_IsHierarchical == b.m_IsHierarchical;
}

}  // namespace uri_internal
}  // namespace Vesk

#endif  // VESK_URI_INVARIANTS_H_
