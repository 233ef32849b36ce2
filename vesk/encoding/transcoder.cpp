#include "vesk/encoding/transcoder"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "vesk/encoding/start_stop.h"
#include "vesk/encoding/transcoder_internal.h"
#include "vesk/platform/locale_facts"
#include "vesk/platform/text_conversion"
#include "vesk/threads/mutex"

namespace Vesk {

using Platform::OpaqueTECObjectRef;

namespace {

using ConverterMap = std::multimap<unsigned long, OpaqueTECObjectRef*>;

// Disposes of a map's idle converters at exit, under the lock. Each map is
// followed by one of these, so that the handlers run before the map and the
// lock are destroyed.
struct ExitHandler {
  ConverterMap& map;
  const char* stop_step;
  ExitHandler(ConverterMap& m, const char* start_step, const char* stop) : map(m), stop_step(stop) {
    StartStop::Record(start_step);
  }
  ~ExitHandler();
};

// Records the lock's construction, and, being built just before it, its
// destruction.
struct LockMarker {
  const char* start_step;
  const char* stop_step;
  LockMarker(const char* start, const char* stop) : start_step(start), stop_step(stop) {
    if (start_step != nullptr) StartStop::Record(start_step);
  }
  ~LockMarker() {
    if (stop_step != nullptr) StartStop::Record(stop_step);
  }
};

// The converter group is built before anything else of the library at load
// and destroyed after it at exit (priority 101; the URI character classes use
// 102 and 103). Within the group, definition order is construction order.
LockMarker lockGone __attribute__((init_priority(101))) (nullptr, "destroyed converterMapLock");
Mutex converterMapLock __attribute__((init_priority(101)));
LockMarker lockBuilt __attribute__((init_priority(101))) ("built converterMapLock", nullptr);
ConverterMap fromUTF16Converters __attribute__((init_priority(101)));
ExitHandler fromUTF16Handler __attribute__((init_priority(101))) (
    fromUTF16Converters, "built fromUTF16Converters", "emptied fromUTF16Converters");
ConverterMap toUTF16Converters __attribute__((init_priority(101)));
ExitHandler toUTF16Handler __attribute__((init_priority(101))) (
    toUTF16Converters, "built toUTF16Converters", "emptied toUTF16Converters");
ConverterMap fromUTF32Converters __attribute__((init_priority(101)));
ExitHandler fromUTF32Handler __attribute__((init_priority(101))) (
    fromUTF32Converters, "built fromUTF32Converters", "emptied fromUTF32Converters");

void DisposeAll(ConverterMap& map) {
  ScopedLock hold(converterMapLock);
  for (auto& entry : map) Platform::CloseConverter(entry.second);
  map.clear();
}

ExitHandler::~ExitHandler() {
  DisposeAll(map);
  StartStop::Record(stop_step);
}

unsigned long UnicodeId(unsigned format) {
  // Asked once: every conversion needs one of them.
  static const unsigned long ids[] = {
      Platform::UnicodeTextEncoding(Platform::kUnicodeDefaultBase, 0, Platform::kUTF16Format),
      Platform::UnicodeTextEncoding(Platform::kUnicodeDefaultBase, 0, Platform::kUTF7Format),
      Platform::UnicodeTextEncoding(Platform::kUnicodeDefaultBase, 0, Platform::kUTF8Format)};
  static_assert(Platform::kUTF16Format == 0 && Platform::kUTF7Format == 1 && Platform::kUTF8Format == 2,
                "the formats index the table");
  return ids[format];
}

// Makes room for `more` units behind the result. When the result must grow,
// it grows to what the whole text will likely need, judged by what the input
// read so far gave, so that a long text is copied once or twice rather than
// at every doubling.
template <class Text>
void MakeRoom(Text& result, std::size_t more, std::size_t input_read, std::size_t input_total) {
  const std::size_t needed = result.size() + more;
  if (needed <= result.capacity() || input_read == 0) return;
  const std::size_t expected = static_cast<std::size_t>(
      static_cast<unsigned long long>(needed) * input_total / input_read);
  result.reserve(std::max(needed, expected + expected / 16 + 16));
}

// Takes the earliest idle converter with this key out of the map, keeping its
// node for the return; an empty handle when there is none.
ConverterMap::node_type TakeIdle(ConverterMap& map, unsigned long key) {
  ScopedLock hold(converterMapLock);
  auto found = map.lower_bound(key);
  if (found == map.end() || found->first != key) return ConverterMap::node_type();
  return map.extract(found);
}

// Puts a converter back behind the idle ones of its key.
void GiveBack(ConverterMap& map, ConverterMap::node_type node, unsigned long key,
              OpaqueTECObjectRef* converter) {
  ScopedLock hold(converterMapLock);
  if (node) {
    map.insert(std::move(node));
  } else {
    map.emplace(key, converter);
  }
}

}  // namespace

unsigned long EncodingToCharSetID(const std::string& name) {
  const char* text = name.c_str();
  if (strcasecmp(text, "utf-8") == 0) return UnicodeId(Platform::kUTF8Format);
  if (strcasecmp(text, "utf-16") == 0) return UnicodeId(Platform::kUTF16Format);
  if (strcasecmp(text, "unicode") == 0) return UnicodeId(Platform::kUTF16Format);
  if (strcasecmp(text, "utf-7") == 0) return UnicodeId(Platform::kUTF7Format);
  unsigned char length_prefixed[256];
  const std::size_t length = std::min<std::size_t>(name.size(), 255);
  length_prefixed[0] = static_cast<unsigned char>(length);
  std::memcpy(length_prefixed + 1, name.data(), length);
  Platform::TextEncoding id = Platform::kUnknownTextEncoding;
  Platform::TextEncodingFromInternetName(&id, length_prefixed);
  return id;
}

unsigned long CharSetIDOfEncoding(const std::string& name) { return EncodingToCharSetID(name); }

std::string WideToCharSet(const std::basic_string<unsigned short>& text, unsigned long charSet) {
  std::string result;
  const unsigned long from = UnicodeId(Platform::kUTF16Format);
  ConverterMap::node_type node = TakeIdle(fromUTF16Converters, charSet);
  OpaqueTECObjectRef* converter = node ? node.mapped() : nullptr;
  if (converter == nullptr && Platform::OpenConverter(&converter, from, charSet) != 0) return result;

  // One byte per unit is exact for ASCII and a floor otherwise; it spares the
  // result most of its regrowth.
  result.reserve(text.size());
  const char* input = reinterpret_cast<const char*>(text.data());
  std::size_t remaining = text.size() * 2;
  std::size_t offset = 0;
  std::size_t bytes_read = 0;
  std::size_t bytes_written = 0;
  Platform::ConversionStatus status = 0;
  char buffer[512];
  while (status == 0) {
    if (remaining == 0) {
      Platform::FlushText(converter, buffer, sizeof buffer, &bytes_written);
      break;
    }
    status = Platform::ConvertText(converter, input + offset, remaining, &bytes_read, buffer,
                                   sizeof buffer, &bytes_written);
    if (status == Platform::kOutputBufferFull || status == Platform::kUsedFallbacks) status = 0;
    offset += bytes_read;
    remaining -= bytes_read;
    MakeRoom(result, bytes_written, offset, text.size() * 2);
    result.append(buffer, bytes_written);
  }
  // After a flush this is the flushed tail; after a stop it repeats the last
  // chunk, which callers have come to expect.
  result.append(buffer, bytes_written);
  Platform::ResetConverter(converter);
  GiveBack(fromUTF16Converters, std::move(node), charSet, converter);
  return result;
}

std::basic_string<unsigned short> CharSetToWide(const std::string& text, unsigned long charSet) {
  std::basic_string<unsigned short> result;
  const unsigned long to = UnicodeId(Platform::kUTF16Format);
  ConverterMap::node_type node = TakeIdle(toUTF16Converters, charSet);
  OpaqueTECObjectRef* converter = node ? node.mapped() : nullptr;
  if (converter == nullptr && Platform::OpenConverter(&converter, charSet, to) != 0) return result;

  // No common character set gives more units than bytes.
  result.reserve(text.size());
  std::size_t remaining = text.size();
  std::size_t offset = 0;
  std::size_t bytes_read = 0;
  std::size_t bytes_written = 0;
  Platform::ConversionStatus status = 0;
  unsigned short buffer[512];  // 1024 bytes
  while (status == 0) {
    if (remaining == 0) {
      Platform::FlushText(converter, buffer, sizeof buffer, &bytes_written);
      break;
    }
    status = Platform::ConvertText(converter, text.data() + offset, remaining, &bytes_read, buffer,
                                   sizeof buffer, &bytes_written);
    if (status == Platform::kOutputBufferFull || status == Platform::kUsedFallbacks) status = 0;
    offset += bytes_read;
    remaining -= bytes_read;
    MakeRoom(result, bytes_written / 2, offset, text.size());
    result.append(buffer, bytes_written / 2);
  }
  result.append(buffer, bytes_written / 2);
  Platform::ResetConverter(converter);
  GiveBack(toUTF16Converters, std::move(node), charSet, converter);
  return result;
}

std::string Transcoder::PlatformEncoding() {
  Platform::TextEncoding id = 0;
  if (Platform::SystemTextEncoding(&id) != 0) id = UnicodeId(Platform::kUTF8Format);
  // Format 0 is tested twice, so "unicode" never comes out.
  if (id == UnicodeId(Platform::kUTF8Format)) return "utf-8";
  if (id == UnicodeId(Platform::kUTF16Format)) return "utf-16";
  if (id == UnicodeId(Platform::kUTF16Format)) return "unicode";
  if (id == UnicodeId(Platform::kUTF7Format)) return "utf-7";
  unsigned char name[256];
  Platform::TextEncodingInternetName(id, name);
  return std::string(reinterpret_cast<const char*>(name + 1), name[0]);
}

std::string Transcoder::DefaultChannelEncoding() {
  Platform::TextEncoding id = 0;
  if (Platform::SystemTextEncoding(&id) != 0) id = UnicodeId(Platform::kUTF8Format);
  short language = 0;
  Platform::LanguageOfTextEncoding(id, &language);
  return language == Platform::kLanguageJapanese ? "shift_jis" : "iso-8859-1";
}

bool Transcoder::IsValidEncoding(const std::string& name) {
  try {
    EncodingToCharSetID(name);
    return true;
  } catch (...) {
    return false;
  }
}

std::string Transcoder::UTF16ToEncoding(const std::basic_string<unsigned short>& text,
                                        const std::string& encoding) {
  return WideToCharSet(text, EncodingToCharSetID(encoding));
}

std::basic_string<unsigned short> Transcoder::EncodingToUTF16(const std::string& text,
                                                              const std::string& encoding) {
  return CharSetToWide(text, EncodingToCharSetID(encoding));
}

std::string Transcoder::UTF16ToUTF8(const std::basic_string<unsigned short>& text) {
  return WideToCharSet(text, UnicodeId(Platform::kUTF8Format));
}

std::string Transcoder::asUTF8(const std::basic_string<unsigned short>& text) {
  return WideToCharSet(text, UnicodeId(Platform::kUTF8Format));
}

std::basic_string<unsigned short> Transcoder::UTF8ToUTF16(const std::string& text) {
  return CharSetToWide(text, UnicodeId(Platform::kUTF8Format));
}

std::basic_string<unsigned short> Transcoder::asUTF16(const std::string& text) {
  return CharSetToWide(text, UnicodeId(Platform::kUTF8Format));
}

std::string Transcoder::UTF8ToEncoding(const std::string& text, const std::string& encoding) {
  const std::basic_string<unsigned short> wide = CharSetToWide(text, UnicodeId(Platform::kUTF8Format));
  return WideToCharSet(wide, EncodingToCharSetID(encoding));
}

std::string Transcoder::EncodingToUTF8(const std::string& text, const std::string& encoding) {
  const std::basic_string<unsigned short> wide = CharSetToWide(text, EncodingToCharSetID(encoding));
  return WideToCharSet(wide, UnicodeId(Platform::kUTF8Format));
}

std::string Transcoder::asFilesystemString(const std::basic_string<unsigned short>& text) {
  return WideToCharSet(text, EncodingToCharSetID(DefaultChannelEncoding()));
}

std::basic_string<unsigned short> Transcoder::filesytemToUTF16(const std::string& text) {
  return CharSetToWide(text, EncodingToCharSetID(DefaultChannelEncoding()));
}

namespace TranscoderView {

std::vector<Entry> Contents(Pool pool) {
  ConverterMap& map = pool == Pool::kFromUTF16 ? fromUTF16Converters
                      : pool == Pool::kToUTF16 ? toUTF16Converters
                                               : fromUTF32Converters;
  ScopedLock hold(converterMapLock);
  std::vector<Entry> entries;
  for (const auto& entry : map) entries.push_back({entry.first, entry.second});
  return entries;
}

void DisposeIdleConverters() {
  DisposeAll(fromUTF16Converters);
  DisposeAll(toUTF16Converters);
  DisposeAll(fromUTF32Converters);
}

}  // namespace TranscoderView
}  // namespace Vesk
