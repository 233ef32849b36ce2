#ifndef VESK_PLATFORM_ENCODING_REGISTRY_H_
#define VESK_PLATFORM_ENCODING_REGISTRY_H_

#include "vesk/platform/text_conversion"

// What the converters need of the id registry: the fixed ids of the Unicode
// forms and the ICU converter behind any id.
namespace Vesk {
namespace Platform {

inline TextEncoding UTF16Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF16Format); }
inline TextEncoding UTF7Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF7Format); }
inline TextEncoding UTF8Id() { return UnicodeTextEncoding(kUnicodeDefaultBase, 0, kUTF8Format); }

// The ICU converter name behind an id, or null for an unknown id. The pointer
// stays valid for the life of the process.
const char* IcuNameOf(TextEncoding id);

}  // namespace Platform
}  // namespace Vesk

#endif  // VESK_PLATFORM_ENCODING_REGISTRY_H_
