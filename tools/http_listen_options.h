// What `inmem serve` and `inmem listen` share: where they listen, who may
// come in, TLS, and the limits of a request, as options and as the
// configuration of the HTTP layer (server/wbem_server.h) they both run on.
//
// The rule for addresses is the same for both: only loopback addresses are
// open to anyone; any other needs --users and, unless --insecure, TLS.

#ifndef INMEM_TOOLS_HTTP_LISTEN_OPTIONS_H_
#define INMEM_TOOLS_HTTP_LISTEN_OPTIONS_H_

#include <cstddef>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "server/cim_http_exchange.h"
#include "server/user_file.h"
#include "server/wbem_server.h"

struct THttpListenOptions {
  std::vector<std::string> listen;  // ADDR:PORT, HTTP
  std::vector<std::string> https;   // ADDR:PORT, HTTPS
  std::string cert;
  std::string key;
  std::string users;
  bool insecure = false;
  size_t maxBody = 16u << 20;
  size_t maxHeader = 16u << 10;
  size_t maxDepth = 64;
  size_t maxElements = 250000;
  size_t maxConnections = 64;
  unsigned idleTimeout = 30;
  unsigned requestTimeout = 60;
};

// Adds the options to `command`; `defaultPort` is the loopback port used
// without --listen and --https, `usersHelp` what --users lets in.
void DeclareHttpListenOptions(CLI::App& command, THttpListenOptions& options, unsigned short defaultPort,
                              const char* usersHelp);

// Fills `config` and `policy` from the options, with the users of --users
// loaded into `users` (which must outlive both). Returns the usage error,
// or an empty text.
std::string ConfigureHttp(const THttpListenOptions& options, unsigned short defaultPort, TWbemServerConfig* config,
                          THttpPolicy* policy, TUserFile* users);

// "http://127.0.0.1:5988", "https://[::1]:5989": an address with the port
// it got, for the line that says where a command listens.
std::string ListenUrl(const TListenAddress& address, unsigned short port);

#endif  // INMEM_TOOLS_HTTP_LISTEN_OPTIONS_H_
