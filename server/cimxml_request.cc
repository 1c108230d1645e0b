// ReadCimRequest: the envelope, checked from the outside in.

#include "server/cimxml_request.h"

#include "core/ascii.h"
#include "core/printable_text.h"

namespace {

// The one child element of `element`, which must be there.
const TXmlElement& OnlyChild(const TXmlElement& element) {
  if (element.children.size() != 1) {
    RefuseNotValid(element.name + " must hold exactly one element, not " + std::to_string(element.children.size()));
  }
  return *element.children.front();
}

// Whether a version text "M.N[.U]" has the major version `major`.
bool HasMajor(const std::string& version, char major) {
  return !version.empty() && version[0] == major && (version.size() == 1 || version[1] == '.');
}

}  // namespace

void RefuseNotValid(const std::string& why) { throw TCimProtocolError(400, "request-not-valid", why); }

const std::string& RequiredAttribute(const TXmlElement& element, const char* attribute) {
  const std::string* value = element.Attribute(attribute);
  if (value == nullptr) RefuseNotValid(element.name + " has no " + attribute + " attribute");
  return *value;
}

const TXmlElement& ReadMessageEnvelope(const TXmlElement& root, const char* multiple, std::string* messageId) {
  if (root.name != "CIM") RefuseNotValid("the document is " + Printable(root.name) + ", not CIM");
  if (!HasMajor(RequiredAttribute(root, "CIMVERSION"), '2')) {
    throw TCimProtocolError(501, "unsupported-cim-version", "CIMVERSION " + Printable(*root.Attribute("CIMVERSION")));
  }
  if (!HasMajor(RequiredAttribute(root, "DTDVERSION"), '2')) {
    throw TCimProtocolError(501, "unsupported-dtd-version", "DTDVERSION " + Printable(*root.Attribute("DTDVERSION")));
  }
  const TXmlElement& message = OnlyChild(root);
  if (message.name != "MESSAGE") RefuseNotValid("CIM holds " + Printable(message.name) + ", not MESSAGE");
  *messageId = RequiredAttribute(message, "ID");
  if (!HasMajor(RequiredAttribute(message, "PROTOCOLVERSION"), '1')) {
    throw TCimProtocolError(501, "unsupported-protocol-version",
                            "PROTOCOLVERSION " + Printable(*message.Attribute("PROTOCOLVERSION")));
  }
  const TXmlElement& simple = OnlyChild(message);
  if (simple.name == multiple) {
    throw TCimProtocolError(501, "multiple-requests-unsupported", std::string(multiple) + " is not supported");
  }
  return simple;
}

const TXmlElement* TCimRequest::Parameter(std::string_view name) const {
  for (const TXmlElement* p : parameters) {
    const std::string* given = p->Attribute("NAME");
    if (given != nullptr && EqualsFoldingAscii(*given, name)) return p;
  }
  return nullptr;
}

std::string ReadLocalNamespacePath(const TXmlElement& element) {
  std::string name;
  for (const auto& child : element.children) {
    if (child->name != "NAMESPACE") RefuseNotValid("LOCALNAMESPACEPATH holds " + Printable(child->name));
    name += (name.empty() ? "" : "/") + RequiredAttribute(*child, "NAME");
  }
  if (name.empty()) RefuseNotValid("LOCALNAMESPACEPATH names no namespace");
  return name;
}

TCimRequest ReadCimRequest(const TXmlElement& root) {
  TCimRequest request;
  const TXmlElement& simple = ReadMessageEnvelope(root, "MULTIREQ", &request.messageId);
  if (simple.name != "SIMPLEREQ") {
    RefuseNotValid("MESSAGE holds " + Printable(simple.name) + ", not a request");
  }
  // Correlators may come first; the call is the last child.
  if (simple.children.empty()) RefuseNotValid("SIMPLEREQ holds no call");
  const TXmlElement& call = *simple.children.back();
  request.method = RequiredAttribute(call, "NAME");
  if (call.name == "METHODCALL") {
    request.extrinsic = true;
    const TXmlElement* path = call.children.empty() ? nullptr : call.children.front().get();
    const TXmlElement* ns = path == nullptr ? nullptr : path->Child("LOCALNAMESPACEPATH");
    if (ns == nullptr) RefuseNotValid("METHODCALL has no local path");
    request.namespaceName = ReadLocalNamespacePath(*ns);
    return request;
  }
  if (call.name != "IMETHODCALL") RefuseNotValid("SIMPLEREQ holds " + Printable(call.name));
  if (call.children.empty() || call.children.front()->name != "LOCALNAMESPACEPATH") {
    RefuseNotValid("IMETHODCALL does not start with LOCALNAMESPACEPATH");
  }
  request.namespaceName = ReadLocalNamespacePath(*call.children.front());
  for (size_t i = 1; i < call.children.size(); ++i) {
    const TXmlElement& parameter = *call.children[i];
    if (parameter.name != "IPARAMVALUE") RefuseNotValid("IMETHODCALL holds " + Printable(parameter.name));
    const std::string& name = RequiredAttribute(parameter, "NAME");
    if (request.Parameter(name) != nullptr) RefuseNotValid("parameter " + Printable(name) + " is given twice");
    if (parameter.children.size() > 1) RefuseNotValid("parameter " + Printable(name) + " holds more than one value");
    request.parameters.push_back(&parameter);
  }
  return request;
}
