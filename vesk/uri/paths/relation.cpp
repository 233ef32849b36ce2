// How two URIs stand to each other in a tree of places.
#include <string>
#include <vector>

#include "vesk/uri/uri"

namespace Vesk {

static_assert(URIRelationNone == 0 && URIRelationChild == 1 && URIRelationSame == 2 && URIRelationParent == 3,
              "the values of URIRelation are part of the interface");

URIRelation URI::GetRelation(const URI& other, bool caseSensitive) const {
  // Both operands go through the application's resolver, this one first.
  // Without a resolver the working copies would be plain copies, so the
  // operands are read in place; the tests read fields, never overridable
  // operations, as they would on copies.
  URI selfResolved;
  URI thatResolved;
  const URI* selfOperand = this;
  const URI* thatOperand = &other;
  if (m_Resolver != nullptr) {
    selfResolved = m_Resolver->Resolve(*this);
    selfOperand = &selfResolved;
  }
  if (m_Resolver != nullptr) {
    thatResolved = m_Resolver->Resolve(other);
    thatOperand = &thatResolved;
  }
  const URI& self = *selfOperand;
  const URI& that = *thatOperand;
  std::string selfPort = self.m_Port;
  std::string thatPort = that.m_Port;

  if (self.m_IsRelative || that.m_IsRelative) return URIRelationNone;
  const bool selfHier = self.m_IsHierarchical;
  const bool thatHier = that.m_IsHierarchical;
  if (!selfHier && !thatHier) {
    return self.m_Scheme == that.m_Scheme && self.m_NonHierarchical == that.m_NonHierarchical ? URIRelationSame
                                                                                              : URIRelationNone;
  }
  if (selfHier != thatHier) return URIRelationNone;
  if (self.m_Scheme != that.m_Scheme || self.m_Server != that.m_Server) return URIRelationNone;

  // An absent port is the scheme's default, so http's ":80" counts as none.
  if (selfPort.empty()) selfPort = self.GetDefaultPort();
  if (thatPort.empty()) thatPort = that.GetDefaultPort();
  if (selfPort != thatPort) return URIRelationNone;

  const StringProxy selfPath = self.GetPath();
  const StringProxy thatPath = that.GetPath();
  if (Compare(selfPath, thatPath, caseSensitive) == 0) return URIRelationSame;
  if ((selfPath == "/" && thatPath.empty()) || (selfPath.empty() && thatPath == "/")) return URIRelationSame;

  std::vector<std::string> selfSegments;
  std::vector<std::string> thatSegments;
  SplitPath(selfPath, selfSegments);
  SplitPath(thatPath, thatSegments);
  // Paths of equal depth that differ in text (a trailing or doubled slash
  // included) are unrelated; their segments are not looked at.
  if (selfSegments.size() == thatSegments.size()) return URIRelationNone;
  const bool selfDeeper = selfSegments.size() > thatSegments.size();
  const size_t shared = selfDeeper ? thatSegments.size() : selfSegments.size();
  for (size_t i = 0; i < shared; ++i) {
    if (Compare(selfSegments[i], thatSegments[i], caseSensitive) != 0) return URIRelationNone;
  }
  return selfDeeper ? URIRelationChild : URIRelationParent;
}

URIRelation URI::GetRelationByString(StringProxy a, StringProxy b) {
  URI first(a);
  URI second(b);
  first = Resolve(first);
  second = Resolve(second);
  // By text the question is always asked with case.
  return first.GetRelation(second, true);
}

}  // namespace Vesk
