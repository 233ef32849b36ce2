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

}  // namespace uri_internal
}  // namespace Vesk

#endif  // VESK_URI_INVARIANTS_H_
