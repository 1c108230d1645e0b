// TListenerUrl: a listener's URL read into the pieces a connection needs.

#include "delivery/listener_url.h"

#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/string.hpp>

namespace {

bool ReadPort(std::string_view digits, unsigned short* port) {
  if (digits.empty() || digits.size() > 5) return false;
  unsigned value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<unsigned>(c - '0');
  }
  if (value == 0 || value > 65535) return false;
  *port = static_cast<unsigned short>(value);
  return true;
}

// A host name's bytes: letters, digits, '-', '.', '_' (some networks
// name hosts with it).
bool NameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_';
}

}  // namespace

std::string TListenerUrl::HostHeader() const {
  std::string text = host.find(':') != std::string::npos ? "[" + host + "]" : host;
  if (port != (tls ? 443 : 80)) text += ":" + std::to_string(port);
  return text;
}

std::optional<TListenerUrl> ParseListenerUrl(std::string_view text, std::string* problem) {
  TListenerUrl url;
  const size_t schemeEnd = text.find("://");
  if (schemeEnd != std::string_view::npos) {
    const boost::beast::string_view scheme(text.data(), schemeEnd);
    if (boost::beast::iequals(scheme, "https")) {
      url.tls = true;
    } else if (!boost::beast::iequals(scheme, "http")) {
      *problem = "the scheme is neither http nor https";
      return std::nullopt;
    }
    text.remove_prefix(schemeEnd + 3);
  }
  url.port = url.tls ? 443 : 80;
  const size_t fragment = text.find('#');
  if (fragment != std::string_view::npos) text = text.substr(0, fragment);
  const size_t pathAt = text.find_first_of("/?");
  std::string_view authority = text.substr(0, pathAt);
  if (pathAt != std::string_view::npos) {
    url.target = std::string(text.substr(pathAt));
    if (url.target.front() == '?') url.target.insert(0, "/");
  }
  if (authority.find('@') != std::string_view::npos) {
    *problem = "the URL holds credentials; give them as the destination's user and password";
    return std::nullopt;
  }
  std::string_view portText;
  if (!authority.empty() && authority.front() == '[') {
    const size_t close = authority.find(']');
    if (close == std::string_view::npos) {
      *problem = "an IPv6 address without its closing bracket";
      return std::nullopt;
    }
    url.host = std::string(authority.substr(1, close - 1));
    boost::system::error_code ec;
    boost::asio::ip::make_address_v6(url.host, ec);
    if (ec) {
      *problem = "not an IPv6 address: " + url.host;
      return std::nullopt;
    }
    std::string_view rest = authority.substr(close + 1);
    if (!rest.empty()) {
      if (rest.front() != ':') {
        *problem = "unexpected text after the IPv6 address";
        return std::nullopt;
      }
      portText = rest.substr(1);
      if (!ReadPort(portText, &url.port)) {
        *problem = "not a port number: " + std::string(portText);
        return std::nullopt;
      }
    }
  } else {
    const size_t colon = authority.rfind(':');
    if (colon != std::string_view::npos) {
      portText = authority.substr(colon + 1);
      if (!ReadPort(portText, &url.port)) {
        *problem = "not a port number: " + std::string(portText);
        return std::nullopt;
      }
      authority = authority.substr(0, colon);
    }
    for (char c : authority) {
      if (!NameChar(c)) {
        *problem = "not a host name: " + std::string(authority);
        return std::nullopt;
      }
    }
    url.host = std::string(authority);
  }
  if (url.host.empty()) {
    *problem = "the URL names no host";
    return std::nullopt;
  }
  for (char c : url.target) {
    if (static_cast<unsigned char>(c) <= 0x20 || c == 0x7F) {
      *problem = "the path holds a blank or a control character";
      return std::nullopt;
    }
  }
  return url;
}
