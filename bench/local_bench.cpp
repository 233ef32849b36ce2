// Guessing URIs from typed text (UnknownToURI) and converting local paths,
// beside the peers that offer the same where they are installed: curl's URL
// API guesses a scheme for URLs and bare hosts, GLib converts Unix paths to
// and from file URIs.
//
// Inputs: from the web corpus (kasztp) and the file corpus (isaacs_files),
// the URLs as typed, their hosts alone, and their paths written as Windows
// paths ("C:\a\b"), UNC paths ("\\host\a\b"), Unix paths and colon paths
// ("Disk:a:b"); "mixed" interleaves all six kinds. Only printable ASCII
// without the characters that no peer accepts raw is kept.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "vesk/uri/uri"

#ifdef VESK_HAVE_CURL_URL
#include <curl/curl.h>
#endif
#ifdef VESK_HAVE_GURI
#include <glib.h>
#endif

namespace {

using Vesk::URI;

constexpr size_t kPerCorpus = 4000;

struct Inputs {
  std::map<std::string, std::vector<std::string>> kinds;  // kind -> texts
  std::vector<std::string> fileURIs;                      // file URIs of the Unix paths
};

bool Clean(const std::string& text) {
  for (const unsigned char c : text) {
    if (c <= 0x20 || c >= 0x7F) return false;
    switch (c) {
      case '"':
      case '<':
      case '>':
      case '\\':
      case '^':
      case '`':
      case '{':
      case '|':
      case '}':
      case '%':
        return false;
      default:
        break;
    }
  }
  return true;
}

std::string Replaced(std::string text, char from, char to) {
  for (char& c : text)
    if (c == from) c = to;
  return text;
}

Inputs Build() {
  Inputs in;
  auto& kinds = in.kinds;
  for (const char* corpus : {"urls/kasztp.txt", "urls/isaacs_files.txt"}) {
    size_t taken = 0;
    for (const std::string& line : veskbench::DataLines(corpus)) {
      if (taken == kPerCorpus) break;
      const URI uri(line);
      if (!Clean(line) || !uri.IsValidURI() || !uri.IsHierarchical() || uri.IsRelative()) continue;
      const std::string path = uri.GetPath();
      if (path.size() < 2 || path.rfind('/', 0) != 0 || path.find(':') != std::string::npos) continue;
      ++taken;
      const std::string host = uri.m_Server.empty() ? "fileserver" : uri.m_Server;
      kinds["urls"].push_back(line);
      kinds["hosts"].push_back(host);
      kinds["win"].push_back("C:" + Replaced(path, '/', '\\'));
      kinds["unc"].push_back("\\\\" + host + Replaced(path, '/', '\\'));
      kinds["unix"].push_back(path);
      kinds["colon"].push_back("Disk" + Replaced(path, '/', ':'));
      URI file;
      file.LocalPathToURIUnix(path);
      in.fileURIs.push_back(file.ToString(false));
    }
  }
  auto& mixed = kinds["mixed"];
  const size_t n = kinds["urls"].size();
  for (size_t i = 0; i < n; ++i) {
    for (const char* kind : {"urls", "hosts", "win", "unc", "unix", "colon"}) mixed.push_back(kinds[kind][i]);
  }
  return in;
}

const Inputs& Get() {
  static const Inputs inputs = Build();
  return inputs;
}

void Done(benchmark::State& state, size_t items) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * items));
}

// ---- Ours ---------------------------------------------------------------------

void GuessVesk(benchmark::State& state, const std::string& kind) {
  const std::vector<std::string>& texts = Get().kinds.at(kind);
  for (auto _ : state) {
    for (const std::string& text : texts) {
      URI uri;
      benchmark::DoNotOptimize(uri.UnknownToURI(text, "http"));
      benchmark::DoNotOptimize(uri.m_Path);
    }
  }
  Done(state, texts.size());
}

// A path to a file URI and its text.
template <void (URI::*Convert)(URI::StringProxy)>
void FromPathVesk(benchmark::State& state, const std::string& kind) {
  const std::vector<std::string>& paths = Get().kinds.at(kind);
  for (auto _ : state) {
    for (const std::string& path : paths) {
      URI uri;
      (uri.*Convert)(path);
      std::string out = uri.ToString(false);
      benchmark::DoNotOptimize(out);
    }
  }
  Done(state, paths.size());
}

