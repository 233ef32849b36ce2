#ifndef VESK_URI_ESCAPING_HEX_H_
#define VESK_URI_ESCAPING_HEX_H_

// The reading of one percent escape, shared by ParseHex and Unescape so that
// the unescaping loop needs no string per escape. Internal: not installed.

#include <cstddef>

namespace Vesk {
namespace uri_internal {

// Reads the zero-terminated `digits` exactly as the C library's sscanf with
// the format "%x" does in the C locale: leading white space is skipped, a sign
// and a "0x" prefix are accepted, then hexadecimal digits. Returns 1 with
// `value` set when a number was read, 0 when the first byte that is not white
// space can begin no number, and -1 (leaving `value` alone) at end of input.
int ScanHex(const char* digits, unsigned int& value);

// ParseHex on the `size` bytes at `text`: the byte read into `out` and the
// number of source bytes consumed (1 or 3).
int ParseHexBytes(const char* text, size_t size, char& out);

}  // namespace uri_internal
}  // namespace Vesk

#endif  // VESK_URI_ESCAPING_HEX_H_
