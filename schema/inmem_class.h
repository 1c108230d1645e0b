// TInmemClass: the in-memory CIM class.
//
// A class owns its qualifiers, its own and inherited property and method
// declarations (inherited ones are the superclass's very objects), its
// class-level property values, its direct subclasses, the association classes
// that reference it, and its instances (keyed by instance path text). It
// links weakly to its namespace and superclass, so that subclasses never keep
// their ancestors alive.
//
// Invariants: every class but the namespace's root class has a superclass
// (the root class for a top-level class) once Define has run; all maps but
// `instances` are keyed by normalised names; `subclasses` holds each name
// once, in the order of the latest registration.
//
// Only TInmemNamespace::AllocateClass constructs classes; it wraps the new
// object in a shared pointer and runs Define (or Inherit for a class that is
// already entered).

#ifndef INMEM_SCHEMA_INMEM_CLASS_H_
#define INMEM_SCHEMA_INMEM_CLASS_H_

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <absl/container/flat_hash_set.h>
#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_class.h"
#include "schema/inmem_named_element.h"
#include "schema/path_table.h"
#include "schema/property_layout.h"
#include "schema/referrer_index.h"

class TInmemInstance;
class TInmemMethodDecl;
class TInmemNamespace;
class TInmemPropertyDecl;

