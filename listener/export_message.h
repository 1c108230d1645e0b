// The envelope of a CIM export message (DSP0200, DSP0201): the request a
// WBEM server sends a listener (SIMPLEEXPREQ holding one EXPMETHODCALL and
// its EXPPARAMVALUE elements), and the response documents the listener
// answers with (SIMPLEEXPRSP holding EXPMETHODRESPONSE, empty or with an
// ERROR).
//
// A request that is no export message at all throws TCimProtocolError,
// which the HTTP layer answers with a status and a CIMError header; what
// the method itself refuses is a CIM error inside a 200.

#ifndef INMEM_LISTENER_EXPORT_MESSAGE_H_
#define INMEM_LISTENER_EXPORT_MESSAGE_H_

#include <string>
#include <string_view>
#include <vector>

#include "server/cim_status.h"
#include "server/cimxml_request.h"
#include "server/xml_document.h"

struct TExportRequest {
  std::string messageId;
  // The export method's name as the request gives it.
  std::string method;
  // The EXPPARAMVALUE elements, each with a NAME given once and at most one
  // child element.
  std::vector<const TXmlElement*> parameters;

  // The parameter named `name` in any letter case, or nullptr.
  const TXmlElement* Parameter(std::string_view name) const;
};

// Reads the envelope of `root` (a CIM element); throws TCimProtocolError
// for anything but one simple export request of CIM 2.x, DTD 2.x and
// protocol 1.x.
TExportRequest ReadExportRequest(const TXmlElement& root);

// The whole response document of a successful export method.
std::string ExportResponseDocument(const std::string& messageId, const std::string& method);
// The whole response document of a refused one: ERROR with the CIM status
// and `description`.
std::string ExportErrorDocument(const std::string& messageId, const std::string& method, ECimStatus status,
                                const std::string& description);

#endif  // INMEM_LISTENER_EXPORT_MESSAGE_H_
