#include "vesk/platform/text_conversion"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utypes.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "vesk/platform/text_conversion_seam.h"

namespace Vesk {
namespace Platform {

// One ICU converter for the side that is not UTF-16; the UTF-16 side is always
// machine byte order.
struct OpaqueTECObjectRef {
  UConverter* icu = nullptr;
  bool from_unicode = false;  // UTF-16 to the ICU side, else the ICU side to UTF-16
  // The canonical ICU name of the other side, for the fallback look-up.
  const char* icu_name = nullptr;
  // A second converter of the same kind with fallback mappings enabled, opened
  // the first time a character has no round-trip mapping.
  UConverter* fallback = nullptr;
  bool fallback_tried = false;
  bool used_fallback = false;
};

namespace {

constexpr TextEncoding kFirstRegisteredId = 0x10000;

ConverterHostCalls gHostCalls = {&ucnv_open, &ucnv_close, &ucnv_getCanonicalName};

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

TextEncoding UTF16Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF16Format); }
TextEncoding UTF7Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF7Format); }
TextEncoding UTF8Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF8Format); }

const char* MachineUTF16Name() {
#if U_IS_BIG_ENDIAN
  return "UTF-16BE";
#else
  return "UTF-16LE";
#endif
}

// The ICU converter name behind an id, or null for an unknown id. The pointer
// stays valid for the life of the process.
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

ConversionStatus StatusOf(UErrorCode code) {
  if (U_SUCCESS(code)) return kConversionOK;
  switch (code) {
    case U_BUFFER_OVERFLOW_ERROR:
      return kOutputBufferFull;
    case U_INVALID_CHAR_FOUND:
      return kUnmappableText;
    default:
      return kIllFormedInput;
  }
}

// From-Unicode callback: a character without a round-trip mapping is written
// through its fallback mapping when the character set has one; otherwise the
// conversion stops there.
void FromUnicodeFallbackOrStop(const void* context, UConverterFromUnicodeArgs* args,
                               const UChar* code_units, int32_t length, UChar32 /*code_point*/,
                               UConverterCallbackReason reason, UErrorCode* status) {
  if (reason != UCNV_UNASSIGNED) return;  // stop: leave the error as it is
  auto* converter = const_cast<OpaqueTECObjectRef*>(static_cast<const OpaqueTECObjectRef*>(context));
  if (!converter->fallback_tried) {
    converter->fallback_tried = true;
    // Only table-driven sets without shift states have fallback mappings that
    // can be written on their own.
    const UConverterType type = ucnv_getType(args->converter);
    if (type != UCNV_SBCS && type != UCNV_DBCS && type != UCNV_MBCS) return;
    UErrorCode open_status = U_ZERO_ERROR;
    UConverter* fallback = ucnv_open(converter->icu_name, &open_status);
    if (U_SUCCESS(open_status)) {
      ucnv_setFallback(fallback, true);
      UErrorCode set_status = U_ZERO_ERROR;
      ucnv_setFromUCallBack(fallback, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &set_status);
      converter->fallback = fallback;
    } else if (fallback != nullptr) {
      ucnv_close(fallback);
    }
  }
  if (converter->fallback == nullptr) return;
  char bytes[16];
  UErrorCode fallback_status = U_ZERO_ERROR;
  ucnv_resetFromUnicode(converter->fallback);
  const int32_t written = ucnv_fromUChars(converter->fallback, bytes, sizeof bytes, code_units,
                                          length, &fallback_status);
  if (U_FAILURE(fallback_status) || fallback_status == U_STRING_NOT_TERMINATED_WARNING ||
      written <= 0) {
    return;
  }
  *status = U_ZERO_ERROR;
  ucnv_cbFromUWriteBytes(args, bytes, written, 0, status);
  if (U_SUCCESS(*status)) converter->used_fallback = true;
}

}  // namespace

ConverterHostCalls& HostCalls() { return gHostCalls; }

ConverterHostCalls DefaultHostCalls() { return {&ucnv_open, &ucnv_close, &ucnv_getCanonicalName}; }

TextEncoding UnicodeTextEncoding(unsigned base, unsigned variant, unsigned format) {
  return (static_cast<TextEncoding>(format & 0x3Fu) << 26) |
         (static_cast<TextEncoding>(variant & 0x3FFu) << 16) | (base & 0xFFFFu);
}

