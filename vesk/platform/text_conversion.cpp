#include "vesk/platform/text_conversion"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <unicode/utypes.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "vesk/platform/encoding_registry.h"
#include "vesk/platform/single_byte_tables.h"
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
  // The other side's characters of one byte (and, from UTF-16, of two),
  // looked up while the ICU converter holds nothing; null for sets that have
  // no single-byte characters or keep state.
  const SingleByteTable* table = nullptr;
  // The ICU converter holds nothing: no partial character, no output waiting.
  // The faster path may be taken only then.
  bool clean = true;
  // Output of the faster path that did not fit the last buffer: the rest of a
  // character's bytes, or the second unit of a pair, written first next time.
  unsigned char pending[4] = {};
  std::size_t pending_bytes = 0;
};

namespace {

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

// Our converter around an open ICU converter: a from-Unicode one writes
// fallback mappings or stops, a to-Unicode one stops.
OpaqueTECObjectRef* Wrap(UConverter* icu, const char* name, bool from_unicode) {
  auto* made = new OpaqueTECObjectRef;
  made->icu = icu;
  made->from_unicode = from_unicode;
  made->icu_name = name;
  UErrorCode status = U_ZERO_ERROR;
  if (from_unicode) {
    ucnv_setFromUCallBack(icu, FromUnicodeFallbackOrStop, made, nullptr, nullptr, &status);
  } else {
    ucnv_setToUCallBack(icu, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  return made;
}

// Table-driven sets without shift states: a character's bytes do not depend on
// the characters before it once the converter holds nothing.
bool HasSingleByteCharacters(UConverter* icu) {
  switch (ucnv_getType(icu)) {
    case UCNV_SBCS:
    case UCNV_MBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII:
      return true;
    default:
      return false;
  }
}

// Asks ICU's path, on converters of its own, one byte or one unit at a time.
class IcuProber : public SingleByteProber {
 public:
  IcuProber(OpaqueTECObjectRef* to_unicode, OpaqueTECObjectRef* from_unicode)
      : to_(to_unicode), from_(from_unicode) {}
  ~IcuProber() override {
    for (OpaqueTECObjectRef* converter : {to_, from_}) {
      ucnv_close(converter->icu);
      if (converter->fallback != nullptr) ucnv_close(converter->fallback);
      delete converter;
    }
  }

  bool ByteToUnit(std::uint8_t byte, std::uint16_t* unit) override {
    const char bytes[1] = {static_cast<char>(byte)};
    return ToOneUnit(bytes, 1, unit);
  }

  bool PairToUnit(std::uint8_t lead, std::uint8_t trail, std::uint16_t* unit) override {
    const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
    return ToOneUnit(bytes, 2, unit);
  }

  bool UnitToBytes(std::uint16_t unit, std::uint8_t bytes[2], int* count, bool* fallback) override {
    ucnv_resetFromUnicode(from_->icu);
    from_->used_fallback = false;
    char out[8] = {};
    char* target = out;
    const UChar source_unit = unit;
    const UChar* source = &source_unit;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(from_->icu, &target, out + 8, &source, source + 1, nullptr, false, &status);
    UErrorCode count_status = U_ZERO_ERROR;
    const std::ptrdiff_t written = target - out;
    if (U_FAILURE(status) || written < 1 || written > 2 ||
        ucnv_fromUCountPending(from_->icu, &count_status) != 0) {
      return false;
    }
    bytes[0] = static_cast<std::uint8_t>(out[0]);
    bytes[1] = static_cast<std::uint8_t>(out[1]);
    *count = static_cast<int>(written);
    *fallback = from_->used_fallback;
    return true;
  }

 private:
  // True, and the unit, when the bytes give exactly one unit (not a
  // surrogate) from the start state and nothing is held back.
  bool ToOneUnit(const char* bytes, int count, std::uint16_t* unit) {
    ucnv_resetToUnicode(to_->icu);
    UChar out[4];
    UChar* target = out;
    const char* source = bytes;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(to_->icu, &target, out + 4, &source, bytes + count, nullptr, false, &status);
    UErrorCode count_status = U_ZERO_ERROR;
    if (U_FAILURE(status) || target - out != 1 || U16_IS_SURROGATE(out[0]) ||
        ucnv_toUCountPending(to_->icu, &count_status) != 0) {
      return false;
    }
    *unit = out[0];
    return true;
  }

  OpaqueTECObjectRef* to_;
  OpaqueTECObjectRef* from_;
};

std::unique_ptr<SingleByteProber> MakeProber(const char* name) {
  UErrorCode to_status = U_ZERO_ERROR, from_status = U_ZERO_ERROR;
  UConverter* to_unicode = ucnv_open(name, &to_status);
  UConverter* from_unicode = ucnv_open(name, &from_status);
  if (U_FAILURE(to_status) || U_FAILURE(from_status)) {
    ucnv_close(to_unicode);
    ucnv_close(from_unicode);
    return nullptr;
  }
  return std::make_unique<IcuProber>(Wrap(to_unicode, name, false), Wrap(from_unicode, name, true));
}

}  // namespace

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
  OpaqueTECObjectRef* made = Wrap(icu, name, from_unicode);
  made->utf8 = other == UTF8Id();
  if (!made->utf8 && HostCalls().single_byte_tables && HasSingleByteCharacters(icu)) {
    made->table = SingleByteTable::For(name, &MakeProber);
    if (made->table != nullptr && !made->table->Useful()) made->table = nullptr;
  }
  *converter = made;
  return kConversionOK;
}

namespace {

// Writes what the last call held back; true when all of it fit.
bool WritePending(OpaqueTECObjectRef* converter, unsigned char*& target, unsigned char* target_end) {
  if (converter->pending_bytes == 0) return true;
  const std::size_t count =
      std::min<std::size_t>(converter->pending_bytes, static_cast<std::size_t>(target_end - target));
  std::memcpy(target, converter->pending, count);
  target += count;
  std::memmove(converter->pending, converter->pending + count, converter->pending_bytes - count);
  converter->pending_bytes -= count;
  return converter->pending_bytes == 0;
}

// UTF-16 to UTF-8 eight units at a time while the input has eight more and
// the output room for the worst they can give (a pair begun at the eighth unit
// included), so that nothing but the units is checked inside a block: ASCII
// blocks with SSE2, other characters one by one. Stops where that room ends or
// at a surrogate that does not begin a pair, which the careful path then meets.
inline void UTF16ToUTF8Blocks(const UChar*& in, const UChar* end, unsigned char*& out,
                              const unsigned char* out_end) {
  const UChar* p = in;
  unsigned char* o = out;
  const __m128i not_ascii = _mm_set1_epi16(static_cast<short>(0xFF80));
  while (end - p >= 9 && out_end - o >= 25) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(units, not_ascii), _mm_setzero_si128())) == 0xFFFF) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(units, units));
      p += 8;
      o += 8;
      continue;
    }
    const UChar* block_end = p + 8;
    while (p < block_end) {
      const unsigned unit = *p;
      if (unit < 0x80) {
        *o++ = static_cast<unsigned char>(unit);
        ++p;
      } else if (unit < 0x800) {
        o[0] = static_cast<unsigned char>(0xC0 | (unit >> 6));
        o[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        o += 2;
        ++p;
      } else if (!U16_IS_SURROGATE(unit)) {
        o[0] = static_cast<unsigned char>(0xE0 | (unit >> 12));
        o[1] = static_cast<unsigned char>(0x80 | ((unit >> 6) & 0x3F));
        o[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        o += 3;
        ++p;
      } else if (U16_IS_SURROGATE_LEAD(unit) && U16_IS_TRAIL(p[1])) {
        const UChar32 c = U16_GET_SUPPLEMENTARY(unit, p[1]);
        o[0] = static_cast<unsigned char>(0xF0 | (c >> 18));
        o[1] = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
        o[2] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
        o[3] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        o += 4;
        p += 2;
      } else {
        in = p;
        out = o;
        return;
      }
    }
  }
  in = p;
  out = o;
}

