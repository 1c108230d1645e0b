// What the server's tests share: the fixture repository, requests as a CIM
// client writes them, and the answers drained to text.

#ifndef INMEM_TESTS_SERVER_SERVER_FIXTURE_H_
#define INMEM_TESTS_SERVER_SERVER_FIXTURE_H_

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "server/cim_http_exchange.h"
#include "server/interop_namespace.h"
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

// The fixture's disk sda and system alpha, as requests name them.
const std::string kSda =
    "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\"><KEYVALUE>sda</KEYVALUE></KEYBINDING>"
    "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">0</KEYVALUE></KEYBINDING></INSTANCENAME>";
const std::string kAlpha =
    "<INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING NAME=\"Name\"><KEYVALUE>alpha</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME>";

// A CLASSNAME, and a VALUE, as parameters of a request.
inline std::string ClassName(const std::string& name) { return "<CLASSNAME NAME=\"" + name + "\"/>"; }
inline std::string Value(const std::string& text) { return "<VALUE>" + text + "</VALUE>"; }

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

// NAMESPACE elements for the namespace "a/b".
inline std::string NamespaceXml(const std::string& name) {
  std::string xml;
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = name.find('/', start);
    if (end == std::string::npos) end = name.size();
    xml += "<NAMESPACE NAME=\"" + name.substr(start, end - start) + "\"/>";
    start = end + 1;
  }
  return xml;
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

// CIM operations on `namespaces` as a client sends them, through the HTTP
// exchange without a socket.
class TExchangeClient {
 public:
  explicit TExchangeClient(TNamespaceRegistry& namespaces, TCimOperationsConfig config = TCimOperationsConfig())
      : operations_(namespaces, config), exchange_(operations_, THttpPolicy()) {}

  // The response document of `method` with `parameters` (IPARAMVALUEs),
  // in root/cimv2 or in `ns`.
  std::string Call(const std::string& method, const std::string& parameters) {
    return Exchanged(CimPost(method, Envelope(method, parameters)));
  }
  std::string Call(const std::string& ns, const std::string& method, const std::string& parameters) {
    THttpRequest request = CimPost(method, Envelope(method, parameters, NamespaceXml(ns)));
    request.set("CIMObject", ns);
    return Exchanged(request);
  }
  TCimOperations& Operations() { return operations_; }

 private:
  // As the server answers: the answer, then what waits for it.
  std::string Exchanged(const THttpRequest& request) {
    THttpAnswer answer = exchange_.Answer(request, "localhost");
    std::string text = Drained(answer);
    exchange_.AfterAnswer();
    return text;
  }

  TCimOperations operations_;
  TCimHttpExchange exchange_;
};

// The fixture's namespace served alone as root/cimv2, with a client: what
// the tests of single-namespace operations start from. `ns` stays the
// served repository.
class TServedFixtureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ns_ = FixtureNamespace();
    ASSERT_TRUE(ns_);
    namespaces_ = ServingAlone(ns_);
    client_ = std::make_unique<TExchangeClient>(*namespaces_);
  }

  boost::shared_ptr<ICIMNamespace> ns_;
  std::unique_ptr<TNamespaceRegistry> namespaces_;
  std::unique_ptr<TExchangeClient> client_;
};

// A server of the fixture's namespace and the Interop namespace, with a
// client: what the tests of namespaces, the Interop namespace and class
// writes start from.
struct TServedWithInterop {
  std::unique_ptr<TNamespaceRegistry> namespaces;
  std::unique_ptr<TInteropNamespace> interop;
  std::unique_ptr<TExchangeClient> client;

  // (Again) from the fixture alone, the host "testhost", version "9.8.7".
  void Serve(bool readOnly) {
    client.reset();
    interop.reset();
    namespaces = ServingAlone(FixtureNamespace());
    TServerIdentity identity;
    identity.version = "9.8.7";
    identity.hostName = "testhost";
    identity.functionalProfiles = TCimOperations::FunctionalProfiles(readOnly);
    interop = std::make_unique<TInteropNamespace>(*namespaces, "interop", identity);
    interop->Start();
    TCimOperationsConfig config;
    config.readOnly = readOnly;
    config.interop = interop.get();
    client = std::make_unique<TExchangeClient>(*namespaces, config);
  }
  ICIMNamespace& Repository(const std::string& ns) { return *namespaces->Find(ns)->ns; }
};

// The text of the PARAMVALUE `name` of a response (a pull's
// EnumerationContext, EndOfSequence); empty when it has none or is null.
inline std::string ParamValue(const std::string& document, const std::string& name) {
  const size_t at = document.find("<PARAMVALUE NAME=\"" + name + "\"");
  if (at == std::string::npos) return std::string();
  const size_t value = document.find("<VALUE>", at), end = document.find("</PARAMVALUE>", at);
  if (value == std::string::npos || value > end) return std::string();
  return document.substr(value + 7, document.find("</VALUE>", value) - value - 7);
}

// The CIM status code of a response document (0 for success).
inline int CimCodeOf(const std::string& document) {
  const size_t at = document.find("<ERROR CODE=\"");
  return at == std::string::npos ? 0 : std::atoi(document.c_str() + at + 13);
}

// What xmllint says against `document` by the DTD at `dtd`; empty when it
// is valid.
inline std::string DtdComplaints(const std::string& dtd, const std::string& document) {
  // One file per process: ctest runs the tests of a suite side by side.
  const std::string file = ::testing::TempDir() + "inmem_answer_" + std::to_string(getpid()) + ".xml";
  std::ofstream(file) << document;
  const std::string command = "xmllint --noout --dtdvalid '" + dtd + "' '" + file + "' 2>&1";
  FILE* run = popen(command.c_str(), "r");
  if (run == nullptr) return "xmllint did not start";
  std::string complaints;
  char buffer[256];
  while (fgets(buffer, sizeof buffer, run) != nullptr) complaints += buffer;
  const int status = pclose(run);
  std::remove(file.c_str());
  if (status == 0) return std::string();
  return complaints.empty() ? std::string("xmllint failed") : complaints;
}

#endif  // INMEM_TESTS_SERVER_SERVER_FIXTURE_H_
