// TExportHttpExchange: one HTTP request in, one answer out, for a CIM
// listener (DSP0200 CIM export): a POST or M-POST to any path with the
// CIMExport and CIMExportMethod headers and a CIM-XML export request.
//
// It is the listener's IHttpHandler: TWbemServer reads requests and writes
// answers with its limits, TLS and connection handling, and this exchange
// decides what each request means. Requests that are no export request are
// refused with the HTTP status and CIMError header DSP0200 gives (400
// unsupported-operation for a missing or other CIMExport header,
// request-not-well-formed, request-not-valid, header-mismatch; 501
// unsupported-cim-version, unsupported-dtd-version,
// unsupported-protocol-version, multiple-requests-unsupported); what the
// export method refuses is a CIM error inside a 200 (CIM_ERR_NOT_SUPPORTED
// for a method other than ExportIndication, CIM_ERR_INVALID_PARAMETER for
// a missing or unreadable NewIndication). Each indication read is handed to
// `received` before the answer is made. GET / answers a short page saying
// what is listening.
//
// Not thread-safe: the server calls it from its one thread.

#ifndef INMEM_LISTENER_EXPORT_EXCHANGE_H_
#define INMEM_LISTENER_EXPORT_EXCHANGE_H_

#include <functional>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "listener/received_indication.h"
#include "server/cim_http_exchange.h"

struct TExportRequest;

class TExportHttpExchange : public IHttpHandler {
 public:
  typedef std::function<void(const TReceivedIndication&)> TReceived;

  // `policy` gives the XML limits and the users (its pages are not used);
  // `ns` the classes that give display text.
  TExportHttpExchange(THttpPolicy policy, boost::shared_ptr<ICIMNamespace> ns, TReceived received)
      : policy_(std::move(policy)), ns_(std::move(ns)), received_(std::move(received)) {}

  THttpAnswer Answer(const THttpRequest& request, const std::string& localHost) override;

 private:
  // The export method's answer document, once the envelope is read; its
  // CIM status goes to `record`.
  std::string Export(const std::string& body, const TExportRequest& request, TCallRecord* record);

  THttpPolicy policy_;
  boost::shared_ptr<ICIMNamespace> ns_;
  TReceived received_;
};

#endif  // INMEM_LISTENER_EXPORT_EXCHANGE_H_
