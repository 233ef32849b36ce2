#ifndef VESK_TESTS_SUPPORT_ENCODINGS_H_
#define VESK_TESTS_SUPPORT_ENCODINGS_H_

// Encoding ids and internet names through the length-prefixed calls of the
// conversion service, as plain strings for the tests.
#include <string>

#include "vesk/platform/text_conversion"

namespace vesktest {

// The id of an encoding name; unknown names give an id without a converter.
inline Vesk::Platform::TextEncoding IdOf(const std::string& name) {
  unsigned char pascal[256];
  pascal[0] = static_cast<unsigned char>(name.size());
  name.copy(reinterpret_cast<char*>(pascal + 1), name.size());
  Vesk::Platform::TextEncoding id = 0;
  Vesk::Platform::TextEncodingFromInternetName(&id, pascal);
  return id;
}

// The lower-cased internet name of an id.
inline std::string InternetName(Vesk::Platform::TextEncoding id) {
  unsigned char name[256];
  Vesk::Platform::TextEncodingInternetName(id, name);
  return std::string(reinterpret_cast<const char*>(name + 1), name[0]);
}

}  // namespace vesktest

#endif  // VESK_TESTS_SUPPORT_ENCODINGS_H_
