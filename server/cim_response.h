// The bodies of the server's answers, made in pieces as the connection can
// take them: TResponseBody, and the CIM-XML response documents built on it.
//
// An enumeration answers with its items written one by one as the pieces
// are asked for, so that a million instances never make one string.

#ifndef INMEM_SERVER_CIM_RESPONSE_H_
#define INMEM_SERVER_CIM_RESPONSE_H_

#include <functional>
#include <memory>
#include <string>

#include "server/cim_status.h"
#include "server/cimxml_writer.h"
#include "server/xml_out.h"

class TResponseBody {
 public:
  virtual ~TResponseBody() = default;
  // Appends the next piece to *out: about `size` bytes, more when one item
  // is larger. Returns false once the last piece has been appended.
  virtual bool Next(std::string* out, size_t size) = 0;
};

// A body that is all there at once.
std::unique_ptr<TResponseBody> WholeBody(std::string text);

// What every response document repeats from its request.
struct TCimResponseHead {
  std::string messageId;
  std::string method;
  bool extrinsic = false;
  // For the full paths of objects: the host the client asked and the
  // namespace the server serves.
  std::string host;
  std::string namespaceName;
};

// A successful intrinsic method response:
//   IMETHODRESPONSE(IRETURNVALUE(items...)?, PARAMVALUE*).
class TCimMethodResponse : public TResponseBody {
 public:
  // Writes the next item and returns true, or returns false when there are
  // none left. An item that throws TTYLException is left out: what it had
  // written is taken back, and the response goes on.
  typedef std::function<bool(TCimXmlWriter&)> TItems;
  // Writes what follows the return value (the PARAMVALUE elements).
  typedef std::function<void(TXmlOut&)> TAfter;

  // Without `items`, the response has no IRETURNVALUE.
  TCimMethodResponse(TCimResponseHead head, TItems items, TAfter after = TAfter());

  bool Next(std::string* out, size_t size) override;

 private:
  enum class EStage { kStart, kItems, kDone, kFinished };
  TCimResponseHead head_;
  TItems items_;
  TAfter after_;
  TXmlOut xml_;
  TCimXmlWriter writer_;
  EStage stage_ = EStage::kStart;
};

// The whole response document for a failed operation: ERROR with the CIM
// status and its description.
std::string CimErrorDocument(const TCimResponseHead& head, ECimStatus status,
                             const std::string& description);

// PARAMVALUE NAME=name PARAMTYPE=type, holding VALUE text, or nothing for a
// null.
void ParamValue(TXmlOut& xml, const char* name, const char* type, const std::string* text);

#endif  // INMEM_SERVER_CIM_RESPONSE_H_
