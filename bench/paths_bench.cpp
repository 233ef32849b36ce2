// Path algebra over the URL corpora: references completed against a base
// (MakeAbsoluteURI), URIs made relative to it (MakeRelativeURI), and the
// relation and common parent of each URI and the base; beside the peers
// that resolve references where they are installed.
//
// Inputs, per corpus: the base is the first URL with a path of three or more
// segments; every URL is moved onto the base's server (its own path, query
// and fragment kept) and then made relative to the base. Only printable ASCII
// without the characters that no peer accepts raw is kept, so that every
// library parses every input.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "vesk/uri/uri"

#ifdef VESK_HAVE_URIPARSER
#include <uriparser/Uri.h>
#endif
#ifdef VESK_HAVE_BOOST_URL
#include <boost/url.hpp>
#endif
#ifdef VESK_HAVE_GURI
#include <glib.h>
#endif

namespace {

using Vesk::URI;

constexpr size_t kMaxInputs = 10000;

struct Inputs {
  std::string base;
  std::vector<std::string> absolute;   // on the base's server
  std::vector<std::string> reference;  // the same, relative to the base
};

bool Clean(const std::string& text) {
  for (const unsigned char c : text) {
    if (c <= 0x20 || c >= 0x7F) return false;
    switch (c) {
      case '"': case '<': case '>': case '\\': case '^': case '`': case '{': case '|': case '}': return false;
      default: break;
    }
  }
  return true;
}

size_t Depth(const URI& uri) {
  std::vector<std::string> segments;
  URI::SplitPath(uri.GetPath(), segments);
  return segments.size();
}

Inputs Build(const std::string& corpus) {
  const std::vector<std::string> lines = veskbench::DataLines("urls/" + corpus + ".txt");
  Inputs in;
  URI base;
  for (const std::string& line : lines) {
    const URI uri(line);
    if (Clean(line) && uri.IsValidURI() && !uri.IsRelative() && uri.IsHierarchical() && uri.m_Query.empty() &&
        uri.m_Fragment.empty() && Depth(uri) >= 3) {
      base = uri;
      in.base = line;
      break;
    }
  }
  if (in.base.empty()) {
    std::fprintf(stderr, "no URL with a path of three segments in %s\n", corpus.c_str());
    std::abort();
  }
  const std::string root = base.m_Scheme + "://" + base.m_Server;
  for (const std::string& line : lines) {
    if (in.absolute.size() == kMaxInputs) break;
    const URI uri(line);
    if (!Clean(line) || !uri.IsValidURI() || uri.IsRelative() || !uri.IsHierarchical()) continue;
    if (!uri.m_Path.empty() && uri.m_Path[0] != '/') continue;
    std::string absolute = root + uri.m_Path;
    if (!uri.m_Query.empty()) absolute += "?" + uri.m_Query;
    if (!uri.m_Fragment.empty()) absolute += "#" + uri.m_Fragment;
    URI relative(absolute);
    if (!relative.MakeRelativeURI(base, true)) continue;
    const std::string reference = relative.ToString(false);
    if (!Clean(reference)) continue;
    in.absolute.push_back(absolute);
    in.reference.push_back(reference);
  }
  return in;
}

const Inputs& Get(const std::string& corpus) {
  static std::map<std::string, Inputs> cache;
  auto hit = cache.find(corpus);
  if (hit == cache.end()) hit = cache.emplace(corpus, Build(corpus)).first;
  return hit->second;
}

void Done(benchmark::State& state, size_t items) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * items));
  state.counters["urls"] = static_cast<double>(items);
}

// ---- Ours ---------------------------------------------------------------------

void MakeAbsoluteVesk(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  const URI base(in.base);
  for (auto _ : state) {
    for (const std::string& text : in.reference) {
      URI uri(text);
      uri.MakeAbsoluteURI(base);
      std::string out = uri.ToString(false);
      benchmark::DoNotOptimize(out);
    }
  }
  Done(state, in.reference.size());
}

void MakeRelativeVesk(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  const URI base(in.base);
  for (auto _ : state) {
    for (const std::string& text : in.absolute) {
      URI uri(text);
      uri.MakeRelativeURI(base, true);
      std::string out = uri.ToString(false);
      benchmark::DoNotOptimize(out);
    }
  }
  Done(state, in.absolute.size());
}

void GetRelationVesk(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  const URI base(in.base);
  const std::vector<URI> uris(in.absolute.begin(), in.absolute.end());
  for (auto _ : state) {
    for (const URI& uri : uris) benchmark::DoNotOptimize(uri.GetRelation(base, true));
  }
  Done(state, uris.size());
}