class TInmemClass : public TInmemNamedElement<ICIMClass, TInmemClass>,
                    public boost::enable_shared_from_this<TInmemClass> {
 public:
  static const TQualifierRules kQualifierRules;

  TInmemClass(const boost::shared_ptr<TInmemNamespace>& ns, const std::string& name,
              const boost::shared_ptr<TInmemClass>& superClass);
  ~TInmemClass() override;

  // Runs once on a new class: links it under its superclass (the root class
  // when it has none) and copies the inherited members.
  void Define();
  // Runs on a class allocated again: copies the inherited members once more
  // (entries the class already has are kept).
  void Inherit();

  // The key rule: a concrete class needs a property whose KEY qualifier is
  // true; otherwise "Inmem: Class <name> has no keys" and status 7.
  void Validate(TContext context) const override;
  void AddToNamespace(TContext context) override;
  void RemoveFromNamespace(TContext context) override;
  void SetElementLink(boost::shared_ptr<ICIMElement>, TContext) override {}
  const std::string& GetName(TContext) const override { return name; }
  boost::shared_ptr<ICIMNamespace> GetNamespace(TContext context) const override;
  bool IsAssociation(TContext context) const override;
  bool IsAbstract(TContext context) const override;
  bool IsTopLevel(TContext context) const override;
  boost::shared_ptr<ICIMClass> GetSuperClass(TContext context) const override;
  // Direct subclasses in registration order (all descendants, depth first,
  // when `deep`); false from the callback stops.
  void EnumerateSubclasses(const TClassCallback& callback, bool deep,
                           TContext context) override;
  bool IsSubclassOf(boost::shared_ptr<ICIMClass> other, TContext context) const override;
  // EnumerateAssociationClasses(assocClass, role), keeping the association
  // classes with a reference property (named `resultRole` when given, and
  // not named `role`) whose referenced class derives from `resultClass`.
  void MatchAssociations(const TClassCallback& callback, const std::string& assocClass,
                         const std::string& resultClass, const std::string& role,
                         const std::string& resultRole, TContext context) override;
  // The association classes recorded on this class and on each ancestor
  // below the root class that derive from `assocClass` (and, with a role,
  // whose property of that name references the class of the chain that
  // recorded them); false from the callback stops.
  void EnumerateAssociationClasses(const TClassCallback& callback,
                                   const std::string& assocClass, const std::string& role,
                                   TContext context) override;
  void EnumerateKeys(const TKeyCallback& callback, TContext context) override;
  boost::shared_ptr<ICIMPropertyDecl> AllocatePropertyDecl(const std::string& name,
                                                           const TCIMValue& prototype,
                                                           TContext context) override;
  boost::shared_ptr<ICIMPropertyDecl> GetPropertyDecl(const std::string& name,
                                                      TContext context) override;
  void EnumeratePropertyDecls(const TPropertyDeclCallback& callback, TContext context) override;
  boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name, TContext context) override;
  void SetPropertyValue(const std::string& name, const TCIMValue& value,
                        TContext context) override;
  void EnumerateProperties(const TPropertyCallback& callback, TContext context) override;
  boost::shared_ptr<ICIMInstance> AllocateInstance(TContext context) override;
  // The class's own instances in path order (the callback's result is not
  // looked at), then, when `deep`, each subclass's.
  void EnumerateInstances(const TInstanceCallback& callback, bool deep,
                          TContext context) override;
  boost::shared_ptr<ICIMMethodDecl> AllocateMethodDecl(const std::string& name,
                                                       TCIMValue::TCIMType returnType,
                                                       TContext context) override;
  boost::shared_ptr<ICIMMethodDecl> GetMethodDecl(const std::string& name,
                                                  TContext context) override;
  void EnumerateMethodDecls(const TMethodDeclCallback& callback, TContext context) override;
  // Classes have no method implementations: always a null value.
  TCIMValue InvokeMethod(const std::string&, const std::map<std::string, TCIMValue>&,
                         TContext) override {
    return TCIMValue();
  }
  // Exact, case-sensitive comparison of the names.
  bool operator==(const ICIMClass& other) const override;
  bool operator<(const ICIMClass& other) const override;
  ICIMClass& operator=(const ICIMClass&) override { return *this; }
  bool GetCollectFlag(TContext) const override { return collectFlag; }
  // There is no way to clear the flag.
  void SetCollectFlag(TContext) override { collectFlag = true; }
  void AddSubclass(boost::shared_ptr<ICIMClass> subclass, TContext context) override;
  void RemoveSubclass(boost::shared_ptr<ICIMClass> subclass, TContext context) override;
  void AddInstance(boost::shared_ptr<ICIMInstance> instance, TContext context) override;
  void RemoveInstance(boost::shared_ptr<ICIMInstance> instance, TContext context) override;
  void AddAssociationClass(boost::shared_ptr<ICIMClass> association, TContext context) override;
  void RemoveAssociationClass(boost::shared_ptr<ICIMClass> association,
                              TContext context) override;
  // The definition rules of properties and methods: add, override or refuse.
  void AddProperty(boost::shared_ptr<ICIMPropertyDecl> decl, TContext context) override;
  void RemovePropertyDecl(boost::shared_ptr<ICIMPropertyDecl> decl, TContext context) override;
  void AddMethod(boost::shared_ptr<ICIMMethodDecl> decl, TContext context) override;
  void RemoveMethodDecl(boost::shared_ptr<ICIMMethodDecl> decl, TContext context) override;

  // The key declarations (normalised name and name, in key order) as they
  // stood at a schema generation.
  struct TKeyCache {
    uint64_t generation = 0;
    std::vector<std::pair<std::string, std::string>> keys;
  };
  // The key declarations as they stand now: what EnumerateKeys visits when
  // no callback changes the schema. Rebuilt when the generation has moved.
  // Like InstanceLayout and KeySlotsIn, safe to call from several threads
  // at once as long as the schema does not change meanwhile (readers side
  // by side, the server's way): the first caller after a change rebuilds,
  // under shapeMutex, and the others then read what it made.
  boost::shared_ptr<const TKeyCache> Keys();
  // The slots of the keys of Keys(), in key order, in `layout` when that is
  // the layout new instances get now (kAbsent for a key it lacks); nullptr
  // for any other layout. Valid until the schema changes.
  const std::vector<size_t>* KeySlotsIn(const TPropertyLayout* layout);

  // The instance filed under `path`'s path text, or an empty pointer.
  boost::shared_ptr<ICIMInstance> FindInstance(const TCIMReference& path, TContext context) const;
  // Takes over `old`'s list of direct subclasses (a redefinition does).
  void CopySubclassListOf(const TInmemClass& old) {
    subclasses = old.subclasses;
    subclassNames = old.subclassNames;
  }
  // Drops every instance of this class (not of its subclasses).
  void ClearClassInstances();
  // The properties a new instance of this class holds (kept until the
  // schema generation moves).
  boost::shared_ptr<const TPropertyLayout> InstanceLayout();

  // The own instances that may point at `target`, for an association walk:
  // in path order, every one that holds a reference resolving to `target`
  // and perhaps others, as EnumerateInstances (not deep) would pass them.
  // The processor classes pass all their instances, since enumerating them
  // is what applies their correction.
  void EnumerateReferrers(const TInmemInstance& target, const TInstanceCallback& callback);
  // Re-index the instance filed under `key` around a change of its
  // references (see TInmemInstance::BeforeReferenceChange).
  void ForgetReferrer(const std::string& key, const TInmemInstance& instance);
  void NoteReferrer(const std::string& key, const TInmemInstance& instance);
  // Drops the record of association classes; the namespaces' element group
  // calls it when it goes, since an association that references its own
  // class holds itself.
  void ClearAssociationClasses() { associationClasses.clear(); }

 private:
  typedef std::map<std::string, boost::shared_ptr<TInmemPropertyDecl>> TPropertyDeclMap;

  void CopyInheritedMembers(const TInmemClass& super);
  // Takes `entry` out of the instance map (into droppedDuringWalks while a
  // walk runs).
  void DropEntry(TReferrerIndex::TEntry entry);
  // Calls `callback` with each key declaration from `from` on, in map order,
  // until it returns false.
  void EnumerateKeysFrom(
      TPropertyDeclMap::const_iterator from,
      const boost::function<bool(const TPropertyDeclMap::value_type&)>& callback) const;
  // Whether enumerating this class's instances applies the processor
  // correction to them.
  bool CorrectsProcessors() const;
  // Calls `visit` with each class that this association registers with: the
  // class referenced by each reference property, unless another reference
  // property covers it (see AddToNamespace).
  void ForEachRegisteredClass(const boost::function<void(ICIMClass&)>& visit) const;
  bool VisitSubclasses(const TClassCallback& callback, bool deep);
  boost::shared_ptr<TInmemClass> RootClass() const;
  void AddPropertyWithoutOverride(const boost::shared_ptr<TInmemPropertyDecl>& decl,
                                  const std::string& key);
  void OverrideProperty(const boost::shared_ptr<TInmemPropertyDecl>& decl,
                        const std::string& key);

  boost::weak_ptr<TInmemNamespace> ns;
  std::string name;
  boost::weak_ptr<TInmemClass> superClass;
  TPropertyDeclMap propertyDecls;
  std::map<std::string, boost::shared_ptr<ICIMProperty>> classProperties;
  std::vector<boost::shared_ptr<TInmemClass>> subclasses;
  // The names in `subclasses`: a class with thousands of direct subclasses
  // registers each without searching the list for its name.
  absl::flat_hash_set<std::string> subclassNames;
  std::map<std::string, boost::shared_ptr<TInmemClass>> associationClasses;
  TReferrerIndex::TInstanceMap instances;
  // While a walk over this class's referrers runs (EnumerateReferrers, which
  // may nest), instances dropped from the map leave their map elements here,
  // released of their instances, so that the walk's last key stays valid;
  // the outermost walk frees them when it ends.
  // Atomic: walks run side by side on the server's threads.
  std::atomic<int> activeWalks{0};
  std::vector<TReferrerIndex::TInstanceMap::node_type> droppedDuringWalks;
  // The same entries hashed by path text: lookups by path need not walk
  // the ordered map.
  TPathTable instancesByPath;
  TReferrerIndex referrers;
  std::map<std::string, boost::shared_ptr<TInmemMethodDecl>> methodDecls;
  // What instances of the class look like at a schema generation: its keys,
  // the layout new instances get, and the keys' slots in that layout.
  struct TShape {
    uint64_t generation = 0;
    boost::shared_ptr<const TKeyCache> keys;
    boost::shared_ptr<const TPropertyLayout> layout;
    std::vector<size_t> keySlots;
  };
  // The shape as of the latest generation asked for. `shape` owns it and is
  // replaced under shapeMutex, once the generation has moved past it;
  // `currentShape` points at it for readers that take no lock. The shape
  // replaced is kept as `previousShape` until the next replacement, which
  // needs another schema change: a reader that took it just before it was
  // replaced may still look at its generation.
  const TShape& Shape();
  std::mutex shapeMutex;
  boost::shared_ptr<const TShape> shape;
  boost::shared_ptr<const TShape> previousShape;
  std::atomic<const TShape*> currentShape{nullptr};
  bool collectFlag = false;
};

#endif  // INMEM_SCHEMA_INMEM_CLASS_H_
