// What the query tests share: the fixture repository and a query run over it.

#ifndef INMEM_TESTS_QUERY_QUERY_TEST_SUPPORT_H_
#define INMEM_TESTS_QUERY_QUERY_TEST_SUPPORT_H_

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "core/collected.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "query/bound_query.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"

// A fresh namespace with tests/query/query_fixture.mof loaded.
inline boost::shared_ptr<ICIMNamespace> QueryFixture() {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TMofLoader loader(ns);
  if (!loader.LoadFile(INMEM_QUERY_FIXTURE)) return nullptr;
  return ns;
}

// The instances of `className` and its subclasses, in enumeration order.
inline std::vector<boost::shared_ptr<ICIMInstance>> AllInstances(ICIMNamespace& ns, const std::string& className) {
  return Collected<ICIMInstance>([&](const TInstanceCallback& callback) {
    ns.GetClass(className, TContext())->EnumerateInstances(callback, true, TContext());
  });
}

// How a test names an instance: its Id, or its path when it has none.
inline std::string NameOf(ICIMInstance& instance) {
  boost::shared_ptr<ICIMClass> cls = instance.GetClass(TContext());
  try {
    cls->GetPropertyDecl("Id", TContext());
  } catch (const TTYLException&) {
    return instance.GetReference(TContext()).GetPath();
  }
  return static_cast<std::string>(instance.GetProperty("Id", TContext())->GetValue(TContext()));
}

// The names of the instances `query` matches, sorted, joined by ",".
inline std::string Matching(const TBoundQuery& query) {
  std::vector<std::string> names;
  query.EnumerateMatches([&](boost::shared_ptr<ICIMInstance> instance) {
    names.push_back(NameOf(*instance));
    return true;
  });
  std::sort(names.begin(), names.end());
  std::string joined;
  for (const std::string& name : names) joined += (joined.empty() ? "" : ",") + name;
  return joined;
}

// The repository as MOF: equal texts, equal repositories.
inline std::string Exported(ICIMNamespace& ns) {
  std::ostringstream out;
  TMofWriter(out).WriteNamespace(ns);
  return out.str();
}

#endif  // INMEM_TESTS_QUERY_QUERY_TEST_SUPPORT_H_
