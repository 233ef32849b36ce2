#ifndef VESK_PLATFORM_SINGLE_BYTE_TABLES_H_
#define VESK_PLATFORM_SINGLE_BYTE_TABLES_H_

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

// The single-byte characters of a character set, looked up instead of asked
// of ICU: every byte that ICU's path turns into one UTF-16 unit on its own, and
// every UTF-16 unit that it turns into one or two bytes (through a fallback
// mapping or not). Whatever else there is (a lead byte, a surrogate, a character that
// cannot be mapped or that ICU holds back) is left to ICU's path, which then
// decides, so that looking up never changes a result.
namespace Vesk {
namespace Platform {

// Asks ICU's path how it converts one byte or one unit of a set, on its own
// from the start state.
class SingleByteProber {
 public:
  virtual ~SingleByteProber() = default;
  // True, and the unit, when the byte gives exactly one unit and nothing is
  // held back.
  virtual bool ByteToUnit(std::uint8_t byte, std::uint16_t* unit) = 0;
  // True, and the unit, when the two bytes give exactly one unit (not a
  // surrogate) and nothing is held back.
  virtual bool PairToUnit(std::uint8_t lead, std::uint8_t trail, std::uint16_t* unit) = 0;
  // True, the bytes (*count of them) and whether a fallback mapping gave them,
  // when the unit gives one or two bytes and nothing is held back.
  virtual bool UnitToBytes(std::uint16_t unit, std::uint8_t bytes[2], int* count, bool* fallback) = 0;
};

class SingleByteTable {
 public:
  // The table of a character set by its ICU name, built the first time it is
  // asked for and kept for the life of the process. The byte side is built at
  // once; each 256-unit page of the unit side the first time a unit of it is
  // met. Safe to call from several threads.
  static const SingleByteTable* For(const char* icu_name,
                                    std::unique_ptr<SingleByteProber> (*make_prober)(const char* icu_name));

  // Bytes to UTF-16 units while they are characters of one byte, or of two
  // whose lead byte is no character on its own, and the output has room;
  // stops before the first byte that begins neither.
  void ToUTF16(const std::uint8_t*& in, const std::uint8_t* in_end, char16_t*& out,
               char16_t* out_end) const;

  // UTF-16 units to bytes while they are characters of one or two bytes and
  // the output has room for all of a character's bytes; stops before the
  // first unit that is not one. Sets *fallback when a fallback mapping was
  // used.
  void FromUTF16(const char16_t*& in, const char16_t* in_end, std::uint8_t*& out,
                 std::uint8_t* out_end, bool* fallback) const;

  // The bytes of one UTF-16 unit and their count (1 or 2), or 0 for a unit left
  // to ICU. Sets *fallback when a fallback mapping gives them.
  int Lookup(std::uint16_t unit, std::uint8_t bytes[2], bool* fallback) const;

  // Whether any byte is a single-byte character: a set without any (a
  // double-byte set) gains nothing from the table.
  bool Useful() const { return useful_; }

 private:
  explicit SingleByteTable(std::unique_ptr<SingleByteProber> prober);
  const std::uint32_t* BuildPage(unsigned page) const;
  const std::uint16_t* BuildLeadPage(unsigned lead) const;
  // The unit of a pair from the table, or 0 when it is left to ICU.
  std::uint16_t PairUnit(std::uint8_t lead, std::uint8_t trail) const;

  // Unit side entries: the first byte, the second above it for a character of
  // two bytes (kTwoBytes), with kDirect set, and kFallback when the bytes come
  // from a fallback mapping; 0 for a unit left to ICU.
  static constexpr std::uint32_t kDirect = 0x10000;
  static constexpr std::uint32_t kFallback = 0x20000;
  static constexpr std::uint32_t kTwoBytes = 0x40000;

  // Byte side: the unit of each byte, and which bytes are direct.
  std::uint16_t to_unit_[256] = {};
  bool to_direct_[256] = {};
  // Bytes below 0x80 (0x100) all stand for the unit of the same value, both
  // ways, so that runs of them are copied in blocks.
  bool ascii_identity_ = false;
  bool latin1_identity_ = false;
  bool useful_ = false;

  mutable std::atomic<const std::uint32_t*> pages_[256] = {};
  // Byte side, for each lead byte that is not a character itself: the unit of
  // each trail byte, 0 for a pair left to ICU; built the first time it is met.
  mutable std::atomic<const std::uint16_t*> lead_pages_[256] = {};
  mutable std::mutex build_lock_;
  std::unique_ptr<SingleByteProber> prober_;  // used under build_lock_
};

}  // namespace Platform
}  // namespace Vesk

#endif  // VESK_PLATFORM_SINGLE_BYTE_TABLES_H_
