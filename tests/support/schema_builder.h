// TSchemaBuilder: builds schemas in a fresh repository namespace for tests,
// through the element interfaces as a loader would.
//
// The namespace comes from the provider and already declares these
// qualifiers (flavor bits in brackets: 1 enable override, 2 to-subclass):
//   KEY boolean [2]          ABSTRACT boolean [0]      ASSOCIATION boolean [2]
//   OVERRIDE string [0]      Description string [1|2]  dontcollect boolean [2]
//   Version string [2]       Restricted string [0]     Local string [1]
// and, all [1|2], the display qualifiers UNITS, ValueMap and Values (string
// arrays), BASE (uint8), NULLDISPLAY, DISPLAYFIXEDUNITS, ABBREVIATEUNITS
// (boolean).

#ifndef INMEM_TESTS_SUPPORT_SCHEMA_BUILDER_H_
#define INMEM_TESTS_SUPPORT_SCHEMA_BUILDER_H_

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/inmem_namespace.h"

typedef std::vector<std::string> TNames;

// A qualifier to put on an element: the declaration's flavor unless `flavor`
// is given (>= 0).
struct TQualifierSpec {
  TQualifierSpec(const std::string& name, const TCIMValue& value, long flavor = -1)
      : name(name), value(value), flavor(flavor) {}
  std::string name;
  TCIMValue value;
  long flavor;
};

typedef boost::shared_ptr<ICIMClass> TClassPtr;
typedef boost::shared_ptr<ICIMPropertyDecl> TPropertyDeclPtr;
typedef std::vector<TQualifierSpec> TQualifierSpecs;

class TSchemaBuilder {
 public:
  explicit TSchemaBuilder(bool allowRedefinition = false);

  const boost::shared_ptr<TInmemNamespace>& Namespace() const { return ns_; }

  // Allocates a class under `superName` ("" for none) with `qualifiers`; not entered.
  TClassPtr Class(const std::string& name, const std::string& superName = "",
                  const TQualifierSpecs& qualifiers = {});
  // Validates `cls` and enters it into the namespace.
  void Enter(const TClassPtr& cls);
  // A class under `superName` with a key property `key` (none when empty), entered.
  TClassPtr KeyedClass(const std::string& name, const std::string& superName, const std::string& key);
  // An abstract class under `superName`, entered.
  TClassPtr AbstractClass(const std::string& name, const std::string& superName = "");
  // An instance of the entered class `cls` with `values` set in order, added to the namespace when `file`.
  boost::shared_ptr<ICIMInstance> Instance(const std::string& cls,
                                           const std::vector<std::pair<std::string, TCIMValue>>& values,
                                           bool file = true);

  // Allocates a property declaration of `cls` with `prototype` and `qualifiers`, then AddToClass.
  TPropertyDeclPtr Property(const TClassPtr& cls, const std::string& name, const TCIMValue& prototype,
                            const TQualifierSpecs& qualifiers = {});
  // A key property: string, KEY true.
  TPropertyDeclPtr Key(const TClassPtr& cls, const std::string& name);
  // A reference property to `target`.
  TPropertyDeclPtr Reference(const TClassPtr& cls, const std::string& name, const TClassPtr& target,
                             const TQualifierSpecs& qualifiers = {});
  // An association class under `superName` with one key reference per end, entered.
  TClassPtr Association(const std::string& name, const std::string& superName,
                        const std::vector<std::pair<std::string, TClassPtr>>& ends);
  // Allocates a method of `cls` with `qualifiers`, then AddToClass.
  boost::shared_ptr<ICIMMethodDecl> Method(const TClassPtr& cls, const std::string& name, ECIMType returnType,
                                           const TQualifierSpecs& qualifiers = {});

  // Makes a qualifier for `element` from the namespace's declaration.
  boost::shared_ptr<ICIMQualifier> Qualifier(ICIMNamedElement& element, const TQualifierSpec& spec);
  // Makes and adds each qualifier.
  void AddQualifiers(ICIMNamedElement& element, const TQualifierSpecs& qualifiers);

 private:
  void Declare(const std::string& name, const TCIMValue& value, uint32_t flavor);

  boost::shared_ptr<TInmemNamespace> ns_;
};

// Names of the classes and declarations that an enumeration yields, in
// order. The callback returns false once it has seen `limit` of them.
const size_t kAll = std::numeric_limits<size_t>::max();
TNames SubclassNames(ICIMClass& cls, bool deep, size_t limit = kAll);
TNames PropertyDeclNames(ICIMClass& cls);
TNames KeyNames(ICIMClass& cls, size_t limit = kAll);
TNames RootClassNames(ICIMNamespace& ns, size_t limit = kAll);
TNames ParameterNames(ICIMMethodDecl& method, size_t limit = kAll);
TNames AssociationClassNames(ICIMClass& cls, const std::string& assocClass, const std::string& role,
                             size_t limit = kAll);

#endif  // INMEM_TESTS_SUPPORT_SCHEMA_BUILDER_H_
