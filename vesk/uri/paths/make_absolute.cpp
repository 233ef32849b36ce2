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
  // The working copy is dropped, so its fields are taken rather than copied;
  // the effect is that of CopyURI.
  m_Scheme.swap(work.m_Scheme);
  m_Server.swap(work.m_Server);
  m_Port.swap(work.m_Port);
  m_Path.swap(work.m_Path);
  m_Query.swap(work.m_Query);
  m_Fragment.swap(work.m_Fragment);
  m_Username.swap(work.m_Username);
  m_Password.swap(work.m_Password);
  m_NonHierarchical.swap(work.m_NonHierarchical);
  m_IsValid = work.m_IsValid;
  m_IsRelative = work.m_IsRelative;
  m_IsHierarchical = work.m_IsHierarchical;
  return true;
}

}  // namespace Vesk
