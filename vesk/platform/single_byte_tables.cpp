#include "vesk/platform/single_byte_tables.h"

#include <emmintrin.h>

#include <algorithm>
#include <map>
#include <string>

namespace Vesk {
namespace Platform {

namespace {

// Empty pages shared by every table: of units that no byte stands for, and of
// a lead byte that begins no pair the table holds.
const std::uint32_t kNoPage[256] = {};
const std::uint16_t kNoLeadPage[256] = {};

struct Tables {
  std::mutex lock;
  std::map<std::string, const SingleByteTable*> by_name;
};

Tables& TheTables() {
  // Never destroyed: converters hold pointers into the tables until the exit
  // handlers have disposed of them.
  static Tables* tables = new Tables;
  return *tables;
}

// The page in `slot`, built under `lock` the first time it is asked for: an
// entry from `probe` for each of the 256 places, or the shared empty page
// `none` when no place has one (0 marks no entry).
template <typename Entry, typename Probe>
const Entry* BuildOnce(std::mutex& lock, std::atomic<const Entry*>& slot, const Entry* none, Probe probe) {
  std::lock_guard<std::mutex> hold(lock);
  const Entry* built = slot.load(std::memory_order_acquire);
  if (built != nullptr) return built;
  auto* entries = new Entry[256]();
  bool any = false;
  for (unsigned place = 0; place < 256; ++place) {
    entries[place] = probe(place);
    any = any || entries[place] != 0;
  }
  built = entries;
  if (!any) {
    delete[] entries;
    built = none;
  }
  slot.store(built, std::memory_order_release);
  return built;
}

// True when all of the eight units at `in` are below `limit` (0x80 or 0x100).
inline bool EightBelow(const char16_t* in, std::uint16_t high_bits) {
  const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  const __m128i high = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(high_bits)));
  return _mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) == 0xFFFF;
}

}  // namespace

SingleByteTable::SingleByteTable(std::unique_ptr<SingleByteProber> prober) : prober_(std::move(prober)) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    std::uint16_t unit = 0;
    to_direct_[byte] = prober_->ByteToUnit(static_cast<std::uint8_t>(byte), &unit);
    to_unit_[byte] = to_direct_[byte] ? unit : 0;
    useful_ = useful_ || to_direct_[byte];
  }
  const std::uint32_t* first = BuildPage(0);
  bool same = true;
  for (unsigned value = 0; value < 256 && same; ++value) {
    same = to_direct_[value] && to_unit_[value] == value && first[value] == (kDirect | value);
    if (value == 0x7F) ascii_identity_ = same;
  }
  latin1_identity_ = same;
}

const SingleByteTable* SingleByteTable::For(const char* icu_name,
                                            std::unique_ptr<SingleByteProber> (*make_prober)(const char*)) {
  Tables& tables = TheTables();
  std::lock_guard<std::mutex> hold(tables.lock);
  auto found = tables.by_name.find(icu_name);
  if (found != tables.by_name.end()) return found->second;
  std::unique_ptr<SingleByteProber> prober = make_prober(icu_name);
  const SingleByteTable* table = prober ? new SingleByteTable(std::move(prober)) : nullptr;
  tables.by_name.emplace(icu_name, table);
  return table;
}

const std::uint32_t* SingleByteTable::BuildPage(unsigned page) const {
  // Surrogates are never single characters: ICU pairs them or stops there.
  const bool surrogates = page >= 0xD8 && page <= 0xDF;
  return BuildOnce(build_lock_, pages_[page], kNoPage, [&](unsigned low) -> std::uint32_t {
    std::uint8_t bytes[2] = {};
    int count = 0;
    bool fallback = false;
    if (surrogates ||
        !prober_->UnitToBytes(static_cast<std::uint16_t>(page << 8 | low), bytes, &count, &fallback)) {
      return 0;
    }
    return kDirect | (fallback ? kFallback : 0) | bytes[0] |
           (count == 2 ? kTwoBytes | static_cast<std::uint32_t>(bytes[1]) << 8 : 0);
  });
}

