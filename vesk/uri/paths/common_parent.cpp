// The deepest directory that holds two URIs.
#include <string>

#include "vesk/uri/uri"

namespace Vesk {

URI URI::GetCommonParent(const URI& other, bool caseSensitive) const {
  URI climber = Resolve(*this);
  URI fixed = Resolve(other);
  if (climber.IsRelative() || fixed.IsRelative()) return URI();

  // From here on both stand for directories: file names, queries and
  // fragments are gone.
  climber.ChDir(".", false);
  fixed.ChDir(".", false);

  // Only the first climbs, until it has reached or passed the second, or its
  // own root. A URI that the "." has made relative (a blank or an "unknown:"
  // one) has no root: climbing would only pile up "..", so it stays.
  while (!climber.IsRelative()) {
    const URIRelation relation = climber.GetRelation(fixed, caseSensitive);
    if (relation == URIRelationSame || relation == URIRelationParent) break;
    // The climb ends when the move changes nothing of the text. Scheme,
    // authority and flags stay through a move by "..", so comparing path,
    // query and fragment is comparing the whole ToString(false).
    const std::string path = climber.m_Path;
    const std::string query = climber.m_Query;
    const std::string fragment = climber.m_Fragment;
    climber.ChDir("..", false);
    if (climber.m_Path == path && climber.m_Query == query && climber.m_Fragment == fragment) break;
  }
  return climber;
}

URI URI::GetCommonParentByString(StringProxy a, StringProxy b, bool caseSensitive) {
  URI first(a);
  URI second(b);
  first = Resolve(first);
  second = Resolve(second);
  // The resolved second URI is not used further: the text is parsed anew and
  // GetCommonParent resolves it itself.
  const URI third(b);
  return first.GetCommonParent(third, caseSensitive);
}

}  // namespace Vesk
