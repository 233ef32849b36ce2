// Interim definitions so the class links; replaced by the real operations.
#include "vesk/uri/uri"

namespace Vesk {

void URI::LocalPathToURI(StringProxy path) { LocalPathToURIMac(path); }
void URI::LocalPathToURIMac(StringProxy) {}
void URI::LocalPathToURIUnix(StringProxy) {}
void URI::LocalPathToURIWin(StringProxy) {}

}  // namespace Vesk
