#ifndef VESK_PLATFORM_PLATFORM_ENCODING_H_
#define VESK_PLATFORM_PLATFORM_ENCODING_H_

#include <cstddef>
#include <string>

// 8-bit text to and from UTF-16 for the platform objects, on ICU converters
// named through the text conversion service. Conversion is strict: a byte
// sequence that is not valid, or a character the target cannot hold, fails.
namespace Vesk {
namespace Platform {

// The id that kApplicationEncoding stands for: the locale facts' application
// text encoding.
unsigned long ResolveEncoding(unsigned long encoding);

// Decodes `count` bytes; false (and `units` unspecified) on failure or for an
// encoding that cannot be opened.
bool DecodeBytes(const char* bytes, std::size_t count, unsigned long encoding, std::u16string& units);

// Encodes `count` code units; false on failure.
bool EncodeUnits(const unsigned short* units, std::size_t count, unsigned long encoding, std::string& bytes);

// The same with an ICU converter name instead of an id.
bool DecodeBytesNamed(const char* bytes, std::size_t count, const char* name, std::u16string& units);
bool EncodeUnitsNamed(const unsigned short* units, std::size_t count, const char* name, std::string& bytes);

}  // namespace Platform
}  // namespace Vesk

#endif  // VESK_PLATFORM_PLATFORM_ENCODING_H_
