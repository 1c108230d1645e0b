// Fuzzes the WBEM server's handling of a request body: the XML reader, the
// request envelope, every operation's parameter readers and the operations
// themselves, on a fresh copy of the server tests' fixture repository each
// time, with the response drained in small pieces as a slow client reads
// it.
//
// Bit 0 of the first byte makes the server read-only. Beyond crashes and
// sanitizer reports, it checks what the server promises: a request the
// server refuses, whole or with a CIM error, leaves the repository exactly
// as it was.

#include <cstdlib>

#include "fuzz/fuzz_support.h"
#include "server/cim_operations.h"
#include "server/cimxml_request.h"
#include "server/xml_document.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  boost::shared_ptr<ICIMNamespace> ns = FreshNamespace(false);
  if (!TMofLoader(ns).LoadText("fixture.mof", ServerFixtureText())) std::abort();
  const std::string before = ExportMof(*ns);

  TXmlLimits limits;
  limits.maxDepth = 32;
  limits.maxElements = 2000;
  std::string why;
  bool tooLarge = false;
  std::unique_ptr<TXmlElement> document = ReadXmlDocument(input.text, limits, &why, &tooLarge);
  bool refused = true;
  if (document) {
    try {
      TCimRequest request = ReadCimRequest(*document);
      request.documentBytes = input.text.size();
      TCimOperationsConfig config;
      config.readOnly = (input.mode & 1) != 0;
      TNamespaceRegistry namespaces([] { return FreshNamespace(false); });
      namespaces.Add("root/cimv2", ns);
      TCimOperations operations(namespaces, config);
      TCallRecord record;
      std::unique_ptr<TResponseBody> body = operations.Run(request, "localhost", &record);
      std::string answer;
      while (body->Next(&answer, 512)) {
      }
      if (answer.find("<CIM ") == std::string::npos) std::abort();
      refused = record.status != kCimOk;
    } catch (const TCimProtocolError&) {
    }
  } else if (why.empty()) {
    std::abort();
  }
  if (refused && ExportMof(*ns) != before) RoundTripBroken("a refused request changed the repository", before, ExportMof(*ns));
  return 0;
}
