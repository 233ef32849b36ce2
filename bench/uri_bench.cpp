// URI parsing and serialising, escaping and unescaping, beside the peers.
//
// Parse: each line of a URL corpus is parsed and written back as text
// (ToString(false)); peers do the same with their own parse and
// serialisation. Escape: the plain paths of the corpus are escaped as path
// text. Unescape: each corpus line, escaped as a path (so it is rich in
// escapes), is decoded. One iteration is one pass over the whole corpus.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/bench_support.h"
#include "vesk/uri/uri"

#ifdef VESK_HAVE_URIPARSER
#include <uriparser/Uri.h>
#endif
#ifdef VESK_HAVE_BOOST_URL
#include <boost/url.hpp>
#endif
#ifdef VESK_HAVE_CURL_URL
#include <curl/curl.h>
#endif
#ifdef VESK_HAVE_GURI
#include <glib.h>
#endif

namespace {

using Vesk::URI;

struct Corpus {
  std::string name;                  // file stem
  std::vector<std::string> lines;    // URL texts
  std::vector<std::string> paths;    // plain paths (unescaped)
  std::vector<std::string> escaped;  // lines escaped as paths
  size_t bytes = 0;
};

std::vector<Corpus>& Corpora() {
  static std::vector<Corpus> corpora = [] {
    std::vector<Corpus> all;
    for (const std::string& file : veskbench::UrlCorpora()) {
      Corpus c;
      c.name = file.substr(0, file.rfind('.'));
      c.lines = veskbench::DataLines("urls/" + file);
      for (const std::string& line : c.lines) {
        c.bytes += line.size();
        const URI uri(line.c_str());
        if (uri.IsValidURI() && uri.IsHierarchical()) c.paths.push_back(uri.GetPath());
        c.escaped.push_back(URI::Escape(line));
      }
      all.push_back(std::move(c));
    }
    return all;
  }();
  return corpora;
}

// ---- Parse and serialise ------------------------------------------------------

void ParseVesk(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& line : c->lines) {
      const URI uri(line.c_str());
      const URI::StringProxy text = uri.ToString(false);
      benchmark::DoNotOptimize(text.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->bytes));
}

#ifdef VESK_HAVE_URIPARSER
void ParseUriparser(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& line : c->lines) {
      UriUriA uri;
      const char* error = nullptr;
      if (uriParseSingleUriExA(&uri, line.data(), line.data() + line.size(), &error) == URI_SUCCESS) {
        int chars = 0;
        if (uriToStringCharsRequiredA(&uri, &chars) == URI_SUCCESS) {
          std::string text(static_cast<size_t>(chars), '\0');
          uriToStringA(&text[0], &uri, chars + 1, nullptr);
          benchmark::DoNotOptimize(text.data());
        }
      }
      uriFreeUriMembersA(&uri);
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->bytes));
}
#endif

#ifdef VESK_HAVE_BOOST_URL
void ParseBoost(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& line : c->lines) {
      auto result = boost::urls::parse_uri_reference(line);
      if (result) {
        // A url owns its text, as the other libraries' results do.
        const boost::urls::url owned(*result);
        std::string text(owned.buffer());
        benchmark::DoNotOptimize(text.data());
      }
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->bytes));
}
#endif

#ifdef VESK_HAVE_CURL_URL
void ParseCurl(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& line : c->lines) {
      CURLU* handle = curl_url();
      if (curl_url_set(handle, CURLUPART_URL, line.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK) {
        char* text = nullptr;
        if (curl_url_get(handle, CURLUPART_URL, &text, 0) == CURLUE_OK) {
          benchmark::DoNotOptimize(text);
          curl_free(text);
        }
      }
      curl_url_cleanup(handle);
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->bytes));
}
#endif

#ifdef VESK_HAVE_GURI
void ParseGlib(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& line : c->lines) {
      GUri* uri = g_uri_parse(line.c_str(), G_URI_FLAGS_ENCODED, nullptr);
      if (uri != nullptr) {
        char* text = g_uri_to_string(uri);
        benchmark::DoNotOptimize(text);
        g_free(text);
        g_uri_unref(uri);
      }
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c->bytes));
}
#endif

// ---- Escape ---------------------------------------------------------------------

size_t TotalSize(const std::vector<std::string>& texts) {
  size_t n = 0;
  for (const std::string& t : texts) n += t.size();
  return n;
}

void EscapeVesk(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& path : c->paths) {
      const URI::StringProxy escaped = URI::Escape(path);
      benchmark::DoNotOptimize(escaped.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->paths)));
}

#ifdef VESK_HAVE_BOOST_URL
void EscapeBoost(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& path : c->paths) {
      const std::string escaped = boost::urls::encode(path, boost::urls::pchars);
      benchmark::DoNotOptimize(escaped.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->paths)));
}
#endif

