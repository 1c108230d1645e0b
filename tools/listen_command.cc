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

}  // namespace

void DeclareListenOptions(CLI::App& listen, TListenOptions& o) {
  DeclareHttpListenOptions(listen, o, kListenPort, "users allowed to send (HTTP Basic), written by inmem passwd");
}

int Listen(const TListenOptions& o, const boost::shared_ptr<ICIMNamespace>& ns, bool json, std::ostream& out) {
  TWbemServerConfig config;
  config.logName = "inmem listen";
  TUserFile users;
  THttpPolicy policy;
  const std::string problem = ConfigureHttp(o, kListenPort, &config, &policy, &users);
  if (!problem.empty()) return UsageError(problem);

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
    std::cerr << "inmem listen: listening on " << ListenUrl(config.listen[i], ports[i]) << "/" << std::endl;
  }
  server.Run([] { std::cerr << "inmem listen: stopping" << std::endl; });
  return kExitOk;
}
