// TCimRequest: the envelope of one CIM operation request (DSP0200, DSP0201):
// which method, in which namespace, with which parameters; and the refusals
// that the HTTP layer answers with an HTTP status and a CIMError header
// rather than with a CIM error.

#ifndef INMEM_SERVER_CIMXML_REQUEST_H_
#define INMEM_SERVER_CIMXML_REQUEST_H_

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "server/xml_document.h"

// A request the server cannot take as a CIM operation at all.
class TCimProtocolError : public std::runtime_error {
 public:
  // `httpStatus` 400 or 501; `cimError` the CIMError header's value
  // ("request-not-valid", "unsupported-protocol-version", ...).
  TCimProtocolError(int httpStatus, const char* cimError, const std::string& detail)
      : std::runtime_error(detail), httpStatus_(httpStatus), cimError_(cimError) {}
  int HttpStatus() const { return httpStatus_; }
  const char* CimError() const { return cimError_; }

 private:
  int httpStatus_;
  const char* cimError_;
};

struct TCimRequest {
  std::string messageId;
  // The method's name as the request gives it.
  std::string method;
  // An extrinsic method call (METHODCALL) rather than an intrinsic one.
  bool extrinsic = false;
  // "root/cimv2": the NAMESPACE names joined by '/'. For an extrinsic call,
  // the namespace of its object path.
  std::string namespaceName;
  // The IPARAMVALUE elements of an intrinsic call.
  std::vector<const TXmlElement*> parameters;
  // The size of the document the request was read from: what the texts
  // built from it are bounded by (PathTextBudget).
  size_t documentBytes = 0;

  // The parameter named `name` in any letter case, or nullptr when the
  // request does not give it. A parameter given without a value (a null)
  // is an element without children.
  const TXmlElement* Parameter(std::string_view name) const;
};

// Reads the envelope of `root` (a CIM element); throws TCimProtocolError
// for anything but one simple request of CIM 2.x, DTD 2.x, protocol 1.x.
TCimRequest ReadCimRequest(const TXmlElement& root);

// What every CIM-XML message shares, operation or export: CIM of
// CIMVERSION and DTDVERSION 2.x holding one MESSAGE of PROTOCOLVERSION 1.x
// with an ID (into *messageId). Returns the MESSAGE's one element, having
// refused `multiple` (MULTIREQ, MULTIEXPREQ) as not supported. Throws
// TCimProtocolError.
const TXmlElement& ReadMessageEnvelope(const TXmlElement& root, const char* multiple, std::string* messageId);
// A request that breaks the DTD: 400, request-not-valid.
[[noreturn]] void RefuseNotValid(const std::string& why);
// The attribute's value, which must be there.
const std::string& RequiredAttribute(const TXmlElement& element, const char* attribute);

// The namespace of a LOCALNAMESPACEPATH element, its names joined by '/'.
std::string ReadLocalNamespacePath(const TXmlElement& element);

#endif  // INMEM_SERVER_CIMXML_REQUEST_H_
