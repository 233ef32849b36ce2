// Formatting into a CString on libtiwa's printf, the empty FormatMessage
// pair, and the small number writers.
#include <cstdarg>
#include <cstdio>

#include "tiwa/tiwa"
#include "vesk/string/buffer_ops.h"
#include "vesk/string/cstring"

void CString::FormatV(const unsigned short* format, va_list arguments) {
  static const unsigned short kNoUnits[1] = {0};
  if (format == nullptr) format = kNoUnits;
  CString hold;
  if (format >= m_chars && format <= m_chars + GetData()->capacity) {
    hold = CString(format);  // the format lies in this buffer, which is about to change
    format = hold;
  }
  const int size = Vesk::StringBuffers::CheckedSum(tiwa_estimateformatsize(format, arguments), 1);
  unsigned short* buffer = GetBuffer(size);
  tiwa_vswprintf(buffer, static_cast<size_t>(size), format, arguments);
  ReleaseBuffer(-1);
}

void CString::Format(const unsigned short* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FormatV(format, arguments);
  va_end(arguments);
}

void CString::Format(unsigned int id, ...) {
  CString format;
  format.LoadString(id);  // the result is not looked at
  va_list arguments;
  va_start(arguments, id);
  FormatV(format, arguments);
  va_end(arguments);
}

void CString::FormatMessage(const unsigned short*, ...) {}

void CString::FormatMessage(unsigned int, ...) {}

char* _ltoa(long value, char* target, int radix) {
  if (radix == 10) std::sprintf(target, "%ld", value);
  return target;
}

char* itoa(int value, char* target, unsigned int size) {
  std::snprintf(target, size, "%d", value);
  return target;
}
