// CString's crossings to the host: platform strings (with the cached one in
// the buffer header), 8-bit text in the application's text encoding,
// length-prefixed strings and the file-name record, handles and named
// resources, and the numeric values read through a platform string.
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>

#include "tiwa/tiwa"
#include "vesk/platform/cfstring"
#include "vesk/platform/handles"
#include "vesk/platform/resources"
#include "vesk/string/cached_platform_string.h"
#include "vesk/string/cstring"

namespace P = Vesk::Platform;

namespace {

// Guards the nil data's slot; see cached_platform_string.h.
std::mutex gNilSlotLock;

bool IsNilData(const CStringData* data) { return data == _afxDataNil; }

CFStringRef LoadSlot(CStringData* data) { return __atomic_load_n(&data->cachedCFString, __ATOMIC_ACQUIRE); }

// Releases a platform string when it goes out of scope.
struct Owned {
  explicit Owned(CFStringRef s) : string(s) {}
  ~Owned() { P::ReleaseObject(string); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  CFStringRef string;
};

}  // namespace

namespace Vesk {
namespace StringBridges {

CFStringRef RetainCachedString(CStringData* data) {
  if (IsNilData(data)) {
    std::lock_guard<std::mutex> hold(gNilSlotLock);
    CFStringRef cached = LoadSlot(data);
    if (cached == nullptr) {
      cached = P::CreateStringFromUTF16(_afxPchNil, 0);
      __atomic_store_n(&data->cachedCFString, cached, __ATOMIC_RELEASE);
    }
    return static_cast<CFStringRef>(P::RetainObject(cached));
  }
  // Owners of a shared buffer only fill its slot; the first string stored
  // wins and a loser's string is given back, so none is lost.
  CFStringRef cached = LoadSlot(data);
  if (cached == nullptr) {
    CFStringRef made = P::CreateStringFromUTF16(data->data(), data->length);
    CFStringRef expected = nullptr;
    if (__atomic_compare_exchange_n(&data->cachedCFString, &expected, made, false, __ATOMIC_ACQ_REL,
                                    __ATOMIC_ACQUIRE)) {
      cached = made;
    } else {
      P::ReleaseObject(made);
      cached = expected;
    }
  }
  return static_cast<CFStringRef>(P::RetainObject(cached));
}

bool OfferCachedString(CStringData* data, CFStringRef string) {
  if (string == nullptr) return false;
  if (IsNilData(data)) {
    std::lock_guard<std::mutex> hold(gNilSlotLock);
    if (LoadSlot(data) != nullptr) return false;
    __atomic_store_n(&data->cachedCFString, static_cast<CFStringRef>(P::RetainObject(string)),
                     __ATOMIC_RELEASE);
    return true;
  }
  P::RetainObject(string);
  CFStringRef expected = nullptr;
  if (__atomic_compare_exchange_n(&data->cachedCFString, &expected, string, false, __ATOMIC_ACQ_REL,
                                  __ATOMIC_ACQUIRE))
    return true;
  P::ReleaseObject(string);
  return false;
}

void DropCachedString(CStringData* data) {
  if (LoadSlot(data) == nullptr) return;
  CFStringRef old;
  if (IsNilData(data)) {
    std::lock_guard<std::mutex> hold(gNilSlotLock);
    old = __atomic_exchange_n(&data->cachedCFString, nullptr, __ATOMIC_ACQ_REL);
  } else {
    old = __atomic_exchange_n(&data->cachedCFString, nullptr, __ATOMIC_ACQ_REL);
  }
  P::ReleaseObject(old);
}

}  // namespace StringBridges
}  // namespace Vesk

using Vesk::StringBridges::OfferCachedString;
using Vesk::StringBridges::RetainCachedString;

// ---- Platform strings ----

CFStringRef CString::GetCFStringRef(unsigned long) const { return RetainCachedString(GetData()); }

void CString::ReleaseCFStringRef(CFStringRef string) const { P::ReleaseObject(string); }

bool CString::SetFromCFStringRef(CFStringRef string, unsigned long) {
  if (string == nullptr || P::ObjectTypeID(string) != P::StringTypeID()) {
    AllocBeforeWrite(0);
    ReleaseBuffer(0);  // unshares, drops the cache, length 0 and terminator
    return true;
  }
  // Held for the call: `string` may be this buffer's own cached string, which
  // the write below drops.
  P::RetainObject(string);
  Owned hold(string);
  const long length = P::StringLength(string);
  AllocBeforeWrite(static_cast<int>(length));
  P::CopyStringCharacters(string, 0, length, m_chars);
  int kept = static_cast<int>(length);
  while (kept > 0 && m_chars[kept - 1] == 0) --kept;
  ReleaseBuffer(kept);
  // The buffer now has no cached string: keep the one the text came from.
  OfferCachedString(GetData(), string);
  return true;
}

void CFStringGetLPWSTR(CFStringRef string, unsigned short* target, long maximum, unsigned long) {
  if (string == nullptr) {
    target[0] = 0;
    return;
  }
  long count = P::StringLength(string);
  if (count > maximum) count = maximum;
  if (count < 0) count = 0;
  P::CopyStringCharacters(string, 0, count, target);
  target[count] = 0;
}

bool CFStringGetLPSTR(CFStringRef string, char* target, long size, unsigned long encoding) {
  if (string == nullptr) {
    target[0] = 0;
    return false;
  }
  return P::CopyStringBytes(string, target, size, encoding);
}

CFStringRef CFStringCreateWithLPCSTR(const char* text, long, unsigned long encoding) {
  if (text == nullptr) return nullptr;
  return P::CreateStringFromBytes(text, encoding);
}

CFStringRef CFStringCreateWithLPCSTRNoCopy(const char* text, long, unsigned long encoding) {
  if (text == nullptr) return nullptr;
  return P::CreateStringFromBytes(text, encoding);
}

CFStringRef CFStringCreateWithLPCWSTR(const unsigned short* text, long length, unsigned long) {
  if (text == nullptr) return nullptr;
  return P::CreateStringFromUTF16(text, length < 0 ? -1 : length);
}

CFStringRef CFStringCreateWithLPCWSTRNoCopy(const unsigned short* text, long length, unsigned long) {
  if (text == nullptr) return nullptr;
  return P::CreateStringBorrowingUTF16(text, length < 0 ? -1 : length);
}

// ---- 8-bit text ----

CString::CString(const char* text) : m_chars(_afxPchNil) {
  if (text == nullptr) return;
  if ((reinterpret_cast<std::uintptr_t>(text) >> 16) == 0) {
    LoadString(static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(text) & 0xFFFF));
    return;
  }
  const std::size_t length = std::strlen(text);
  if (length == 0) return;
  AllocBuffer(static_cast<int>(length));
  Owned converted(P::CreateStringFromBytes(text, P::kApplicationEncoding));
  if (converted.string != nullptr) SetFromCFStringRef(converted.string);
}

