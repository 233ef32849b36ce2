// Interim definitions so the class links; replaced by the real operations.
#include "vesk/uri/uri"

namespace Vesk {

bool URI::MakeAbsoluteURI(const URI&) { return false; }

}  // namespace Vesk
