// TListenerUrl: where a CIM-XML listener takes export requests, read from
// the Destination of a CIM_ListenerDestinationCIMXML.
//
// The text is [scheme://]host[:port][/path[?query]]. The scheme is http or
// https in any letter case; without one it is http, as DSP1054 lets a
// destination leave it implied. The port defaults to the scheme's (80,
// 443). The host is a name, an IPv4 address or an IPv6 address in
// brackets. Credentials inside the URL are refused: they belong in the
// destination's user and password, which the log never shows, while the
// URL is shown in log lines. A fragment is left out of the request target.
//
// A plain value, safe to copy between threads.

#ifndef INMEM_DELIVERY_LISTENER_URL_H_
#define INMEM_DELIVERY_LISTENER_URL_H_

#include <optional>
#include <string>
#include <string_view>

struct TListenerUrl {
  bool tls = false;
  std::string host;  // an IPv6 address without its brackets
  unsigned short port = 0;
  std::string target = "/";  // path and query, never empty

  // The value of the Host header: the host, and the port unless it is
  // the scheme's own.
  std::string HostHeader() const;
  // Whether two URLs reach the same listener over the same connection.
  bool SameListener(const TListenerUrl& other) const {
    return tls == other.tls && host == other.host && port == other.port;
  }
};

// Reads `text`; nullopt when it is no listener URL, with *problem saying why.
std::optional<TListenerUrl> ParseListenerUrl(std::string_view text, std::string* problem);

#endif  // INMEM_DELIVERY_LISTENER_URL_H_
