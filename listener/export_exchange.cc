// TExportHttpExchange: the checks of an export request, from the outside
// in: credentials, method, extension headers, the XML, the envelope, the
// headers against the envelope, the method and its parameter.

#include "listener/export_exchange.h"

#include "core/ascii.h"
#include "core/printable_text.h"
#include "listener/export_message.h"
#include "server/cim_status.h"

namespace http = boost::beast::http;

namespace {

std::string_view View(boost::beast::string_view text) { return std::string_view(text.data(), text.size()); }

const char kExportIndication[] = "ExportIndication";

}  // namespace

THttpAnswer TExportHttpExchange::Answer(const THttpRequest& request, const std::string&) {
  THttpAnswer refusal;
  if (!TCimHttpExchange::Authorized(policy_, request, &refusal)) return refusal;
  const std::string_view method = View(request.method_string());
  if (method == "GET") {
    std::string_view target = View(request.target());
    target = target.substr(0, target.find('?'));
    if (target != "/") return TCimHttpExchange::Refusal(http::status::not_found, "no such page: " + Printable(target));
    THttpAnswer page = TCimHttpExchange::Refusal(
        http::status::ok, "inmem listen: a CIM listener; CIM export requests are POST, with CIMExport: MethodRequest");
    page.record.target = "/";
    return page;
  }
  if (method != "POST" && method != "M-POST") {
    THttpAnswer answer =
        TCimHttpExchange::Refusal(http::status::method_not_allowed, "CIM export requests are POST or M-POST");
    answer.headers.emplace_back("Allow", "POST, M-POST");
    return answer;
  }
  std::string prefix;
  if (!TCimHttpExchange::ExtensionPrefix(request, &prefix, &refusal)) return refusal;
  auto header = [&](const char* name) -> std::optional<std::string_view> {
    auto it = request.find(prefix + name);
    if (it == request.end()) return std::nullopt;
    return View(it->value());
  };
  const auto exportHeader = header("CIMExport");
  if (!exportHeader || !EqualsFoldingAscii(*exportHeader, "MethodRequest")) {
    return TCimHttpExchange::Refusal(http::status::bad_request,
                                     "this is a CIM listener: CIMExport must be MethodRequest", "unsupported-operation");
  }
  bool tooLarge = false;
  std::string why;
  std::unique_ptr<TXmlElement> document = ReadXmlDocument(request.body(), policy_.xml, &why, &tooLarge);
  if (!document) {
    return TCimHttpExchange::Refusal(http::status::bad_request, "the request is not XML that can be read: " + why,
                                     tooLarge ? "request-not-valid" : "request-not-well-formed");
  }
  TExportRequest exported;
  try {
    exported = ReadExportRequest(*document);
  } catch (const TCimProtocolError& e) {
    return TCimHttpExchange::Refusal(static_cast<http::status>(e.HttpStatus()), e.what(), e.CimError());
  }
  const auto exportMethod = header("CIMExportMethod");
  if (!exportMethod || !EqualsFoldingAscii(*exportMethod, exported.method)) {
    return TCimHttpExchange::Refusal(http::status::bad_request,
                                     "CIMExportMethod must name the method of the request, " + Printable(exported.method),
                                     "header-mismatch");
  }
  THttpAnswer answer;
  answer.body = WholeBody(Export(request.body(), exported, &answer.record));
  answer.headers.emplace_back(prefix + "CIMExport", "MethodResponse");
  if (!prefix.empty()) answer.headers.emplace_back("Ext", "");
  return answer;
}

std::string TExportHttpExchange::Export(const std::string& body, const TExportRequest& request,
                                        TCallRecord* record) {
  record->operation = request.method;
  auto refuse = [&](ECimStatus status, const std::string& description) {
    record->status = status;
    return ExportErrorDocument(request.messageId, request.method, status, description);
  };
  if (!EqualsFoldingAscii(request.method, kExportIndication)) {
    return refuse(kCimNotSupported, "a listener takes ExportIndication only, not " + Printable(request.method));
  }
  const TXmlElement* parameter = request.Parameter("NewIndication");
  for (const TXmlElement* p : request.parameters) {
    if (p != parameter) return refuse(kCimInvalidParameter, "no parameter " + Printable(*p->Attribute("NAME")));
  }
  if (parameter == nullptr || parameter->children.size() != 1 || parameter->children.front()->name != "INSTANCE") {
    return refuse(kCimInvalidParameter, "NewIndication must hold the indication, an INSTANCE");
  }
  TReceivedIndication indication;
  try {
    indication = ReadIndication(*parameter->children.front(), ns_, policy_.xml, body.size());
  } catch (const TCimError& e) {
    return refuse(e.Status(), e.what());
  }
  record->target = indication.indication.className;
  if (received_) received_(indication);
  return ExportResponseDocument(request.messageId, request.method);
}
