// Completing a relative URI against an absolute base.
#include "vesk/uri/uri"

namespace Vesk {

bool URI::MakeAbsoluteURI(const URI& base) {
  if (IsAbsolute()) return false;
  if (base.IsRelative()) return false;
  // The object's whole stored text, query and fragment included, is the
  // reference by which a copy of the base moves.
  URI work(base);
  if (!work.ChDir(ToString(false), false)) return false;
  CopyURI(work);
  return true;
}

}  // namespace Vesk