void GetCommonParentVesk(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  const URI base(in.base);
  const std::vector<URI> uris(in.absolute.begin(), in.absolute.end());
  for (auto _ : state) {
    for (const URI& uri : uris) {
      URI parent = uri.GetCommonParent(base, true);
      benchmark::DoNotOptimize(parent.m_Path);
    }
  }
  Done(state, uris.size());
}

// ---- Peers --------------------------------------------------------------------

#ifdef VESK_HAVE_URIPARSER
std::string UriparserText(const UriUriA& uri) {
  int chars = 0;
  if (uriToStringCharsRequiredA(&uri, &chars) != URI_SUCCESS) return std::string();
  std::string out(static_cast<size_t>(chars) + 1, '\0');
  uriToStringA(out.data(), &uri, chars + 1, nullptr);
  out.resize(static_cast<size_t>(chars));
  return out;
}

void MakeAbsoluteUriparser(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  UriUriA base;
  const char* error = nullptr;
  if (uriParseSingleUriA(&base, in.base.c_str(), &error) != URI_SUCCESS) state.SkipWithError("base");
  for (auto _ : state) {
    for (const std::string& text : in.reference) {
      UriUriA reference;
      UriUriA absolute;
      if (uriParseSingleUriA(&reference, text.c_str(), &error) == URI_SUCCESS) {
        if (uriAddBaseUriA(&absolute, &reference, &base) == URI_SUCCESS) {
          std::string out = UriparserText(absolute);
          benchmark::DoNotOptimize(out);
          uriFreeUriMembersA(&absolute);
        }
        uriFreeUriMembersA(&reference);
      }
    }
  }
  uriFreeUriMembersA(&base);
  Done(state, in.reference.size());
}

void MakeRelativeUriparser(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  UriUriA base;
  const char* error = nullptr;
  if (uriParseSingleUriA(&base, in.base.c_str(), &error) != URI_SUCCESS) state.SkipWithError("base");
  for (auto _ : state) {
    for (const std::string& text : in.absolute) {
      UriUriA absolute;
      UriUriA relative;
      if (uriParseSingleUriA(&absolute, text.c_str(), &error) == URI_SUCCESS) {
        if (uriRemoveBaseUriA(&relative, &absolute, &base, URI_FALSE) == URI_SUCCESS) {
          std::string out = UriparserText(relative);
          benchmark::DoNotOptimize(out);
          uriFreeUriMembersA(&relative);
        }
        uriFreeUriMembersA(&absolute);
      }
    }
  }
  uriFreeUriMembersA(&base);
  Done(state, in.absolute.size());
}
#endif

#ifdef VESK_HAVE_BOOST_URL
void MakeAbsoluteBoost(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  const boost::urls::url base(boost::urls::parse_uri(in.base).value());
  for (auto _ : state) {
    for (const std::string& text : in.reference) {
      auto reference = boost::urls::parse_uri_reference(text);
      if (!reference) continue;
      boost::urls::url out;
      if (boost::urls::resolve(base, *reference, out)) benchmark::DoNotOptimize(out.buffer().data());
    }
  }
  Done(state, in.reference.size());
}
#endif

#ifdef VESK_HAVE_GURI
// The string form: the base is parsed on every call, as this API does.
void MakeAbsoluteGlib(benchmark::State& state, const std::string& corpus) {
  const Inputs& in = Get(corpus);
  for (auto _ : state) {
    for (const std::string& text : in.reference) {
      gchar* out = g_uri_resolve_relative(in.base.c_str(), text.c_str(), G_URI_FLAGS_NONE, nullptr);
      benchmark::DoNotOptimize(out);
      g_free(out);
    }
  }
  Done(state, in.reference.size());
}
#endif

using Bench = void (*)(benchmark::State&, const std::string&);

bool Register() {
  const std::vector<std::pair<std::string, Bench>> benches = {
      {"MakeAbsoluteURI/vesk", MakeAbsoluteVesk},
      {"MakeRelativeURI/vesk", MakeRelativeVesk},
      {"GetRelation/vesk", GetRelationVesk},
      {"GetCommonParent/vesk", GetCommonParentVesk},
#ifdef VESK_HAVE_URIPARSER
      {"MakeAbsoluteURI/uriparser", MakeAbsoluteUriparser},
      {"MakeRelativeURI/uriparser", MakeRelativeUriparser},
#endif
#ifdef VESK_HAVE_BOOST_URL
      {"MakeAbsoluteURI/boost_url", MakeAbsoluteBoost},
#endif
#ifdef VESK_HAVE_GURI
      {"MakeAbsoluteURI/glib", MakeAbsoluteGlib},
#endif
  };
  for (const std::string& file : veskbench::UrlCorpora()) {
    const std::string corpus = file.substr(0, file.find('.'));
    for (const auto& [name, bench] : benches) {
      benchmark::RegisterBenchmark((name + "/" + corpus).c_str(), bench, corpus)->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}

const bool registered = Register();

}  // namespace
