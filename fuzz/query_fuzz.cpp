// The query as a map, on any query text: GetQueryByMap, GetQueryValue,
// SetQueryValue and SetQueryByMap. The input is the stored query; its first
// pair's name is also used as a look-up name.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "vesk/uri/uri"
#include "fuzz/fuzz_support.h"

namespace {

using veskfuzz::Require;

using Map = std::map<std::string, std::string>;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskfuzz::PoolsCheckedAtExit pools;
  const std::string query(reinterpret_cast<const char*>(data), size);
  Vesk::URI uri("http://h/p#f");
  uri.SetQuery(query, false);
  veskfuzz::RequireShape(uri, "SetQuery");

  Map map{{"stale", "entry"}};
  uri.GetQueryByMap(map);
  Require(uri.m_Query == query, "GetQueryByMap changed the query");
  Require(map.empty() == query.empty(), "empty map for a non-empty query, or the reverse");
  Map fresh;
  uri.GetQueryByMap(fresh);
  Require(map == fresh, "GetQueryByMap kept what the map held before");

  // Names of the map are found with their values: the first and the last
  // name only, since each look-up builds the whole map again.
  if (!map.empty()) {
    for (const auto* entry : {&*map.begin(), &*map.rbegin()}) {
      std::string got = "x";
      Require(uri.GetQueryValue(entry->first, got), "name of the map not found");
      Require(got == entry->second, "GetQueryValue differs from the map");
    }
  }
  std::string untouched = "untouched";
  if (map.count("\x01missing") == 0) {
    Require(!uri.GetQueryValue("\x01missing", untouched), "absent name found");
    Require(untouched == "untouched", "absent name changed the output");
  }

  // Writing the map and reading it back gives the same map, and writing that
  // again gives the same text.
  Vesk::URI copy(uri);
  copy.SetQueryByMap(map);
  Map back;
  copy.GetQueryByMap(back);
  Require(back == map, "SetQueryByMap then GetQueryByMap lost something");
  const std::string canonical = copy.m_Query;
  copy.SetQueryByMap(back);
  Require(copy.m_Query == canonical, "canonical query not stable");
  Require(copy.m_Path == "/p" && copy.m_Fragment == "f", "query operations touched other fields");
  veskfuzz::RequireShape(copy, "SetQueryByMap");

  // Setting one value changes that entry only.
  const std::string name = map.empty() ? std::string("k") : map.begin()->first;
  Vesk::URI set(uri);
  set.SetQueryValue(name, query);
  Map after;
  set.GetQueryByMap(after);
  Map expected = map;
  expected[name] = query;
  Require(after == expected, "SetQueryValue changed more than one entry");
  veskfuzz::RequireShape(set, "SetQueryValue");
  return 0;
}
