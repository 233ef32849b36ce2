#ifndef VESK_ENCODING_TRANSCODER_INTERNAL_H_
#define VESK_ENCODING_TRANSCODER_INTERNAL_H_

#include <string>
#include <vector>

// The transcoder's internal functions and a read-only view of its converter
// pools, for tests and fuzz targets.
namespace Vesk {

// Character-set id of an encoding name: the three Unicode forms by name without
// regard to case, every other name (cut to 255 bytes) through the host's table
// of internet names. An unknown name gives an id for which no converter can be
// made.
unsigned long EncodingToCharSetID(const std::string& name);

// UTF-16 to the character set `charSet`, through a pooled converter.
std::string WideToCharSet(const std::basic_string<unsigned short>& text, unsigned long charSet);

// The character set `charSet` to UTF-16, through a pooled converter.
std::basic_string<unsigned short> CharSetToWide(const std::string& text, unsigned long charSet);

namespace TranscoderView {

enum class Pool { kFromUTF16, kToUTF16, kFromUTF32 };

struct Entry {
  unsigned long key;
  const void* converter;
  bool operator==(const Entry& other) const { return key == other.key && converter == other.converter; }
};

// The idle converters of a pool, in key order and, among equal keys, in the
// order they will be taken. Read under the pools' lock.
std::vector<Entry> Contents(Pool pool);

// Disposes of every idle converter in every pool, as at exit, so that a test
// starts from empty pools.
void DisposeIdleConverters();

}  // namespace TranscoderView
}  // namespace Vesk

#endif  // VESK_ENCODING_TRANSCODER_INTERNAL_H_
