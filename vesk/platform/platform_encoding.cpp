// Strict 8-bit conversion for the platform objects, on ICU converters named
// through the text conversion service's ids; ASCII has an id of its own that
// the service need not know.
#include "vesk/platform/platform_encoding.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/ustring.h>

#include "vesk/platform/cfstring"
#include "vesk/platform/locale_facts"
#include "vesk/platform/text_conversion"

namespace Vesk {
namespace Platform {
namespace {

const unsigned long kUtf8Id = UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF8Format);

struct ConverterCloser {
  void operator()(UConverter* c) const { ucnv_close(c); }
};
using ConverterPtr = std::unique_ptr<UConverter, ConverterCloser>;

ConverterPtr OpenStrictConverter(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  ConverterPtr converter(ucnv_open(name, &status));
  if (U_FAILURE(status) || !converter) return nullptr;
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) return nullptr;
  return converter;
}

// Opening an ICU converter costs far more than a short conversion, so each
// thread keeps the converters it has opened, by name, and resets one before
// each use. A name that cannot be opened is remembered as such.
UConverter* OpenStrictNamed(const char* name) {
  thread_local std::map<std::string, ConverterPtr> converters;
  auto found = converters.find(name);
  if (found == converters.end()) {
    if (converters.size() >= 64) converters.clear();  // bound the cache for hostile name streams
    found = converters.emplace(name, OpenStrictConverter(name)).first;
  }
  if (found->second) ucnv_reset(found->second.get());
  return found->second.get();
}

// The ICU name for an id, or an empty text when the id names no 8-bit
// encoding. Ids are stable for the life of the process, so each thread keeps
// the names it has looked up.
const std::string& ConverterNameOf(unsigned long encoding) {
  thread_local std::map<unsigned long, std::string> names;
  auto found = names.find(encoding);
  if (found != names.end()) return found->second;
  std::string name;
  if (encoding == kEncodingASCII) {
    name = "US-ASCII";
  } else {
    unsigned char prefixed[256];
    if (TextEncodingInternetName(encoding, prefixed) == kConversionOK && prefixed[0] != 0)
      name.assign(reinterpret_cast<const char*>(prefixed + 1), prefixed[0]);
    if (name == "utf-16") name.clear();  // not an 8-bit encoding
  }
  if (names.size() >= 64) names.clear();
  return names.emplace(encoding, std::move(name)).first->second;
}

// A strict converter for an id, or null.
UConverter* OpenStrict(unsigned long encoding) {
  const std::string& name = ConverterNameOf(ResolveEncoding(encoding));
  return name.empty() ? nullptr : OpenStrictNamed(name.c_str());
}

bool Decode(UConverter* converter, const char* bytes, std::size_t count, std::u16string& units) {
  units.assign(count * 2 + 2, u'\0');  // enough for any 8-bit encoding ICU has
  UErrorCode status = U_ZERO_ERROR;
  UChar* target = reinterpret_cast<UChar*>(&units[0]);
  UChar* const start = target;
  const char* source = bytes;
  ucnv_toUnicode(converter, &target, start + units.size(), &source, bytes + count, nullptr, true, &status);
  if (U_FAILURE(status)) return false;
  units.resize(static_cast<std::size_t>(target - start));
  return true;
}

bool Encode(UConverter* converter, const unsigned short* units, std::size_t count, std::string& bytes) {
  bytes.assign(count * static_cast<std::size_t>(ucnv_getMaxCharSize(converter)) + 16, '\0');
  UErrorCode status = U_ZERO_ERROR;
  char* target = &bytes[0];
  char* const start = target;
  const UChar* source = reinterpret_cast<const UChar*>(units);
  ucnv_fromUnicode(converter, &target, start + bytes.size(), &source, source + count, nullptr, true, &status);
  if (U_FAILURE(status)) return false;
  bytes.resize(static_cast<std::size_t>(target - start));
  return true;
}

}  // namespace

unsigned long ResolveEncoding(unsigned long encoding) {
  if (encoding != kApplicationEncoding) return encoding;
  return ApplicationTextEncoding();
}

bool DecodeBytes(const char* bytes, std::size_t count, unsigned long encoding, std::u16string& units) {
  // UTF-8 and ASCII, the usual application encodings, without a converter.
  const unsigned long resolved = ResolveEncoding(encoding);
  if (resolved == kUtf8Id && count < 0x7FFFFFFF) {
    units.resize(count + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(reinterpret_cast<UChar*>(&units[0]), static_cast<int32_t>(units.size()), &length, bytes,
                  static_cast<int32_t>(count), &status);
    if (U_FAILURE(status)) return false;
    units.resize(static_cast<std::size_t>(length));
    return true;
  }
  if (resolved == kEncodingASCII) {
    units.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      const auto byte = static_cast<unsigned char>(bytes[i]);
      if (byte >= 0x80) return false;
      units[i] = byte;
    }
    return true;
  }
  UConverter* converter = OpenStrict(resolved);
  return converter != nullptr && Decode(converter, bytes, count, units);
}

bool EncodeUnits(const unsigned short* units, std::size_t count, unsigned long encoding, std::string& bytes) {
  const unsigned long resolved = ResolveEncoding(encoding);
  if (resolved == kUtf8Id && count < 0x20000000) {
    bytes.resize(count * 3 + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(&bytes[0], static_cast<int32_t>(bytes.size()), &length, reinterpret_cast<const UChar*>(units),
                static_cast<int32_t>(count), &status);
    if (U_FAILURE(status)) return false;
    bytes.resize(static_cast<std::size_t>(length));
    return true;
  }
  UConverter* converter = OpenStrict(resolved);
  return converter != nullptr && Encode(converter, units, count, bytes);
}

bool DecodeBytesNamed(const char* bytes, std::size_t count, const char* name, std::u16string& units) {
  UConverter* converter = OpenStrictNamed(name);
  return converter != nullptr && Decode(converter, bytes, count, units);
}

bool EncodeUnitsNamed(const unsigned short* units, std::size_t count, const char* name, std::string& bytes) {
  UConverter* converter = OpenStrictNamed(name);
  return converter != nullptr && Encode(converter, units, count, bytes);
}

}  // namespace Platform
}  // namespace Vesk
