// The shared library's own translation unit: everything else comes from the
// subsystem archives linked in whole.
#include "vesk/export"

extern "C" VESK_EXPORT const char* vesk_version() { return "1.0.0"; }
