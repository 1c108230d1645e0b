// TInmemNamespace: the in-memory repository behind one CIM namespace.
//
// It owns the namespace's classes and qualifier declarations, each keyed by
// its normalised name (NormalizeName), and through the classes their
// instances; and one synthetic root class "<root>", the superclass of every
// class defined without one. The root class is not in `classes`.
//
// Invariants: a namespace is owned by a boost::shared_ptr before Initialize
// or any allocation runs (elements link back to it through its self-link);
// after Initialize `rootClass` is set; classes and qualifier declarations are
// never removed once entered. With `allowRedefinition` a class or qualifier
// declaration entered under a name already taken replaces the earlier one
// (classes named like "pelxa_physicalnetworkport" excepted: the first stays);
// without it the second is refused with status 16.
//
// Copies share the original's element objects and one element group
// (namespace/element_group.h); the instances and association records of
// those classes are dropped, to free them, only when the last namespace of
// the group goes.
//
// Threads: none; callers serialise all use of one namespace.

#ifndef INMEM_INCLUDE_INMEM_NAMESPACE_H_
#define INMEM_INCLUDE_INMEM_NAMESPACE_H_

#include <map>
#include <memory>
#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"

class TClassIndex;
class TInmemClass;
class TInmemElementGroup;
class TInmemQualifierDecl;

class TInmemNamespace : public ICIMNamespace,
                        public boost::enable_shared_from_this<TInmemNamespace> {
 public:
  explicit TInmemNamespace(bool allowRedefinition);
  // Copies share the element objects and their group; the self-link is not
  // copied. Assignment leaves the target's old group, which is torn down if
  // the target was its last namespace.
  TInmemNamespace(const TInmemNamespace& other);
  TInmemNamespace& operator=(const TInmemNamespace& other);
  ~TInmemNamespace() override;

  // Creates the root class "<root>". Called once, right after construction,
  // by the provider.
  void Initialize();

  // Lower-cases `name` (ASCII only) and checks that it is a CIM name: empty,
  // or an underscore or letter followed by underscores, letters and digits.
  // An invalid name logs "Inmem: CIM name '<name>' is invalid" at level 3
  // and throws status 25.
  static std::string NormalizeName(const std::string& name);

  boost::shared_ptr<INamespaceProvider> GetNamespaceProvider(TContext context) const override;
  // Accepted and ignored.
  void SetUpcallNamespace(boost::shared_ptr<ICIMNamespace> ns, TContext context) override;
  // Always refused with status 31.
  void AddUnderlyingNamespace(boost::shared_ptr<ICIMNamespace> ns, TContext context) override;
  // The class already entered under `name` (after Inherit runs on it again),
  // or a new class under `superClass` (the root class when empty) that is
  // not entered until it enters itself.
  boost::shared_ptr<ICIMClass> AllocateClass(const std::string& name,
                                             boost::shared_ptr<ICIMClass> superClass,
                                             TContext context) override;
  // "" and "<root>" give the root class; an unknown name throws status 15.
  boost::shared_ptr<ICIMClass> GetClass(const std::string& name, TContext context) override;
  // The direct subclasses of the root class; false from the callback stops.
  void EnumerateRootClasses(const TClassCallback& callback, TContext context) override;
  // Does nothing.
  void EnumerateProviders(const TProviderCallback& callback, TContext context) override;
  // A new declaration, not entered until it enters itself.
  boost::shared_ptr<ICIMQualifierDecl> AllocateQualifierDecl(
      const std::string& name, const TCIMValue& value, ICIMQualifierDecl::EScope scope,
      ICIMQualifierDecl::EFlavor flavor, TContext context) override;
  // An empty pointer when there is no such declaration.
  boost::shared_ptr<ICIMQualifierDecl> GetQualifierDecl(const std::string& name,
                                                        TContext context) const override;
  // Visits every declaration in name order whatever the callback returns or
  // throws.
  void EnumerateQualifierDecls(const TQualifierDeclCallback& callback,
                               TContext context) const override;
  // Refused with status 1.
  boost::shared_ptr<ICIMSubscription> Subscribe(boost::shared_ptr<ICIMIndicationFilter> filter,
                                                const TInstanceCallback& callback,
                                                TContext context) override;
  // The instance of the class named in `path` filed under that exact path
  // text, or an empty pointer.
  boost::shared_ptr<ICIMInstance> GetInstance(const TCIMReference& path,
                                              TContext context) const override;
  // Refused with status 1 (instances change through the instance objects).
  void DeleteInstance(const TCIMReference& path, TContext context) override;
  void ModifyInstance(const TCIMReference& path, std::map<std::string, TCIMValue> values,
                      TContext context) override;
  void ExecuteQuery(const TInstanceCallback& callback, std::string& language,
                    std::string& query, TContext context) override;
  // Drops the instances of every entered class (not those of the root class).
  void ClearInstances() override;

  // Assignment through the interface: changes nothing.
  virtual TInmemNamespace& operator=(ICIMNamespace& other);

 private:
  friend class TInmemClass;
  friend class TInmemQualifierDecl;

  // Enter elements into the maps; only the elements' AddToNamespace calls them.
  void AddClass(boost::shared_ptr<TInmemClass> newClass);
  void AddQualifierDecl(boost::shared_ptr<TInmemQualifierDecl> newDecl);
  // Deliberately does nothing: a class once entered stays.
  void RemoveClass(boost::shared_ptr<TInmemClass> oldClass);

  const boost::shared_ptr<TInmemClass>& GetRootClass() const { return rootClass; }

  std::map<std::string, boost::shared_ptr<TInmemQualifierDecl>> qualifierDecls;
  std::map<std::string, boost::shared_ptr<TInmemClass>> classes;
  // The same classes, found by name in any letter case without walking
  // `classes`; it points into that map, so every copy makes its own.
  std::unique_ptr<TClassIndex> classIndex;
  boost::shared_ptr<TInmemClass> rootClass;
  bool allowRedefinition;
  // Shared with every copy; records each class allocated through any of them.
  boost::shared_ptr<TInmemElementGroup> elementGroup;
};

#endif  // INMEM_INCLUDE_INMEM_NAMESPACE_H_
