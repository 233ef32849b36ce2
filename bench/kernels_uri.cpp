// URI kernels beside the peers: parse, parse and write back as text
// (ToString(false)) on each URL list; Escape on the URL paths and the text
// lines; Unescape on the URL paths and the fully escaped text lines.
// Every peer result owns its text, as ours does. The summary shows how many
// URLs of a list each parser refuses (curl refuses a file URL with a host).
#include <string>

#include <benchmark/benchmark.h>

#include "bench/kernels_inputs.h"
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
using veskbench::Input;
using veskbench::RegisterPerItem;

void RegisterParse(const Input& list) {
  RegisterPerItem("Parse", list, "vesk", [](const std::string& line) {
    const URI uri(line.c_str());
    benchmark::DoNotOptimize(&uri);
    return uri.IsValidURI();
  });
  RegisterPerItem("ParseToString", list, "vesk", [](const std::string& line) {
    const URI uri(line.c_str());
    const URI::StringProxy text = uri.ToString(false);
    benchmark::DoNotOptimize(text.data());
    return uri.IsValidURI();
  });
#ifdef VESK_HAVE_URIPARSER
  RegisterPerItem("Parse", list, "uriparser", [](const std::string& line) {
    UriUriA uri;
    const char* error = nullptr;
    const int result = uriParseSingleUriExA(&uri, line.data(), line.data() + line.size(), &error);
    benchmark::DoNotOptimize(result);
    uriFreeUriMembersA(&uri);
    return result == URI_SUCCESS;
  });
  RegisterPerItem("ParseToString", list, "uriparser", [](const std::string& line) {
    UriUriA uri;
    const char* error = nullptr;
    bool written = false;
    if (uriParseSingleUriExA(&uri, line.data(), line.data() + line.size(), &error) == URI_SUCCESS) {
      int chars = 0;
      if (uriToStringCharsRequiredA(&uri, &chars) == URI_SUCCESS) {
        std::string text(static_cast<size_t>(chars), '\0');
        written = uriToStringA(&text[0], &uri, chars + 1, nullptr) == URI_SUCCESS;
        benchmark::DoNotOptimize(text.data());
      }
    }
    uriFreeUriMembersA(&uri);
    return written;
  });
#endif
#ifdef VESK_HAVE_BOOST_URL
  RegisterPerItem("Parse", list, "boost_url", [](const std::string& line) {
    auto result = boost::urls::parse_uri_reference(line);
    if (!result) return false;
    const boost::urls::url owned(*result);
    benchmark::DoNotOptimize(owned.buffer().data());
    return true;
  });
  RegisterPerItem("ParseToString", list, "boost_url", [](const std::string& line) {
    auto result = boost::urls::parse_uri_reference(line);
    if (!result) return false;
    const boost::urls::url owned(*result);
    const std::string text(owned.buffer());
    benchmark::DoNotOptimize(text.data());
    return true;
  });
#endif
#ifdef VESK_HAVE_CURL_URL
  RegisterPerItem("Parse", list, "curl", [](const std::string& line) {
    CURLU* handle = curl_url();
    const CURLUcode result = curl_url_set(handle, CURLUPART_URL, line.c_str(), CURLU_NON_SUPPORT_SCHEME);
    benchmark::DoNotOptimize(result);
    curl_url_cleanup(handle);
    return result == CURLUE_OK;
  });
  RegisterPerItem("ParseToString", list, "curl", [](const std::string& line) {
    CURLU* handle = curl_url();
    bool written = false;
    if (curl_url_set(handle, CURLUPART_URL, line.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK) {
      char* text = nullptr;
      if (curl_url_get(handle, CURLUPART_URL, &text, 0) == CURLUE_OK) {
        benchmark::DoNotOptimize(text);
        curl_free(text);
        written = true;
      }
    }
    curl_url_cleanup(handle);
    return written;
  });
#endif
#ifdef VESK_HAVE_GURI
  RegisterPerItem("Parse", list, "glib", [](const std::string& line) {
    GUri* uri = g_uri_parse(line.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    benchmark::DoNotOptimize(uri);
    if (uri == nullptr) return false;
    g_uri_unref(uri);
    return true;
  });
  RegisterPerItem("ParseToString", list, "glib", [](const std::string& line) {
    GUri* uri = g_uri_parse(line.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    if (uri == nullptr) return false;
    char* text = g_uri_to_string(uri);
    benchmark::DoNotOptimize(text);
    g_free(text);
    g_uri_unref(uri);
    return true;
  });
#endif
}

void RegisterEscape(const Input& input) {
  RegisterPerItem("Escape", input, "vesk", [](const std::string& text) {
    const URI::StringProxy escaped = URI::Escape(text);
    benchmark::DoNotOptimize(escaped.data());
  });
#ifdef VESK_HAVE_BOOST_URL
  RegisterPerItem("Escape", input, "boost_url", [](const std::string& text) {
    const std::string escaped = boost::urls::encode(text, boost::urls::pchars);
    benchmark::DoNotOptimize(escaped.data());
  });
#endif
#ifdef VESK_HAVE_URIPARSER
  RegisterPerItem("Escape", input, "uriparser", [](const std::string& text) {
    std::string escaped(text.size() * 3 + 1, '\0');
    const char* end = uriEscapeExA(text.data(), text.data() + text.size(), &escaped[0], URI_FALSE, URI_FALSE);
    escaped.resize(static_cast<size_t>(end - escaped.data()));
    benchmark::DoNotOptimize(escaped.data());
  });
#endif
#ifdef VESK_HAVE_GURI
  RegisterPerItem("Escape", input, "glib", [](const std::string& text) {
    char* escaped = g_uri_escape_string(text.c_str(), "/;=&+$,", TRUE);
    benchmark::DoNotOptimize(escaped);
    g_free(escaped);
  });
#endif
#ifdef VESK_HAVE_CURL_URL
  RegisterPerItem("Escape", input, "curl", [](const std::string& text) {
    char* escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
    benchmark::DoNotOptimize(escaped);
    curl_free(escaped);
  });
#endif
}

void RegisterUnescape(const Input& input) {
  RegisterPerItem("Unescape", input, "vesk", [](const std::string& text) {
    const URI::StringProxy plain = URI::Unescape(text, false);
    benchmark::DoNotOptimize(plain.data());
  });
#ifdef VESK_HAVE_BOOST_URL
  RegisterPerItem("Unescape", input, "boost_url", [](const std::string& text) {
    auto view = boost::urls::make_pct_string_view(text);
    if (view) {
      const std::string plain = view->decode();
      benchmark::DoNotOptimize(plain.data());
    }
  });
#endif
#ifdef VESK_HAVE_URIPARSER
  RegisterPerItem("Unescape", input, "uriparser", [](const std::string& text) {
    std::string plain(text);
    const char* end = uriUnescapeInPlaceA(&plain[0]);
    plain.resize(static_cast<size_t>(end - plain.data()));
    benchmark::DoNotOptimize(plain.data());
  });
#endif
#ifdef VESK_HAVE_GURI
  RegisterPerItem("Unescape", input, "glib", [](const std::string& text) {
    char* plain = g_uri_unescape_string(text.c_str(), nullptr);
    benchmark::DoNotOptimize(plain);
    g_free(plain);
  });
#endif
#ifdef VESK_HAVE_CURL_URL
  RegisterPerItem("Unescape", input, "curl", [](const std::string& text) {
    int length = 0;
    char* plain = curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length);
    benchmark::DoNotOptimize(plain);
    curl_free(plain);
  });
#endif
}

const bool registered = [] {
  for (const Input& list : veskbench::UrlLists()) RegisterParse(list);
  RegisterEscape(veskbench::UrlPaths());
  RegisterEscape(veskbench::TextLines());
  RegisterUnescape(veskbench::UrlPaths());
  RegisterUnescape(veskbench::EscapedTextLines());
  return true;
}();

}  // namespace
