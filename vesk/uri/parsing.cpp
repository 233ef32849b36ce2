// Parsing URI text into components, validating, and writing it back.
#include "vesk/uri/uri"

#include <cstring>

namespace Vesk {

namespace {

inline const char* FindByte(const char* begin, const char* end, char c) {
  if (begin >= end) return nullptr;
  return static_cast<const char*>(std::memchr(begin, c, static_cast<size_t>(end - begin)));
}

inline const char* FindLastByte(const char* begin, const char* end, char c) {
  if (begin >= end) return nullptr;
  return static_cast<const char*>(memrchr(begin, c, static_cast<size_t>(end - begin)));
}

inline bool HasTwoColons(const char* begin, const char* end) {
  const char* first = FindByte(begin, end, ':');
  return first != nullptr && FindByte(first + 1, end, ':') != nullptr;
}

inline bool IsAsciiLetter(char c) { return static_cast<unsigned char>((c | 0x20) - 'a') < 26; }

// The parse of the `size` bytes at `text` into `uri`, which is wiped first.
bool ParseInto(URI& uri, const char* text, size_t size) {
  uri.Initialize();
  const char* w = text;
  const char* end = text + size;

  // Fragment and query are cut from the back: the last '#', then the last '?'.
  if (const char* hash = FindLastByte(w, end, '#')) {
    if (hash + 1 < end) uri.m_Fragment.assign(hash + 1, end);
    end = hash;
  }
  if (const char* question = FindLastByte(w, end, '?')) {
    if (question + 1 < end) uri.m_Query.assign(question + 1, end);
    end = question;
  }

  // A scheme exactly when the first ':' comes before any '/'.
  const char* colon = nullptr;
  for (const char* p = w; p < end; ++p) {
    if (*p == ':') {
      colon = p;
      break;
    }
    if (*p == '/') break;
  }

  if (colon == nullptr) {
    uri.m_Scheme.clear();
    uri.m_IsRelative = true;
    uri.m_IsHierarchical = true;
    uri.m_Path.assign(w, end);
  } else {
    uri.m_Scheme.assign(w, colon);
    URI::MakeLower(uri.m_Scheme);
    w = colon + 1;
    if (end - w < 2 || w[0] != '/' || w[1] != '/') {
      uri.m_NonHierarchical.assign(w, end);
    } else {
      uri.m_IsHierarchical = true;
      w += 2;
      if (end - w >= 2 && w[0] == '/' && w[1] == '/') {
        while (w < end && *w == '/') ++w;
      }
      const char* serverEnd = end;
      if (const char* slash = FindByte(w, end, '/')) {
        serverEnd = slash;
        uri.m_Path.assign(slash, end);
      }
      // User information: before the first '@', the password behind the
      // first ':' of it.
      const char* host = w;
      if (const char* at = FindByte(w, serverEnd, '@')) {
        host = at + 1;
        if (const char* userColon = FindByte(w, at, ':')) {
          uri.m_Username.assign(w, userColon);
          uri.m_Password.assign(userColon + 1, at);
        } else {
          uri.m_Username.assign(w, at);
        }
      }
      // Host and port.
      const bool ipv6 = HasTwoColons(host, serverEnd);
      if (ipv6 && host < serverEnd && *host == '[') {
        const char* hostEnd = serverEnd;
        for (const char* p = host; p + 1 < serverEnd; ++p) {
          if (p[0] == ']' && p[1] == ':') {
            uri.m_Port.assign(p + 2, serverEnd);
            hostEnd = p + 1;
            break;
          }
        }
        uri.m_Server.assign(host, hostEnd);
      } else if (ipv6) {
        uri.m_Server.reserve(static_cast<size_t>(serverEnd - host) + 2);
        uri.m_Server.push_back('[');
        uri.m_Server.append(host, serverEnd);
        uri.m_Server.push_back(']');
      } else if (const char* portColon = FindByte(host, serverEnd, ':')) {
        uri.m_Port.assign(portColon + 1, serverEnd);
        uri.m_Server.assign(host, portColon);
      } else {
        uri.m_Server.assign(host, serverEnd);
      }
      // A drive letter of a file URI: "/C:" becomes "/C|".
      std::string& path = uri.m_Path;
      if (path.size() >= 3 && path[0] == '/' && path[2] == ':' && IsAsciiLetter(path[1]) &&
          uri.m_Scheme == "file") {
        path[2] = '|';
      }
      URI::MakeLower(uri.m_Server);
    }
  }

  uri.m_IsValid = uri.ValidateURI();
  if (!uri.m_IsValid) uri.Initialize();
  return uri.m_IsValid;
}

}  // namespace

URI::URI(const char* text) : m_IsValid(false), m_IsRelative(false), m_IsHierarchical(false) {
  if (text == nullptr) text = "";
  if (!ParseInto(*this, text, std::strlen(text))) m_IsValid = false;
}

URI::URI(StringProxy text) : m_IsValid(false), m_IsRelative(false), m_IsHierarchical(false) {
  if (!ParseInto(*this, text.data(), text.size())) m_IsValid = false;
}

URI& URI::operator=(const char* text) {
  if (text == nullptr) text = "";
  // The text may point into one of this object's fields, which the parse
  // wipes before reading it.
  ConstructURI(std::string(text));
  return *this;
}

URI& URI::operator=(StringProxy text) {
  if (!ParseInto(*this, text.data(), text.size())) m_IsValid = false;
  return *this;
}

bool URI::ParseURI(const std::string& text) {
  const void* address = &text;
  if (address >= static_cast<const void*>(this) && address < static_cast<const void*>(this + 1)) {
    // One of our own fields: work on a copy, since the parse wipes the fields.
    const std::string copy(text);
    return ParseInto(*this, copy.data(), copy.size());
  }
  return ParseInto(*this, text.data(), text.size());
}

void URI::ConstructURI(const std::string& text) {
  if (!ParseURI(text)) m_IsValid = false;
}

bool URI::ValidateURI() {
  if (IsAbsolute()) {
    if (m_Scheme.size() < 2 || m_Scheme.find_first_not_of(URIalpha) != std::string::npos) return false;
  }
  if (!m_IsHierarchical) return m_NonHierarchical.find('\\') == std::string::npos;
  if (m_Path.find('\\') != std::string::npos) return false;
  if (IsRelative()) return true;
  return m_Scheme != "unknown";
}

bool URI::VerifyAlpha(StringProxy text) { return text.find_first_not_of(URIalpha) == std::string::npos; }

bool URI::IsIPv6(const std::string& server) {
  return HasTwoColons(server.data(), server.data() + server.size());
}

URI::StringProxy URI::ToString(bool unescape) const {
  StringProxy out;
  if (!unescape) {
    out.reserve(m_Scheme.size() + m_Username.size() + m_Password.size() + m_Server.size() + m_Port.size() +
                m_Path.size() + m_NonHierarchical.size() + m_Query.size() + m_Fragment.size() + 8);
  }
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

URI::StringProxy URI::GetDefaultPort() const {
  if (m_Scheme == "http") return StringProxy("80");
  if (m_Scheme == "ftp") return StringProxy("21");
  if (m_Scheme == "sftp") return StringProxy("22");
  return StringProxy();
}

}  // namespace Vesk
