// Numbered strings: CString::LoadString(unsigned int) through the table with
// its string lists, the single string resources, the main table of localized
// strings and the named tables, behind a cache of 64 slots.
#include "vesk/string/string_resources.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vesk/platform/cfstring"
#include "vesk/platform/handles"
#include "vesk/platform/localized_strings"
#include "vesk/platform/resources"
#include "vesk/string/cstring"
#include "vesk/string/string_sources"

namespace P = Vesk::Platform;
using Vesk::StringSource;

char** gStrResTable = nullptr;
unsigned char gStrResTableInited = 0;
CFMutableArrayRef CString::m_arrayOfStringTables = nullptr;

namespace Vesk {
namespace StringResources {

LoadStringSlot* gLoadStringCache = nullptr;

unsigned int SlotIndex(unsigned int id) { return (id > 8 ? (id | 1u) : id) & 63u; }

}  // namespace StringResources
}  // namespace Vesk

using Vesk::StringResources::gLoadStringCache;
using Vesk::StringResources::kLoadStringSlots;
using Vesk::StringResources::LoadStringSlot;

namespace {

constexpr unsigned long kTableType = P::ResourceType("STRm");
constexpr int kRecordSize = 4;
constexpr unsigned int kStringsPerList = 500;
constexpr unsigned int kFirstList = 200;

// What answered this thread's last load, for LastStringSource.
thread_local StringSource tLastSource = StringSource::kNone;
thread_local std::string tLastTable;

void Answered(StringSource source) {
  tLastSource = source;
  tLastTable.clear();
}

// Releases a platform object when it goes out of scope.
struct Owned {
  explicit Owned(CFTypeRef o) : object(o) {}
  ~Owned() { P::ReleaseObject(object); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  CFTypeRef object;
};

uint16_t Field(const void* record, int index) {
  uint16_t value;
  std::memcpy(&value, static_cast<const unsigned char*>(record) + 2 * index, sizeof value);
  return value;
}

// The "STR " resource of that number as text, through a platform string in
// the application's text encoding; false when there is none. A length prefix
// that claims more than the block holds is cut to the block.
bool LoadSingleString(CString& target, unsigned int id) {
  char** handle = P::FindStringResource(static_cast<short>(static_cast<uint16_t>(id & 0xFFFFu)));
  if (handle == nullptr) return false;
  P::LockMovableBlock(handle);
  unsigned char prefixed[256] = {0};
  const std::size_t size = P::MovableBlockSize(handle);
  if (size > 0) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(*handle);
    const std::size_t length = bytes[0] < size - 1 ? bytes[0] : size - 1;
    prefixed[0] = static_cast<unsigned char>(length);
    std::memcpy(prefixed + 1, bytes + 1, length);
  }
  Owned text(P::CreateStringFromLengthPrefixed(prefixed, P::kApplicationEncoding));
  target.SetFromCFStringRef(static_cast<CFStringRef>(text.object));
  P::UnlockMovableBlock(handle);
  return true;
}

}  // namespace

unsigned int NumStrRes() {
  if (gStrResTable == nullptr) return 0;
  return static_cast<unsigned int>(P::MovableBlockSize(gStrResTable) / kRecordSize);
}

int StrResCmp(const void* a, const void* b) { return int{Field(a, 0)} - int{Field(b, 0)}; }

int CheckStrResTableForDups(void*, int) { return 0; }

void InitStrResTable() {
  gStrResTableInited = 1;
  gStrResTable = P::FindResource(kTableType, 0);
  if (gStrResTable == nullptr) return;
  P::LockMovableBlock(gStrResTable);
  if (NumStrRes() > 1) std::qsort(*gStrResTable, NumStrRes(), kRecordSize, StrResCmp);
  P::UnlockMovableBlock(gStrResTable);
}

void Vesk::StringResources::DestroyLoadStringCache() {
  // Array deletion destroys the slots from the last to the first.
  delete[] gLoadStringCache;
  gLoadStringCache = nullptr;
}

