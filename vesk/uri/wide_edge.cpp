// The URI's edge towards UTF-16: StringProxy to and from wide text, the
// output-argument type StringRefProxy, and GetParts. Nothing else in the URI
// class converts to or from wide text.
#include <string>

#include "vesk/encoding/transcoder"
#include "vesk/string/cstring"
#include "vesk/uri/uri"

namespace Vesk {

URI::StringProxy::StringProxy(const CString& text)
    : std::string(Transcoder::asUTF8(std::basic_string<unsigned short>(
          static_cast<const unsigned short*>(text), static_cast<size_t>(text.GetLength())))) {}

URI::StringProxy::StringProxy(const std::basic_string<unsigned short>& text)
    : std::string(Transcoder::asUTF8(text)) {}

URI::StringProxy::operator const CString() const {
  // CString copies up to the first zero unit, so embedded NULs cut the text.
  const std::basic_string<unsigned short> wide = Transcoder::asUTF16(*this);
  return CString(wide.c_str());
}

URI::StringRefProxy::StringRefProxy(std::string& target) : m_IsWide(0), m_Narrow(&target), m_Wide(nullptr) {}

URI::StringRefProxy::StringRefProxy(std::basic_string<unsigned short>& target)
    : m_IsWide(1), m_Narrow(nullptr), m_Wide(&target) {}

void URI::StringRefProxy::Assign(const std::string& utf8) const {
  if (m_IsWide == 0) {
    *m_Narrow = utf8;
  } else {
    *m_Wide = Transcoder::asUTF16(utf8);
  }
}

void URI::GetParts(StringRefProxy scheme, StringRefProxy authority, StringRefProxy port, StringRefProxy path,
                   StringRefProxy query, StringRefProxy fragment) const {
  // Each getter runs and is written out before the next one is read.
  scheme.Assign(GetScheme());
  authority.Assign(GetAuthority());
  port.Assign(GetServerPort());
  path.Assign(GetPath());
  query.Assign(GetQuery(true));
  fragment.Assign(GetFragment());
}

}  // namespace Vesk
