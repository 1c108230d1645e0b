// Html, UrlEncoded, QueryValues, UrlDecoded.

#include "browser/html_text.h"

#include "core/utf8.h"

namespace {

const char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string Html(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 16);
  size_t i = 0;
  while (i < text.size()) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const size_t length = Utf8SequenceLength(text.substr(i));
      if (length == 0) {
        out += kReplacement;
        ++i;
      } else {
        out.append(text.data() + i, length);
        i += length;
      }
      continue;
    }
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      case '\n':
      case '\t': out += static_cast<char>(c); break;
      default:
        if (c < 0x20 || c == 0x7F) {
          out += kReplacement;
        } else {
          out += static_cast<char>(c);
        }
    }
    ++i;
  }
  return out;
}

std::string UrlEncoded(std::string_view text) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (char ch : text) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
        c == '.' || c == '_' || c == '~') {
      out += ch;
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  return out;
}

bool UrlDecoded(std::string_view text, std::string* decoded) {
  decoded->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      *decoded += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return false;
    const int high = HexDigit(text[i + 1]), low = HexDigit(text[i + 2]);
    if (high < 0 || low < 0) return false;
    *decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

std::map<std::string, std::string> QueryValues(std::string_view query) {
  std::map<std::string, std::string> values;
  while (!query.empty()) {
    const size_t end = query.find('&');
    std::string pair(query.substr(0, end));
    query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
    for (char& c : pair) c = c == '+' ? ' ' : c;
    const size_t equals = pair.find('=');
    std::string name, value;
    if (!UrlDecoded(std::string_view(pair).substr(0, equals), &name)) continue;
    if (equals != std::string::npos && !UrlDecoded(std::string_view(pair).substr(equals + 1), &value)) continue;
    values.emplace(name, value);
  }
  return values;
}
