// ICIMNamespace: one CIM namespace as its provider serves it: classes,
// qualifier declarations and instances, and the operations on them.

#ifndef INMEM_INCLUDE_CIM_NAMESPACE_H_
#define INMEM_INCLUDE_CIM_NAMESPACE_H_

#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "include/callbacks.h"
#include "include/cim_qualifier_decl.h"
#include "include/forward_interfaces.h"

class ICIMClass;
class ICIMInstance;
class INamespaceProvider;

class ICIMNamespace {
 public:
  virtual ~ICIMNamespace() = default;                                          // 0
  virtual boost::shared_ptr<INamespaceProvider> GetNamespaceProvider(
      TContext context) const = 0;                                             // 1
  virtual void SetUpcallNamespace(boost::shared_ptr<ICIMNamespace> ns,
                                  TContext context) = 0;                       // 2
  virtual void AddUnderlyingNamespace(boost::shared_ptr<ICIMNamespace> ns,
                                      TContext context) = 0;                   // 3
  virtual boost::shared_ptr<ICIMClass> AllocateClass(
      const std::string& name, boost::shared_ptr<ICIMClass> superClass,
      TContext context) = 0;                                                   // 4
  virtual boost::shared_ptr<ICIMClass> GetClass(const std::string& name,
                                                TContext context) = 0;         // 5
  virtual void EnumerateRootClasses(const TClassCallback& callback,
                                    TContext context) = 0;                     // 6
  virtual void EnumerateProviders(const TProviderCallback& callback,
                                  TContext context) = 0;                       // 7
  virtual boost::shared_ptr<ICIMQualifierDecl> AllocateQualifierDecl(
      const std::string& name, const TCIMValue& value, ICIMQualifierDecl::EScope scope,
      ICIMQualifierDecl::EFlavor flavor, TContext context) = 0;                // 8
  virtual boost::shared_ptr<ICIMQualifierDecl> GetQualifierDecl(
      const std::string& name, TContext context) const = 0;                    // 9
  virtual void EnumerateQualifierDecls(const TQualifierDeclCallback& callback,
                                       TContext context) const = 0;            // 10
  virtual boost::shared_ptr<ICIMSubscription> Subscribe(
      boost::shared_ptr<ICIMIndicationFilter> filter, const TInstanceCallback& callback,
      TContext context) = 0;                                                   // 11
  virtual boost::shared_ptr<ICIMInstance> GetInstance(const TCIMReference& path,
                                                      TContext context) const = 0;  // 12
  virtual void DeleteInstance(const TCIMReference& path, TContext context) = 0;  // 13
  virtual void ModifyInstance(const TCIMReference& path,
                              std::map<std::string, TCIMValue> values,
                              TContext context) = 0;                           // 14
  virtual void ExecuteQuery(const TInstanceCallback& callback, std::string& language,
                            std::string& query, TContext context) = 0;         // 15
  virtual void ClearInstances() = 0;                                           // 16
};

#endif  // INMEM_INCLUDE_CIM_NAMESPACE_H_
