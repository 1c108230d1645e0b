// TInmemInstance: an instance of a repository class.
//
// It holds one property value object per property its class declares,
// found by normalised name; the set of properties is fixed at construction
// (only values change). The names and their order come from the class's
// property layout (schema/property_layout.h), shared by the instances built
// from the same declarations; the instance holds the property objects
// themselves in one array, in layout order, and hands each out as a pointer
// that shares ownership of the instance.
//
// It is filed in its class, under the path text of its own reference, by
// AddToNamespace, which first validates it by its validate flags:
// kValidateKeysNonNull (every key property holds a value) and
// kValidateReferences (for an association, every reference resolves).
//
// Invariant: an instance is owned by a boost::shared_ptr from birth (the
// class's AllocateInstance does this): AddToNamespace and Delete hand the
// class a pointer taken from the instance's self-link, and GetProperty and
// EnumerateProperties hand out properties that share it.
//
// An instance holds its class strongly and the class holds its filed
// instances, so the last namespace that shares the class clears its
// instances when it goes (namespace/element_group.h).
//
// Each instance knows where it is filed (class and map key, kept by the
// classes) so that association walks can find the instances that point at
// it through the classes' referrer indexes, and so that a change of one of
// its reference values is passed on to those indexes.

#ifndef INMEM_INCLUDE_INMEM_INSTANCE_H_
#define INMEM_INCLUDE_INMEM_INSTANCE_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>

#include "include/cim_instance.h"
#include "include/cim_property_decl.h"
#include "instance/property_array.h"

class TInmemClass;
class TPropertyLayout;

