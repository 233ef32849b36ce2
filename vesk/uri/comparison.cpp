// Comparing URIs by their stored text, and hosts after the resolver.
#include "vesk/uri/uri"

#include <cstring>

namespace Vesk {

bool URI::operator==(const URI& other) { return ToString(false) == other.ToString(false); }
bool URI::operator!=(const URI& other) { return !(*this == other); }
bool URI::operator==(StringProxy text) { return ToString(false) == static_cast<const std::string&>(text); }
bool URI::operator!=(StringProxy text) { return !(*this == std::move(text)); }

bool URI::operator==(const char* text) {
  const StringProxy mine = ToString(false);
  const size_t size = std::strlen(text);
  return mine.size() == size && std::memcmp(mine.data(), text, size) == 0;
}

bool URI::operator!=(const char* text) { return !(*this == text); }

bool URI::CompareAuthority(StringProxy a, StringProxy b) {
  URI first(std::move(a));
  URI second(std::move(b));
  // The resolver is read afresh for each operand.
  if (m_Resolver != nullptr) first = m_Resolver->Resolve(first);
  if (m_Resolver != nullptr) second = m_Resolver->Resolve(second);
  return first.GetAuthority() == static_cast<const std::string&>(second.GetAuthority());
}

}  // namespace Vesk
