// Localized strings on gettext. dgettext hands back the very pointer it was
// given when the catalog has no entry; that identity is the miss test.
#include "vesk/platform/localized_strings"

#include <langinfo.h>
#include <libintl.h>

#include <string>

#include "vesk/platform/platform_encoding.h"

namespace Vesk {
namespace Platform {
namespace {

// The text of a platform string as UTF-8; false if it is not a string or does
// not convert.
bool Utf8Of(CFStringRef string, std::string& out) {
  if (ObjectTypeID(string) != StringTypeID()) return false;
  return EncodeUnitsNamed(StringCharacters(string), static_cast<std::size_t>(StringLength(string)), "UTF-8",
                          out);
}

}  // namespace

CFTypeRef CopyLocalizedString(CFStringRef key, CFTypeRef default_value, CFStringRef table) {
  std::string message_id;
  std::string domain;
  if (!Utf8Of(key, message_id) || message_id.empty() || message_id.find('\0') != std::string::npos)
    return RetainObject(default_value);
  if (table != nullptr) {
    if (!Utf8Of(table, domain) || domain.empty() || domain.find('\0') != std::string::npos)
      return RetainObject(default_value);
  } else {
    const char* main_domain = textdomain(nullptr);
    if (main_domain == nullptr) return RetainObject(default_value);
    domain = main_domain;
  }
  const char* answer = dgettext(domain.c_str(), message_id.c_str());
  if (answer == message_id.c_str() || answer == nullptr) return RetainObject(default_value);
  // gettext gives the text in the codeset bound to the domain, or else in
  // that of the process locale's character classes.
  const char* codeset = bind_textdomain_codeset(domain.c_str(), nullptr);
  if (codeset == nullptr) codeset = nl_langinfo(CODESET);
  std::u16string units;
  if (!DecodeBytesNamed(answer, std::char_traits<char>::length(answer), codeset, units))
    return RetainObject(default_value);
  return CreateStringFromUTF16(reinterpret_cast<const unsigned short*>(units.data()),
                               static_cast<long>(units.size()));
}

}  // namespace Platform
}  // namespace Vesk
