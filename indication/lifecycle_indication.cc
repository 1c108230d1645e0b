// TLifecycleIndication: the indication instance and its export request.

#include "indication/lifecycle_indication.h"

#include <chrono>
#include <ctime>
#include <string_view>

#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/cim_value.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "server/cimxml_writer.h"
#include "server/xml_out.h"

namespace {

const TContext kNone;
// IndicationFilterName as the writer writes it while it is null.
constexpr std::string_view kNullFilterName = "<PROPERTY NAME=\"IndicationFilterName\" TYPE=\"string\"></PROPERTY>";

// The instance as an INSTANCE element of CIM-XML, every property with its
// value: what an embedded instance holds.
std::string InstanceXml(ICIMInstance& instance, const std::string& host, const std::string& namespaceName) {
  TXmlOut out;
  TCimXmlWriter writer(out, host, namespaceName);
  writer.Instance(instance, TCimObjectOptions());
  return out.Take();
}

}  // namespace

const char* LifecycleClassName(ELifecycle kind) {
  switch (kind) {
    case ELifecycle::kCreation:
      return "CIM_InstCreation";
    case ELifecycle::kModification:
      return "CIM_InstModification";
    case ELifecycle::kDeletion:
      return "CIM_InstDeletion";
  }
  return "CIM_InstIndication";
}

TCIMDateTime CurrentTimestamp() {
  const auto now = std::chrono::system_clock::now();
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count();
  const time_t seconds = static_cast<time_t>(micros / 1000000);
  struct tm utc;
  gmtime_r(&seconds, &utc);
  return TCIMDateTime::Timestamp(static_cast<unsigned>(utc.tm_year + 1900), static_cast<unsigned>(utc.tm_mon + 1),
                                 static_cast<unsigned>(utc.tm_mday), static_cast<unsigned>(utc.tm_hour),
                                 static_cast<unsigned>(utc.tm_min), static_cast<unsigned>(std::min(utc.tm_sec, 59)),
                                 static_cast<unsigned>(micros % 1000000), 0);
}

TLifecycleIndication::TLifecycleIndication(ICIMClass& indicationClass, const TSource& source,
                                           const std::string& host, const std::string& identifier)
    : indication_(indicationClass.AllocateInstance(kNone)),
      source_(source.instance),
      previous_(source.previous),
      host_(host) {
  TCIMReference path = source.instance->GetReference(kNone);
  path.SetNameSpaceName(source.namespaceName);
  indication_->SetPropertyValue("IndicationIdentifier", TCIMValue(identifier), kNone);
  indication_->SetPropertyValue("IndicationTime", TCIMValue(CurrentTimestamp()), kNone);
  indication_->SetPropertyValue("SourceInstance",
                                TCIMValue(InstanceXml(*source.instance, host, source.namespaceName)), kNone);
  indication_->SetPropertyValue("SourceInstanceModelPath", TCIMValue(path.GetPath()), kNone);
  indication_->SetPropertyValue("SourceInstanceHost", TCIMValue(host), kNone);
  if (source.previous != nullptr && source.kind == ELifecycle::kModification) {
    indication_->SetPropertyValue("PreviousInstance",
                                  TCIMValue(InstanceXml(*source.previous, host, source.namespaceName)), kNone);
  }
}

ICIMInstance* TLifecycleIndication::Embedded(const std::string& name) const {
  if (name == "SourceInstance") return source_;
  return name == "PreviousInstance" ? previous_ : nullptr;
}

TExportBody TLifecycleIndication::ExportRequest(uint64_t messageId, const std::set<std::string>* propertyList,
                                                const std::string& filterName) {
  auto known = written_.find(propertyList);
  if (known == written_.end()) {
    // The properties it has a value for (and the filter's name, put in
    // below), of those the list keeps: a null says nothing a listener needs.
    std::set<std::string> kept;
    indication_->EnumerateProperties(
        [&](boost::shared_ptr<ICIMProperty> property) {
          const std::string name = LowerAscii(property->GetDecl(kNone)->GetName(kNone));
          const bool wanted = propertyList == nullptr || propertyList->count(name) != 0;
          if (wanted && (!property->GetValue(kNone).IsNull() || name == "indicationfiltername")) kept.insert(name);
          return true;
        },
        kNone);
    TXmlOut out;
    TCimObjectOptions options;
    options.propertyList = &kept;
    TCimXmlWriter(out, host_, std::string()).Instance(*indication_, options);
    auto xml = std::make_shared<const std::string>(out.Take());
    // The filter's name goes in as the VALUE of the property written null.
    const size_t nullAt = xml->find(kNullFilterName);
    const size_t valueAt = nullAt == std::string::npos
                               ? std::string::npos
                               : nullAt + kNullFilterName.size() - std::string_view("</PROPERTY>").size();
    known = written_.emplace(propertyList, TWritten{std::move(xml), valueAt}).first;
  }
  const TWritten& written = known->second;
  std::string name;
  if (written.filterNameAt != std::string::npos) {
    TXmlOut out;
    out.Open("VALUE");
    out.Text(filterName);
    out.Close();
    name = out.Take();
  }
  std::string head = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
                     "<MESSAGE ID=\"";
  head.append(std::to_string(messageId));
  head.append("\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\">"
              "<EXPPARAMVALUE NAME=\"NewIndication\">");
  return TExportBody(std::move(head), written.xml, written.filterNameAt, std::move(name),
                     "</EXPPARAMVALUE></EXPMETHODCALL></SIMPLEEXPREQ></MESSAGE></CIM>\n");
}
