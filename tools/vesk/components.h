#ifndef VESK_TOOLS_VESK_COMPONENTS_H_
#define VESK_TOOLS_VESK_COMPONENTS_H_

// The components of a URI by the names the tool gives them, for parse's
// output and templates and for set.

#include <string>
#include <string_view>

#include "vesk/uri/uri"

namespace vesktool {

enum class Component { kScheme, kUser, kPassword, kHost, kPort, kPath, kQuery, kFragment, kBody, kUri };

// Names in the order parse prints them; kUri ("uri", the whole URI) is last.
constexpr std::string_view kComponentNames[] = {"scheme", "user",     "password", "host", "port",
                                                "path",   "query",    "fragment", "body", "uri"};
constexpr int kFieldCount = 9;  // the components that are fields, without "uri"

inline bool ComponentByName(std::string_view name, Component& component) {
  for (int i = 0; i <= kFieldCount; ++i) {
    if (kComponentNames[i] == name) {
      component = static_cast<Component>(i);
      return true;
    }
  }
  return false;
}

// The component as stored (escaped); for kUri the stored form of the URI.
inline const std::string& StoredComponent(const Vesk::URI& uri, Component component, std::string& scratch) {
  switch (component) {
    case Component::kScheme: return uri.m_Scheme;
    case Component::kUser: return uri.m_Username;
    case Component::kPassword: return uri.m_Password;
    case Component::kHost: return uri.m_Server;
    case Component::kPort: return uri.m_Port;
    case Component::kPath: return uri.m_Path;
    case Component::kQuery: return uri.m_Query;
    case Component::kFragment: return uri.m_Fragment;
    case Component::kBody: return uri.m_NonHierarchical;
    case Component::kUri: break;
  }
  return scratch = uri.ToString(false);
}

// The component as its getter gives it (plain); for kUri the reading form.
inline std::string PlainComponent(const Vesk::URI& uri, Component component) {
  switch (component) {
    case Component::kScheme: return uri.GetScheme();
    case Component::kUser: return uri.GetUsername();
    case Component::kPassword: return uri.GetPassword();
    case Component::kHost: return uri.GetAuthority();
    case Component::kPort: return uri.GetServerPort();
    case Component::kPath: return uri.GetPath();
    case Component::kQuery: return uri.GetQuery(true);
    case Component::kFragment: return uri.GetFragment();
    case Component::kBody: return uri.GetNonHierarchical();
    case Component::kUri: break;
  }
  return uri.ToString(true);
}

// Sets a field component from plain text through its setter, which escapes it;
// the query is escaped as well. kUri is not settable.
inline void SetComponent(Vesk::URI& uri, Component component, const std::string& value) {
  switch (component) {
    case Component::kScheme: return uri.SetScheme(value);
    case Component::kUser: return uri.SetUsername(value);
    case Component::kPassword: return uri.SetPassword(value);
    case Component::kHost: return uri.SetAuthority(value);
    case Component::kPort: return uri.SetServerPort(value);
    case Component::kPath: return uri.SetPath(value);
    case Component::kQuery: return uri.SetQuery(value, true);
    case Component::kFragment: return uri.SetFragment(value);
    case Component::kBody: return uri.SetNonHierarchical(value);
    case Component::kUri: break;
  }
}

}  // namespace vesktool

#endif  // VESK_TOOLS_VESK_COMPONENTS_H_
