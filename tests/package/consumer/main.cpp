// A program outside the tree: it runs with the library its headers describe,
// and reaches the URI class, CString and the transcoder through it.
#include <cstdio>
#include <cstring>

#include "vesk/encoding/transcoder"
#include "vesk/string/cstring"
#include "vesk/uri/uri"
#include "vesk/version"

int main() {
  Vesk::URI page("http://example.com/a/b/page.html");
  page.SetQuery("q=1", false);
  Vesk::URI image("http://example.com/a/c/x.png");
  image.MakeRelativeURI(page, false);
  const std::string relative = image.ToStringUTF8();
  const std::string latin1 = Vesk::Transcoder::UTF8ToEncoding("caf\xc3\xa9", "iso-8859-1");
  const CString wide(Vesk::Transcoder::asUTF16("caf\xc3\xa9").c_str());
  std::printf("vesk %s: %s %s\n", vesk_version(), page.ToStringUTF8().c_str(), relative.c_str());
  const bool ok = std::strcmp(vesk_version(), VESK_VERSION_STRING) == 0 && vesk_version_number() == VESK_VERSION &&
                  page.ToStringUTF8() == "http://example.com/a/b/page.html?q=1" && relative == "../c/x.png" &&
                  latin1 == "caf\xe9" && wide.GetLength() == 4;
  return ok ? 0 : 1;
}
