// The query as a map of plain names and values, in the form-encoded style:
// pairs split by '&', name and value by '=', '+' read as a blank.
#include <algorithm>
#include <map>
#include <string>

#include "vesk/uri/uri"

namespace Vesk {

namespace {

// QueryUnescape, skipping the call (and its copies) when the text holds
// neither '+' nor '%', where the result would equal the input.
std::string QueryPlain(const std::string& text, size_t begin, size_t end) {
  bool plain = true;
  for (size_t i = begin; i < end; ++i) {
    if (text[i] == '+' || text[i] == '%') {
      plain = false;
      break;
    }
  }
  if (plain) return text.substr(begin, end - begin);
  return URI::QueryUnescape(URI::StringProxy(text.substr(begin, end - begin)));
}

// Bytes that QueryEscape leaves raw: letters, digits, ! ' ( ) * , - . ; _ ~
// and everything from 0x80 up (NUL too, but it is rare enough to leave to
// the slow road).
struct QueryRawTable {
  bool raw[256] = {};
  QueryRawTable() {
    for (int c = 'a'; c <= 'z'; ++c) raw[c] = true;
    for (int c = 'A'; c <= 'Z'; ++c) raw[c] = true;
    for (int c = '0'; c <= '9'; ++c) raw[c] = true;
    for (const char c : std::string("!'()*,-.;_~")) raw[static_cast<unsigned char>(c)] = true;
    for (int c = 0x80; c < 256; ++c) raw[c] = true;
  }
};

// Appends QueryEscape(text) to `out`, without the call (and its copies) when
// no byte of `text` needs escaping.
void AppendQueryEscaped(std::string& out, const std::string& text) {
  static const QueryRawTable table;
  for (const char c : text) {
    if (!table.raw[static_cast<unsigned char>(c)]) {
      out += URI::QueryEscape(text);
      return;
    }
  }
  out += text;
}

}  // namespace

void URI::GetQueryByMap(std::map<std::string, std::string>& query) const {
  // Split on the escaped text, so "%26" and "%3D" inside a name or value stay.
  // That is GetQuery(false), read in place rather than copied.
  const std::string& text = m_Query;
  query.clear();
  size_t pos = 0;
  const size_t size = text.size();
  while (pos < size) {
    size_t end = text.find('&', pos);
    if (end == std::string::npos) end = size;
    // Only the pair is searched, so a long query without '=' stays linear.
    const size_t eq =
        static_cast<size_t>(std::find(text.begin() + pos, text.begin() + end, '=') - text.begin());
    std::string name;
    std::string value;
    if (eq < end) {
      name = QueryPlain(text, pos, eq);
      value = QueryPlain(text, eq + 1, end);
    } else {
      name = QueryPlain(text, pos, end);
    }
    // The last of several pairs with one name wins.
    query.insert_or_assign(std::move(name), std::move(value));
    // A '&' at the very end leaves nothing behind it, so no pair follows.
    pos = end == size ? size : end + 1;
  }
}

void URI::SetQueryByMap(const std::map<std::string, std::string>& query) {
  std::string text;
  size_t plain = 0;
  for (const auto& entry : query) plain += entry.first.size() + entry.second.size() + 2;
  text.reserve(plain + plain / 4);
  for (const auto& entry : query) {
    if (!text.empty()) text += '&';
    AppendQueryEscaped(text, entry.first);
    text += '=';
    AppendQueryEscaped(text, entry.second);
  }
  SetQuery(StringProxy(std::move(text)), false);
}

bool URI::GetQueryValue(StringProxy name, StringRefProxy value) const {
  std::map<std::string, std::string> query;
  GetQueryByMap(query);
  const auto found = query.find(name);
  if (found == query.end()) return false;
  value.Assign(found->second);
  return true;
}

void URI::SetQueryValue(StringProxy name, StringProxy value) {
  std::map<std::string, std::string> query;
  GetQueryByMap(query);
  query[std::move(name)] = std::move(value);
  SetQueryByMap(query);
}

}  // namespace Vesk
