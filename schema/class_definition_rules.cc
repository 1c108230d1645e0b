// TInmemClass: the rules by which property and method declarations are
// added to a class, override an inherited one, or are refused.
//
// A new class already holds every inherited declaration (Define), so these
// rules decide between adding, overriding and refusing. Properties and
// methods follow the same rules but report refusals very differently, and
// the silences of the property rules are deliberate: of all property
// refusals only a reference property on a non-association class reaches the
// caller.

#include "include/inmem_namespace.h"
#include "namespace/refusal.h"
#include "schema/inmem_class.h"
#include "schema/inmem_method_decl.h"
#include "schema/inmem_property_decl.h"
#include "schema/schema_generation.h"

namespace {

// Whether `element` holds qualifier `name`. Property declarations answer the
// found-flag lookup; methods and parameters refuse it (status 1) and answer
// the plain one with an empty pointer. Asking each the way it answers keeps
// exceptions off this path, which every declaration of a schema takes.
bool HasQualifier(const ICIMNamedElement& element, const std::string& name) {
  if (dynamic_cast<const ICIMPropertyDecl*>(&element) != nullptr) {
    bool found = false;
    return static_cast<bool>(element.GetQualifier(name, found, TContext())) && found;
  }
  try {
    return static_cast<bool>(element.GetQualifier(name, TContext()));
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw;
    return false;
  }
}

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

void TInmemClass::AddProperty(boost::shared_ptr<ICIMPropertyDecl> declInterface, TContext) {
  NoteSchemaChange();
  const TContext none;
  boost::shared_ptr<TInmemPropertyDecl> decl =
      boost::dynamic_pointer_cast<TInmemPropertyDecl>(declInterface);
  const std::string& declName = decl->GetName(none);
  if (decl->GetType(none) == kCIMTypeReference && !IsAssociation(none)) {
    ThrowRefusal("Inmem: Attempt to add reference property " + declName +
                     " to non-association class " + name,
                 kStatusReferenceOnNonAssociation);
  }
  std::string key = TInmemNamespace::NormalizeName(declName);
  try {
    if (HasQualifier(*decl, "OVERRIDE")) {
      OverrideProperty(decl, key);
      return;
    }
  } catch (const TTYLException& e) {
    // Status 15 (nothing to override) falls through to a plain addition; any
    // other failure while defining leaves the class as it was, in silence.
    if (e.GetStatusCode() != kStatusNotFound) return;
  }
  AddPropertyWithoutOverride(decl, key);
}

void TInmemClass::OverrideProperty(const boost::shared_ptr<TInmemPropertyDecl>& decl,
                                   const std::string& key) {
  const TContext none;
  const std::string& declName = decl->GetName(none);
  TPropertyDeclMap::iterator existing = propertyDecls.find(key);
  if (existing == propertyDecls.end()) {
    // Port classes may declare a port type with OVERRIDE over nothing.
    if (Contains(key, "porttype")) {
      propertyDecls.emplace(key, decl);
      return;
    }
    // Logged as refused, then added all the same by the caller.
    LogRefusal("Inmem: Attempt to override property " + declName + " in class " + name +
               ": property doesn't exist in base class");
    throw TTYLException(kStatusNotFound);
  }
  if (existing->second->GetType(none) != decl->GetType(none)) {
    LogRefusal("Inmem: Attempt to override property " + declName + " in class " + name +
               ": different types");
    throw TTYLException(kStatusTypeMismatch);
  }
  // Overriding a declaration of this very class changes nothing, silently.
  if (existing->second->GetClass(none).get() == static_cast<const ICIMClass*>(this)) return;
  existing->second = decl;
}

void TInmemClass::AddPropertyWithoutOverride(const boost::shared_ptr<TInmemPropertyDecl>& decl,
                                             const std::string& key) {
  const TContext none;
  const std::string& declName = decl->GetName(none);
  TPropertyDeclMap::iterator existing = propertyDecls.find(key);
  if (existing == propertyDecls.end()) {
    propertyDecls.emplace(key, decl);
    return;
  }
  // Port classes redefine these two properties of their superclasses freely.
  if (Contains(declName, "PortType") || Contains(declName, "speedDuplex") ||
      HasQualifier(*decl, "Key")) {
    existing->second = decl;
    return;
  }
  LogRefusal("Inmem: Attempt to add property " + declName + " to class " + name +
             ": already exists");
}

void TInmemClass::AddMethod(boost::shared_ptr<ICIMMethodDecl> declInterface, TContext) {
  const TContext none;
  boost::shared_ptr<TInmemMethodDecl> decl =
      boost::dynamic_pointer_cast<TInmemMethodDecl>(declInterface);
  const std::string& declName = decl->GetName(none);
  std::string key = TInmemNamespace::NormalizeName(declName);
  auto existing = methodDecls.find(key);
  if (HasQualifier(*decl, "OVERRIDE")) {
    try {
      if (existing == methodDecls.end()) {
        // Logged as refused, then added all the same below.
        LogRefusal("Inmem: Attempt to override method " + declName + " in class " + name +
                   ": method doesn't exist in base class");
        throw TTYLException(kStatusNotFound);
      }
      if (existing->second->GetReturnType(none) != decl->GetReturnType(none)) {
        ThrowRefusal("Inmem: Attempt to override method " + declName + " in class " + name +
                         ": different types",
                     kStatusTypeMismatch);
      }
      if (existing->second->GetClass(none).get() == static_cast<const ICIMClass*>(this)) {
        ThrowRefusal("Inmem: Attempt to override method " + declName + " in class " + name +
                         ": original was defined in this class",
                     kStatusAlreadyDefined);
      }
      existing->second = decl;
      return;
    } catch (const TTYLException& e) {
      if (e.GetStatusCode() != kStatusNotFound) {
        // No space before "failed": the logs are read as they stand.
        ThrowRefusal("Inmem: Attempt define method " + declName + " in class " + name +
                         "failed. Reason = " + e.what(),
                     e.GetStatusCode());
      }
    }
  }
  if (existing != methodDecls.end()) {
    ThrowRefusal("Inmem: Attempt to add method " + declName + " to class " + name +
                     ": already exists",
                 kStatusAlreadyDefined);
  }
  methodDecls.emplace(key, decl);
}