ConversionStatus OpenConverter(TextConverter** converter, TextEncoding from, TextEncoding to) {
  *converter = nullptr;
  const TextEncoding utf16 = UTF16Id();
  bool from_unicode;
  TextEncoding other;
  if (from == utf16) {
    from_unicode = true;
    other = to;
  } else if (to == utf16) {
    from_unicode = false;
    other = from;
  } else {
    return kNoSuchConverter;
  }
  const char* name = IcuNameOf(other);
  if (name == nullptr) return kUnknownEncoding;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* icu = HostCalls().open(name, &status);
  if (U_FAILURE(status) || icu == nullptr) {
    if (icu != nullptr) HostCalls().close(icu);
    return kNoSuchConverter;
  }
  auto* made = new OpaqueTECObjectRef;
  made->icu = icu;
  made->from_unicode = from_unicode;
  made->icu_name = name;
  status = U_ZERO_ERROR;
  if (from_unicode) {
    ucnv_setFromUCallBack(icu, FromUnicodeFallbackOrStop, made, nullptr, nullptr, &status);
  } else {
    ucnv_setToUCallBack(icu, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  *converter = made;
  return kConversionOK;
}

ConversionStatus ConvertText(TextConverter* converter, const void* input, std::size_t input_bytes,
                             std::size_t* bytes_read, void* output, std::size_t output_bytes,
                             std::size_t* bytes_written) {
  *bytes_read = 0;
  *bytes_written = 0;
  UErrorCode status = U_ZERO_ERROR;
  if (converter->from_unicode) {
    const auto* source_start = static_cast<const UChar*>(input);
    const UChar* source = source_start;
    char* target_start = static_cast<char*>(output);
    char* target = target_start;
    converter->used_fallback = false;
    ucnv_fromUnicode(converter->icu, &target, target_start + output_bytes, &source,
                     source_start + input_bytes / 2, nullptr, false, &status);
    *bytes_read = static_cast<std::size_t>(source - source_start) * 2;
    *bytes_written = static_cast<std::size_t>(target - target_start);
    // An odd last byte cannot begin a code unit: it is consumed and ignored,
    // so that a caller's loop always makes progress.
    if (U_SUCCESS(status) && (input_bytes & 1u) != 0) ++*bytes_read;
    if (U_SUCCESS(status) && converter->used_fallback) return kUsedFallbacks;
  } else {
    const auto* source_start = static_cast<const char*>(input);
    const char* source = source_start;
    auto* target_start = static_cast<UChar*>(output);
    UChar* target = target_start;
    ucnv_toUnicode(converter->icu, &target, target_start + output_bytes / 2, &source,
                   source_start + input_bytes, nullptr, false, &status);
    *bytes_read = static_cast<std::size_t>(source - source_start);
    *bytes_written = static_cast<std::size_t>(target - target_start) * 2;
  }
  return StatusOf(status);
}

ConversionStatus FlushText(TextConverter* converter, void* output, std::size_t output_bytes,
                           std::size_t* bytes_written) {
  *bytes_written = 0;
  UErrorCode status = U_ZERO_ERROR;
  if (converter->from_unicode) {
    const UChar* source = nullptr;
    char* target_start = static_cast<char*>(output);
    char* target = target_start;
    ucnv_fromUnicode(converter->icu, &target, target_start + output_bytes, &source, source, nullptr,
                     true, &status);
    *bytes_written = static_cast<std::size_t>(target - target_start);
  } else {
    const char* source = nullptr;
    auto* target_start = static_cast<UChar*>(output);
    UChar* target = target_start;
    ucnv_toUnicode(converter->icu, &target, target_start + output_bytes / 2, &source, source, nullptr,
                   true, &status);
    *bytes_written = static_cast<std::size_t>(target - target_start) * 2;
  }
  return StatusOf(status);
}

ConversionStatus ResetConverter(TextConverter* converter) {
  ucnv_reset(converter->icu);
  converter->used_fallback = false;
  return kConversionOK;
}

void CloseConverter(TextConverter* converter) {
  if (converter == nullptr) return;
  HostCalls().close(converter->icu);
  if (converter->fallback != nullptr) ucnv_close(converter->fallback);
  delete converter;
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

bool CanConvertTextEncoding(TextEncoding id) {
  TextConverter* converter = nullptr;
  if (OpenConverter(&converter, id, UTF16Id()) != kConversionOK) return false;
  CloseConverter(converter);
  return true;
}

}  // namespace Platform
}  // namespace Vesk
