// `inmem listen`: a CIM listener. It takes the CIM export requests a WBEM
// server sends (ExportIndication, DSP0200) over HTTP and HTTPS until SIGINT
// or SIGTERM, answers each, and prints each indication on stdout as it
// arrives, as text or as one JSON object a line, with display text from
// the repository the tool loaded (-m) where it has the classes.
//
// The addresses, the users, TLS and the limits are those of `inmem serve`,
// on the same HTTP layer, and so is the rule: only loopback addresses are
// open to anyone; any other needs --users and, unless --insecure, TLS.

#ifndef INMEM_TOOLS_LISTEN_COMMAND_H_
#define INMEM_TOOLS_LISTEN_COMMAND_H_

#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "tools/http_listen_options.h"

// The default address: loopback, port 5990 (serve's is 5988; IANA lists
// 5990 for WBEM export, over HTTPS).
constexpr unsigned short kListenPort = 5990;

struct TListenOptions : THttpListenOptions {};

// Adds listen's options to `command`.
void DeclareListenOptions(CLI::App& command, TListenOptions& options);

// Listens until a signal, printing each indication to `out` (as JSON when
// `json`); returns the tool's exit status (2 for a usage error, such as an
// address that needs credentials; 1 when an address cannot be opened).
int Listen(const TListenOptions& options, const boost::shared_ptr<ICIMNamespace>& ns, bool json,
           std::ostream& out);

#endif  // INMEM_TOOLS_LISTEN_COMMAND_H_
