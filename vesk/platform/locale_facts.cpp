#include "vesk/platform/locale_facts"

#include <langinfo.h>
#include <locale.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <mutex>
#include <string>

namespace Vesk {
namespace Platform {
namespace {

struct Facts {
  std::string locale_name;
  std::string language;   // "ja"
  std::string territory;  // "JP"
  std::string codeset;    // "UTF-8"
  bool c_locale = true;
  bool system_known = false;
  TextEncoding system_encoding = 0;
  TextEncoding application_encoding = 0;
  short locale_language = kLanguageEnglish;
  int script = kScriptRoman;
};

std::string Lowered(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

TextEncoding UTF8Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF8Format); }

// Codeset spellings of the C library that the internet name lists lack.
const char* InternetNameOfCodeset(const std::string& lowered) {
  struct Alias {
    const char* codeset;
    const char* internet_name;
  };
  static const Alias kAliases[] = {
      {"sjis", "shift_jis"}, {"shiftjis", "shift_jis"}, {"ujis", "euc-jp"},
      {"eucjp", "euc-jp"},   {"euckr", "euc-kr"},       {"euctw", "euc-tw"},
      {"big5hkscs", "big5-hkscs"},
  };
  for (const Alias& alias : kAliases) {
    if (lowered == alias.codeset) return alias.internet_name;
  }
  return nullptr;
}

bool CodesetId(const std::string& codeset, TextEncoding* id) {
  if (codeset.empty() || codeset.size() > 255) return false;
  const std::string lowered = Lowered(codeset);
  const char* alias = InternetNameOfCodeset(lowered);
  const std::string name = alias != nullptr ? alias : codeset;
  unsigned char pascal[256];
  pascal[0] = static_cast<unsigned char>(name.size());
  std::memcpy(pascal + 1, name.data(), name.size());
  return TextEncodingFromInternetName(id, pascal) == kConversionOK;
}

// Default codesets of locales named without one, for hosts that lack them.
std::string DefaultCodeset(const std::string& language, const std::string& territory) {
  if (language == "ja") return "EUC-JP";
  if (language == "ko") return "EUC-KR";
  if (language == "zh") return territory == "TW" ? "BIG5" : territory == "HK" ? "BIG5-HKSCS" : "GB2312";
  if (language == "ru") return "KOI8-R";
  return "ISO-8859-1";
}

short LanguageCode(const std::string& language) {
  struct Entry {
    const char* name;
    short code;
  };
  static const Entry kLanguages[] = {
      {"en", kLanguageEnglish},  {"fr", kLanguageFrench},   {"de", kLanguageGerman},
      {"it", kLanguageItalian},  {"nl", kLanguageDutch},    {"sv", kLanguageSwedish},
      {"es", kLanguageSpanish},  {"pt", kLanguagePortuguese}, {"he", kLanguageHebrew},
      {"ja", kLanguageJapanese}, {"ar", kLanguageArabic},   {"el", kLanguageGreek},
      {"tr", kLanguageTurkish},  {"th", kLanguageThai},     {"ko", kLanguageKorean},
      {"pl", kLanguagePolish},   {"ru", kLanguageRussian},
  };
  for (const Entry& entry : kLanguages) {
    if (language == entry.name) return entry.code;
  }
  return kLanguageEnglish;
}

// Fills facts from a locale name and the codeset the C library gives for it
// (empty when the locale is not installed).
bool Derive(const std::string& name, const std::string& installed_codeset, Facts* facts) {
  Facts made;
  made.locale_name = name;
  std::string rest = name;
  const auto at = rest.find('@');
  if (at != std::string::npos) rest.resize(at);
  std::string codeset;
  const auto dot = rest.find('.');
  if (dot != std::string::npos) {
    codeset = rest.substr(dot + 1);
    rest.resize(dot);
  }
  const auto underscore = rest.find('_');
  made.language = Lowered(rest.substr(0, underscore));
  if (underscore != std::string::npos) made.territory = rest.substr(underscore + 1);
  made.c_locale = name.empty() || name == "C" || name == "POSIX" || made.language == "c";
  if (!installed_codeset.empty()) {
    codeset = installed_codeset;
  } else if (codeset.empty()) {
    codeset = made.c_locale ? "ANSI_X3.4-1968" : DefaultCodeset(made.language, made.territory);
  }
  made.codeset = codeset;
  made.system_known = CodesetId(codeset, &made.system_encoding);
  if (!made.system_known) return false;
  made.application_encoding = made.c_locale ? UTF8Id() : made.system_encoding;
  made.locale_language = LanguageCode(made.language);
  if (made.language == "ja") {
    made.script = kScriptJapanese;
  } else if (made.language == "ko") {
    made.script = kScriptKorean;
  } else if (made.language == "zh") {
    made.locale_language = made.territory == "TW" || made.territory == "HK" ? kLanguageTraditionalChinese
                                                                             : kLanguageSimplifiedChinese;
    made.script = made.territory == "TW" || made.territory == "HK" ? kScriptTraditionalChinese
                                                                   : kScriptSimplifiedChinese;
  } else {
    made.script = kScriptRoman;
  }
  *facts = made;
  return true;
}

std::string InstalledCodeset(const std::string& name, std::string* full_name) {
  locale_t locale = newlocale(LC_ALL_MASK, name.c_str(), static_cast<locale_t>(nullptr));
  if (locale == static_cast<locale_t>(nullptr)) return std::string();
  std::string codeset = nl_langinfo_l(CODESET, locale);
  if (full_name != nullptr) {
#ifdef _NL_LOCALE_NAME
    *full_name = nl_langinfo_l(_NL_LOCALE_NAME(LC_CTYPE), locale);
#else
    *full_name = name;
#endif
  }
  freelocale(locale);
  return codeset;
}

Facts& TheFacts() {
  // Built on first use and kept for the life of the process.
  static Facts* facts = new Facts;
  return *facts;
}

std::once_flag gDerived;

void DeriveFromProcess() {
  std::string name;
  std::string codeset = InstalledCodeset("", &name);
  if (codeset.empty()) {
    name = "C";
    codeset = "ANSI_X3.4-1968";
  }
  if (!Derive(name, codeset, &TheFacts())) {
    // A codeset the converters do not know: keep the locale's language and
    // treat the text as UTF-8.
    Derive(name, "UTF-8", &TheFacts());
    TheFacts().system_known = false;
  }
}

const Facts& CurrentFacts() {
  std::call_once(gDerived, DeriveFromProcess);
  return TheFacts();
}

// The legacy double-byte set of a script, or null for a single-byte script.
const char* DoubleByteSetOf(int script) {
  switch (script) {
    case kScriptJapanese:
      return "Shift_JIS";
    case kScriptKorean:
      return "EUC-KR";
    case kScriptTraditionalChinese:
      return "Big5";
    case kScriptSimplifiedChinese:
      return "GB2312";
    default:
      return nullptr;
  }
}

}  // namespace

bool SetHostLocale(const std::string& locale_name) {
  CurrentFacts();
  if (locale_name.empty()) {
    Facts made;
    std::string name;
    const std::string codeset = InstalledCodeset("", &name);
    if (!Derive(codeset.empty() ? "C" : name, codeset, &made)) return false;
    TheFacts() = made;
    return true;
  }
  Facts made;
  if (!Derive(locale_name, InstalledCodeset(locale_name, nullptr), &made)) return false;
  TheFacts() = made;
  return true;
}

std::string HostLocaleName() { return CurrentFacts().locale_name; }

ConversionStatus SystemTextEncoding(TextEncoding* id) {
  const Facts& facts = CurrentFacts();
  if (!facts.system_known) return kSystemEncodingUnknown;
  *id = facts.system_encoding;
  return kConversionOK;
}

ConversionStatus LanguageOfTextEncoding(TextEncoding id, short* language) {
  const Facts& facts = CurrentFacts();
  unsigned char pascal[256];
  if (TextEncodingInternetName(id, pascal) != kConversionOK) {
    *language = kLanguageEnglish;
    return kUnknownEncoding;
  }
  const std::string name(reinterpret_cast<const char*>(pascal + 1), pascal[0]);
  struct Entry {
    const char* name;
    short language;
  };
  static const Entry kSets[] = {
      {"shift_jis", kLanguageJapanese},    {"euc-jp", kLanguageJapanese},
      {"iso-2022-jp", kLanguageJapanese},  {"windows-31j", kLanguageJapanese},
      {"euc-kr", kLanguageKorean},         {"iso-2022-kr", kLanguageKorean},
      {"ks_c_5601-1987", kLanguageKorean}, {"big5", kLanguageTraditionalChinese},
      {"big5-hkscs", kLanguageTraditionalChinese}, {"gb2312", kLanguageSimplifiedChinese},
      {"gbk", kLanguageSimplifiedChinese}, {"gb18030", kLanguageSimplifiedChinese},
      {"hz-gb-2312", kLanguageSimplifiedChinese}, {"iso-2022-cn", kLanguageSimplifiedChinese},
      {"koi8-r", kLanguageRussian},        {"iso-8859-5", kLanguageRussian},
      {"windows-1251", kLanguageRussian},  {"iso-8859-7", kLanguageGreek},
      {"windows-1253", kLanguageGreek},    {"iso-8859-8", kLanguageHebrew},
      {"windows-1255", kLanguageHebrew},   {"iso-8859-6", kLanguageArabic},
      {"windows-1256", kLanguageArabic},   {"iso-8859-9", kLanguageTurkish},
      {"windows-1254", kLanguageTurkish},  {"tis-620", kLanguageThai},
      {"windows-874", kLanguageThai},
  };
  for (const Entry& entry : kSets) {
    if (name == entry.name) {
      *language = entry.language;
      return kConversionOK;
    }
  }
  const bool unicode = name.compare(0, 4, "utf-") == 0 || name == "scsu" || name == "bocu-1" ||
                       name == "cesu-8";
  *language = unicode ? facts.locale_language : kLanguageEnglish;
  return kConversionOK;
}

TextEncoding ApplicationTextEncoding() { return CurrentFacts().application_encoding; }

int SystemScript() { return CurrentFacts().script; }

bool SystemScriptIsDoubleByte() {
  const char* set = DoubleByteSetOf(CurrentFacts().script);
  if (set == nullptr) return false;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(set, &status);
  if (U_FAILURE(status)) return false;
  const bool double_byte = ucnv_getMaxCharSize(converter) > 1;
  ucnv_close(converter);
  return double_byte;
}

void FillLeadByteTable(unsigned char* table, int script) {
  std::memset(table, 0, 256);
  const char* set = DoubleByteSetOf(script);
  if (set == nullptr) return;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(set, &status);
  if (U_FAILURE(status)) return;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  // A byte that begins a longer character leaves a truncated sequence when it
  // stands alone at the end of the text.
  for (int byte = 0; byte < 256; ++byte) {
    const char in = static_cast<char>(byte);
    UChar out[4];
    UErrorCode convert_status = U_ZERO_ERROR;
    ucnv_reset(converter);
    ucnv_toUChars(converter, out, 4, &in, 1, &convert_status);
    table[byte] = convert_status == U_TRUNCATED_CHAR_FOUND ? 1 : 0;
  }
  ucnv_close(converter);
}

}  // namespace Platform
}  // namespace Vesk