// A file URI's text to a local path.
template <URI::StringProxy (URI::*Convert)() const>
void ToPathVesk(benchmark::State& state, const std::string&) {
  const std::vector<std::string>& uris = Get().fileURIs;
  for (auto _ : state) {
    for (const std::string& text : uris) {
      const URI uri(text);
      std::string out = (uri.*Convert)();
      benchmark::DoNotOptimize(out);
    }
  }
  Done(state, uris.size());
}

// ---- Peers --------------------------------------------------------------------

#ifdef VESK_HAVE_CURL_URL
// curl guesses "http" (or a scheme named by a host prefix) for text without one.
void GuessCurl(benchmark::State& state, const std::string& kind) {
  const std::vector<std::string>& texts = Get().kinds.at(kind);
  CURLU* handle = curl_url();
  for (auto _ : state) {
    for (const std::string& text : texts) {
      benchmark::DoNotOptimize(
          curl_url_set(handle, CURLUPART_URL, text.c_str(), CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME));
    }
  }
  curl_url_cleanup(handle);
  Done(state, texts.size());
}
#endif

#ifdef VESK_HAVE_GURI
void FromUnixPathGlib(benchmark::State& state, const std::string& kind) {
  const std::vector<std::string>& paths = Get().kinds.at(kind);
  for (auto _ : state) {
    for (const std::string& path : paths) {
      gchar* out = g_filename_to_uri(path.c_str(), nullptr, nullptr);
      benchmark::DoNotOptimize(out);
      g_free(out);
    }
  }
  Done(state, paths.size());
}

void ToUnixPathGlib(benchmark::State& state, const std::string&) {
  const std::vector<std::string>& uris = Get().fileURIs;
  for (auto _ : state) {
    for (const std::string& text : uris) {
      gchar* out = g_filename_from_uri(text.c_str(), nullptr, nullptr);
      benchmark::DoNotOptimize(out);
      g_free(out);
    }
  }
  Done(state, uris.size());
}
#endif

using Bench = void (*)(benchmark::State&, const std::string&);

void Add(const std::string& name, Bench bench, const std::string& kind) {
  benchmark::RegisterBenchmark(name.c_str(), bench, kind)->Unit(benchmark::kMicrosecond);
}

bool Register() {
  if (Get().fileURIs.empty()) return false;  // the corpora are missing
  for (const char* kind : {"mixed", "urls", "hosts", "win", "unc", "unix", "colon"}) {
    Add(std::string("UnknownToURI/vesk/") + kind, GuessVesk, kind);
  }
#ifdef VESK_HAVE_CURL_URL
  Add("UnknownToURI/curl/urls", GuessCurl, "urls");
  Add("UnknownToURI/curl/hosts", GuessCurl, "hosts");
#endif
  Add("LocalPathToURIWin/vesk/win", FromPathVesk<&URI::LocalPathToURIWin>, "win");
  Add("LocalPathToURIWin/vesk/unc", FromPathVesk<&URI::LocalPathToURIWin>, "unc");
  Add("LocalPathToURIUnix/vesk/unix", FromPathVesk<&URI::LocalPathToURIUnix>, "unix");
  Add("LocalPathToURIMac/vesk/colon", FromPathVesk<&URI::LocalPathToURIMac>, "colon");
  Add("ToLocalPathWin/vesk/fileuris", ToPathVesk<&URI::ToLocalPathWin>, "");
  Add("ToLocalPathUnix/vesk/fileuris", ToPathVesk<&URI::ToLocalPathUnix>, "");
  Add("ToLocalPathMac/vesk/fileuris", ToPathVesk<&URI::ToLocalPathMac>, "");
#ifdef VESK_HAVE_GURI
  Add("LocalPathToURIUnix/glib/unix", FromUnixPathGlib, "unix");
  Add("ToLocalPathUnix/glib/fileuris", ToUnixPathGlib, "");
#endif
  return true;
}

const bool registered = Register();

}  // namespace
