// The export envelope, read from the outside in, and the response
// documents.

#include "listener/export_message.h"

#include "core/ascii.h"
#include "core/printable_text.h"
#include "server/xml_out.h"

namespace {

// Opens CIM, MESSAGE, SIMPLEEXPRSP and EXPMETHODRESPONSE.
void OpenEnvelope(TXmlOut& xml, const std::string& messageId, const std::string& method) {
  xml.Raw("<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n");
  xml.Open("CIM");
  xml.Attr("CIMVERSION", "2.0");
  xml.Attr("DTDVERSION", "2.0");
  xml.Open("MESSAGE");
  xml.Attr("ID", messageId);
  xml.Attr("PROTOCOLVERSION", "1.0");
  xml.Open("SIMPLEEXPRSP");
  xml.Open("EXPMETHODRESPONSE");
  xml.Attr("NAME", method);
}

std::string CloseEnvelope(TXmlOut& xml) {
  for (int i = 0; i < 4; ++i) xml.Close();
  xml.Raw("\n");
  return xml.Take();
}

}  // namespace

const TXmlElement* TExportRequest::Parameter(std::string_view name) const {
  for (const TXmlElement* p : parameters) {
    if (EqualsFoldingAscii(*p->Attribute("NAME"), name)) return p;
  }
  return nullptr;
}

TExportRequest ReadExportRequest(const TXmlElement& root) {
  TExportRequest request;
  const TXmlElement& simple = ReadMessageEnvelope(root, "MULTIEXPREQ", &request.messageId);
  if (simple.name != "SIMPLEEXPREQ") RefuseNotValid("MESSAGE holds " + Printable(simple.name) + ", not an export request");
  // Correlators may come first; the call is the last child.
  for (size_t i = 0; i + 1 < simple.children.size(); ++i) {
    if (simple.children[i]->name != "CORRELATOR") RefuseNotValid("SIMPLEEXPREQ holds " + Printable(simple.children[i]->name));
  }
  if (simple.children.empty() || simple.children.back()->name != "EXPMETHODCALL") {
    RefuseNotValid("SIMPLEEXPREQ holds no EXPMETHODCALL");
  }
  const TXmlElement& call = *simple.children.back();
  request.method = RequiredAttribute(call, "NAME");
  for (const auto& parameter : call.children) {
    if (parameter->name != "EXPPARAMVALUE") RefuseNotValid("EXPMETHODCALL holds " + Printable(parameter->name));
    const std::string& name = RequiredAttribute(*parameter, "NAME");
    if (request.Parameter(name) != nullptr) RefuseNotValid("parameter " + Printable(name) + " is given twice");
    if (parameter->children.size() > 1) RefuseNotValid("parameter " + Printable(name) + " holds more than one value");
    request.parameters.push_back(parameter.get());
  }
  return request;
}

std::string ExportResponseDocument(const std::string& messageId, const std::string& method) {
  TXmlOut xml;
  OpenEnvelope(xml, messageId, method);
  return CloseEnvelope(xml);
}

std::string ExportErrorDocument(const std::string& messageId, const std::string& method, ECimStatus status,
                                const std::string& description) {
  TXmlOut xml;
  OpenEnvelope(xml, messageId, method);
  xml.Open("ERROR");
  xml.Attr("CODE", std::to_string(status));
  xml.Attr("DESCRIPTION", std::string(CimStatusName(status)) + ": " + description);
  xml.Close();
  return CloseEnvelope(xml);
}
