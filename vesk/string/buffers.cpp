// CString buffers: the nil data, allocation from the pools or the heap,
// sharing and its end, and the writes that unshare.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "vesk/platform/cfstring"
#include "vesk/string/buffer_ops.h"
#include "vesk/string/cached_platform_string.h"
#include "vesk/string/cstring"
#include "vesk/string/pools.h"

using Vesk::StringBuffers::AtomicAdd32;
using Vesk::StringBuffers::CheckedSum;
using Vesk::StringBuffers::IsNil;
using Vesk::StringBuffers::LoadCount;
using Vesk::StringBuffers::MoveUnits;
using Vesk::StringBuffers::ScanLength;
using Vesk::StringBuffers::SetLength;
using Vesk::StringBuffers::StoreCount;
namespace Pools = Vesk::StringPools;

CStringNilRecord _afxInitData = {{nullptr, -1, 0, 0}, {0}};
CStringData* const _afxDataNil = &_afxInitData.header;
unsigned short* const _afxPchNil = _afxInitData.text;
unsigned short afxChNil = 0;

static_assert(offsetof(CStringNilRecord, text) == sizeof(CStringData), "the nil text follows its header");
static_assert(sizeof(CString) == sizeof(void*), "a CString is one pointer");

namespace Vesk {
namespace StringBuffers {

void DropCacheSlow(CStringData* data) {
  // Atomic, so that threads filling the slot of a shared buffer or of the nil
  // data lose no platform string and release none twice (bridges.cpp).
  Vesk::StringBridges::DropCachedString(data);
}

}  // namespace StringBuffers
}  // namespace Vesk

using Vesk::StringBuffers::DropCache;

const CString& AfxGetEmptyString() { return *reinterpret_cast<const CString*>(&_afxPchNil); }

bool AfxIsValidString(const unsigned short* text, int) { return text != nullptr; }

// ---- Primitives ----

void CString::AllocBuffer(int length) {
  if (length == 0) {
    m_chars = _afxPchNil;
    return;
  }
  CStringData* data;
  const int cls = Pools::ClassForLength(length);
  if (cls >= 0) {
    data = static_cast<CStringData*>(Pools::Alloc(cls));
    data->capacity = Pools::kCapacity[cls];
  } else {
    const std::size_t bytes =
        sizeof(CStringData) + (static_cast<std::size_t>(length) + 1) * sizeof(unsigned short);
    data = reinterpret_cast<CStringData*>(new unsigned char[bytes]);
    data->capacity = length;
  }
  if (length < 0) length = 0;
  data->cachedCFString = nullptr;
  StoreCount(data, 1);
  data->length = length;
  data->data()[length] = 0;
  m_chars = data->data();
}

void CString::FreeData(CStringData* data) {
  DropCache(data);
  const int cls = Pools::ClassForCapacity(data->capacity);
  if (cls >= 0) {
    Pools::Free(cls, data);
  } else {
    delete[] reinterpret_cast<unsigned char*>(data);
  }
}

void CString::Release(CStringData* data) {
  if (IsNil(data)) return;
  if (AtomicAdd32(-1, &data->refCount) < 1) FreeData(data);
}

void CString::Release() {
  CStringData* data = GetData();
  if (IsNil(data)) return;
  Release(data);
  m_chars = _afxPchNil;
}

void CString::CopyBeforeWrite() {
  CStringData* data = GetData();
  if (LoadCount(data) > 1) {
    // The copy is made before the old reference goes, so that another owner
    // freeing the old buffer meanwhile cannot pull it away from under us.
    AllocBuffer(data->length);
    MoveUnits(m_chars, data->data(), data->length);
    Release(data);
    data = GetData();
  }
  DropCache(data);
}

void CString::AllocBeforeWrite(int length) {
  CStringData* data = GetData();
  if (LoadCount(data) <= 1 && data->capacity >= length) {
    DropCache(data);
    return;
  }
  Release();
  AllocBuffer(length);
  DropCache(GetData());
}

