// CString's crossings with any bytes: 8-bit text, length-prefixed strings,
// handles and the file-name record. Each result must be a sound string, and
// the crossings that promise a round trip must keep their text.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vesk/platform/cfstring"
#include "vesk/platform/handles"
#include "vesk/platform/locale_facts"
#include "vesk/string/cstring"
#include "vesk/string/cstring_check.h"
#include "fuzz/fuzz_support.h"

namespace P = Vesk::Platform;

namespace {

using veskfuzz::Require;

using veskfuzz::RequireSound;

void Sound(const CString& s, const char* what) { RequireSound(s, what); }

std::basic_string<unsigned short> Units(const CString& s) {
  const unsigned short* p = s;
  return std::basic_string<unsigned short>(p, p + s.GetLength());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  static const bool locale = P::SetHostLocale("C");  // 8-bit text is UTF-8
  (void)locale;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::string text = bytes.substr(0, bytes.find('\0'));  // what a C string sees
  if (!text.empty()) {
    // Zero-terminated 8-bit text: converted whole, or the buffer as allocated.
    const CString s(text.c_str());
    Sound(s, "CString(const char*)");
    CFStringRef direct = CFStringCreateWithLPCSTR(text.c_str(), 0, static_cast<unsigned long>(-1));
    if (direct != nullptr) {
      Require(Units(s) == std::basic_string<unsigned short>(P::StringCharacters(direct),
                                                            static_cast<size_t>(P::StringLength(direct))),
              "narrow constructor and platform string agree");
      P::ReleaseObject(direct);
    }
    CString assigned;
    assigned = text.c_str();
    Sound(assigned, "operator=(const char*)");
    const CString counted(text.c_str(), 3);
    Sound(counted, "CString(const char*, int)");
  }

  // A length-prefixed string from the first bytes; back through ToMac when it fits.
  unsigned char prefixed[256] = {0};
  if (size > 0) {
    prefixed[0] = static_cast<unsigned char>(std::min<size_t>(data[0], size - 1));
    std::memcpy(prefixed + 1, data + 1, prefixed[0]);
  }
  CString mac;
  mac.FromMac(prefixed);
  Sound(mac, "FromMac");
  unsigned char back[256];
  std::memset(back, 0xEE, sizeof back);
  mac.ToMac(back, sizeof back);
  if (back[0] != 0 || mac.IsEmpty()) {
    CString again;
    again.FromMac(back);
    Require(Units(again) == Units(mac), "ToMac then FromMac keeps the text");
  }

  // Handles: the Unicode pair is exact; the narrow reader stays inside the block.
  char** handle = P::NewMovableBlock(size);
  if (size > 0) std::memcpy(*handle, data, size);
  CString wide;
  Require(wide.LoadUnicodeString(handle), "LoadUnicodeString");
  Sound(wide, "LoadUnicodeString");
  char** written = nullptr;
  Require(!wide.UnloadUnicodeString(&written), "UnloadUnicodeString makes a handle");
  Require(P::MovableBlockSize(written) == size / 2 * 2, "Unicode handle size");
  Require(size < 2 || std::memcmp(*written, data, size / 2 * 2) == 0, "Unicode handle round trip");
  CString narrow;
  Require(narrow.LoadString(handle), "LoadString(handle)");
  Sound(narrow, "LoadString(handle)");
  Require(narrow.UnloadString(&written), "UnloadString into an existing handle");
  P::DisposeMovableBlock(written);
  P::DisposeMovableBlock(handle);

  // The file-name record from the bytes.
  HFSUniStr255 record;
  std::memset(&record, 0, sizeof record);
  if (size > 0) std::memcpy(&record, data, std::min(size, sizeof record));
  // Every length past the record's 255 units reads zeros beyond them, so
  // lengths up to 319 reach that case as 65535 would, at a fraction of the
  // cost (a whole-length buffer is written per input).
  record.length %= 320;
  CString name;
  name.SetFromHFSUniStr255(&record);
  Sound(name, "SetFromHFSUniStr255");
  Require(name.GetLength() == record.length, "record length kept");
  HFSUniStr255 out;
  name.GetHFSUniStr255(&out);
  Require(out.length == std::min<unsigned>(record.length, 255), "GetHFSUniStr255 length");
  return 0;
}
