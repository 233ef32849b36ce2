// AddressSanitizer defaults for the fuzz targets. An input frees at most a few
// megabytes, so a 16 MB quarantine still holds every block that the input
// itself freed (a use after free is still caught), while the default 256 MB
// makes each input's allocations land on cold pages, which costs more than
// the target's own work on deep paths and long texts. ASAN_OPTIONS overrides.
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=16"; }