CString::CString(const char* text, int length) : m_chars(_afxPchNil) {
  if (length == 0) return;
  AllocBuffer(length);
  if (text == nullptr) return;
  Owned converted(P::CreateStringFromBytes(text, P::kApplicationEncoding));
  if (converted.string != nullptr) SetFromCFStringRef(converted.string);
}

CString& CString::operator=(const char* text) {
  if (text == nullptr) {
    Empty();
    return *this;
  }
  Owned converted(P::CreateStringFromBytes(text, P::kApplicationEncoding));
  if (converted.string != nullptr) SetFromCFStringRef(converted.string);
  return *this;
}

// ---- Length-prefixed strings and the file-name record ----

void CString::ToMac(unsigned char* target, long size) const {
  if (size <= 0) return;
  CFStringRef whole = GetCFStringRef();
  Owned string(whole);
  if (P::StringLength(whole) > size - 1) {
    string.string = P::CreateSubstring(whole, 0, size - 1);
    P::ReleaseObject(whole);
  }
  // The host sees one byte less than the target holds; required as it is.
  P::CopyStringLengthPrefixed(string.string, target, size - 1, P::kApplicationEncoding);
}

void CString::FromMac(const unsigned char* source) {
  Owned converted(P::CreateStringFromLengthPrefixed(source, P::kApplicationEncoding));
  SetFromCFStringRef(converted.string);
}

void CString::GetHFSUniStr255(HFSUniStr255* target) const {
  if (target == nullptr) return;
  const int length = GetLength() < 255 ? GetLength() : 255;
  target->length = static_cast<unsigned short>(length);
  bool ended = false;
  for (int i = 0; i < length; ++i) {
    ended = ended || m_chars[i] == 0;
    target->unicode[i] = ended ? 0 : m_chars[i];
  }
  if (length <= 254) target->unicode[length] = 0;
}

