// TLifecycleIndication: one instance change as the indication that tells
// it: CIM_InstCreation, CIM_InstModification or CIM_InstDeletion, an
// instance of the Interop namespace's class filed nowhere, with
//   SourceInstance            the instance (as it is now; as it was, for a
//                             deletion), embedded as CIM-XML;
//   PreviousInstance          for a modification, the instance as it was;
//   SourceInstanceModelPath   its path with its namespace;
//   SourceInstanceHost        the server's host name;
//   IndicationTime            when the change was told, UTC;
//   IndicationIdentifier      unique within the server's run.
// It also gives the embedded instances to filter conditions
// (IEmbeddedInstances), and writes the export request that carries it to a
// listener.
//
// Made on the server's thread for one change, used there and dropped; the
// request text it writes is a plain string any thread may send.

#ifndef INMEM_INDICATION_LIFECYCLE_INDICATION_H_
#define INMEM_INDICATION_LIFECYCLE_INDICATION_H_

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include <boost/shared_ptr.hpp>

#include "delivery/export_body.h"
#include "core/cim_date_time.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "query/bound_query.h"

enum class ELifecycle { kCreation, kModification, kDeletion };

// "CIM_InstCreation", "CIM_InstModification", "CIM_InstDeletion".
const char* LifecycleClassName(ELifecycle kind);

// Now, as a CIM timestamp in UTC with microseconds.
TCIMDateTime CurrentTimestamp();

class TLifecycleIndication : public IEmbeddedInstances {
 public:
  struct TSource {
    ELifecycle kind;
    std::string namespaceName;  // where the instance lives
    ICIMInstance* instance;
    ICIMInstance* previous;  // a modification's instance as it was; else nullptr
  };

  // An indication of `indicationClass` (the class named after the kind, in
  // the Interop namespace). Throws TTYLException when the class does not
  // take the standard properties.
  TLifecycleIndication(ICIMClass& indicationClass, const TSource& source, const std::string& host,
                       const std::string& identifier);

  ICIMInstance& Instance() { return *indication_; }
  ICIMInstance* Embedded(const std::string& name) const override;

  // The CIM-XML export request (ExportIndication) carrying the indication,
  // as message `messageId`, named as selected by the filter `filterName`
  // (IndicationFilterName): with every property that has a value, or with
  // those whose lower-case names are in `propertyList` when it is given
  // (and have a value). The instance is written once per property list
  // and shared by the requests of every filter with that list; each
  // filter's request holds only its own head and name.
  TExportBody ExportRequest(uint64_t messageId, const std::set<std::string>* propertyList,
                            const std::string& filterName);

 private:
  // The INSTANCE element for one property list, with IndicationFilterName
  // written null: a filter's name goes in as its VALUE at `filterNameAt`
  // (npos when the list leaves the property out).
  struct TWritten {
    std::shared_ptr<const std::string> xml;
    size_t filterNameAt;
  };

  boost::shared_ptr<ICIMInstance> indication_;
  ICIMInstance* source_;
  ICIMInstance* previous_;
  std::string host_;
  std::map<const std::set<std::string>*, TWritten> written_;
};

#endif  // INMEM_INDICATION_LIFECYCLE_INDICATION_H_
