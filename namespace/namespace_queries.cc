// TInmemNamespace: lookups, enumerations, instance operations and the
// operations an in-memory namespace refuses.

#include <boost/assert.hpp>

#include "core/tyl_exception.h"
#include "include/inmem_namespace.h"
#include "namespace/class_index.h"
#include "provider/inmem_namespace_provider.h"
#include "provider/library_entry.h"
#include "schema/inmem_class.h"
#include "schema/inmem_qualifier_decl.h"

boost::shared_ptr<INamespaceProvider> TInmemNamespace::GetNamespaceProvider(TContext) const {
  return GetProviderInstance();
}

void TInmemNamespace::SetUpcallNamespace(boost::shared_ptr<ICIMNamespace>, TContext) {}

void TInmemNamespace::AddUnderlyingNamespace(boost::shared_ptr<ICIMNamespace>, TContext) {
  throw TTYLException(kStatusUnderlyingNamespaceNotSupported);
}

boost::shared_ptr<ICIMClass> TInmemNamespace::GetClass(const std::string& name, TContext) {
  if (name.empty() || name == "<root>") return rootClass;
  if (const boost::shared_ptr<TInmemClass>* found = classIndex->Find(name)) return *found;
  NormalizeName(name);  // an invalid name is refused as such
  throw TTYLException(kStatusNotFound);
}

void TInmemNamespace::EnumerateRootClasses(const TClassCallback& callback, TContext context) {
  BOOST_ASSERT(rootClass);
  rootClass->EnumerateSubclasses(callback, false, context);
}

void TInmemNamespace::EnumerateProviders(const TProviderCallback&, TContext) {}

boost::shared_ptr<ICIMQualifierDecl> TInmemNamespace::GetQualifierDecl(const std::string& name,
                                                                       TContext) const {
  auto it = qualifierDecls.find(NormalizeName(name));
  return it == qualifierDecls.end() ? boost::shared_ptr<ICIMQualifierDecl>() : it->second;
}

void TInmemNamespace::EnumerateQualifierDecls(const TQualifierDeclCallback& callback,
                                              TContext) const {
  for (const auto& entry : qualifierDecls) {
    try {
      callback(entry.second);  // the result does not stop the walk
    } catch (...) {
      // A failing callback costs only its own entry.
    }
  }
}

boost::shared_ptr<ICIMSubscription> TInmemNamespace::Subscribe(
    boost::shared_ptr<ICIMIndicationFilter>, const TInstanceCallback&, TContext) {
  throw TTYLException(kStatusNotSupported);
}

boost::shared_ptr<ICIMInstance> TInmemNamespace::GetInstance(const TCIMReference& path,
                                                             TContext context) const {
  // GetClass is not const through the interface, but only reads.
  boost::shared_ptr<ICIMClass> cls =
      const_cast<TInmemNamespace*>(this)->GetClass(path.GetClassName(), TContext());
  BOOST_ASSERT(cls);
  return static_cast<TInmemClass&>(*cls).FindInstance(path, context);
}

void TInmemNamespace::DeleteInstance(const TCIMReference&, TContext) {
  throw TTYLException(kStatusNotSupported);
}

void TInmemNamespace::ModifyInstance(const TCIMReference&, std::map<std::string, TCIMValue>,
                                     TContext) {
  throw TTYLException(kStatusNotSupported);
}

void TInmemNamespace::ExecuteQuery(const TInstanceCallback&, std::string&, std::string&,
                                   TContext) {
  throw TTYLException(kStatusNotSupported);
}

void TInmemNamespace::ClearInstances() {
  for (const auto& entry : classes) entry.second->ClearClassInstances();
}
