// Fuzzes the server from the bytes of a connection up: the framing of
// requests (THttpRequestReader: Beast's header parser, the framing rules,
// the chunked decoder) with small limits, and every request it yields
// answered by TCimHttpExchange on a fresh copy of the server tests'
// fixture repository.
//
// The first byte is the mode: bit 0 makes the server read-only, bits 1-3
// pick the size of the pieces the bytes arrive in. Beyond crashes and
// sanitizer reports it checks what the server promises:
//   - the bytes framed in pieces give the very same requests and refusal
//     as the same bytes at once (a reader that depends on how bytes arrive
//     is one a client can steer past a front end);
//   - nothing is read after a refusal;
//   - while a request is incomplete the reader holds back fewer bytes than
//     the header limit, and no body is larger than the body limit;
//   - a request refused, by HTTP or with a CIM error, leaves the repository
//     as it was.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "server/cim_http_exchange.h"
#include "server/cim_operations.h"
#include "server/http_request_reader.h"

namespace {

const THttpReadLimits kLimits{1024, 4096};


// One request as text, every field and the body included, to compare the
// two ways of framing.
std::string Describe(const THttpRequest& request) {
  std::ostringstream out;
  out << request.method_string() << ' ' << request.target() << ' ' << request.version() << '\n';
  for (const auto& field : request) out << field.name_string() << ": " << field.value() << '\n';
  out << request.body().size() << '\n' << request.body();
  return out.str();
}

// Frames `bytes` arriving in pieces of `piece` bytes; hands each request
// to `serve` and returns what happened, one entry per request or refusal.
template <typename Serve>
std::vector<std::string> Frame(const std::string& bytes, size_t piece, Serve serve) {
  THttpRequestReader reader(kLimits);
  std::vector<std::string> events;
  std::string pending;  // received, not yet taken
  size_t next = 0;      // of `bytes`, not yet received
  while (true) {
    size_t used = 0;
    const THttpRequestReader::EStep step = reader.Read(pending, &used);
    if (used > pending.size()) std::abort();
    pending.erase(0, used);
    switch (step) {
      case THttpRequestReader::EStep::kHeader:
        continue;
      case THttpRequestReader::EStep::kRequest: {
        THttpRequest request = reader.TakeRequest();
        if (request.body().size() > kLimits.maxBodyBytes) std::abort();
        events.push_back(Describe(request));
        serve(request);
        continue;
      }
      case THttpRequestReader::EStep::kRefused: {
        // The reader takes nothing more once it has refused.
        size_t after = 0;
        if (reader.Read(pending + bytes.substr(next), &after) != THttpRequestReader::EStep::kRefused || after != 0) {
          std::abort();
        }
        events.push_back("refused " + std::to_string(static_cast<unsigned>(reader.Refusal().status)));
        return events;
      }
      case THttpRequestReader::EStep::kMore:
        if (pending.size() >= kLimits.maxHeaderBytes) std::abort();
        if (next >= bytes.size()) return events;  // the connection ends here
        pending += bytes.substr(next, piece);
        next = std::min(bytes.size(), next + piece);
        continue;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  const size_t pieces[] = {1, 2, 3, 5, 8, 64, 1000, 1u << 20};
  const size_t piece = pieces[(input.mode >> 1) & 7];

  boost::shared_ptr<ICIMNamespace> ns = FreshNamespace(false);
  if (!TMofLoader(ns).LoadText("fixture.mof", ServerFixtureText())) std::abort();
  TCimOperationsConfig config;
  config.readOnly = (input.mode & 1) != 0;
  TNamespaceRegistry namespaces([] { return FreshNamespace(false); });
  namespaces.Add("root/cimv2", ns);
  TCimOperations operations(namespaces, config);
  THttpPolicy policy;
  policy.xml.maxDepth = 32;
  policy.xml.maxElements = 2000;
  policy.xml.maxTextBytes = kLimits.maxBodyBytes;
  TCimHttpExchange exchange(operations, policy);

  const std::vector<std::string> whole = Frame(input.text, input.text.size() + 1, [&](const THttpRequest& request) {
    const std::string before = ExportMof(*ns);
    THttpAnswer answer = exchange.Answer(request, "localhost");
    std::string body;
    while (answer.body && answer.body->Next(&body, 512)) {
    }
    const bool refused = answer.status != boost::beast::http::status::ok || answer.record.status != kCimOk;
    if (refused && ExportMof(*ns) != before) {
      RoundTripBroken("a refused request changed the repository", before, ExportMof(*ns));
    }
  });
  const std::vector<std::string> inPieces = Frame(input.text, piece, [](const THttpRequest&) {});
  if (whole != inPieces) {
    std::string a, b;
    for (const std::string& e : whole) a += e + "\n--\n";
    for (const std::string& e : inPieces) b += e + "\n--\n";
    RoundTripBroken("the requests depend on how the bytes arrive (piece " + std::to_string(piece) + ")", a, b);
  }
  return 0;
}
