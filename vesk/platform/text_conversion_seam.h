#ifndef VESK_PLATFORM_TEXT_CONVERSION_SEAM_H_
#define VESK_PLATFORM_TEXT_CONVERSION_SEAM_H_

#include <unicode/ucnv.h>

// The host calls that the text conversion service makes to look up names and
// to open and close ICU converters, and its one switch, gathered in one table
// so that a test can replace an entry (to force a failing open, count closes,
// or see the names asked for) and put the original back.
namespace Vesk {
namespace Platform {

struct ConverterHostCalls {
  UConverter* (*open)(const char* name, UErrorCode* status);
  void (*close)(UConverter* converter);
  // The canonical converter of a name in one standard's alias list.
  const char* (*canonical_name)(const char* alias, const char* standard, UErrorCode* status);
  // Whether converters opened from now on look up the single-byte characters
  // of a set instead of asking ICU; off, every character goes through ICU.
  bool single_byte_tables = true;
};

// The live table. Replacing an entry while other threads convert is not safe.
ConverterHostCalls& HostCalls();

// The table as it was at load: ICU's own functions.
ConverterHostCalls DefaultHostCalls();

}  // namespace Platform
}  // namespace Vesk

#endif  // VESK_PLATFORM_TEXT_CONVERSION_SEAM_H_