// UTF-8 to UTF-16 sixteen bytes at a time while the input has sixteen more
// and the output room for what they can give (a character begun at the
// sixteenth byte included): ASCII blocks with SSE2, well-formed characters of
// two to four bytes one by one. Stops where that room ends or at a byte that
// does not begin a well-formed character, which the careful path then meets.
inline void UTF8ToUTF16Blocks(const uint8_t*& in, const uint8_t* end, UChar*& out, const UChar* out_end) {
  const uint8_t* p = in;
  UChar* o = out;
  while (end - p >= 16 && out_end - o >= 20) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (_mm_movemask_epi8(bytes) == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 8), _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
      p += 16;
      o += 16;
      continue;
    }
    const uint8_t* block_end = p + 16;
    while (p < block_end) {
      const unsigned lead = *p;
      const std::ptrdiff_t left = end - p;
      if (lead < 0x80) {
        *o++ = static_cast<UChar>(lead);
        ++p;
      } else if (lead >= 0xC2 && lead <= 0xDF && left >= 2 && U8_IS_TRAIL(p[1])) {
        *o++ = static_cast<UChar>(((lead & 0x1F) << 6) | (p[1] & 0x3F));
        p += 2;
      } else if (lead >= 0xE0 && lead <= 0xEF && left >= 3 && U8_IS_VALID_LEAD3_AND_T1(lead, p[1]) &&
                 U8_IS_TRAIL(p[2])) {
        *o++ = static_cast<UChar>(((lead & 0x0F) << 12) | ((p[1] & 0x3F) << 6) | (p[2] & 0x3F));
        p += 3;
      } else if (lead >= 0xF0 && lead <= 0xF4 && left >= 4 && U8_IS_VALID_LEAD4_AND_T1(lead, p[1]) &&
                 U8_IS_TRAIL(p[2]) && U8_IS_TRAIL(p[3])) {
        const UChar32 c = ((lead & 0x07) << 18) | ((p[1] & 0x3F) << 12) | ((p[2] & 0x3F) << 6) | (p[3] & 0x3F);
        o[0] = U16_LEAD(c);
        o[1] = U16_TRAIL(c);
        o += 2;
        p += 4;
      } else {
        in = p;
        out = o;
        return;
      }
    }
  }
  in = p;
  out = o;
}

