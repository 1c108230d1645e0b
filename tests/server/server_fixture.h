// What the server's tests share: the fixture repository, requests as a CIM
// client writes them, and the answers drained to text.

#ifndef INMEM_TESTS_SERVER_SERVER_FIXTURE_H_
#define INMEM_TESTS_SERVER_SERVER_FIXTURE_H_

#include <sstream>
#include <string>

#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "server/cim_http_exchange.h"
#include "server/namespace_registry.h"
#include "tests/support/provider_namespace.h"

// The namespace with tests/server/fixture.mof loaded.
inline boost::shared_ptr<ICIMNamespace> FixtureNamespace() {
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TMofLoader loader(ns);
  if (!loader.LoadFile(INMEM_SERVER_FIXTURE)) return nullptr;
  return ns;
}

// The namespaces of a server that serves `ns` alone, as `name`.
inline std::unique_ptr<TNamespaceRegistry> ServingAlone(boost::shared_ptr<ICIMNamespace> ns,
                                                        const std::string& name = "root/cimv2") {
  auto registry = std::make_unique<TNamespaceRegistry>([] { return NewProviderNamespace(); });
  registry->Add(name, std::move(ns));
  return registry;
}

// The repository as MOF: equal texts, equal repositories.
inline std::string Exported(ICIMNamespace& ns) {
  std::ostringstream out;
  TMofWriter(out).WriteNamespace(ns);
  return out.str();
}

// A whole CIM-XML request for the intrinsic method `method`.
inline std::string Envelope(const std::string& method, const std::string& parameters,
                            const std::string& ns = "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
         "<MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
         method + "\"><LOCALNAMESPACEPATH>" + ns + "</LOCALNAMESPACEPATH>" + parameters +
         "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

// An IPARAMVALUE.
inline std::string Param(const std::string& name, const std::string& content) {
  return "<IPARAMVALUE NAME=\"" + name + "\">" + content + "</IPARAMVALUE>";
}

// A POST to /cimom with the headers a client sends for `method`.
inline THttpRequest CimPost(const std::string& method, const std::string& body) {
  THttpRequest request{boost::beast::http::verb::post, "/cimom", 11};
  request.set("CIMOperation", "MethodCall");
  request.set("CIMMethod", method);
  request.set("CIMObject", "root%2Fcimv2");
  request.set(boost::beast::http::field::content_type, "application/xml; charset=utf-8");
  request.body() = body;
  request.prepare_payload();
  return request;
}

// The whole body of an answer.
inline std::string Drained(THttpAnswer& answer) {
  std::string text;
  if (answer.body) {
    while (answer.body->Next(&text, 1024)) {
    }
  }
  return text;
}

#endif  // INMEM_TESTS_SERVER_SERVER_FIXTURE_H_
