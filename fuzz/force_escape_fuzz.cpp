// ForceEscape on the parse of any bytes.
//
// Checked: a second ForceEscape changes nothing, neither fields nor flags;
// afterwards the fragment, port and query are canonical (escaping their plain
// form gives them back), and user information is left as parsed.
//
// Two exceptions are by design, both for a server with two or more colons,
// which is stored as given: unless it is a whole "[...]" address it is read
// back through Unescape, so each pass decodes its escapes once more; and a
// whole "[[...]]" loses one pair of brackets on each pass, since reading takes
// one pair off and storing adds none to text that begins with '[' (nor to an
// address shorter than three bytes, so "[::]" becomes "::"). For such a
// server only the other fields are compared.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "vesk/uri/invariants.h"
#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;
using Vesk::uri_internal::SameState;

using Vesk::URI;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string text(reinterpret_cast<const char*>(data), size);
  URI uri{URI::StringProxy(text)};
  Require(Vesk::uri_internal::URIShapeError(uri).empty(), "parse leaves one of the four shapes");
  const std::string userBefore = uri.m_Username;
  const std::string passwordBefore = uri.m_Password;
  const bool hierarchical = uri.IsHierarchical();

  uri.ForceEscape();
  const URI once(uri);
  uri.ForceEscape();
  const std::string& server = once.m_Server;
  const bool whole = server.size() > 2 && server.front() == '[' && server.back() == ']';
  const bool serverChangesAgain =
      URI::IsIPv6(server) &&
      (whole ? server[1] == '[' || server.size() < 5 : server.find('%') != std::string::npos);
  if (serverChangesAgain) {
    URI withOldServer(uri);
    withOldServer.m_Server = once.m_Server;
    Require(SameState(withOldServer, once), "ForceEscape twice equals once, but for the server");
  } else {
    Require(SameState(uri, once), "ForceEscape twice equals once");
  }

  if (hierarchical) {
    Require(uri.m_Username == userBefore && uri.m_Password == passwordBefore,
            "user information is not passed through");
    Require(URI::Escape(uri.GetFragment()) == uri.m_Fragment, "the fragment is canonical");
    Require(URI::Escape(uri.GetServerPort()) == uri.m_Port, "the port is canonical");
  }
  Require(URI::Escape(uri.GetQuery(true)) == uri.m_Query, "the query is canonical");
  return 0;
}
