// The shared library's own translation unit: the version query. Everything
// else comes from the subsystem objects.
#include "vesk/version"

const char* vesk_version(void) { return VESK_VERSION_STRING; }

int vesk_version_number(void) { return VESK_VERSION; }