#ifdef VESK_HAVE_URIPARSER
void EscapeUriparser(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& path : c->paths) {
      std::string escaped(path.size() * 3 + 1, '\0');
      const char* end = uriEscapeExA(path.data(), path.data() + path.size(), &escaped[0], URI_FALSE, URI_FALSE);
      escaped.resize(static_cast<size_t>(end - escaped.data()));
      benchmark::DoNotOptimize(escaped.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->paths)));
}
#endif

#ifdef VESK_HAVE_GURI
void EscapeGlib(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& path : c->paths) {
      char* escaped = g_uri_escape_string(path.c_str(), "/;=&+$,", TRUE);
      benchmark::DoNotOptimize(escaped);
      g_free(escaped);
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->paths)));
}
#endif

// ---- Unescape ---------------------------------------------------------------------

void UnescapeVesk(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& text : c->escaped) {
      const URI::StringProxy plain = URI::Unescape(text, false);
      benchmark::DoNotOptimize(plain.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->escaped)));
}

#ifdef VESK_HAVE_GURI
void UnescapeGlib(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& text : c->escaped) {
      char* plain = g_uri_unescape_string(text.c_str(), nullptr);
      benchmark::DoNotOptimize(plain);
      g_free(plain);
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->escaped)));
}
#endif

#ifdef VESK_HAVE_BOOST_URL
void UnescapeBoost(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& text : c->escaped) {
      auto view = boost::urls::make_pct_string_view(text);
      if (view) {
        const std::string plain = view->decode();
        benchmark::DoNotOptimize(plain.data());
      }
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->escaped)));
}
#endif

#ifdef VESK_HAVE_URIPARSER
void UnescapeUriparser(benchmark::State& state, const Corpus* c) {
  for (auto _ : state) {
    for (const std::string& text : c->escaped) {
      std::string plain(text);
      const char* end = uriUnescapeInPlaceA(&plain[0]);
      plain.resize(static_cast<size_t>(end - plain.data()));
      benchmark::DoNotOptimize(plain.data());
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->escaped)));
}
#endif

#ifdef VESK_HAVE_CURL_URL
void UnescapeCurl(benchmark::State& state, const Corpus* c) {
  CURL* easy = curl_easy_init();
  for (auto _ : state) {
    for (const std::string& text : c->escaped) {
      int length = 0;
      char* plain = curl_easy_unescape(easy, text.data(), static_cast<int>(text.size()), &length);
      benchmark::DoNotOptimize(plain);
      curl_free(plain);
    }
  }
  curl_easy_cleanup(easy);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TotalSize(c->escaped)));
}
#endif

using BenchFn = void (*)(benchmark::State&, const Corpus*);

void Add(const std::string& op, const std::string& lib, BenchFn fn, const Corpus* c) {
  benchmark::RegisterBenchmark((op + "/" + lib + "/" + c->name).c_str(), fn, c)->Unit(benchmark::kMicrosecond);
}

const bool registered = [] {
  for (const Corpus& corpus : Corpora()) {
    const Corpus* c = &corpus;
    Add("Parse", "vesk", ParseVesk, c);
#ifdef VESK_HAVE_URIPARSER
    Add("Parse", "uriparser", ParseUriparser, c);
#endif
#ifdef VESK_HAVE_BOOST_URL
    Add("Parse", "boost_url", ParseBoost, c);
#endif
#ifdef VESK_HAVE_CURL_URL
    Add("Parse", "curl", ParseCurl, c);
#endif
#ifdef VESK_HAVE_GURI
    Add("Parse", "glib", ParseGlib, c);
#endif
    Add("Escape", "vesk", EscapeVesk, c);
#ifdef VESK_HAVE_BOOST_URL
    Add("Escape", "boost_url", EscapeBoost, c);
#endif
#ifdef VESK_HAVE_URIPARSER
    Add("Escape", "uriparser", EscapeUriparser, c);
#endif
#ifdef VESK_HAVE_GURI
    Add("Escape", "glib", EscapeGlib, c);
#endif
    Add("Unescape", "vesk", UnescapeVesk, c);
#ifdef VESK_HAVE_GURI
    Add("Unescape", "glib", UnescapeGlib, c);
#endif
#ifdef VESK_HAVE_BOOST_URL
    Add("Unescape", "boost_url", UnescapeBoost, c);
#endif
#ifdef VESK_HAVE_URIPARSER
    Add("Unescape", "uriparser", UnescapeUriparser, c);
#endif
#ifdef VESK_HAVE_CURL_URL
    Add("Unescape", "curl", UnescapeCurl, c);
#endif
  }
  return true;
}();

}  // namespace
