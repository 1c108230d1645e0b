// TCimOperations: queries. ExecQuery (WQL, DMTF:CQL), OpenQueryInstances
// and PullInstances, and the FilterQuery (DMTF:FQL) of the Open...
// operations, all through the query engine (query/): a query read and bound
// to the call's namespace, then evaluated instance by instance. A query
// never changes anything.

#include <map>

#include "core/ascii.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "query/bound_query.h"
#include "server/cim_operations_internal.h"

namespace {

const TContext kNone;

// Runs `prepare`; a refused query becomes the CIM error DSP0200 gives it.
template <typename F>
auto AsCimError(F prepare) -> decltype(prepare()) {
  try {
    return prepare();
  } catch (const TQueryError& e) {
    throw TCimError(e.Kind() == EQueryErrorKind::kUnknownLanguage ? kCimQueryLanguageNotSupported : kCimInvalidQuery,
                    e.what());
  }
}

// The property list a query's projection makes: the selected properties in
// lower case; none for SELECT * (and FQL).
std::optional<std::set<std::string>> Projection(const TBoundQuery& query) {
  if (query.SelectsAll()) return std::nullopt;
  std::set<std::string> names;
  for (std::string name : query.SelectedProperties()) {
    for (char& c : name) c = ToLowerAscii(c);
    names.insert(std::move(name));
  }
  return names;
}

// The instances `query` selects, in the order its class enumerates them.
std::vector<boost::shared_ptr<ICIMInstance>> Matches(const TBoundQuery& query) {
  std::vector<boost::shared_ptr<ICIMInstance>> matches;
  query.EnumerateMatches([&](boost::shared_ptr<ICIMInstance> instance) {
    matches.push_back(std::move(instance));
    return true;
  });
  return matches;
}

}  // namespace

TBoundQuery TCimOperations::ReadQuery(TCall& call, const char* languageParameter, const char* queryParameter) {
  const std::string language = call.RequiredString(languageParameter);
  const std::string text = call.RequiredString(queryParameter);
  EQueryLanguage parsed;
  if (QueryLanguageNamed(language, &parsed) && parsed == EQueryLanguage::kFql) {
    throw TCimError(kCimQueryLanguageNotSupported,
                    "DMTF:FQL filters the Open... operations; " + call.request.method + " takes WQL or DMTF:CQL");
  }
  TBoundQuery query = AsCimError([&] { return TBoundQuery::Prepare(language, text, call.ns); });
  call.record->target = query.FromClassName();
  return query;
}

std::unique_ptr<TResponseBody> TCimOperations::ExecQuery(TCall& call) {
  const TBoundQuery query = ReadQuery(call, "QueryLanguage", "Query");
  std::vector<boost::shared_ptr<ICIMInstance>> matches = Matches(query);
  auto options = std::make_shared<TObjectOptions>();
  options->propertyList = Projection(query);
  if (options->propertyList) options->options.propertyList = &*options->propertyList;
  const ICIMNamespace* home = call.ns.get();
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(std::move(matches), [this, home, options](TCimXmlWriter& w,
                                                                   const boost::shared_ptr<ICIMInstance>& i) {
        w.Open("VALUE.OBJECTWITHPATH");
        w.InstancePath(PathIn(home, *i));
        w.Instance(*i, options->options);
        w.Close();
      }));
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::Filtered(
    TCall& call, std::vector<boost::shared_ptr<ICIMInstance>> instances, const std::string& filteredClass) {
  const std::optional<std::string> language = call.reader.String(call.Parameter("FilterQueryLanguage"));
  const std::optional<std::string> text = call.reader.String(call.Parameter("FilterQuery"));
  if (!language && !text) return instances;
  if (!language || !text) {
    throw TCimError(kCimInvalidParameter, "FilterQuery and FilterQueryLanguage come together");
  }
  EQueryLanguage parsed;
  if (!QueryLanguageNamed(*language, &parsed) || parsed != EQueryLanguage::kFql) {
    throw TCimError(kCimQueryLanguageNotSupported,
                    "the filter queries of the Open... operations are DMTF:FQL, not " + Printable(*language));
  }
  const TParsedQuery parsedQuery = AsCimError([&] { return TParsedQuery::Parse(parsed, *text); });
  // An FQL query is bound to the class of what it filters. One enumeration
  // may deliver instances of several classes (associators, references):
  // each class is bound on its own, and an instance of a class the query
  // does not fit (a property it does not declare) is not delivered. When it
  // fits none of them, the query is refused as it would be for one class.
  std::map<const ICIMClass*, std::optional<TBoundQuery>> byClass;
  std::optional<TQueryError> refusal;
  bool boundOnce = false;
  auto boundFor = [&](ICIMClass& cls) -> const std::optional<TBoundQuery>& {
    auto it = byClass.find(&cls);
    if (it != byClass.end()) return it->second;
    std::optional<TBoundQuery>& bound = byClass[&cls];
    try {
      // In the class's own namespace: associators may be in another.
      bound = TBoundQuery::Bind(parsedQuery, cls.GetNamespace(kNone), cls.GetName(kNone));
      boundOnce = true;
    } catch (const TQueryError& e) {
      if (!refusal) refusal = e;
    }
    return bound;
  };
  if (!filteredClass.empty()) {
    boost::shared_ptr<ICIMClass> cls = FindClass(call, filteredClass, kCimInvalidClass);
    AsCimError([&] {
      byClass[cls.get()] = TBoundQuery::Bind(parsedQuery, call.ns, filteredClass);
      return 0;
    });
    boundOnce = true;
  }
  std::vector<boost::shared_ptr<ICIMInstance>> kept;
  for (auto& instance : instances) {
    boost::shared_ptr<ICIMClass> cls = instance->GetClass(kNone);
    const std::optional<TBoundQuery>& bound = filteredClass.empty() ? boundFor(*cls) : byClass.begin()->second;
    if (bound && bound->Matches(*instance)) kept.push_back(std::move(instance));
  }
  if (!boundOnce && refusal) throw TCimError(kCimInvalidQuery, refusal->what());
  return kept;
}

std::unique_ptr<TResponseBody> TCimOperations::OpenQueryInstances(TCall& call) {
  const TBoundQuery query = ReadQuery(call, "FilterQueryLanguage", "FilterQuery");
  std::vector<boost::shared_ptr<ICIMInstance>> matches = Matches(query);
  TEnumeration enumeration;
  enumeration.withoutPaths = true;
  enumeration.propertyList = Projection(query);
  enumeration.items.assign(matches.begin(), matches.end());
  // The class of the answers: the FROM class with the selected properties.
  std::function<void(TXmlOut&)> resultClass;
  if (call.Boolean("ReturnQueryResultClass", false)) {
    auto options = std::make_shared<TObjectOptions>();
    options->propertyList = enumeration.propertyList;
    if (options->propertyList) options->options.propertyList = &*options->propertyList;
    options->options.localOnly = false;
    boost::shared_ptr<ICIMClass> cls = query.FromClass();
    const std::string host = call.head.host, ns = call.namespaceName;
    resultClass = [cls, options, host, ns](TXmlOut& xml) {
      xml.Open("PARAMVALUE");
      xml.Attr("NAME", "QueryResultClass");
      TCimXmlWriter(xml, host, ns).Class(*cls, options->options);
      xml.Close();
    };
  }
  return Open(call, std::move(enumeration), std::move(resultClass));
}
