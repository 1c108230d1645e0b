// `inmem serve` and `inmem passwd`: the WBEM server on a loaded repository,
// and the file of its users.
//
// serve: CIM namespaces served to CIM clients over HTTP and HTTPS until
// SIGINT or SIGTERM, and to people as pages and pictures at every other
// path. The repository the tool loaded (-m) is the namespace --namespace;
// --load adds others, and clients make and delete them through the Interop
// namespace (--interop), which is always there. With a snapshot file, every
// namespace comes from it instead. With --inventory, this machine's
// inventory joins the --namespace one, collected again every --refresh
// seconds. Options may come from a file too (inmem --config FILE).
//
// Clients subscribe to indications in the Interop namespace; the server
// delivers them to their listeners (CIM-XML export) from a thread of its
// own, and keeps subscriptions in the snapshot.
//
// Only loopback addresses are open to anyone. Any other address needs
// --users (HTTP Basic) and, unless --insecure, TLS (--https with --cert and
// --key); the same goes for listeners indications are delivered to.

#ifndef INMEM_TOOLS_SERVE_COMMAND_H_
#define INMEM_TOOLS_SERVE_COMMAND_H_

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "mof/schema_notes.h"
#include "tools/http_listen_options.h"

// The default address: loopback, port 5988 (WBEM over HTTP).
constexpr unsigned short kServePort = 5988;

struct TServeOptions : THttpListenOptions {
  std::string namespaceName = "root/cimv2";
  // NAMESPACE=FILE: FILE loaded into NAMESPACE (made when new); a NAMESPACE
  // alone is made empty.
  std::vector<std::string> loads;
  std::string interop = "interop";
  bool readOnly = false;
  bool inventory = false;
  std::string root = "/";
  unsigned refresh = 0;  // seconds; 0: collected once
  std::string snapshot;
  // Set by the tool when the snapshot file is there: serve loads it, in
  // place of the MOF.
  bool loadSnapshot = false;
  unsigned snapshotEvery = 0;  // seconds; 0: on shutdown only
  size_t maxEnumerations = 256;
  unsigned threads = 0;  // 0: one per core
  // Indication delivery: per listener destination, the indications queued
  // at most; tries after the first and the seconds between them; seconds
  // to deliver what is queued at shutdown; authorities trusted for https
  // listeners beside the system's.
  size_t indicationQueue = 20000;
  unsigned deliveryRetries = 3;
  unsigned deliveryInterval = 2;
  unsigned deliveryGrace = 2;
  std::string listenerCa;
};

// Adds serve's options to `command`.
void DeclareServeOptions(CLI::App& command, TServeOptions& options);

// Serves `ns` until a signal; returns the tool's exit status (2 for a
// usage error, such as an address that needs credentials). `notes` are the
// schema notes of what was loaded into `ns`.
// `newNamespace` and the plug-in path serve the inventory.
// `loaded` names what the namespace was loaded from, for the overview page.
int Serve(const TServeOptions& options, const boost::shared_ptr<ICIMNamespace>& ns,
          const std::shared_ptr<TSchemaNotes>& notes, const std::vector<std::string>& loaded,
          const std::function<boost::shared_ptr<ICIMNamespace>()>& newNamespace,
          const std::string& inventorySchema, const std::string& plugin);

// `inmem graph class NAME` and `inmem graph instance PATH`: a picture of the
// repository as SVG (or DOT text) on `out`; returns the exit status.
int Graph(ICIMNamespace& ns, const boost::shared_ptr<ICIMNamespace>& shared, bool ofClass,
          const std::string& what, int hops, const std::string& format, std::ostream& out);

// Sets USER's password in FILE (read from the terminal without echo, twice,
// or as one line from standard input); returns the exit status.
int Passwd(const std::string& file, const std::string& user);

#endif  // INMEM_TOOLS_SERVE_COMMAND_H_
