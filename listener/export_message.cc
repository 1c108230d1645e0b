// The export envelope, read from the outside in, and the response
// documents.

#include "listener/export_message.h"

#include "core/ascii.h"
#include "core/printable_text.h"
#include "server/xml_out.h"

namespace {

[[noreturn]] void NotValid(const std::string& why) { throw TCimProtocolError(400, "request-not-valid", why); }

const std::string& Required(const TXmlElement& element, const char* attribute) {
  const std::string* value = element.Attribute(attribute);
  if (value == nullptr) NotValid(element.name + " has no " + attribute + " attribute");
  return *value;
}

const TXmlElement& OnlyChild(const TXmlElement& element) {
  if (element.children.size() != 1) {
    NotValid(element.name + " must hold exactly one element, not " + std::to_string(element.children.size()));
  }
  return *element.children.front();
}

// Whether a version text "M.N[.U]" has the major version `major`.
bool HasMajor(const std::string& version, char major) {
  return !version.empty() && version[0] == major && (version.size() == 1 || version[1] == '.');
}

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
  if (root.name != "CIM") NotValid("the document is " + Printable(root.name) + ", not CIM");
  if (!HasMajor(Required(root, "CIMVERSION"), '2')) {
    throw TCimProtocolError(501, "unsupported-cim-version", "CIMVERSION " + Printable(*root.Attribute("CIMVERSION")));
  }
  if (!HasMajor(Required(root, "DTDVERSION"), '2')) {
    throw TCimProtocolError(501, "unsupported-dtd-version", "DTDVERSION " + Printable(*root.Attribute("DTDVERSION")));
  }
  const TXmlElement& message = OnlyChild(root);
  if (message.name != "MESSAGE") NotValid("CIM holds " + Printable(message.name) + ", not MESSAGE");
  TExportRequest request;
  request.messageId = Required(message, "ID");
  if (!HasMajor(Required(message, "PROTOCOLVERSION"), '1')) {
    throw TCimProtocolError(501, "unsupported-protocol-version",
                            "PROTOCOLVERSION " + Printable(*message.Attribute("PROTOCOLVERSION")));
  }
  const TXmlElement& simple = OnlyChild(message);
  if (simple.name == "MULTIEXPREQ") {
    throw TCimProtocolError(501, "multiple-requests-unsupported", "MULTIEXPREQ is not supported");
  }
  if (simple.name != "SIMPLEEXPREQ") NotValid("MESSAGE holds " + Printable(simple.name) + ", not an export request");
  // Correlators may come first; the call is the last child.
  for (size_t i = 0; i + 1 < simple.children.size(); ++i) {
    if (simple.children[i]->name != "CORRELATOR") NotValid("SIMPLEEXPREQ holds " + Printable(simple.children[i]->name));
  }
  if (simple.children.empty() || simple.children.back()->name != "EXPMETHODCALL") {
    NotValid("SIMPLEEXPREQ holds no EXPMETHODCALL");
  }
  const TXmlElement& call = *simple.children.back();
  request.method = Required(call, "NAME");
  for (const auto& parameter : call.children) {
    if (parameter->name != "EXPPARAMVALUE") NotValid("EXPMETHODCALL holds " + Printable(parameter->name));
    const std::string& name = Required(*parameter, "NAME");
    if (request.Parameter(name) != nullptr) NotValid("parameter " + Printable(name) + " is given twice");
    if (parameter->children.size() > 1) NotValid("parameter " + Printable(name) + " holds more than one value");
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
