#include "vesk/platform/text_conversion"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <unicode/utypes.h>

#include <algorithm>
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
  // The other side is UTF-8, which has a faster path for whole characters.
  bool utf8 = false;
  // The ICU converter holds nothing: no partial character, no output waiting.
  // The faster path may be taken only then.
  bool clean = true;
  // Output of the faster path that did not fit the last buffer: the rest of a
  // character's bytes, or the second unit of a pair, written first next time.
  unsigned char pending[4] = {};
  std::size_t pending_bytes = 0;
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
// conversion stops there. As with ICU's own callbacks, an unmappable default
// ignorable character (a direction mark, say) is skipped.
void FromUnicodeFallbackOrStop(const void* context, UConverterFromUnicodeArgs* args,
                               const UChar* code_units, int32_t length, UChar32 code_point,
                               UConverterCallbackReason reason, UErrorCode* status) {
  if (reason != UCNV_UNASSIGNED) return;  // stop: leave the error as it is
  UCNV_FROM_U_CALLBACK_STOP(nullptr, args, code_units, length, code_point, reason, status);
  if (U_SUCCESS(*status)) return;  // skipped
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
  made->utf8 = other == UTF8Id();
  status = U_ZERO_ERROR;
  if (from_unicode) {
    ucnv_setFromUCallBack(icu, FromUnicodeFallbackOrStop, made, nullptr, nullptr, &status);
  } else {
    ucnv_setToUCallBack(icu, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  *converter = made;
  return kConversionOK;
}

namespace {

// Writes what the last call held back; true when all of it fit.
bool WritePending(OpaqueTECObjectRef* converter, unsigned char*& target, unsigned char* target_end) {
  const std::size_t count =
      std::min<std::size_t>(converter->pending_bytes, static_cast<std::size_t>(target_end - target));
  std::memcpy(target, converter->pending, count);
  target += count;
  std::memmove(converter->pending, converter->pending + count, converter->pending_bytes - count);
  converter->pending_bytes -= count;
  return converter->pending_bytes == 0;
}

// UTF-16 to UTF-8, filling the output to the last byte with ICU's character
// macros; bytes of a character that do not fit are held back. Stops at a
// surrogate without its partner, which the ICU converter then meets itself.
void FastUTF16ToUTF8(OpaqueTECObjectRef* converter, const UChar*& source, const UChar* source_end,
                     unsigned char*& target, unsigned char* target_end) {
  const UChar* in = source;
  unsigned char* out = target;
  while (in < source_end && out < target_end) {
    const UChar unit = *in;
    if (unit < 0x80) {
      // Eight ASCII units at a time while they last.
      while (source_end - in >= 8 && target_end - out >= 8) {
        uint64_t first, second;
        std::memcpy(&first, in, 8);
        std::memcpy(&second, in + 4, 8);
        if (((first | second) & 0xFF80FF80FF80FF80ull) != 0) break;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<unsigned char>(in[i]);
        in += 8;
        out += 8;
      }
      if (in < source_end && out < target_end && *in < 0x80) *out++ = static_cast<unsigned char>(*in++);
      continue;
    }
    // Two- and three-byte characters directly when they fit.
    if (unit < 0x800 && target_end - out >= 2) {
      out[0] = static_cast<unsigned char>(0xC0 | (unit >> 6));
      out[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
      out += 2;
      ++in;
      continue;
    }
    if (unit >= 0x800 && !U16_IS_SURROGATE(unit) && target_end - out >= 3) {
      out[0] = static_cast<unsigned char>(0xE0 | (unit >> 12));
      out[1] = static_cast<unsigned char>(0x80 | ((unit >> 6) & 0x3F));
      out[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
      out += 3;
      ++in;
      continue;
    }
    UChar32 c = unit;
    std::ptrdiff_t take = 1;
    if (U16_IS_SURROGATE(unit)) {
      if (!U16_IS_SURROGATE_LEAD(unit) || source_end - in < 2 || !U16_IS_TRAIL(in[1])) break;
      c = U16_GET_SUPPLEMENTARY(unit, in[1]);
      take = 2;
    }
    in += take;
    if (target_end - out >= U8_LENGTH(c)) {
      int32_t written = 0;
      U8_APPEND_UNSAFE(out, written, c);
      out += written;
      continue;
    }
    unsigned char bytes[4];
    int32_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, c);
    const std::size_t fit = static_cast<std::size_t>(target_end - out);
    std::memcpy(out, bytes, fit);
    out += fit;
    converter->pending_bytes = static_cast<std::size_t>(length) - fit;
    std::memcpy(converter->pending, bytes + fit, converter->pending_bytes);
    break;
  }
  source = in;
  target = out;
}

// UTF-8 to UTF-16, filling the output to the last unit with ICU's character
// macros (ASCII eight bytes at a time); the second unit of a pair that does not
// fit is held back. Stops at anything ill-formed or cut off, which the ICU
// converter then meets itself, so that both fill buffers alike.
void FastUTF8ToUTF16(OpaqueTECObjectRef* converter, const char*& source, const char* source_end,
                     UChar*& target, UChar* target_end) {
  const auto* in = reinterpret_cast<const uint8_t*>(source);
  const auto* in_end = reinterpret_cast<const uint8_t*>(source_end);
  UChar* out = target;
  while (in < in_end && out < target_end) {
    const uint8_t lead = *in;
    if (lead < 0x80) {
      // Eight ASCII bytes at a time while they last.
      while (in_end - in >= 8 && target_end - out >= 8) {
        uint64_t block;
        std::memcpy(&block, in, 8);
        if ((block & 0x8080808080808080ull) != 0) break;
        for (int k = 0; k < 8; ++k) out[k] = in[k];
        in += 8;
        out += 8;
      }
      if (in < in_end && out < target_end && *in < 0x80) *out++ = *in++;
      continue;
    }
    // Two- and three-byte characters directly; the rest through ICU's macro.
    if (in_end - in >= 3) {
      const uint8_t t1 = in[1];
      if (lead >= 0xC2 && lead <= 0xDF && U8_IS_TRAIL(t1)) {
        *out++ = static_cast<UChar>(((lead & 0x1F) << 6) | (t1 & 0x3F));
        in += 2;
        continue;
      }
      const uint8_t t2 = in[2];
      if (lead >= 0xE0 && lead <= 0xEF && U8_IS_TRAIL(t1) && U8_IS_TRAIL(t2) && (lead != 0xE0 || t1 >= 0xA0) &&
          (lead != 0xED || t1 < 0xA0)) {
        *out++ = static_cast<UChar>(((lead & 0x0F) << 12) | ((t1 & 0x3F) << 6) | (t2 & 0x3F));
        in += 3;
        continue;
      }
    }
    int32_t i = 0;
    UChar32 c = 0;
    const int32_t limit = static_cast<int32_t>(std::min<std::ptrdiff_t>(in_end - in, 4));
    U8_NEXT(in, i, limit, c);
    if (c < 0) break;
    in += i;
    if (c <= 0xFFFF) {
      *out++ = static_cast<UChar>(c);
      continue;
    }
    *out++ = U16_LEAD(c);
    if (out == target_end) {
      const UChar trail = U16_TRAIL(c);
      std::memcpy(converter->pending, &trail, sizeof trail);
      converter->pending_bytes = sizeof trail;
      break;
    }
    *out++ = U16_TRAIL(c);
  }
  source = reinterpret_cast<const char*>(in);
  target = out;
}

}  // namespace

ConversionStatus ConvertText(TextConverter* converter, const void* input, std::size_t input_bytes,
                             std::size_t* bytes_read, void* output, std::size_t output_bytes,
                             std::size_t* bytes_written) {
  *bytes_read = 0;
  *bytes_written = 0;
  auto* out_start = static_cast<unsigned char*>(output);
  unsigned char* out = out_start;
  // UTF-16 output takes whole units.
  unsigned char* out_end = out_start + (converter->from_unicode ? output_bytes : output_bytes / 2 * 2);
  if (!WritePending(converter, out, out_end)) {
    *bytes_written = static_cast<std::size_t>(out - out_start);
    return kOutputBufferFull;
  }
  UErrorCode status = U_ZERO_ERROR;
  if (converter->from_unicode) {
    const auto* source_start = static_cast<const UChar*>(input);
    const UChar* source = source_start;
    const UChar* source_end = source_start + input_bytes / 2;
    converter->used_fallback = false;
    if (converter->utf8 && converter->clean) FastUTF16ToUTF8(converter, source, source_end, out, out_end);
    if (converter->pending_bytes > 0 || (source < source_end && out == out_end)) {
      status = U_BUFFER_OVERFLOW_ERROR;  // the rest waits for the next call
    } else if (source < source_end) {
      char* target = reinterpret_cast<char*>(out);
      ucnv_fromUnicode(converter->icu, &target, reinterpret_cast<char*>(out_end), &source, source_end, nullptr,
                       false, &status);
      out = reinterpret_cast<unsigned char*>(target);
      UErrorCode count_status = U_ZERO_ERROR;
      converter->clean = U_SUCCESS(status) && ucnv_fromUCountPending(converter->icu, &count_status) == 0;
    }
    *bytes_read = static_cast<std::size_t>(source - source_start) * 2;
    // An odd last byte cannot begin a code unit: it is consumed and ignored,
    // so that a caller's loop always makes progress.
    if (U_SUCCESS(status) && (input_bytes & 1u) != 0) ++*bytes_read;
  } else {
    const auto* source_start = static_cast<const char*>(input);
    const char* source = source_start;
    const char* source_end = source_start + input_bytes;
    auto* target = reinterpret_cast<UChar*>(out);
    auto* target_end = reinterpret_cast<UChar*>(out_start + output_bytes / 2 * 2);
    if (converter->utf8 && converter->clean) FastUTF8ToUTF16(converter, source, source_end, target, target_end);
    if (converter->pending_bytes > 0 || (source < source_end && target == target_end)) {
      status = U_BUFFER_OVERFLOW_ERROR;
    } else if (source < source_end) {
      ucnv_toUnicode(converter->icu, &target, target_end, &source, source_end, nullptr, false, &status);
      UErrorCode count_status = U_ZERO_ERROR;
      converter->clean = U_SUCCESS(status) && ucnv_toUCountPending(converter->icu, &count_status) == 0;
    }
    out = reinterpret_cast<unsigned char*>(target);
    *bytes_read = static_cast<std::size_t>(source - source_start);
  }
  *bytes_written = static_cast<std::size_t>(out - out_start);
  if (U_SUCCESS(status) && converter->used_fallback) return kUsedFallbacks;
  return StatusOf(status);
}

ConversionStatus FlushText(TextConverter* converter, void* output, std::size_t output_bytes,
                           std::size_t* bytes_written) {
  auto* out_start = static_cast<unsigned char*>(output);
  unsigned char* out = out_start;
  const bool all_written = WritePending(
      converter, out, out_start + (converter->from_unicode ? output_bytes : output_bytes / 2 * 2));
  *bytes_written = static_cast<std::size_t>(out - out_start);
  if (!all_written) return kOutputBufferFull;
  // A UTF-8 converter that holds nothing has nothing more to write.
  if (converter->utf8 && converter->clean) return kConversionOK;
  UErrorCode status = U_ZERO_ERROR;
  if (converter->from_unicode) {
    const UChar* source = nullptr;
    char* target = reinterpret_cast<char*>(out);
    ucnv_fromUnicode(converter->icu, &target, reinterpret_cast<char*>(out_start + output_bytes), &source, source,
                     nullptr, true, &status);
    out = reinterpret_cast<unsigned char*>(target);
  } else {
    const char* source = nullptr;
    auto* target = reinterpret_cast<UChar*>(out);
    ucnv_toUnicode(converter->icu, &target, reinterpret_cast<UChar*>(out_start + output_bytes / 2 * 2), &source,
                   source, nullptr, true, &status);
    out = reinterpret_cast<unsigned char*>(target);
  }
  *bytes_written = static_cast<std::size_t>(out - out_start);
  converter->clean = U_SUCCESS(status);
  return StatusOf(status);
}

ConversionStatus ResetConverter(TextConverter* converter) {
  if (!(converter->utf8 && converter->clean)) ucnv_reset(converter->icu);
  converter->used_fallback = false;
  converter->clean = true;
  converter->pending_bytes = 0;
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
