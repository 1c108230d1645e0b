// What the three files of TCimOperations share: the call being run, the
// options of the objects a response writes, and the ways of turning a list
// of elements into the items of a response.

#ifndef INMEM_SERVER_CIM_OPERATIONS_INTERNAL_H_
#define INMEM_SERVER_CIM_OPERATIONS_INTERNAL_H_

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mof/schema_notes.h"
#include "server/cim_operations.h"
#include "server/cimxml_reader.h"
#include "server/cimxml_writer.h"

// The options of the objects a response writes, with the property list they
// point into; shared by the response's items, which outlive the call.
struct TObjectOptions {
  std::optional<std::set<std::string>> propertyList;
  TCimObjectOptions options;
  // Keeps the class `options.declaredBy` points at, and the notes
  // `options.notes` points at.
  boost::shared_ptr<ICIMClass> declaredBy;
  std::shared_ptr<const TSchemaNotes> notes;

  TObjectOptions() = default;
  TObjectOptions(const TObjectOptions&) = delete;
  TObjectOptions& operator=(const TObjectOptions&) = delete;
};

// Reads LocalOnly, IncludeQualifiers, IncludeClassOrigin and PropertyList
// with the defaults given.
std::shared_ptr<TObjectOptions> ReadObjectOptions(const TCimXmlReader& reader,
                                                  const TCimRequest& request, bool localOnly,
                                                  bool includeQualifiers);

struct TCimOperations::TCall {
  const TCimRequest& request;
  // The request's namespace: its name as the registry spells it, and its
  // repository.
  std::string namespaceName;
  boost::shared_ptr<ICIMNamespace> ns;
  // The schema notes kept beside the repository (never null).
  std::shared_ptr<TSchemaNotes> notes;
  TCimXmlReader reader;
  TCimResponseHead head;
  TCallRecord* record;

  const TXmlElement* Parameter(const char* name) const { return request.Parameter(name); }
  const TXmlElement& Content(const char* name, const char* kind) const {
    return reader.Content(Parameter(name), name, kind);
  }
  // A string parameter that must be given.
  std::string RequiredString(const char* name) const {
    std::optional<std::string> text = reader.String(Parameter(name));
    if (!text) throw TCimError(kCimInvalidParameter, std::string("parameter ") + name + " is required");
    return *text;
  }
  bool Boolean(const char* name, bool byDefault) const {
    return reader.Boolean(Parameter(name), byDefault);
  }
  // The options of the classes a response writes: ReadObjectOptions, with
  // the namespace's schema notes.
  std::shared_ptr<TObjectOptions> ClassOptions(bool localOnly, bool includeQualifiers) const {
    std::shared_ptr<TObjectOptions> o = ReadObjectOptions(reader, request, localOnly, includeQualifiers);
    o->notes = notes;
    o->options.notes = notes.get();
    return o;
  }
};

// Items that write each element of `elements` in turn with `write`.
template <typename T, typename F>
TCimMethodResponse::TItems EachOf(std::vector<T> elements, F write) {
  auto all = std::make_shared<std::vector<T>>(std::move(elements));
  auto next = std::make_shared<size_t>(0);
  return [all, next, write](TCimXmlWriter& writer) {
    if (*next >= all->size()) return false;
    write(writer, (*all)[(*next)++]);  // moved on first: an item that fails is not tried again
    return true;
  };
}

// Items that write one thing.
template <typename F>
TCimMethodResponse::TItems OneItem(F write) {
  return EachOf(std::vector<int>{0}, [write](TCimXmlWriter& writer, int) { write(writer); });
}

// VALUE.INSTANCEWITHPATH, or INSTANCEPATH alone, for each instance, each
// under the path `pathOf` gives it.
TCimMethodResponse::TItems InstancesWithPaths(std::vector<boost::shared_ptr<ICIMInstance>> instances,
                                              std::shared_ptr<TObjectOptions> options, bool pathsOnly,
                                              std::function<TCIMReference(ICIMInstance&)> pathOf);

#endif  // INMEM_SERVER_CIM_OPERATIONS_INTERNAL_H_
