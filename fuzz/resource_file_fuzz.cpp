// The resource-file reader with any bytes: it must accept or refuse without
// reading outside the input, and whatever it accepts must write back to a file
// that reads the same.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "vesk/platform/resources"
#include "fuzz/fuzz_support.h"

using namespace Vesk::Platform;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool SameEntries(const std::vector<ResourceEntry>& a, const std::vector<ResourceEntry>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].type != b[i].type || a[i].id != b[i].id || a[i].has_name != b[i].has_name ||
        a[i].name != b[i].name || a[i].attributes != b[i].attributes || a[i].data != b[i].data)
      return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  // An exactly sized copy, so a read past the end is a sanitizer report.
  std::vector<unsigned char> input(data, data + size);
  std::vector<ResourceEntry> entries;
  const ResourceFileStatus status =
      ParseResourceFile(input.empty() ? nullptr : input.data(), input.size(), &entries);
  if (status != ResourceFileStatus::kOK) {
    Require(entries.empty());
    return 0;
  }
  size_t total = 0;
  for (const ResourceEntry& e : entries) total += e.data.size() + 4;
  Require(total <= size);  // no resource shares or invents bytes

  // Accepted files round-trip through the writer (types regrouped in order
  // of first appearance, which a parsed file already has).
  std::vector<unsigned char> written;
  if (SerializeResourceFile(entries, &written) != ResourceFileStatus::kOK) return 0;
  std::vector<ResourceEntry> again;
  Require(ParseResourceFile(written.data(), written.size(), &again) == ResourceFileStatus::kOK);
  Require(SameEntries(entries, again));
  return 0;
}