void CString::AllocCopy(CString& dest, int copyLength, int copyIndex, int extraLength) const {
  const int total = CheckedSum(copyLength, extraLength);
  if (total == 0) {
    dest.m_chars = _afxPchNil;
    return;
  }
  dest.AllocBuffer(total);
  MoveUnits(dest.m_chars, m_chars + copyIndex, copyLength);
}

void CString::AssignCopy(int length, const unsigned short* text) {
  if (length < 0) length = 0;
  AllocBeforeWrite(length);
  MoveUnits(m_chars, text, length);
  SetLength(GetData(), length);
}

void CString::ConcatCopy(int length1, const unsigned short* text1, int length2, const unsigned short* text2) {
  const int total = CheckedSum(length1, length2);
  if (total <= 0) return;
  AllocBuffer(total);
  MoveUnits(m_chars, text1, length1);
  MoveUnits(m_chars + std::max(length1, 0), text2, length2);
}

void CString::ConcatInPlace(int length, const unsigned short* text) {
  if (length <= 0) return;
  CStringData* data = GetData();
  const int total = CheckedSum(data->length, length);
  if (LoadCount(data) < 2 && total <= data->capacity) {
    MoveUnits(m_chars + data->length, text, length);
    data->length = total;
    m_chars[total] = 0;
    DropCache(data);
    return;
  }
  // Read from the old buffer until the end, so that s += s is safe.
  AllocBuffer(total);
  MoveUnits(m_chars, data->data(), data->length);
  MoveUnits(m_chars + data->length, text, length);
  Release(data);
}

// ---- Caller-visible buffer access ----

unsigned short* CString::GetBuffer(int minLength) {
  CStringData* data = GetData();
  if (LoadCount(data) < 2 && data->capacity >= minLength) return m_chars;
  const int old_length = data->length;
  AllocBuffer(std::max(minLength, old_length));
  MoveUnits(m_chars, data->data(), old_length);
  SetLength(GetData(), old_length);
  Release(data);
  return m_chars;
}

unsigned short* CString::GetBufferSetLength(int length) {
  if (length < 0) length = 0;
  GetBuffer(length);
  SetLength(GetData(), length);
  return m_chars;
}

void CString::ReleaseBuffer(int newLength) {
  CopyBeforeWrite();
  CStringData* data = GetData();
  if (newLength == -1) {
    // Up to the first zero unit, which the capacity's terminator place bounds.
    const unsigned short* end = std::find(m_chars, m_chars + data->capacity, static_cast<unsigned short>(0));
    newLength = static_cast<int>(end - m_chars);
  }
  newLength = std::clamp(newLength, 0, data->capacity);
  SetLength(data, newLength);
}

unsigned short* CString::LockBuffer() {
  unsigned short* text = GetBuffer(0);
  CStringData* data = GetData();
  if (!IsNil(data)) StoreCount(data, -1);
  return text;
}

void CString::UnlockBuffer() {
  CStringData* data = GetData();
  // Only a locked buffer changes: storing 1 into a shared one would let a
  // write through one owner show through the others, and free it twice.
  if (!IsNil(data) && LoadCount(data) < 0) StoreCount(data, 1);
}

void CString::FreeExtra() {
  CStringData* data = GetData();
  if (data->length == data->capacity) return;
  AllocBuffer(data->length);
  MoveUnits(m_chars, data->data(), data->length);
  Release(data);
}

void CString::Empty() {
  CStringData* data = GetData();
  if (data->length == 0) return;
  if (LoadCount(data) < 0) {
    AssignCopy(0, &afxChNil);
  } else {
    Release();
  }
}

void CString::SetAt(int index, unsigned short unit) {
  CopyBeforeWrite();
  if (index >= 0 && index < GetData()->length) m_chars[index] = unit;
}

// ---- Construction ----

