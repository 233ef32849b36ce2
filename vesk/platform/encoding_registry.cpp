#include "vesk/platform/text_conversion"

#include <unicode/ucnv.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "vesk/platform/encoding_registry.h"
#include "vesk/platform/text_conversion_seam.h"

// The ids of the text conversion service: fixed ids for the Unicode forms, and
// a stable id for every canonical ICU converter the first time a name leads to
// it.
namespace Vesk {
namespace Platform {

namespace {

constexpr TextEncoding kFirstRegisteredId = 0x10000;

ConverterHostCalls gHostCalls = {&ucnv_open, &ucnv_close, &ucnv_getCanonicalName, true};

// Ids of the canonical converters seen so far, and a cache of the names asked
// for. Names are kept for the life of the process.
struct Registry {
  std::mutex lock;
  // Canonical names point into ICU's alias data, which lives as long as the
  // process does.
  std::map<std::string, TextEncoding> id_of_canonical;
  std::vector<const char*> canonical_of_id;  // index: id - kFirstRegisteredId
  std::map<std::string, TextEncoding> id_of_asked_name;
};

Registry& TheRegistry() {
  // Never destroyed: converters may still be disposed of by exit handlers that
  // run after this file's statics would be.
  static Registry* registry = new Registry;
  return *registry;
}

std::string Lowered(const char* text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

const char* MachineUTF16Name() {
#if U_IS_BIG_ENDIAN
  return "UTF-16BE";
#else
  return "UTF-16LE";
#endif
}

// The canonical ICU converter name for an internet name, through the MIME and
// IANA alias lists; null when neither list knows it.
const char* CanonicalForInternetName(const char* name) {
  for (const char* standard : {"MIME", "IANA"}) {
    UErrorCode status = U_ZERO_ERROR;
    const char* canonical = HostCalls().canonical_name(name, standard, &status);
    if (U_SUCCESS(status) && canonical != nullptr && *canonical != '\0') return canonical;
  }
  return nullptr;
}

}  // namespace

ConverterHostCalls& HostCalls() { return gHostCalls; }

ConverterHostCalls DefaultHostCalls() { return {&ucnv_open, &ucnv_close, &ucnv_getCanonicalName, true}; }

TextEncoding UnicodeTextEncoding(unsigned base, unsigned variant, unsigned format) {
  return (static_cast<TextEncoding>(format & 0x3Fu) << 26) |
         (static_cast<TextEncoding>(variant & 0x3FFu) << 16) | (base & 0xFFFFu);
}

const char* IcuNameOf(TextEncoding id) {
  if (id == UTF16Id()) return MachineUTF16Name();
  if (id == UTF8Id()) return "UTF-8";
  if (id == UTF7Id()) return "UTF-7";
  if (id < kFirstRegisteredId || id == kUnknownTextEncoding) return nullptr;
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> hold(registry.lock);
  const TextEncoding index = id - kFirstRegisteredId;
  return index < registry.canonical_of_id.size() ? registry.canonical_of_id[index] : nullptr;
}


ConversionStatus TextEncodingFromInternetName(TextEncoding* id, const unsigned char* length_prefixed_name) {
  *id = kUnknownTextEncoding;
  const std::string name(reinterpret_cast<const char*>(length_prefixed_name + 1), length_prefixed_name[0]);
  if (name.empty() || name.find('\0') != std::string::npos) return kUnknownEncoding;
  Registry& registry = TheRegistry();
  {
    std::lock_guard<std::mutex> hold(registry.lock);
    auto known = registry.id_of_asked_name.find(name);
    if (known != registry.id_of_asked_name.end()) {
      *id = known->second;
      return *id == kUnknownTextEncoding ? kUnknownEncoding : kConversionOK;
    }
  }
  // The alias tables are ICU's own, read-only data; only the registry needs
  // the lock.
  const char* canonical = CanonicalForInternetName(name.c_str());
  TextEncoding result = kUnknownTextEncoding;
  if (canonical != nullptr) {
    if (std::strcmp(canonical, "UTF-8") == 0) {
      result = UTF8Id();
    } else if (std::strcmp(canonical, "UTF-7") == 0) {
      result = UTF7Id();
    } else if (std::strcmp(canonical, "UTF-16") == 0 || std::strcmp(canonical, MachineUTF16Name()) == 0) {
      result = UTF16Id();
    }
  }
  std::lock_guard<std::mutex> hold(registry.lock);
  if (canonical != nullptr && result == kUnknownTextEncoding) {
    auto [entry, added] = registry.id_of_canonical.emplace(
        canonical, kFirstRegisteredId + registry.canonical_of_id.size());
    if (added) registry.canonical_of_id.push_back(canonical);
    result = entry->second;
  }
  // The cache of asked names is bounded so that a stream of made-up names
  // cannot grow it without end.
  if (registry.id_of_asked_name.size() < 4096) registry.id_of_asked_name.emplace(name, result);
  *id = result;
  return result == kUnknownTextEncoding ? kUnknownEncoding : kConversionOK;
}

ConversionStatus TextEncodingInternetName(TextEncoding id, unsigned char* name) {
  name[0] = 0;
  std::string text;
  if (id == UTF16Id()) {
    text = "utf-16";
  } else if (id == UTF8Id()) {
    text = "utf-8";
  } else if (id == UTF7Id()) {
    text = "utf-7";
  } else {
    const char* icu = IcuNameOf(id);
    if (icu == nullptr) return kUnknownEncoding;
    const char* standard_name = nullptr;
    for (const char* standard : {"MIME", "IANA"}) {
      UErrorCode status = U_ZERO_ERROR;
      standard_name = ucnv_getStandardName(icu, standard, &status);
      if (U_SUCCESS(status) && standard_name != nullptr) break;
      standard_name = nullptr;
    }
    text = Lowered(standard_name != nullptr ? standard_name : icu);
  }
  if (text.size() > 255) text.resize(255);
  name[0] = static_cast<unsigned char>(text.size());
  std::memcpy(name + 1, text.data(), text.size());
  return kConversionOK;
}

}  // namespace Platform
}  // namespace Vesk
