// The system's script facts, read from the host's locale facts on request.
#include "vesk/platform/locale_facts"
#include "vesk/string/cstring"

bool IntlInfo::s_doubleByte = false;
int IntlInfo::s_systemScript = 0;
unsigned char IntlInfo::s_leadByteTable[256] = {};

void IntlInfo::Initialize() {
  s_systemScript = Vesk::Platform::SystemScript();
  s_doubleByte = Vesk::Platform::SystemScriptIsDoubleByte();
  Vesk::Platform::FillLeadByteTable(s_leadByteTable, s_systemScript);
}

bool IntlInfo::IsLeadByte(unsigned char byte) { return s_doubleByte && s_leadByteTable[byte] != 0; }