void CString::SetFromHFSUniStr255(const HFSUniStr255* source) {
  if (source == nullptr) return;
  const int length = source->length;
  AllocBeforeWrite(length);
  // A length field above 255 reads no further than the record's units.
  bool ended = false;
  for (int i = 0; i < length; ++i) {
    ended = ended || i >= 255 || source->unicode[i] == 0;
    m_chars[i] = ended ? 0 : source->unicode[i];
  }
  ReleaseBuffer(length);
}

// ---- Handles and named resources ----

bool CString::LoadString(char** handle) {
  if (handle == nullptr) return false;
  P::LockMovableBlock(handle);
  CFStringRef converted = nullptr;
  if (*handle != nullptr) {
    // Up to a zero byte, and never past the block's end.
    const std::size_t size = P::MovableBlockSize(handle);
    const std::size_t length = strnlen(*handle, size);
    converted = P::CreateStringFromByteRange(*handle, static_cast<long>(length), P::kApplicationEncoding);
  }
  Owned hold(converted);
  SetFromCFStringRef(converted);
  P::UnlockMovableBlock(handle);
  return true;
}

bool CString::LoadUnicodeString(char** handle) {
  if (handle == nullptr) return false;
  const int units = static_cast<int>(P::MovableBlockSize(handle) / 2);
  P::LockMovableBlock(handle);
  AllocBeforeWrite(units);
  if (units > 0) std::memcpy(m_chars, *handle, static_cast<std::size_t>(units) * 2);
  ReleaseBuffer(units);
  P::UnlockMovableBlock(handle);
  return true;
}

namespace {

// Puts `count` bytes into *handle, resized, or into a new block. Returns
// whether the handle existed. A locked block that cannot grow in place keeps
// what fits.
bool StoreInHandle(char*** handle, const void* bytes, std::size_t count) {
  const bool existed = *handle != nullptr;
  if (existed) {
    P::ResizeMovableBlock(*handle, count);
    const std::size_t room = P::MovableBlockSize(*handle);
    if (count > room) count = room;
  } else {
    *handle = P::NewMovableBlock(count);
  }
  if (count > 0) std::memmove(**handle, bytes, count);
  return existed;
}

}  // namespace

bool CString::UnloadString(char*** handle) const {
  const std::size_t room = 2 * static_cast<std::size_t>(GetLength());
  std::unique_ptr<char[]> temporary(new char[room + 1]);
  const std::size_t count = tiwa_wcstombs(temporary.get(), m_chars, room);
  return StoreInHandle(handle, temporary.get(), count);
}

bool CString::UnloadUnicodeString(char*** handle) const {
  return StoreInHandle(handle, m_chars, 2 * static_cast<std::size_t>(GetLength()));
}

bool CString::LoadString(unsigned long type, const unsigned char* name, bool unicode) {
  char** handle = P::FindNamedResourceInCurrentFile(type, name);
  return unicode ? LoadUnicodeString(handle) : LoadString(handle);
}

bool CString::LoadString(unsigned long type, const CString& name, bool unicode) {
  unsigned char prefixed[256] = {0};
  name.ToMac(prefixed, 256);
  return LoadString(type, prefixed, unicode);
}

bool CString::UnloadString(unsigned long type, const unsigned char* name, bool unicode) const {
  char** existing = P::FindNamedResourceInCurrentFile(type, name);
  char** handle = existing;
  if (unicode) {
    UnloadUnicodeString(&handle);
  } else {
    UnloadString(&handle);
  }
  if (existing != nullptr) {
    P::MarkResourceChanged(existing);
    return true;
  }
  // Without a current file the new block has no home: give it back.
  if (!P::AddResourceToCurrentFile(handle, type, P::UnusedResourceID(type), name))
    P::DisposeMovableBlock(handle);
  return false;
}

bool CString::UnloadString(unsigned long type, const CString& name, bool unicode) const {
  unsigned char prefixed[256] = {0};
  name.ToMac(prefixed, 256);
  return UnloadString(type, prefixed, unicode);
}

// ---- Numeric values ----

int CString::GetIntValue() const {
  Owned string(GetCFStringRef());
  return P::StringIntValue(string.string);
}

double CString::GetDoubleValue() const {
  Owned string(GetCFStringRef());
  return P::StringDoubleValue(string.string);
}
