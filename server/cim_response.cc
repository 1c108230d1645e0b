// Response documents: the envelope around what an operation answers.

#include "server/cim_response.h"

#include "core/root_object.h"
#include "core/tyl_exception.h"

namespace {

class TWholeBody : public TResponseBody {
 public:
  explicit TWholeBody(std::string text) : text_(std::move(text)) {}
  bool Next(std::string* out, size_t) override {
    out->append(text_);
    text_.clear();
    return false;
  }

 private:
  std::string text_;
};

// Opens CIM, MESSAGE, SIMPLERSP and the method response.
void OpenEnvelope(TXmlOut& xml, const TCimResponseHead& head) {
  xml.Raw("<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n");
  xml.Open("CIM");
  xml.Attr("CIMVERSION", "2.0");
  xml.Attr("DTDVERSION", "2.0");
  xml.Open("MESSAGE");
  xml.Attr("ID", head.messageId);
  xml.Attr("PROTOCOLVERSION", "1.0");
  xml.Open("SIMPLERSP");
  xml.Open(head.extrinsic ? "METHODRESPONSE" : "IMETHODRESPONSE");
  xml.Attr("NAME", head.method);
}

void CloseEnvelope(TXmlOut& xml) {
  for (int i = 0; i < 4; ++i) xml.Close();
  xml.Raw("\n");
}

}  // namespace

std::unique_ptr<TResponseBody> WholeBody(std::string text) {
  return std::make_unique<TWholeBody>(std::move(text));
}

TCimMethodResponse::TCimMethodResponse(TCimResponseHead head, TItems items, TAfter after)
    : head_(std::move(head)),
      items_(std::move(items)),
      after_(std::move(after)),
      writer_(xml_, head_.host, head_.namespaceName) {}

bool TCimMethodResponse::Next(std::string* out, size_t size) {
  if (stage_ == EStage::kFinished) return false;
  if (stage_ == EStage::kStart) {
    OpenEnvelope(xml_, head_);
    if (items_) xml_.Open("IRETURNVALUE");
    stage_ = EStage::kItems;
  }
  while (stage_ == EStage::kItems && xml_.Size() < size) {
    if (!items_) {
      stage_ = EStage::kDone;
      break;
    }
    const TXmlOut::TMark mark = xml_.Mark();
    try {
      if (items_(writer_)) continue;
    } catch (const TTYLException& e) {
      xml_.Rewind(mark);
      TRootObject::GetCoreLogger()->Log(3, std::string("inmem serve: an item of ") + head_.method +
                                               " was left out: " + e.what());
      continue;
    }
    xml_.Close();  // IRETURNVALUE
    stage_ = EStage::kDone;
  }
  if (stage_ == EStage::kDone) {
    if (after_) after_(xml_);
    CloseEnvelope(xml_);
    stage_ = EStage::kFinished;
  }
  xml_.TakeInto(out);
  return stage_ != EStage::kFinished;
}

std::string CimErrorDocument(const TCimResponseHead& head, ECimStatus status,
                             const std::string& description) {
  TXmlOut xml;
  OpenEnvelope(xml, head);
  xml.Open("ERROR");
  xml.Attr("CODE", std::to_string(status));
  xml.Attr("DESCRIPTION", std::string(CimStatusName(status)) + ": " + description);
  xml.Close();
  CloseEnvelope(xml);
  return xml.Take();
}

void ParamValue(TXmlOut& xml, const char* name, const char* type, const std::string* text) {
  xml.Open("PARAMVALUE");
  xml.Attr("NAME", name);
  xml.Attr("PARAMTYPE", type);
  if (text != nullptr) xml.TextElement("VALUE", *text);
  xml.Close();
}