bool CString::LoadString(unsigned int id) {
  if (!gStrResTableInited && gLoadStringCache != nullptr) Vesk::StringResources::DestroyLoadStringCache();
  if (gLoadStringCache == nullptr) gLoadStringCache = new LoadStringSlot[kLoadStringSlots]();

  LoadStringSlot& slot = gLoadStringCache[Vesk::StringResources::SlotIndex(id)];
  if (slot.id == id && id != 0) {
    Answered(StringSource::kCache);
    *this = slot.text;
    return slot.found != 0;
  }
  slot.id = id;

  if (!gStrResTableInited) InitStrResTable();

  // The table maps the number to a place in the string lists.
  if (gStrResTable != nullptr) {
    P::LockMovableBlock(gStrResTable);
    unsigned char key[kRecordSize] = {0, 0, 0, 0};
    const uint16_t low = static_cast<uint16_t>(id & 0xFFFFu);
    std::memcpy(key, &low, sizeof low);
    const void* record =
        NumStrRes() == 0 ? nullptr : std::bsearch(key, *gStrResTable, NumStrRes(), kRecordSize, StrResCmp);
    if (record != nullptr) {
      const unsigned int place = Field(record, 1);
      P::UnlockMovableBlock(gStrResTable);
      unsigned char text[256] = {0};
      P::CopyListedString(text, static_cast<short>(place / kStringsPerList + kFirstList),
                          static_cast<short>(place % kStringsPerList + 1));
      Answered(StringSource::kListTable);
      if (text[0] == 0) {
        // An empty item ends the search; this string keeps its text.
        slot.text = *this;
        slot.found = 0;
        return false;
      }
      Owned converted(P::CreateStringFromLengthPrefixed(text, P::kApplicationEncoding));
      SetFromCFStringRef(static_cast<CFStringRef>(converted.object));
      slot.text = *this;
      slot.found = 1;
      return true;
    }
    P::UnlockMovableBlock(gStrResTable);
  }

  if (LoadSingleString(*this, id)) {
    Answered(StringSource::kSingleString);
    slot.text = *this;
    slot.found = 1;
    return true;
  }

  // The localized strings, keyed by the number's decimal form; the key is
  // also the default, so an answer that is the key object itself is a miss.
  char digits[10];
  std::snprintf(digits, sizeof digits, "%d", static_cast<int>(id));
  Owned key(P::CreateStringFromBytes(digits, P::kEncodingASCII));
  const auto key_string = static_cast<CFStringRef>(key.object);
  CFTypeRef answer = P::CopyLocalizedString(key_string, key_string, nullptr);
  Answered(answer == key.object ? StringSource::kOwnDigits : StringSource::kMainTable);
  if (m_arrayOfStringTables != nullptr && answer == key.object) {
    const long tables = P::ArrayCount(m_arrayOfStringTables);
    for (long i = 0; i < tables; ++i) {
      P::ReleaseObject(answer);
      const auto table = static_cast<CFStringRef>(P::ArrayValueAt(m_arrayOfStringTables, i));
      answer = P::CopyLocalizedString(key_string, key_string, table);
      if (answer != key.object) {
        Answered(StringSource::kNamedTable);
        char name[256];
        if (P::CopyStringBytes(table, name, sizeof name, P::kEncodingASCII)) tLastTable = name;
        break;
      }
    }
  }
  Owned held(answer);
  SetFromCFStringRef(static_cast<CFStringRef>(answer));
  slot.text = *this;

  // A number no store knows comes back as its own digits, found.
  slot.found = GetLength() > 0 ? 1 : 0;
  if (slot.found) return true;

  // Only a table that maps the key to an empty text gets here.
  Answered(StringSource::kEmpty);
  if (id >= 2000 && id <= 20000) return false;
  if (LoadSingleString(*this, id)) {
    Answered(StringSource::kSingleString);
    slot.text = *this;
    slot.found = 1;
    return true;
  }
  return false;
}

void CString::AddStringTableForSearch(const char* tableName) {
  Owned name(P::CreateStringFromBytes(tableName, P::kEncodingASCII));
  if (name.object == nullptr) return;  // null, or not ASCII: no table can have that name
  if (m_arrayOfStringTables == nullptr) m_arrayOfStringTables = P::CreateMutableArray();
  P::AppendToArray(m_arrayOfStringTables, name.object);
}

namespace Vesk {

StringSource LastStringSource() { return tLastSource; }

std::string LastStringTable() { return tLastTable; }

const char* StringSourceName(StringSource source) {
  switch (source) {
    case StringSource::kNone:
      return "none";
    case StringSource::kCache:
      return "cache";
    case StringSource::kListTable:
      return "list";
    case StringSource::kSingleString:
      return "single";
    case StringSource::kMainTable:
      return "main";
    case StringSource::kNamedTable:
      return "named";
    case StringSource::kOwnDigits:
      return "digits";
    case StringSource::kEmpty:
      return "empty";
  }
  return "none";
}

}  // namespace Vesk
