// URIs whose non-ASCII text is in a legacy charset: reading them into the
// escaped UTF-8 form the class keeps, and writing them back out.
#include <strings.h>

#include <cstring>
#include <string>

#include "vesk/encoding/transcoder"
#include "vesk/uri/uri"

namespace Vesk {

namespace {

// Charsets in which every ASCII character converts to one byte and back to
// itself, and none stops a conversion: for them, ASCII text comes out of a
// round trip through the Transcoder unchanged, so the trip can be skipped.
// Stateful charsets (ISO-2022) are not among them. Other spellings of these
// names simply take the long road.
bool AsciiTransparent(const std::string& encoding) {
  static const char* const kNames[] = {"utf-8", "iso-8859-1", "shift_jis", "euc-jp", "windows-1252"};
  for (const char* name : kNames) {
    // The length test keeps a name with a NUL inside from matching a prefix.
    if (encoding.size() == std::strlen(name) && strcasecmp(encoding.c_str(), name) == 0) return true;
  }
  return false;
}

// Printable ASCII reads as itself in those charsets. Control bytes do not
// always: some tables swap 0x1A, 0x1C and 0x7F (a swap that a round trip
// undoes, so NormalizeEncoding may skip them, but reading may not).
bool PrintableAscii(const std::string& text) {
  for (const char c : text) {
    if (c < 0x20 || c > 0x7E) return false;
  }
  return true;
}

bool PlainAscii(const std::string& text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80 || c == '%') return false;
  }
  return true;
}

// NormalizeEncoding, with `transparent` saying whether `encoding` is one of
// the charsets of AsciiTransparent.
bool Normalize(std::string& text, const std::string& encoding, bool transparent) {
  if (text.empty()) return true;
  // Without escapes the result is the round trip of the text itself.
  if (transparent && PlainAscii(text)) return true;
  // `out` gathers legacy bytes: UTF-8 stretches converted to the encoding and
  // escapes decoded to the bytes they stand for, so that a character escaped
  // byte by byte (or half escaped) is read back as one character at the end.
  std::string out;
  size_t pos = 0;  // start of what is left to do
  const size_t size = text.size();
  while (pos < size) {
    const size_t percent = text.find('%', pos);
    const size_t left = size - pos;
    if (percent != pos) {
      if (percent == std::string::npos || left < 3) break;
      const std::string head = text.substr(pos, percent - pos);
      const std::string converted = Transcoder::UTF8ToEncoding(head, encoding);
      if (converted.empty()) return false;  // head is never empty here
      out += converted;
      pos = percent;
      continue;
    }
    if (left < 3) break;
    // A malformed group such as "%zz" comes back unchanged: three bytes.
    out += URI::Unescape(URI::StringProxy(text.substr(pos, 3)), false);
    pos += 3;
  }
  if (pos < size) {
    const std::string converted = Transcoder::UTF8ToEncoding(text.substr(pos), encoding);
    if (converted.empty()) return false;
    out += converted;
  }
  // The read-back is not checked: a failure here leaves an empty text.
  text = Transcoder::EncodingToUTF8(out, encoding);
  return true;
}

}  // namespace

URI::StringProxy URI::ToEncodedString(StringProxy encoding) {
  return StringProxy(Transcoder::UTF8ToEncoding(ToStringUTF8(), encoding));
}

bool URI::NormalizeEncoding(std::string& text, const std::string& encoding) {
  return Normalize(text, encoding, AsciiTransparent(encoding));
}

bool URI::FromEncodedString(StringProxy text, StringProxy encoding) {
  const bool transparent = AsciiTransparent(encoding);
  // Printable ASCII in a transparent charset is its own UTF-8 form.
  const bool parsed = transparent && PrintableAscii(text)
                          ? ParseURI(text)
                          : ParseURI(Transcoder::EncodingToUTF8(text, encoding));
  if (!parsed) m_IsValid = false;

  // Each field is read as it stands at its turn, since the setters before it
  // may have re-derived the flags or cleared other fields.
  bool ok = true;
  auto pass = [&](const std::string& field, auto store) {
    if (!ok) return;
    std::string value = field;
    if (!Normalize(value, encoding, transparent)) {
      ok = false;
      return;
    }
    store(StringProxy(std::move(value)));
  };

  if (m_IsHierarchical) {
    pass(m_Scheme, [this](StringProxy v) { SetScheme(std::move(v)); });
    pass(m_Server, [this](StringProxy v) { SetAuthority(std::move(v)); });
    pass(m_Port, [this](StringProxy v) { SetServerPort(std::move(v)); });
    pass(m_Path, [this](StringProxy v) { SetPath(std::move(v)); });
    pass(m_Username, [this](StringProxy v) { SetUsername(std::move(v)); });
    pass(m_Password, [this](StringProxy v) { SetPassword(std::move(v)); });
  } else {
    pass(m_NonHierarchical, [this](StringProxy v) { SetNonHierarchical(std::move(v)); });
  }
  pass(m_Query, [this](StringProxy v) { SetQuery(std::move(v), true); });
  pass(m_Fragment, [this](StringProxy v) { SetFragment(std::move(v)); });

  if (!ok) {
    Initialize();
    return false;
  }
  return true;
}

}  // namespace Vesk