CString::CString(const CString& other) : m_chars(_afxPchNil) {
  CStringData* data = other.GetData();
  if (LoadCount(data) >= 0) {
    AtomicAdd32(1, &data->refCount);
    m_chars = other.m_chars;
  } else if (!IsNil(data)) {
    AssignCopy(data->length, other.m_chars);
  }
}

CString::CString(unsigned short unit, int repeat) : m_chars(_afxPchNil) {
  if (repeat <= 0) return;
  AllocBuffer(repeat);
  std::fill_n(m_chars, repeat, unit);
}

CString::CString(const unsigned short* text, int length) : m_chars(_afxPchNil) {
  if (length <= 0 || text == nullptr) return;
  AllocBuffer(length);
  MoveUnits(m_chars, text, length);
}

CString::CString(const unsigned short* text) : m_chars(_afxPchNil) {
  if (text == nullptr) return;
  // A value below 0x10000 is a string number, not a pointer.
  if (reinterpret_cast<std::uintptr_t>(text) < 0x10000) {
    LoadString(static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(text)));
    return;
  }
  const int length = ScanLength(text);
  if (length == 0) return;
  AllocBuffer(length);
  MoveUnits(m_chars, text, length);
}

CString::~CString() {
  CStringData* data = GetData();
  if (IsNil(data)) return;
  // A count of 1 means no other owner exists, and none can appear: only this
  // object refers to the buffer. Freeing it then needs no atomic change.
  if (LoadCount(data) == 1 || AtomicAdd32(-1, &data->refCount) < 1) FreeData(data);
}

// ---- Assignment and concatenation ----

CString& CString::operator=(const CString& other) {
  if (m_chars == other.m_chars) return *this;
  CStringData* mine = GetData();
  CStringData* theirs = other.GetData();
  if ((LoadCount(mine) < 0 && !IsNil(mine)) || LoadCount(theirs) < 0) {
    AssignCopy(theirs->length, other.m_chars);
  } else {
    AtomicAdd32(1, &theirs->refCount);
    Release();
    m_chars = other.m_chars;
  }
  return *this;
}

CString& CString::operator=(const unsigned short* text) {
  const int length = text == nullptr ? 0 : ScanLength(text);
  if (text != nullptr && text >= m_chars && text <= m_chars + GetData()->capacity) {
    // The text lies in this buffer: keep the buffer alive while copying.
    const CString hold(*this);
    AssignCopy(length, text);
  } else {
    AssignCopy(length, text);
  }
  return *this;
}

CString& CString::operator=(unsigned short unit) {
  AllocBeforeWrite(1);
  m_chars[0] = unit;
  SetLength(GetData(), 1);
  return *this;
}

CString& CString::operator+=(const CString& text) {
  ConcatInPlace(text.GetData()->length, text.m_chars);
  return *this;
}

CString& CString::operator+=(const unsigned short* text) {
  if (text != nullptr) ConcatInPlace(ScanLength(text), text);
  return *this;
}

CString& CString::operator+=(unsigned short unit) {
  ConcatInPlace(1, &unit);
  return *this;
}

CString operator+(const CString& a, const CString& b) {
  CString result;
  result.ConcatCopy(a.GetLength(), a, b.GetLength(), b);
  return result;
}

CString operator+(const CString& a, const unsigned short* b) {
  CString result;
  result.ConcatCopy(a.GetLength(), a, b == nullptr ? 0 : ScanLength(b), b);
  return result;
}

CString operator+(const unsigned short* a, const CString& b) {
  CString result;
  result.ConcatCopy(a == nullptr ? 0 : ScanLength(a), a, b.GetLength(), b);
  return result;
}

CString operator+(const CString& a, unsigned short b) {
  CString result;
  result.ConcatCopy(a.GetLength(), a, 1, &b);
  return result;
}

CString operator+(unsigned short a, const CString& b) {
  CString result;
  result.ConcatCopy(1, &a, b.GetLength(), b);
  return result;
}
