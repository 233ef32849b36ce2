// The query as a map, and URIs read from legacy charsets.
//
// GetQueryByMap and SetQueryValue run on the queries of the URL corpora,
// beside uriparser's query dissect/compose and Boost.URL's params where they
// are installed; every library gets the same query texts, those that all of
// them accept. FromEncodedString runs on URLs written in Shift_JIS and
// ISO-8859-1; its peer "icu_convert" is the bare ICU conversion of the same
// bytes to UTF-8, the floor under any such reader.
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include "bench/bench_support.h"
#include "vesk/encoding/transcoder"
#include "vesk/uri/uri"

#ifdef VESK_HAVE_URIPARSER
#include <uriparser/Uri.h>
#endif
#ifdef VESK_HAVE_BOOST_URL
#include <boost/url.hpp>
#endif

namespace {

using Map = std::map<std::string, std::string>;

struct QueryInput {
  std::vector<std::string> queries;  // escaped query texts
  std::vector<Vesk::URI> uris;       // "http://h/?" and the query
};

bool AllPeersAccept(const std::string& query) {
#ifdef VESK_HAVE_URIPARSER
  UriQueryListA* list = nullptr;
  int count = 0;
  if (uriDissectQueryMallocA(&list, &count, query.data(), query.data() + query.size()) != URI_SUCCESS)
    return false;
  uriFreeQueryListA(list);
#endif
#ifdef VESK_HAVE_BOOST_URL
  if (!boost::urls::parse_query(query)) return false;
#endif
  return !query.empty();
}

QueryInput LoadQueries(const std::string& corpus) {
  QueryInput in;
  for (const auto& line : veskbench::DataLines("urls/" + corpus)) {
    Vesk::URI uri(line);
    if (!uri.IsValidURI() || !AllPeersAccept(uri.m_Query)) continue;
    in.queries.push_back(uri.m_Query);
    Vesk::URI holder("http://h/");
    holder.SetQuery(uri.m_Query, false);
    in.uris.push_back(holder);
  }
  return in;
}

std::string Stem(const std::string& corpus) { return corpus.substr(0, corpus.find('.')); }

void GetMapVesk(benchmark::State& state, const QueryInput* in) {
  Map map;
  for (auto _ : state) {
    for (const auto& uri : in->uris) {
      uri.GetQueryByMap(map);
      benchmark::DoNotOptimize(map);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in->uris.size()));
}

void SetValueVesk(benchmark::State& state, const QueryInput* in) {
  for (auto _ : state) {
    for (const auto& uri : in->uris) {
      Vesk::URI copy(uri);
      copy.SetQueryValue("vesk", "1 2");
      benchmark::DoNotOptimize(copy.m_Query);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in->uris.size()));
}

#ifdef VESK_HAVE_URIPARSER
void GetMapUriparser(benchmark::State& state, const QueryInput* in) {
  Map map;
  for (auto _ : state) {
    for (const auto& q : in->queries) {
      UriQueryListA* list = nullptr;
      int count = 0;
      uriDissectQueryMallocA(&list, &count, q.data(), q.data() + q.size());
      map.clear();
      for (UriQueryListA* it = list; it != nullptr; it = it->next) map[it->key] = it->value ? it->value : "";
      uriFreeQueryListA(list);
      benchmark::DoNotOptimize(map);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in->queries.size()));
}

void SetValueUriparser(benchmark::State& state, const QueryInput* in) {
  for (auto _ : state) {
    for (const auto& q : in->queries) {
      UriQueryListA* list = nullptr;
      int count = 0;
      uriDissectQueryMallocA(&list, &count, q.data(), q.data() + q.size());
      // Replace the value of an existing name, or append the pair.
      UriQueryListA added{"vesk", "1 2", nullptr};
      UriQueryListA** tail = &list;
      bool found = false;
      for (; *tail != nullptr; tail = &(*tail)->next) {
        if (std::string((*tail)->key) == "vesk") found = true;
      }
      if (!found) *tail = &added;
      char* out = nullptr;
      uriComposeQueryMallocA(&out, list);
      benchmark::DoNotOptimize(out);
      free(out);
      if (!found) *tail = nullptr;
      uriFreeQueryListA(list);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in->queries.size()));
}
#endif

#ifdef VESK_HAVE_BOOST_URL
void GetMapBoost(benchmark::State& state, const QueryInput* in) {
  Map map;
  for (auto _ : state) {
    for (const auto& q : in->queries) {
      map.clear();
      for (const auto& p : boost::urls::params_view(q)) map[p.key] = p.value;
      benchmark::DoNotOptimize(map);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(in->queries.size()));
}

void SetValueBoost(benchmark::State& state, const std::vector<boost::urls::url>* urls) {
  for (auto _ : state) {
    for (const auto& u : *urls) {
      boost::urls::url copy(u);
      copy.params().set("vesk", "1 2");
      benchmark::DoNotOptimize(copy.buffer().data());
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(urls->size()));
}
#endif

// URLs in a legacy charset: the corpus lines (mostly ASCII) and URLs whose
// path and query are words of a natural-language text.
std::vector<std::string> LegacyUrls(const std::string& charset, const std::string& textFile) {
  std::vector<std::string> out;
  const auto lines = veskbench::DataLines("urls/kasztp.txt");
  for (size_t i = 0; i < lines.size() && i < 5000; ++i) {
    const std::string encoded = Vesk::Transcoder::UTF8ToEncoding(lines[i], charset);
    if (!encoded.empty()) out.push_back(encoded);
  }
  // Words of the text, in UTF-8, with the URL delimiters taken out.
  std::string words;
  for (const char c : veskbench::DataFile(textFile)) {
    if (c == '\n' || c == '\r' || c == '#' || c == '?' || c == '%' || c == '\\') {
      words += ' ';
    } else {
      words += c;
    }
  }
  size_t pos = 0;
  for (int n = 0; n < 5000 && pos + 240 < words.size(); ++n) {
    // Cut at ASCII bytes only, so no character is split.
    size_t a = pos + 40;
    while (a < words.size() && static_cast<unsigned char>(words[a]) >= 0x80) ++a;
    size_t b = a + 40;
    while (b < words.size() && static_cast<unsigned char>(words[b]) >= 0x80) ++b;
    const std::string url =
        "http://example.org/wiki/" + words.substr(pos, a - pos) + "?q=" + words.substr(a, b - a);
    pos = b;
    const std::string encoded = Vesk::Transcoder::UTF8ToEncoding(url, charset);
    if (encoded.size() > 30) out.push_back(encoded);
  }
  return out;
}

void FromEncodedVesk(benchmark::State& state, const std::vector<std::string>* urls, const char* charset) {
  for (auto _ : state) {
    for (const auto& text : *urls) {
      Vesk::URI uri;
      benchmark::DoNotOptimize(uri.FromEncodedString(text, charset));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(urls->size()));
}

void FromEncodedIcu(benchmark::State& state, const std::vector<std::string>* urls, const char* charset) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* from = ucnv_open(charset, &status);
  UConverter* to = ucnv_open("utf-8", &status);
  std::string out;
  for (auto _ : state) {
    for (const auto& text : *urls) {
      out.resize(text.size() * 3 + 4);
      status = U_ZERO_ERROR;
      char* target = &out[0];
      const char* source = text.data();
      ucnv_convertEx(to, from, &target, target + out.size(), &source, source + text.size(), nullptr, nullptr,
                     nullptr, nullptr, true, true, &status);
      out.resize(static_cast<size_t>(target - out.data()));
      benchmark::DoNotOptimize(out);
    }
  }
  ucnv_close(from);
  ucnv_close(to);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(urls->size()));
}

struct Registered {
  Registered() {
    for (const auto& corpus : veskbench::UrlCorpora()) {
      auto* in = new QueryInput(LoadQueries(corpus));  // lives as long as the process
      if (in->queries.empty()) continue;
      const std::string stem = Stem(corpus);
      benchmark::RegisterBenchmark(("GetQueryByMap/vesk/" + stem).c_str(), GetMapVesk, in);
      benchmark::RegisterBenchmark(("SetQueryValue/vesk/" + stem).c_str(), SetValueVesk, in);
#ifdef VESK_HAVE_URIPARSER
      benchmark::RegisterBenchmark(("GetQueryByMap/uriparser/" + stem).c_str(), GetMapUriparser, in);
      benchmark::RegisterBenchmark(("SetQueryValue/uriparser/" + stem).c_str(), SetValueUriparser, in);
#endif
#ifdef VESK_HAVE_BOOST_URL
      benchmark::RegisterBenchmark(("GetQueryByMap/boost_url/" + stem).c_str(), GetMapBoost, in);
      auto* urls = new std::vector<boost::urls::url>;
      for (const auto& q : in->queries) {
        boost::urls::url u("http://h/");
        u.set_encoded_query(q);
        urls->push_back(u);
      }
      benchmark::RegisterBenchmark(("SetQueryValue/boost_url/" + stem).c_str(), SetValueBoost, urls);
#endif
    }
    struct Legacy {
      const char* charset;
      const char* text;
      const char* name;
    };
    static const Legacy legacy[] = {{"shift_jis", "text/japanese.utf8.txt", "shift_jis"},
                                    {"iso-8859-1", "text/french.utf8.txt", "iso-8859-1"}};
    for (const auto& l : legacy) {
      if (!veskbench::HaveData(l.text)) continue;
      auto* urls = new std::vector<std::string>(LegacyUrls(l.charset, l.text));
      benchmark::RegisterBenchmark((std::string("FromEncodedString/vesk/") + l.name).c_str(), FromEncodedVesk,
                                   urls, l.charset);
      benchmark::RegisterBenchmark((std::string("FromEncodedString/icu_convert/") + l.name).c_str(),
                                   FromEncodedIcu, urls, l.charset);
    }
  }
};

const Registered registered;

}  // namespace
