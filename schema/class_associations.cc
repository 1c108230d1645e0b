// TInmemClass: entry into the namespace, and the association classes that
// lead away from a class.

#include "include/inmem_namespace.h"
#include "schema/inmem_class.h"
#include "schema/inmem_property_decl.h"

namespace {

// The class that a reference declaration points at, or an empty pointer for
// a declaration that is not of reference type.
boost::shared_ptr<ICIMClass> ReferencedClass(const TInmemPropertyDecl& decl) {
  const TCIMValue& prototype = decl.GetDefaultValue(TContext());
  if (!prototype.IsReference()) return boost::shared_ptr<ICIMClass>();
  return prototype.GetReferencedClass();
}

}  // namespace

void TInmemClass::AddToNamespace(TContext context) {
  boost::shared_ptr<TInmemClass> self = shared_from_this();
  ns.lock()->AddClass(self);
  superClass.lock()->AddSubclass(self, context);
  if (IsAssociation(TContext())) {
    ForEachRegisteredClass([&](ICIMClass& referenced) {
      referenced.AddAssociationClass(self, TContext());
    });
  }
}

void TInmemClass::RemoveFromNamespace(TContext context) {
  boost::shared_ptr<TInmemClass> self = shared_from_this();
  ns.lock()->RemoveClass(self);
  superClass.lock()->RemoveSubclass(self, context);
  if (IsAssociation(TContext())) {
    ForEachRegisteredClass([&](ICIMClass& referenced) {
      referenced.RemoveAssociationClass(self, TContext());
    });
  }
}

// The cover rule. For each reference property P with referenced class C, in
// map order, C is covered when another reference property Q references
//   - a different class D from which C derives (the association is found
//     from C through the superclass walk of EnumerateAssociationClasses), or
//   - C itself, and Q comes after P (the last such property registers C).
// Uncovered classes are visited, so each is registered exactly once.
void TInmemClass::ForEachRegisteredClass(
    const boost::function<void(ICIMClass&)>& visit) const {
  const TContext none;
  for (TPropertyDeclMap::const_iterator p = propertyDecls.begin(); p != propertyDecls.end();
       ++p) {
    boost::shared_ptr<ICIMClass> c = ReferencedClass(*p->second);
    if (!c) continue;
    bool covered = false;
    bool afterP = false;
    for (TPropertyDeclMap::const_iterator q = propertyDecls.begin();
         q != propertyDecls.end() && !covered; ++q) {
      if (q == p) {
        afterP = true;
        continue;
      }
      boost::shared_ptr<ICIMClass> d = ReferencedClass(*q->second);
      if (!d) continue;
      covered = d == c ? afterP : c->IsSubclassOf(d, none);
    }
    if (!covered) visit(*c);
  }
}

void TInmemClass::EnumerateAssociationClasses(const TClassCallback& callback,
                                              const std::string& assocClass,
                                              const std::string& role, TContext) {
  const TContext none;
  boost::shared_ptr<ICIMClass> wanted = ns.lock()->GetClass(assocClass, none);
  boost::shared_ptr<TInmemClass> root = RootClass();
  for (boost::shared_ptr<TInmemClass> current = shared_from_this();
       current && current != root; current = current->superClass.lock()) {
    for (const auto& entry : current->associationClasses) {
      const boost::shared_ptr<TInmemClass>& association = entry.second;
      if (!association->IsSubclassOf(wanted, none)) continue;
      if (!role.empty()) {
        auto decl = association->propertyDecls.find(TInmemNamespace::NormalizeName(role));
        if (decl == association->propertyDecls.end()) continue;
        if (ReferencedClass(*decl->second) != current) continue;
      }
      if (!callback(association)) return;
    }
  }
}

void TInmemClass::MatchAssociations(const TClassCallback& callback,
                                    const std::string& assocClass,
                                    const std::string& resultClass, const std::string& role,
                                    const std::string& resultRole, TContext context) {
  const TContext none;
  boost::shared_ptr<ICIMClass> result = ns.lock()->GetClass(resultClass, none);
  std::string roleKey = TInmemNamespace::NormalizeName(role);
  std::string resultRoleKey = TInmemNamespace::NormalizeName(resultRole);
  EnumerateAssociationClasses(
      [&](boost::shared_ptr<ICIMClass> candidate) {
        TInmemClass& association = static_cast<TInmemClass&>(*candidate);
        for (const auto& entry : association.propertyDecls) {
          if (!roleKey.empty() && entry.first == roleKey) continue;
          if (!resultRoleKey.empty() && entry.first != resultRoleKey) continue;
          boost::shared_ptr<ICIMClass> far = ReferencedClass(*entry.second);
          if (far && far->IsSubclassOf(result, none)) return callback(candidate);
        }
        return true;
      },
      assocClass, role, context);
}
