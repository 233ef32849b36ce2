// The URI object itself: lifecycle, flags, the byte-string helpers, the
// resolver hook and the exported character-class strings.
#include "vesk/uri/uri"

#include <cstring>

#include "vesk/uri/load_order.h"

namespace Vesk {

// ---- Character-class strings ------------------------------------------------
//
// They are built at load in the order below, after the converter lock and maps
// (priority 101) and before the character maps of the escaping code (priority
// 103), which are built from them. Within one priority, objects of one file
// are built in the order of their definitions and destroyed in reverse.

namespace {

// The control bytes 0x01-0x1F and 0x7F, read as a zero-terminated string, so
// that 0x00 is not among them.
const char controlchars[] = {
    '\x01', '\x02', '\x03', '\x04', '\x05', '\x06', '\x07', '\x08', '\x09', '\x0A', '\x0B',
    '\x0C', '\x0D', '\x0E', '\x0F', '\x10', '\x11', '\x12', '\x13', '\x14', '\x15', '\x16',
    '\x17', '\x18', '\x19', '\x1A', '\x1B', '\x1C', '\x1D', '\x1E', '\x1F', '\x7F', '\0'};

}  // namespace

#define VESK_CLASS_STRING __attribute__((init_priority(102)))

std::string URI::URIlowalpha VESK_CLASS_STRING = "abcdefghijklmnopqrstuvwxyz";
std::string URI::URIupalpha VESK_CLASS_STRING = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
std::string URI::URIalpha VESK_CLASS_STRING = URI::URIlowalpha + URI::URIupalpha;
std::string URI::URIdigit VESK_CLASS_STRING = "0123456789";
std::string URI::URIalphanum VESK_CLASS_STRING = URI::URIalpha + URI::URIdigit;
std::string URI::URIreserved VESK_CLASS_STRING = ";/?:@&=+$,[]";
std::string URI::URImark VESK_CLASS_STRING = "-_.!~*'()";
std::string URI::URIunreserved VESK_CLASS_STRING = URI::URIalphanum + URI::URImark;
std::string URI::URIuric VESK_CLASS_STRING = URI::URIreserved + URI::URIunreserved;
std::string URI::URIhex VESK_CLASS_STRING = URI::URIdigit + "ABCDEFabcdef";
std::string URI::URIescaped VESK_CLASS_STRING = "%xx";
std::string URI::URIspace VESK_CLASS_STRING = " ";
std::string URI::URIdelims_real VESK_CLASS_STRING = "<>#%\"";
std::string URI::URIdelims VESK_CLASS_STRING = URI::URIdelims_real + ":?@";
std::string URI::URInonhierdelims VESK_CLASS_STRING = URI::URIdelims_real + ":?";
std::string URI::URIunwise VESK_CLASS_STRING = "{}|\\^[]`";
std::string URI::URIcontrol VESK_CLASS_STRING = controlchars;
std::string URI::URIexcluded VESK_CLASS_STRING = URI::URIcontrol + URI::URIspace + URI::URIdelims + URI::URIunwise;
std::string URI::URIqueryreserved VESK_CLASS_STRING = "/?:@&=+$";
std::string URI::URIqueryexcluded VESK_CLASS_STRING =
    URI::URIcontrol + URI::URIspace + URI::URIdelims + URI::URIunwise + URI::URIqueryreserved;
std::string URI::URInonhierexcluded VESK_CLASS_STRING =
    URI::URIcontrol + URI::URIspace + URI::URInonhierdelims + URI::URIunwise;

namespace {

// Marks the end of the strings' construction in the load log; it is defined
// after the last string of the same priority, so it runs after all of them.
struct StringsDone {
  StringsDone() { uri_internal::RecordLoadStep(uri_internal::kLoadStepStrings); }
};
StringsDone stringsDone VESK_CLASS_STRING;

}  // namespace

#undef VESK_CLASS_STRING

namespace uri_internal {

namespace {
// Constant-initialised, so it is usable before any dynamic initialiser runs.
int loadLog[8];
int loadLogSize = 0;
}  // namespace

void RecordLoadStep(int step) {
  if (loadLogSize < static_cast<int>(sizeof loadLog / sizeof loadLog[0])) loadLog[loadLogSize++] = step;
}

int LoadStepCount() { return loadLogSize; }

int LoadStep(int index) { return index >= 0 && index < loadLogSize ? loadLog[index] : 0; }

}  // namespace uri_internal

// ---- Resolver -----------------------------------------------------------------

URIResolver* URI::m_Resolver = nullptr;

URIResolver::~URIResolver() = default;

URIResolver* URI::SetResolver(URIResolver* resolver) {
  URIResolver* previous = m_Resolver;
  m_Resolver = resolver;
  return previous;
}

URI URI::Resolve(const URI& uri) {
  if (m_Resolver != nullptr) return m_Resolver->Resolve(uri);
  return URI(uri);
}

// ---- Lifecycle ------------------------------------------------------------------

URI::URI() : m_Scheme("unknown"), m_IsValid(false), m_IsRelative(false), m_IsHierarchical(false) {}

URI::URI(const URI& source)
    : m_Scheme(source.m_Scheme),
      m_Server(source.m_Server),
      m_Port(source.m_Port),
      m_Path(source.m_Path),
      m_Query(source.m_Query),
      m_Fragment(source.m_Fragment),
      m_Username(source.m_Username),
      m_Password(source.m_Password),
      m_NonHierarchical(source.m_NonHierarchical),
      m_IsValid(source.m_IsValid),
      m_IsRelative(source.m_IsRelative),
      m_IsHierarchical(source.m_IsHierarchical) {}

URI::~URI() = default;

URI& URI::operator=(const URI& source) {
  CopyURI(source);
  return *this;
}

void URI::CopyURI(const URI& source) {
  m_Scheme = source.m_Scheme;
  m_Server = source.m_Server;
  m_Port = source.m_Port;
  m_Path = source.m_Path;
  m_Query = source.m_Query;
  m_Fragment = source.m_Fragment;
  m_Username = source.m_Username;
  m_Password = source.m_Password;
  m_NonHierarchical = source.m_NonHierarchical;
  m_IsValid = source.m_IsValid;
  m_IsRelative = source.m_IsRelative;
  m_IsHierarchical = source.m_IsHierarchical;
}

void URI::Initialize() {
  m_IsValid = false;
  m_IsRelative = false;
  m_IsHierarchical = false;
  m_Scheme.assign("unknown", 7);
  m_Server.clear();
  m_Port.clear();
  m_Path.clear();
  m_Query.clear();
  m_Fragment.clear();
  m_Username.clear();
  m_Password.clear();
  m_NonHierarchical.clear();
}

void URI::SetHierState(bool hierarchical) {
  if (hierarchical) {
    m_IsHierarchical = true;
    m_NonHierarchical.clear();
    m_IsRelative = m_Scheme.empty() || m_Scheme == "unknown";
    m_IsValid = !m_Server.empty() || !m_Path.empty();
  } else {
    m_IsHierarchical = false;
    m_Server.clear();
    m_Username.clear();
    m_Password.clear();
    m_Port.clear();
    m_Path.clear();
    m_IsRelative = false;
    m_IsValid = !(m_Scheme.empty() || m_Scheme == "unknown");
  }
}

// ---- Flags and kind -----------------------------------------------------------------

bool URI::IsValidURI() const { return m_IsValid; }
bool URI::IsAbsolute() const { return !m_IsRelative; }
bool URI::IsRelative() const { return m_IsRelative; }
bool URI::IsHierarchical() const { return m_IsHierarchical; }
bool URI::IsDirectory() const { return !m_Path.empty() && m_Path.back() == '/'; }
bool URI::IsOfType(StringProxy type) const { return Compare(m_Scheme, type, false) == 0; }

// ---- Byte-string helpers ---------------------------------------------------------------

namespace {

// Branch-free, so that the loop of MakeLower vectorises.
inline unsigned char LowerByte(unsigned char c) {
  return static_cast<unsigned char>(c | ((static_cast<unsigned char>(c - 'A') < 26) << 5));
}

}  // namespace

void URI::MakeLower(std::string& text) {
  if (text.empty()) return;
  unsigned char* p = reinterpret_cast<unsigned char*>(&text[0]);
  const size_t n = text.size();
  for (size_t i = 0; i < n; ++i) p[i] = LowerByte(p[i]);
}

int URI::Compare(const std::string& a, const std::string& b, bool caseSensitive) {
  const size_t n = a.size() < b.size() ? a.size() : b.size();
  int result = 0;
  if (caseSensitive) {
    result = n == 0 ? 0 : std::memcmp(a.data(), b.data(), n);
  } else {
    // Byte by byte on lowered values: the same result as memcmp on lowered
    // copies, without making the copies.
    const auto* pa = reinterpret_cast<const unsigned char*>(a.data());
    const auto* pb = reinterpret_cast<const unsigned char*>(b.data());
    for (size_t i = 0; i < n; ++i) {
      const int d = static_cast<int>(LowerByte(pa[i])) - static_cast<int>(LowerByte(pb[i]));
      if (d != 0) {
        result = d;
        break;
      }
    }
  }
  if (result != 0) return result;
  if (a.size() > b.size()) return 1;
  if (a.size() < b.size()) return -1;
  return 0;
}

}  // namespace Vesk