const std::uint16_t* SingleByteTable::BuildLeadPage(unsigned lead) const {
  return BuildOnce(build_lock_, lead_pages_[lead], kNoLeadPage, [&](unsigned trail) -> std::uint16_t {
    std::uint16_t unit = 0;
    // A pair giving U+0000 is left to ICU: 0 marks no entry.
    if (!prober_->PairToUnit(static_cast<std::uint8_t>(lead), static_cast<std::uint8_t>(trail), &unit))
      return 0;
    return unit;
  });
}

std::uint16_t SingleByteTable::PairUnit(std::uint8_t lead, std::uint8_t trail) const {
  const std::uint16_t* page = lead_pages_[lead].load(std::memory_order_acquire);
  if (page == nullptr) page = BuildLeadPage(lead);
  return page[trail];
}

void SingleByteTable::ToUTF16(const std::uint8_t*& in, const std::uint8_t* in_end, char16_t*& out,
                              char16_t* out_end) const {
  const std::uint8_t* source = in;
  char16_t* target = out;
  while (source < in_end && target < out_end) {
    // Sixteen bytes at a time while they stand for themselves.
    if (ascii_identity_) {
      while (in_end - source >= 16 && out_end - target >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
        if (!latin1_identity_ && _mm_movemask_epi8(bytes) != 0) break;
        const __m128i zero = _mm_setzero_si128();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 8), _mm_unpackhi_epi8(bytes, zero));
        source += 16;
        target += 16;
      }
    }
    // One at a time up to the next block boundary or a byte that is no
    // character on its own.
    const std::uint8_t* stop = source + std::min<std::ptrdiff_t>({in_end - source, out_end - target, 16});
    while (source < stop && to_direct_[*source]) *target++ = to_unit_[*source++];
    if (source < stop) {
      // A lead byte: the pair it begins, when the table has it.
      const std::uint16_t unit = in_end - source >= 2 ? PairUnit(source[0], source[1]) : 0;
      if (unit == 0) break;
      *target++ = unit;
      source += 2;
    }
  }
  in = source;
  out = target;
}

int SingleByteTable::Lookup(std::uint16_t unit, std::uint8_t bytes[2], bool* fallback) const {
  const std::uint32_t* page = pages_[unit >> 8].load(std::memory_order_acquire);
  if (page == nullptr) page = BuildPage(unit >> 8);
  const std::uint32_t entry = page[unit & 0xFF];
  if ((entry & kDirect) == 0) return 0;
  if ((entry & kFallback) != 0) *fallback = true;
  bytes[0] = static_cast<std::uint8_t>(entry);
  bytes[1] = static_cast<std::uint8_t>(entry >> 8);
  return (entry & kTwoBytes) != 0 ? 2 : 1;
}

void SingleByteTable::FromUTF16(const char16_t*& in, const char16_t* in_end, std::uint8_t*& out,
                                std::uint8_t* out_end, bool* fallback) const {
  const char16_t* source = in;
  std::uint8_t* target = out;
  const std::uint16_t high_bits = latin1_identity_ ? 0xFF00 : 0xFF80;
  while (source < in_end && target < out_end) {
    // Sixteen units at a time while they stand for themselves.
    if (ascii_identity_) {
      while (in_end - source >= 16 && out_end - target >= 16 && EightBelow(source, high_bits) &&
             EightBelow(source + 8, high_bits)) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_packus_epi16(low, high));
        source += 16;
        target += 16;
      }
    }
    // A character of two bytes may use up the room before `stop`.
    const char16_t* stop = source + std::min<std::ptrdiff_t>({in_end - source, out_end - target, 16});
    while (source < stop) {
      const std::uint16_t unit = *source;
      const std::uint32_t* page = pages_[unit >> 8].load(std::memory_order_acquire);
      if (page == nullptr) page = BuildPage(unit >> 8);
      const std::uint32_t entry = page[unit & 0xFF];
      const std::ptrdiff_t length = (entry & kTwoBytes) != 0 ? 2 : 1;
      if ((entry & kDirect) == 0 || out_end - target < length) {
        in = source;
        out = target;
        return;
      }
      if ((entry & kFallback) != 0) *fallback = true;
      target[0] = static_cast<std::uint8_t>(entry);
      if (length == 2) target[1] = static_cast<std::uint8_t>(entry >> 8);
      target += length;
      ++source;
    }
  }
  in = source;
  out = target;
}

}  // namespace Platform
}  // namespace Vesk
