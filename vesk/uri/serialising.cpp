// Writing a URI back as text: the stored form, the reading form, and the
// host in reading form.
#include "vesk/uri/uri"

#include <cstring>

namespace Vesk {

namespace {

// Appends `field` at `o` and returns the end of what was written.
inline char* Put(char* o, const std::string& field) {
  if (!field.empty()) std::memcpy(o, field.data(), field.size());
  return o + field.size();
}

// ToString(false): the same decisions as the reading form, made once, then
// the text written into a string of its exact size.
std::string WriteStored(const URI& uri) {
  const bool hierarchical = uri.IsHierarchical();
  const bool absolute = hierarchical && !uri.m_IsRelative;
  const bool withScheme = absolute && !uri.m_Scheme.empty();
  const bool withAuthority = absolute && (!uri.m_Server.empty() || uri.IsOfType(URI::StringProxy("file")));
  const bool withUser = withAuthority && !uri.m_Username.empty();
  const bool withPassword = withUser && !uri.m_Password.empty();
  const bool withPort = withAuthority && !uri.m_Port.empty();
  size_t size = 0;
  if (hierarchical) {
    if (withScheme) size += uri.m_Scheme.size() + 1;
    if (withAuthority) size += 2 + uri.m_Server.size();
    if (withUser) size += uri.m_Username.size() + 1;
    if (withPassword) size += uri.m_Password.size() + 1;
    if (withPort) size += uri.m_Port.size() + 1;
    size += uri.m_Path.size();
  } else {
    size += uri.m_Scheme.size() + 1 + uri.m_NonHierarchical.size();
  }
  if (!uri.m_Query.empty()) size += uri.m_Query.size() + 1;
  if (!uri.m_Fragment.empty()) size += uri.m_Fragment.size() + 1;

  std::string out(size, '\0');
  if (size == 0) return out;
  char* o = &out[0];
  if (hierarchical) {
    if (withScheme) {
      o = Put(o, uri.m_Scheme);
      *o++ = ':';
    }
    if (withAuthority) {
      *o++ = '/';
      *o++ = '/';
      if (withUser) {
        o = Put(o, uri.m_Username);
        if (withPassword) {
          *o++ = ':';
          o = Put(o, uri.m_Password);
        }
        *o++ = '@';
      }
      o = Put(o, uri.m_Server);
      if (withPort) {
        *o++ = ':';
        o = Put(o, uri.m_Port);
      }
    }
    o = Put(o, uri.m_Path);
  } else {
    o = Put(o, uri.m_Scheme);
    *o++ = ':';
    o = Put(o, uri.m_NonHierarchical);
  }
  if (!uri.m_Query.empty()) {
    *o++ = '?';
    o = Put(o, uri.m_Query);
  }
  if (!uri.m_Fragment.empty()) {
    *o++ = '#';
    Put(o, uri.m_Fragment);
  }
  return out;
}

}  // namespace

URI::StringProxy URI::ToString(bool unescape) const {
  if (!unescape) return StringProxy(WriteStored(*this));
  StringProxy out;
  // Each component as stored, or through its getter in the reading form.
  auto put = [&out, unescape](const std::string& field) {
    if (unescape) {
      out.append(Unescape(StringProxy(field), false));
    } else {
      out.append(field);
    }
  };
  if (IsHierarchical()) {
    if (!m_IsRelative) {
      if (!m_Scheme.empty()) {
        put(m_Scheme);
        out.push_back(':');
      }
      if (!m_Server.empty() || IsOfType(StringProxy("file"))) {
        out.append("//", 2);
        if (!m_Username.empty()) {
          put(m_Username);
          if (!m_Password.empty()) {
            out.push_back(':');
            put(m_Password);
          }
          out.push_back('@');
        }
        if (unescape) {
          out.append(GetAuthority());
        } else {
          out.append(m_Server);
        }
        if (!m_Port.empty()) {
          out.push_back(':');
          out.append(m_Port);
        }
      }
    }
    put(m_Path);
  } else {
    put(m_Scheme);
    out.push_back(':');
    put(m_NonHierarchical);
  }
  if (!m_Query.empty()) {
    out.push_back('?');
    put(m_Query);
  }
  if (!m_Fragment.empty()) {
    out.push_back('#');
    put(m_Fragment);
  }
  return out;
}

URI::StringProxy URI::ToStringUTF8() const { return Unescape(ToString(false), true); }

URI::StringProxy URI::GetAuthority() const {
  const size_t size = m_Server.size();
  if (size > 2 && m_Server[0] == '[' && m_Server[size - 1] == ']' && IsIPv6(m_Server)) {
    return StringProxy(m_Server.substr(1, size - 2));
  }
  return Unescape(StringProxy(m_Server), false);
}

}  // namespace Vesk
