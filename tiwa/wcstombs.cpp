// UTF-16 to the C library's multibyte encoding of the current locale.
#include <climits>
#include <cstring>
#include <cwchar>

#include "tiwa/tiwa"

extern "C" size_t tiwa_wcstombs(char* target, const unsigned short* text, size_t size) {
  std::mbstate_t state{};
  size_t written = 0;
  char bytes[MB_LEN_MAX];
  const unsigned short* p = text;
  while (*p != 0) {
    char32_t code = *p++;
    if (code >= 0xD800 && code <= 0xDBFF && *p >= 0xDC00 && *p <= 0xDFFF) {
      code = 0x10000 + ((code - 0xD800) << 10) + (*p++ - 0xDC00);
    } else if (code >= 0xD800 && code <= 0xDFFF) {
      code = U'?';  // a lone half of a pair encodes nowhere
    }
    size_t n = std::wcrtomb(bytes, static_cast<wchar_t>(code), &state);
    if (n == static_cast<size_t>(-1)) {
      state = std::mbstate_t{};
      bytes[0] = '?';
      n = 1;
    }
    if (target != nullptr) {
      if (n > size - written) break;  // only whole characters
      std::memcpy(target + written, bytes, n);
    }
    written += n;
  }
  if (target != nullptr && written < size) target[written] = 0;
  return written;
}
