// `inmem listen`.

#include "tools/listen_command.h"

#include <iostream>

#include "core/printable_text.h"
#include "listener/export_exchange.h"
#include "listener/indication_printer.h"
#include "server/user_file.h"
#include "server/wbem_server.h"
#include "tools/repository_commands.h"

namespace {

int UsageError(const std::string& message) {
  std::cerr << "inmem: listen: " << message << "\n";
  return kExitUsage;
}

std::string Url(const TListenAddress& a, unsigned short port) {
  const bool v6 = a.address.find(':') != std::string::npos;
  return std::string(a.tls ? "https" : "http") + "://" + (v6 ? "[" + a.address + "]" : a.address) + ":" +
         std::to_string(port) + "/";
}

}  // namespace

void DeclareListenOptions(CLI::App& listen, TListenOptions& o) {
  listen.add_option("--listen", o.listen, "HTTP address ADDR:PORT (repeatable; default 127.0.0.1:5990)");
  listen.add_option("--https", o.https, "HTTPS address ADDR:PORT (repeatable; needs --cert and --key)");
  listen.add_option("--cert", o.cert, "TLS certificate chain (PEM)");
  listen.add_option("--key", o.key, "TLS private key (PEM)");
  listen.add_option("--users", o.users, "users allowed to send (HTTP Basic), written by inmem passwd");
  listen.add_flag("--insecure", o.insecure, "allow plain HTTP beyond loopback (with --users)");
  listen.add_option("--max-body", o.maxBody, "largest request body in bytes, chunked framing included (default 16 MiB)");
  listen.add_option("--max-header", o.maxHeader, "largest request header in bytes (default 16 KiB)");
  listen.add_option("--max-depth", o.maxDepth, "deepest XML nesting of a request (default 64)");
  listen.add_option("--max-elements", o.maxElements, "most XML elements in a request (default 250000)");
  listen.add_option("--max-connections", o.maxConnections,
                    "connections at once; at the limit the longest idle one makes room (default 64)");
  listen.add_option("--idle-timeout", o.idleTimeout, "seconds a connection may wait for a request (default 30)");
  listen.add_option("--request-timeout", o.requestTimeout,
                    "seconds to read a request body or write a piece of an answer (default 60)");
}

int Listen(const TListenOptions& o, const boost::shared_ptr<ICIMNamespace>& ns, bool json, std::ostream& out) {
  TWbemServerConfig config;
  config.logName = "inmem listen";
  for (const auto& group : {std::make_pair(&o.listen, false), std::make_pair(&o.https, true)}) {
    for (const std::string& text : *group.first) {
      TListenAddress address;
      if (!ParseListenAddress(text, group.second, &address)) {
        return UsageError("not an address ADDR:PORT: " + Printable(text));
      }
      config.listen.push_back(address);
    }
  }
  if (config.listen.empty()) config.listen.push_back(TListenAddress{"127.0.0.1", kListenPort, false});
  if (!o.https.empty() && (o.cert.empty() || o.key.empty())) return UsageError("--https needs --cert and --key");
  TUserFile users;
  THttpPolicy policy;
  if (!o.users.empty()) {
    std::string error;
    if (!users.Load(o.users, false, &error)) return UsageError(error);
    if (users.Empty()) return UsageError(o.users + " holds no users (add one with inmem passwd)");
    policy.users = &users;
  }
  const std::string exposure = ExposureProblem(config.listen, !o.users.empty(), o.insecure);
  if (!exposure.empty()) return UsageError(exposure);
  config.certFile = o.cert;
  config.keyFile = o.key;
  policy.xml.maxDepth = o.maxDepth;
  policy.xml.maxElements = o.maxElements;
  policy.xml.maxTextBytes = o.maxBody;
  config.maxBodyBytes = o.maxBody;
  config.maxHeaderBytes = o.maxHeader;
  config.maxConnections = o.maxConnections;
  config.idleTimeout = std::chrono::seconds(o.idleTimeout);
  config.requestTimeout = std::chrono::seconds(o.requestTimeout);

  TExportHttpExchange exchange(policy, ns, [&out, json](const TReceivedIndication& indication) {
    PrintIndication(indication, json, out);
  });
  TWbemServer server(exchange, config, std::cerr);
  try {
    server.Start();
  } catch (const std::exception& e) {
    std::cerr << "inmem: listen: " << e.what() << "\n";
    return kExitNotFound;
  }
  const std::vector<unsigned short> ports = server.Ports();
  for (size_t i = 0; i < ports.size(); ++i) {
    std::cerr << "inmem listen: listening on " << Url(config.listen[i], ports[i]) << std::endl;
  }
  server.Run([] { std::cerr << "inmem listen: stopping" << std::endl; });
  return kExitOk;
}
