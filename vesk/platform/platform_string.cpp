// Platform objects: one header (atomic count, type tag) in front of each
// object; strings hold UTF-16 inline or borrow the caller's units.
#include "vesk/platform/cfstring"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include "vesk/platform/platform_encoding.h"

struct CFObjectHeader {
  std::atomic<int32_t> refs;
  uint32_t type;
};

struct __CFString {
  CFObjectHeader header;
  long length;
  const unsigned short* chars;
  // Inline units follow when the string owns its text.
};

struct __CFNumber {
  CFObjectHeader header;
  double value;
};

struct __CFArray {
  CFObjectHeader header;
  std::vector<CFTypeRef> values;
};

namespace Vesk {
namespace Platform {
namespace {

constexpr uint32_t kStringTag = 7;
constexpr uint32_t kNumberTag = 22;
constexpr uint32_t kArrayTag = 19;

CFObjectHeader* HeaderOf(CFTypeRef object) {
  return const_cast<CFObjectHeader*>(static_cast<const CFObjectHeader*>(object));
}

unsigned short* InlineUnits(__CFString* s) {
  return reinterpret_cast<unsigned short*>(reinterpret_cast<char*>(s) + sizeof(__CFString));
}

// A string with room for `length` units plus a terminator behind the header.
__CFString* NewOwnedString(long length) {
  void* memory =
      ::operator new(sizeof(__CFString) + (static_cast<size_t>(length) + 1) * sizeof(unsigned short));
  auto* s = static_cast<__CFString*>(memory);
  new (&s->header.refs) std::atomic<int32_t>(1);
  s->header.type = kStringTag;
  s->length = length;
  unsigned short* units = InlineUnits(s);
  units[length] = 0;
  s->chars = units;
  return s;
}

long ScanLength(const unsigned short* text) {
  long n = 0;
  while (text[n] != 0) ++n;
  return n;
}

const __CFString* AsString(CFStringRef s) {
  return (s != nullptr && s->header.type == kStringTag) ? s : nullptr;
}

CFStringRef StringFromUnits(const std::u16string& units) {
  __CFString* s = NewOwnedString(static_cast<long>(units.size()));
  if (!units.empty()) std::memcpy(InlineUnits(s), units.data(), units.size() * sizeof(unsigned short));
  return s;
}

// Text up to the first non-ASCII unit, for the numeric readers.
std::string AsciiPrefix(const __CFString* s) {
  std::string out;
  out.reserve(static_cast<size_t>(s->length));
  for (long i = 0; i < s->length && s->chars[i] != 0 && s->chars[i] < 0x80; ++i)
    out += static_cast<char>(s->chars[i]);
  return out;
}

// Where the digits of a number begin: past leading white space and one sign,
// which `negative` reports.
size_t NumberStart(const std::string& text, bool& negative) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r'))) ++i;
  negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  return i;
}

}  // namespace

CFTypeRef RetainObject(CFTypeRef object) {
  if (object != nullptr) HeaderOf(object)->refs.fetch_add(1, std::memory_order_relaxed);
  return object;
}

void ReleaseObject(CFTypeRef object) {
  if (object == nullptr) return;
  CFObjectHeader* header = HeaderOf(object);
  if (header->refs.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  switch (header->type) {
    case kStringTag:
      ::operator delete(static_cast<void*>(header));
      break;
    case kNumberTag:
      delete reinterpret_cast<__CFNumber*>(header);
      break;
    case kArrayTag: {
      auto* array = reinterpret_cast<__CFArray*>(header);
      for (CFTypeRef value : array->values) ReleaseObject(value);
      delete array;
      break;
    }
    default:
      break;
  }
}

CFTypeID ObjectTypeID(CFTypeRef object) { return object == nullptr ? 0 : HeaderOf(object)->type; }
CFTypeID StringTypeID() { return kStringTag; }
CFTypeID NumberTypeID() { return kNumberTag; }
CFTypeID ArrayTypeID() { return kArrayTag; }

long ObjectRetainCount(CFTypeRef object) {
  return object == nullptr ? 0 : HeaderOf(object)->refs.load(std::memory_order_relaxed);
}

CFStringRef CreateStringFromUTF16(const unsigned short* text, long length) {
  if (text == nullptr) {
    if (length > 0) return nullptr;
    length = 0;
  } else if (length < 0) {
    length = ScanLength(text);
  }
  __CFString* s = NewOwnedString(length);
  if (length > 0) std::memcpy(InlineUnits(s), text, static_cast<size_t>(length) * sizeof(unsigned short));
  return s;
}

CFStringRef CreateStringBorrowingUTF16(const unsigned short* text, long length) {
  if (text == nullptr) return length > 0 ? nullptr : CreateStringFromUTF16(nullptr, 0);
  if (length < 0) length = ScanLength(text);
  auto* s = static_cast<__CFString*>(::operator new(sizeof(__CFString)));
  new (&s->header.refs) std::atomic<int32_t>(1);
  s->header.type = kStringTag;
  s->length = length;
  s->chars = text;
  return s;
}

CFStringRef CreateStringFromByteRange(const char* bytes, long count, unsigned long encoding) {
  if (bytes == nullptr || count < 0) return nullptr;
  std::u16string units;
  if (!DecodeBytes(bytes, static_cast<size_t>(count), encoding, units)) return nullptr;
  return StringFromUnits(units);
}

CFStringRef CreateStringFromBytes(const char* text, unsigned long encoding) {
  if (text == nullptr) return nullptr;
  return CreateStringFromByteRange(text, static_cast<long>(std::strlen(text)), encoding);
}

CFStringRef CreateStringFromLengthPrefixed(const unsigned char* text, unsigned long encoding) {
  if (text == nullptr) return nullptr;
  return CreateStringFromByteRange(reinterpret_cast<const char*>(text + 1), text[0], encoding);
}

CFStringRef CreateSubstring(CFStringRef string, long start, long length) {
  const __CFString* s = AsString(string);
  if (s == nullptr || start < 0 || length < 0 || start > s->length || length > s->length - start)
    return nullptr;
  return CreateStringFromUTF16(s->chars + start, length);
}

long StringLength(CFStringRef string) {
  const __CFString* s = AsString(string);
  return s == nullptr ? 0 : s->length;
}

const unsigned short* StringCharacters(CFStringRef string) {
  const __CFString* s = AsString(string);
  return s == nullptr ? nullptr : s->chars;
}

void CopyStringCharacters(CFStringRef string, long start, long length, unsigned short* target) {
  const __CFString* s = AsString(string);
  if (s == nullptr || length <= 0) return;
  std::memcpy(target, s->chars + start, static_cast<size_t>(length) * sizeof(unsigned short));
}

bool CopyStringBytes(CFStringRef string, char* target, long size, unsigned long encoding) {
  const __CFString* s = AsString(string);
  if (target == nullptr || size <= 0) return false;
  target[0] = 0;
  if (s == nullptr) return false;
  std::string bytes;
  if (!EncodeUnits(s->chars, static_cast<size_t>(s->length), encoding, bytes)) return false;
  if (bytes.size() + 1 > static_cast<size_t>(size)) return false;
  std::memcpy(target, bytes.data(), bytes.size());
  target[bytes.size()] = 0;
  return true;
}

bool CopyStringLengthPrefixed(CFStringRef string, unsigned char* target, long size, unsigned long encoding) {
  const __CFString* s = AsString(string);
  if (target == nullptr || size <= 0) return false;
  target[0] = 0;
  if (s == nullptr) return false;
  std::string bytes;
  if (!EncodeUnits(s->chars, static_cast<size_t>(s->length), encoding, bytes)) return false;
  if (bytes.size() > 255 || bytes.size() + 1 > static_cast<size_t>(size)) return false;
  std::memcpy(target + 1, bytes.data(), bytes.size());
  target[0] = static_cast<unsigned char>(bytes.size());
  return true;
}

int StringIntValue(CFStringRef string) {
  const __CFString* s = AsString(string);
  if (s == nullptr) return 0;
  const std::string text = AsciiPrefix(s);
  bool negative = false;
  size_t i = NumberStart(text, negative);
  long long value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = value * 10 + (text[i] - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) return negative ? INT_MIN : INT_MAX;
  }
  if (negative) value = -value;
  if (value > INT_MAX) return INT_MAX;
  return static_cast<int>(value);
}

double StringDoubleValue(CFStringRef string) {
  const __CFString* s = AsString(string);
  if (s == nullptr) return 0.0;
  const std::string text = AsciiPrefix(s);
  bool negative = false;
  size_t i = NumberStart(text, negative);
  // Only plain decimal forms: no "inf", "nan" or hexadecimal numbers.
  if (i >= text.size() || !((text[i] >= '0' && text[i] <= '9') || text[i] == '.')) return 0.0;
  if (text[i] == '.' && (i + 1 >= text.size() || text[i + 1] < '0' || text[i + 1] > '9')) return 0.0;
  double value = 0.0;
  const auto result =
      std::from_chars(text.data() + i, text.data() + text.size(), value, std::chars_format::general);
  if (result.ec == std::errc::result_out_of_range) {
    // Too large or too small: the closest representable extreme.
    value = (text.find_first_of("eE", i) != std::string::npos &&
             text.find('-', text.find_first_of("eE", i)) != std::string::npos)
                ? 0.0
                : HUGE_VAL;
  } else if (result.ec != std::errc()) {
    return 0.0;
  }
  return negative ? -value : value;
}

bool StringsEqual(CFStringRef a, CFStringRef b) {
  const __CFString* x = AsString(a);
  const __CFString* y = AsString(b);
  if (x == nullptr || y == nullptr || x->length != y->length) return false;
  return x->length == 0 || std::memcmp(x->chars, y->chars, static_cast<size_t>(x->length) * 2) == 0;
}

CFNumberRef CreateNumber(double value) {
  auto* n = new __CFNumber;
  new (&n->header.refs) std::atomic<int32_t>(1);
  n->header.type = kNumberTag;
  n->value = value;
  return n;
}

double NumberValue(CFNumberRef number) {
  return (number != nullptr && number->header.type == kNumberTag) ? number->value : 0.0;
}

CFMutableArrayRef CreateMutableArray() {
  auto* a = new __CFArray;
  new (&a->header.refs) std::atomic<int32_t>(1);
  a->header.type = kArrayTag;
  return a;
}

void AppendToArray(CFMutableArrayRef array, CFTypeRef value) {
  if (array == nullptr || array->header.type != kArrayTag) return;
  array->values.push_back(RetainObject(value));
}

long ArrayCount(CFArrayRef array) {
  if (array == nullptr || array->header.type != kArrayTag) return 0;
  return static_cast<long>(array->values.size());
}

CFTypeRef ArrayValueAt(CFArrayRef array, long index) {
  if (array == nullptr || array->header.type != kArrayTag || index < 0 ||
      index >= static_cast<long>(array->values.size()))
    return nullptr;
  return array->values[static_cast<size_t>(index)];
}

}  // namespace Platform
}  // namespace Vesk
