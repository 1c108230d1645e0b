// The options inmem serve and inmem listen share.

#include "tools/http_listen_options.h"

#include "core/printable_text.h"

void DeclareHttpListenOptions(CLI::App& command, THttpListenOptions& o, unsigned short defaultPort,
                              const char* usersHelp) {
  command.add_option("--listen", o.listen,
                     "HTTP address ADDR:PORT (repeatable; default 127.0.0.1:" + std::to_string(defaultPort) + ")");
  command.add_option("--https", o.https, "HTTPS address ADDR:PORT (repeatable; needs --cert and --key)");
  command.add_option("--cert", o.cert, "TLS certificate chain (PEM)");
  command.add_option("--key", o.key, "TLS private key (PEM)");
  command.add_option("--users", o.users, usersHelp);
  command.add_flag("--insecure", o.insecure, "allow plain HTTP beyond loopback (with --users)");
  command.add_option("--max-body", o.maxBody, "largest request body in bytes, chunked framing included (default 16 MiB)");
  command.add_option("--max-header", o.maxHeader, "largest request header in bytes (default 16 KiB)");
  command.add_option("--max-depth", o.maxDepth, "deepest XML nesting of a request (default 64)");
  command.add_option("--max-elements", o.maxElements, "most XML elements in a request (default 250000)");
  command.add_option("--max-connections", o.maxConnections,
                     "connections at once; at the limit the longest idle one makes room (default 64)");
  command.add_option("--idle-timeout", o.idleTimeout, "seconds a connection may wait for a request (default 30)");
  command.add_option("--request-timeout", o.requestTimeout,
                     "seconds to read a request body or write a piece of an answer (default 60)");
}

std::string ConfigureHttp(const THttpListenOptions& o, unsigned short defaultPort, TWbemServerConfig* config,
                          THttpPolicy* policy, TUserFile* users) {
  for (const auto& group : {std::make_pair(&o.listen, false), std::make_pair(&o.https, true)}) {
    for (const std::string& text : *group.first) {
      TListenAddress address;
      if (!ParseListenAddress(text, group.second, &address)) return "not an address ADDR:PORT: " + Printable(text);
      config->listen.push_back(address);
    }
  }
  if (config->listen.empty()) config->listen.push_back(TListenAddress{"127.0.0.1", defaultPort, false});
  if (!o.https.empty() && (o.cert.empty() || o.key.empty())) return "--https needs --cert and --key";
  if (!o.users.empty()) {
    std::string error;
    if (!users->Load(o.users, false, &error)) return error;
    if (users->Empty()) return o.users + " holds no users (add one with inmem passwd)";
    policy->users = users;
  }
  const std::string exposure = ExposureProblem(config->listen, !o.users.empty(), o.insecure);
  if (!exposure.empty()) return exposure;
  config->certFile = o.cert;
  config->keyFile = o.key;
  policy->xml.maxDepth = o.maxDepth;
  policy->xml.maxElements = o.maxElements;
  policy->xml.maxTextBytes = o.maxBody;
  config->maxBodyBytes = o.maxBody;
  config->maxHeaderBytes = o.maxHeader;
  config->maxConnections = o.maxConnections;
  config->idleTimeout = std::chrono::seconds(o.idleTimeout);
  config->requestTimeout = std::chrono::seconds(o.requestTimeout);
  return std::string();
}

std::string ListenUrl(const TListenAddress& a, unsigned short port) {
  const bool v6 = a.address.find(':') != std::string::npos;
  return std::string(a.tls ? "https" : "http") + "://" + (v6 ? "[" + a.address + "]" : a.address) + ":" +
         std::to_string(port);
}
