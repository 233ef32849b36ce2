// Component getters and setters. The setters that escape with a character map
// of their own (user name, password, authority, non-hierarchical body) live
// beside the maps, in escaping/escape.cpp.
#include "vesk/uri/uri"

namespace Vesk {

URI::StringProxy URI::GetScheme() const { return Unescape(StringProxy(m_Scheme), false); }
URI::StringProxy URI::GetServerPort() const { return Unescape(StringProxy(m_Port), false); }
URI::StringProxy URI::GetPath() const { return Unescape(StringProxy(m_Path), false); }
URI::StringProxy URI::GetFragment() const { return Unescape(StringProxy(m_Fragment), false); }
URI::StringProxy URI::GetUsername() const { return Unescape(StringProxy(m_Username), false); }
URI::StringProxy URI::GetPassword() const { return Unescape(StringProxy(m_Password), false); }
URI::StringProxy URI::GetNonHierarchical() const { return Unescape(StringProxy(m_NonHierarchical), false); }

URI::StringProxy URI::GetQuery(bool unescape) const {
  if (unescape) return Unescape(StringProxy(m_Query), false);
  return StringProxy(m_Query);
}

void URI::SetScheme(StringProxy scheme) {
  m_Scheme = Escape(std::move(scheme));
  MakeLower(m_Scheme);
}

void URI::SetServerPort(StringProxy port) {
  m_Port = Escape(std::move(port));
  SetHierState(true);
}

void URI::SetPath(StringProxy path) {
  if (path.size() > 3 && path[2] == '|' && IsOfType(StringProxy("file"))) {
    // The bar of a drive letter stays raw; the first two bytes go as they are.
    StringProxy rest(path.substr(3));
    path.resize(3);
    path.append(Escape(std::move(rest)));
    m_Path = std::move(path);
  } else {
    m_Path = Escape(std::move(path));
  }
  if (m_Scheme == "unknown") m_Scheme.clear();
  SetHierState(true);
}

void URI::SetQuery(StringProxy query, bool escape) {
  if (escape) {
    m_Query = Escape(std::move(query));
  } else {
    m_Query = std::move(query);
  }
}

void URI::SetFragment(StringProxy fragment) { m_Fragment = Escape(std::move(fragment)); }

void URI::SetParts(StringProxy scheme, StringProxy authority, StringProxy port, StringProxy path, StringProxy query,
                   StringProxy fragment) {
  SetScheme(std::move(scheme));
  SetAuthority(std::move(authority));
  SetServerPort(std::move(port));
  SetPath(std::move(path));
  SetQuery(std::move(query), true);
  SetFragment(std::move(fragment));
  SetHierState(true);
}

void URI::ForceEscape() {
  SetScheme(GetScheme());
  if (IsHierarchical()) {
    SetAuthority(GetAuthority());
    SetPath(GetPath());
    SetServerPort(GetServerPort());
    SetQuery(GetQuery(true), true);
    SetFragment(GetFragment());
  } else {
    SetNonHierarchical(GetNonHierarchical());
    SetQuery(GetQuery(true), true);
    SetFragment(GetFragment());
  }
}

}  // namespace Vesk