class TInmemInstance : public ICIMInstance,
                       public boost::enable_shared_from_this<TInmemInstance> {
 public:
  // The validation flags. The library defines them as well, so a host may
  // take their addresses or bind them by reference.
  static const int32_t kValidateKeysNonNull = 1;
  static const int32_t kValidateReferences = 2;

  // One property per declaration of `cls`; "DateTimeOfCollection", when the
  // class's lookup finds it, is stamped with the local time. A lookup that
  // fails otherwise than "absent" (status 15) fails the construction.
  TInmemInstance(boost::shared_ptr<ICIMClass> cls, int validateFlags);
  ~TInmemInstance() override;

  // Throws on the first failed check the flags select: a null key (logged
  // at level 0, status 18) or, for an association, a reference that resolves
  // to nothing (logged at level 0 for status 15, rethrown as caught).
  void Validate(TContext context) const override;
  // Validates, then files the instance in its class. A failed validation is
  // logged ("Inmem: Instance <class>: invalid references") and not thrown.
  void AddToNamespace(TContext context) override;
  // Does nothing: values change through SetPropertyValue.
  void ModifyInstance(boost::shared_ptr<ICIMInstance>, TContext) override {}
  // Removes the instance from its class.
  void Delete(TContext context) override;
  // The path: the class, the namespace name from the context key "ProvNSP"
  // (empty without it), and the key properties in the class's key order.
  TCIMReference GetReference(TContext context) override;
  TCIMReference GetElementReference(TContext context) override;
  // The text of GetElementReference's path, the one the class files this
  // instance under; made without building the path where it can be.
  std::string ElementPathText();
  boost::shared_ptr<ICIMClass> GetClass(TContext) const override { return cls; }
  // Associators: for each association instance that points at this
  // instance, its first far end that derives from `resultClass` (by
  // `resultRole` when given). Callback results do not stop the walk.
  void EnumerateAssociatedInstances(const TInstanceCallback& callback,
                                    const std::string& assocClass,
                                    const std::string& resultClass, const std::string& role,
                                    const std::string& resultRole, TContext context) override;
  // References: every association instance that points at this instance
  // (through `role` when given). Callback results do not stop the walk.
  void EnumerateAssociationInstances(const TInstanceCallback& callback,
                                     const std::string& resultClass, const std::string& role,
                                     TContext context) override;
  // The property of that name; for a few well-known names the class lacks
  // ("speedDuplex", "Description", the status properties) a new declaration
  // is added to the class and a fresh property with its default returned.
  boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name,
                                              TContext context) override;
  void SetPropertyValue(const std::string& name, const TCIMValue& value,
                        TContext context) override;
  // Visits every property whatever the callback returns; a TTYLException
  // from the callback is logged and the walk goes on.
  void EnumerateProperties(const TPropertyCallback& callback, TContext context) override;
  // Instances have no method implementations: always a null value.
  TCIMValue InvokeMethod(const std::string&, const std::map<std::string, TCIMValue>&,
                         TContext) override {
    return TCIMValue();
  }
  // Instances compare by their class object only.
  bool operator==(const ICIMInstance& other) const override;
  bool operator<(const ICIMInstance& other) const override;
  ICIMInstance& operator=(const ICIMInstance&) override { return *this; }

  // One place where a class files this instance: the class and the key of
  // its instance map (owned by that map).
  struct TFiling {
    TInmemClass* cls;
    const std::string* key;
  };
  // Calls `visit` with each place, in no particular order.
  template <typename F>
  void ForEachFiling(const F& visit) const {
    if (firstFiling.cls == nullptr) return;
    visit(firstFiling);
    if (moreFilings) {
      for (const TFiling& filing : *moreFilings) visit(filing);
    }
  }
  // The one place this instance is filed, or nullptr when it is filed in
  // none or in more than one.
  const TFiling* OnlyFiling() const {
    if (firstFiling.cls == nullptr || (moreFilings && !moreFilings->empty())) return nullptr;
    return &firstFiling;
  }
  // Moves on whenever this instance is filed or dropped anywhere.
  uint32_t FilingVersion() const { return filingVersion; }
  // Kept by TInmemClass as it files and drops this instance.
  void NoteFiled(TInmemClass* cls, const std::string* key);
  void NoteUnfiled(TInmemClass* cls, const std::string* key);

  // Calls `visit` with the path of each reference property's own, non-null
  // value, in property order. False when some reference property is on its
  // declaration's default, which cannot be indexed by text.
  bool VisitReferencePaths(const boost::function<void(const TCIMReference&)>& visit) const;
  // Offers each own, non-null reference value to `findSame`, which answers
  // with a path a reader cannot tell from it (held elsewhere) or nullptr,
  // and takes each path it gets in place of its own, so that the value
  // shares that path's parts. Nothing a reader sees changes.
  void SharePaths(const boost::function<const TCIMReference*(const TCIMReference&)>& findSame);
  // Asks the processor to bring into its cache what a walk reads of these
  // association instances: the objects, their property arrays, their
  // reference values and those values' path texts (see
  // TReferrerIndex::Prefetch). Reads only.
  static void PrefetchForWalk(const TInmemInstance* const* instances, size_t count);

  // Called by a reference property of this instance around a change of its
  // value, so that the classes that file this instance re-index it.
  void BeforeReferenceChange();
  void AfterReferenceChange();

  // For the properties this instance holds: the weak reference to the
  // declaration of `property`'s slot, and whether that slot is of
  // reference type.
  const boost::weak_ptr<const ICIMPropertyDecl>& DeclOf(const TInmemProperty& property) const;
  bool HoldsReference(const TInmemProperty& property) const;

 private:
  friend class TReferencesCallback;
  friend class TExamineInstanceCallback;
  friend class TExamineInstanceWithRoleCallback;
  friend class TAssociatorsExamineCallback;
  friend class TAssociatorsExamineWithResultRoleCallback;

  // The constructor's last step (see the constructor).
  void StampCollectionTime();
  // Whether the class's lookup finds "DateTimeOfCollection"; throws what
  // that lookup throws otherwise (status 15 for absent).
  bool DeclaresCollectionTime() const;
  // The slot of the property `name` (any letter case), or
  // TPropertyLayout::kAbsent; an invalid name throws as NormalizeName does.
  size_t SlotOf(const std::string& name) const;
  // The property of `slot`, as a pointer that shares this instance's
  // ownership.
  boost::shared_ptr<ICIMProperty> PropertyHandle(size_t slot);
  bool ValidateKeyNonNull(const std::string* keyName) const;
  // Logs that key `keyName` is null (level 0) and throws status 18.
  [[noreturn]] void ThrowNullKey(const std::string& keyName) const;
  // A fast way to the key properties. When this instance and its class are
  // the repository's own kinds (not subclasses, which may answer
  // GetProperty and EnumerateKeys their own way) and the instance holds a
  // property for every key, calls `visit(name, property)` for each key in
  // the class's key order, with the name EnumerateKeys gives, and returns
  // true; otherwise visits nothing and returns false, and the caller goes
  // through the interfaces as usual.
  // Classes with more keys than this take the way through the interfaces.
  static const size_t kMaxOwnKeys = 8;
  template <typename F>
  bool VisitOwnKeys(const F& visit) const;

  bool ExamineCandidateClass(const TInstanceCallback& callback, const std::string& role,
                             boost::shared_ptr<ICIMClass> assocClass);
  bool ExamineCandidateClassInstance(const TInstanceCallback& callback,
                                     boost::shared_ptr<ICIMInstance> candidate);
  bool ExamineCandidateClassInstanceWithRole(const TInstanceCallback& callback,
                                             const std::string& role,
                                             boost::shared_ptr<ICIMInstance> candidate);
  bool ExamineCandidate(const TInstanceCallback& callback,
                        boost::shared_ptr<ICIMClass> resultClass, const std::string& role,
                        boost::shared_ptr<TInmemInstance> association);
  bool ExamineCandidateWithResultRole(const TInstanceCallback& callback,
                                      boost::shared_ptr<ICIMClass> resultClass,
                                      const std::string& resultRole,
                                      boost::shared_ptr<TInmemInstance> association);
  // Whether `element` is this very instance.
  bool IsThis(const boost::shared_ptr<ICIMElement>& element) const;
  // Whether the reference value `reference` resolves to this very instance:
  // what IsThis(resolved element) answers, false for a null reference or
  // one that resolves to nothing (status 15); any other failure of the
  // resolution is thrown as it comes. A path that resolves through this
  // repository is answered from where this instance is filed, without
  // looking the instance up.
  bool ResolvesToThis(const TCIMValue& reference) const;
  // Whether GetProperty answers `name` with a made-up property when the
  // instance lacks it (and so adds a declaration to the class).
  static bool HasFallback(const std::string& name);

  int32_t validateFlags;
  uint32_t filingVersion = 0;
  boost::shared_ptr<ICIMClass> cls;
  // The names of the properties, in slot order.
  boost::shared_ptr<const TPropertyLayout> layout;
  // One property per slot of `layout`, in the same order (ascending
  // normalised name). Built once by the constructor: handed-out pointers
  // point into it.
  TPropertyArray properties;
  // Nearly every instance is filed in one place at most, held inline; the
  // rare further places (the same instance filed again after its keys
  // changed, or in another class) go to `moreFilings`.
  TFiling firstFiling = {nullptr, nullptr};
  std::unique_ptr<std::vector<TFiling>> moreFilings;
};

#endif  // INMEM_INCLUDE_INMEM_INSTANCE_H_