// UTF-16 to UTF-8, filling the output to the last byte with ICU's character
// macros; bytes of a character that do not fit are held back. Stops at a
// surrogate without its partner, which the ICU converter then meets itself.
void FastUTF16ToUTF8(OpaqueTECObjectRef* converter, const UChar*& source, const UChar* source_end,
                     unsigned char*& target, unsigned char* target_end) {
  const UChar* in = source;
  unsigned char* out = target;
  while (in < source_end && out < target_end) {
    UTF16ToUTF8Blocks(in, source_end, out, target_end);
    if (in == source_end || out == target_end) break;
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
    UTF8ToUTF16Blocks(in, in_end, out, target_end);
    if (in == in_end || out == target_end) break;
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

// The direct paths (UTF-8, a single-byte table) may be taken: the converter
// has one and its ICU side holds nothing.
bool Direct(const OpaqueTECObjectRef* converter) {
  return (converter->utf8 || converter->table != nullptr) && converter->clean;
}

// The rest of a text from UTF-16, after the UTF-8 path: single-byte
// characters through the table while ICU holds nothing, the others through
// ICU, a run of units up to the next ASCII one at a time (all the rest when
// there is no table or ICU holds something back).
UErrorCode FromUTF16Rest(OpaqueTECObjectRef* converter, const UChar*& source, const UChar* source_end,
                         unsigned char*& out, unsigned char* out_end) {
  UErrorCode status = U_ZERO_ERROR;
  while (source < source_end) {
    const UChar* piece_end = source_end;
    if (converter->table != nullptr && converter->clean) {
      converter->table->FromUTF16(source, source_end, out, out_end, &converter->used_fallback);
      if (source == source_end) break;
      if (out == out_end) return U_BUFFER_OVERFLOW_ERROR;  // the rest waits for the next call
      // A character of two bytes with room for one: the first is written and
      // the second held back for the next call, as ICU does.
      std::uint8_t bytes[2];
      if (out_end - out == 1 && converter->table->Lookup(*source, bytes, &converter->used_fallback) == 2) {
        *out++ = bytes[0];
        converter->pending[0] = bytes[1];
        converter->pending_bytes = 1;
        ++source;
        return U_BUFFER_OVERFLOW_ERROR;
      }
      piece_end = source + 1;
      while (piece_end < source_end && *piece_end >= 0x80) ++piece_end;
    }
    // A low surrogate that does not follow a high one can never begin a
    // character; some ICU converters hold it back when it is the last unit
    // given, as if more might come.
    UErrorCode count_status = U_ZERO_ERROR;
    const bool ends_in_lone_trail =
        U16_IS_TRAIL(piece_end[-1]) && (piece_end - source >= 2 ? !U16_IS_LEAD(piece_end[-2])
                                                                : ucnv_fromUCountPending(converter->icu, &count_status) == 0);
    char* target = reinterpret_cast<char*>(out);
    ucnv_fromUnicode(converter->icu, &target, reinterpret_cast<char*>(out_end), &source, piece_end, nullptr, false,
                     &status);
    out = reinterpret_cast<unsigned char*>(target);
    const int32_t held = ucnv_fromUCountPending(converter->icu, &count_status);
    if (U_SUCCESS(status) && ends_in_lone_trail && source == piece_end && held > 0) {
      status = U_ILLEGAL_CHAR_FOUND;  // stop there, as in the middle of a text
    }
    converter->clean = U_SUCCESS(status) && held == 0;
    if (U_FAILURE(status) || converter->table == nullptr) break;
  }
  return status;
}

// The rest of a text to UTF-16, likewise; ICU takes the bytes up to the next
// one below 0x40 at a time, which in the common multi-byte sets ends a
// character. Where it does not, ICU holds the lead byte back and takes the
// rest of the text.
UErrorCode ToUTF16Rest(OpaqueTECObjectRef* converter, const char*& source, const char* source_end,
                       UChar*& target, UChar* target_end) {
  UErrorCode status = U_ZERO_ERROR;
  while (source < source_end) {
    const char* piece_end = source_end;
    if (converter->table != nullptr && converter->clean) {
      const auto* in = reinterpret_cast<const std::uint8_t*>(source);
      converter->table->ToUTF16(in, reinterpret_cast<const std::uint8_t*>(source_end), target, target_end);
      source = reinterpret_cast<const char*>(in);
      if (source == source_end) break;
      if (target == target_end) return U_BUFFER_OVERFLOW_ERROR;
      piece_end = source + 1;
      while (piece_end < source_end && static_cast<std::uint8_t>(*piece_end) >= 0x40) ++piece_end;
    }
    ucnv_toUnicode(converter->icu, &target, target_end, &source, piece_end, nullptr, false, &status);
    UErrorCode count_status = U_ZERO_ERROR;
    converter->clean = U_SUCCESS(status) && ucnv_toUCountPending(converter->icu, &count_status) == 0;
    if (U_FAILURE(status) || converter->table == nullptr) break;
  }
  return status;
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
    } else {
      status = FromUTF16Rest(converter, source, source_end, out, out_end);
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
    } else {
      status = ToUTF16Rest(converter, source, source_end, target, target_end);
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
  // A converter whose ICU side holds nothing has nothing more to write.
  if (Direct(converter)) return kConversionOK;
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
  if (!Direct(converter)) ucnv_reset(converter->icu);
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

bool CanConvertTextEncoding(TextEncoding id) {
  TextConverter* converter = nullptr;
  if (OpenConverter(&converter, id, UTF16Id()) != kConversionOK) return false;
  CloseConverter(converter);
  return true;
}

}  // namespace Platform
}  // namespace Vesk
