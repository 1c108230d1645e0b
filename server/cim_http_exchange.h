// TCimHttpExchange: one HTTP request in, one answer out, for CIM operations
// over HTTP (DSP0200): POST or M-POST to /cimom with the CIMOperation,
// CIMMethod and CIMObject headers and a CIM-XML body.
//
// It owns no connection: the server reads the request and writes the
// answer, so the whole protocol above the bytes can be exercised without a
// socket. Other paths go to the pages of THttpPolicy, behind the same
// credentials. Requests that are not valid CIM operations are refused with the
// HTTP status and CIMError header DSP0200 gives (400 request-not-well-formed,
// request-not-valid, header-mismatch, unsupported-operation; 501
// unsupported-cim-version, unsupported-dtd-version,
// unsupported-protocol-version, multiple-requests-unsupported); valid ones
// go to TCimOperations, whose own failures are CIM errors inside a 200.
//
// IHttpHandler is what TWbemServer hands each request it has read: this
// exchange for CIM operations, or another protocol's (the listener's for
// CIM export requests) on the same HTTP layer.

#ifndef INMEM_SERVER_CIM_HTTP_EXCHANGE_H_
#define INMEM_SERVER_CIM_HTTP_EXCHANGE_H_

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/beast/http.hpp>

#include "server/cim_operations.h"
#include "server/http_request_reader.h"
#include "server/xml_document.h"

class TUserFile;

struct THttpAnswer {
  boost::beast::http::status status = boost::beast::http::status::ok;
  std::string contentType = "application/xml; charset=\"utf-8\"";
  std::vector<std::pair<std::string, std::string>> headers;
  std::unique_ptr<TResponseBody> body;
  // What the access log says of it: the operation ("-" when the request
  // never became one), its target, and its CIM status.
  TCallRecord record;
  // Whether the connection ends after this answer.
  bool close = false;
};

struct THttpPolicy {
  TXmlLimits xml;
  // When set, every request must carry the credentials of one of its users
  // (HTTP Basic).
  const TUserFile* users = nullptr;
  std::string realm = "inmem";
  // Answers every path but the CIM endpoint (the repository browser); when
  // empty, those paths are not found.
  std::function<THttpAnswer(const THttpRequest&)> pages;
};

// Answers the requests of one server. Called from every thread the server
// runs on, for several requests at once when it runs on more than one
// (TWbemServerConfig::threads); TCimHttpExchange allows that, and so must
// the `pages` of its policy.
class IHttpHandler {
 public:
  virtual ~IHttpHandler() = default;
  // The answer to `request`. `localHost` names this server when the
  // request has no Host header.
  virtual THttpAnswer Answer(const THttpRequest& request, const std::string& localHost) = 0;
  // Called once the answer is on its way (written, or being written), for
  // what the client need not wait for.
  virtual void AfterAnswer() {}
};

class TCimHttpExchange : public IHttpHandler {
 public:
  TCimHttpExchange(TCimOperations& operations, THttpPolicy policy)
      : operations_(operations), policy_(std::move(policy)) {}

  THttpAnswer Answer(const THttpRequest& request, const std::string& localHost) override;
  // Settles the changes the request made (IInstanceChanges::Settle).
  void AfterAnswer() override;

  // A plain-text refusal (for what the HTTP layer itself could not read,
  // too: a body over the limit, a header too long).
  static THttpAnswer Refusal(boost::beast::http::status status, const std::string& text,
                             const char* cimError = nullptr);
  // Whether `request` carries the credentials `policy` asks for (always,
  // without users); when not, *refusal is the 401 to answer.
  static bool Authorized(const THttpPolicy& policy, const THttpRequest& request, THttpAnswer* refusal);
  // The prefix of the CIM extension headers: empty for a POST, "73-" for an
  // M-POST declaring "Man: http://www.dmtf.org/cim/mapping/http/v1.0 ;
  // ns=73". False, with *refusal the 510 to answer, for an M-POST that
  // declares no such mapping.
  static bool ExtensionPrefix(const THttpRequest& request, std::string* prefix, THttpAnswer* refusal);

 private:
  THttpAnswer CimOperation(const THttpRequest& request, const std::string& host);

  TCimOperations& operations_;
  THttpPolicy policy_;
};

#endif  // INMEM_SERVER_CIM_HTTP_EXCHANGE_H_
