// TInmemProperty: the value of one property in one instance (or a class-level
// property value).
//
// It refers to its declaration (held weakly: the class owns declarations,
// and a property never keeps one alive) for name, type, array-ness,
// qualifiers and default, and holds two values of its own: the current
// value (absent: the declaration's default applies) and the previous value
// (absent until one is stored or reset; never absent again). Both values
// are type-checked against the declaration when set; after a refused set
// both are unchanged.
//
// A property of an instance reaches its declaration through that instance's
// property layout, which holds it weakly in the property's slot; a property
// of no instance holds its own weak reference. Either way the reference is
// the one the property was made with. Previous values are rare, so they are
// held apart with that own reference: at tens of millions of instances each
// property's bytes count.
//
// A property of an instance tells that instance before and after each
// change of its value, so that the classes that file the instance keep
// their referrer indexes (see schema/referrer_index.h) in step. The instance holds its properties and hands them out with shares of
// its own ownership, so it outlives every use of the property.
//
// It also turns values into display text: integer codes through the
// declaration's "ValueMap" and "Values" qualifiers, everything else through
// FormatDisplayValue with "UNITS", "BASE" and the other display qualifiers.
//
// Precondition of operator== and operator<: this property holds its own
// value (they compare it directly, not through GetValue).

#ifndef INMEM_PROPERTY_INMEM_PROPERTY_H_
#define INMEM_PROPERTY_INMEM_PROPERTY_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/weak_ptr.hpp>

#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "property/value_map.h"

class TInmemInstance;

class TInmemProperty : public ICIMProperty {
 public:
  // A property of no instance. `decl` may be given as a shared pointer;
  // only a weak reference is kept.
  explicit TInmemProperty(const boost::weak_ptr<const ICIMPropertyDecl>& decl);
  // A property of `owner`, whose layout holds the declaration of its slot
  // (TInmemInstance::DeclOf).
  explicit TInmemProperty(TInmemInstance* owner) : owner(owner) {}

  TCIMValue::TCIMType GetType(TContext context) const override;
  bool IsArray(TContext context) const override;
  bool UsesDefaultValue(TContext) const override { return !hasValue; }
  // Whether the declaration still exists (GetValue without an own value,
  // and everything else that reads the declaration, needs it).
  bool HasDecl() const { return !DeclRef().expired(); }
  // The own value, or the declaration's default without one.
  const TCIMValue& GetValue(TContext context) const override;
  // Stores a copy when its type is the declaration's; otherwise logs
  // "Inmem: SetValue: decl is type <t> but value is type <t>" and throws 14.
  // A reference owner hears of the call whether or not the value was taken.
  void SetValue(const TCIMValue& newValue, TContext context) override;
  bool IsUnset(TContext) const override { return !hasValue; }
  // Replaces the own value with `same`, which a reader cannot tell from it
  // (see TCIMReference::SameInEveryPart): the value then shares its parts
  // with others that hold them. No check and no word to the owner, since
  // nothing a reader sees changes.
  void ShareValue(const TCIMValue& same) { value = same; }
  // Cache hints for a walk's reads of the own value (TCIMValue's).
  void PrefetchValue() const {
    if (hasValue) value.PrefetchReference();
  }
  void PrefetchValueText() const {
    if (hasValue) value.PrefetchReferenceText();
  }
  boost::shared_ptr<const ICIMPropertyDecl> GetDecl(TContext context) const override;
  // Same declaration object and equal values.
  bool operator==(const ICIMProperty& other) const override;
  // By declaration identity (a fixed, arbitrary order), then by value.
  bool operator<(const ICIMProperty& other) const override;
  ICIMProperty& operator=(const ICIMProperty&) override { return *this; }
  // The previous value once one was stored or reset; before that GetValue.
  const TCIMValue& GetPrevValue() const override;
  // The previous value becomes an untyped null; HasPrevValue is true.
  void ResetPrevValue() override;
  // A null value is stored without checks. Otherwise the type must be the
  // declaration's ("SetPrevValue: decl is type ..." and status 14), and a
  // reference must point at the declaration's class or a subclass of it
  // ("SetPrevValue: decl references type ..." and status 14).
  void SetPrevValue(const TCIMValue& newValue) override;
  bool HasPrevValue() const override { return rare && rare->prevValue.has_value(); }
  std::string GetDisplayValue() const override;
  std::string GetPrevDisplayValue() const override;
  // One display text per array element (mapped through the value map when
  // it applies), or the single display text of a scalar.
  std::vector<std::string> GetDisplayValues() const override;

  // `value` as text in the base of the declaration's "BASE" qualifier (a
  // uint8 from 2 to 36), else in base 10.
  std::string ToStringWithBase(const TCIMValue& value) const;
  // Builds the entries and default text from "ValueMap" and "Values";
  // false when the qualifiers give no usable map. Ends the process (after a
  // level-0 log line) for a ValueMap that begins with ".." or "..hi".
  bool BuildValueMap(TValueMapEntries& entries, std::string& defaultText) const;
  // The text of one integer value (boolean and unsigned types; any other
  // type throws status 1): the first entry that holds it, else the default
  // text, else its decimal text.
  std::string MapValue(const TCIMValue& value, const TValueMapEntries& entries,
                       const std::string& defaultText) const;
  // The display text of `value` by "NULLDISPLAY", "UNITS",
  // "DISPLAYFIXEDUNITS", "ABBREVIATEUNITS" and "BASE".
  std::string FormatDisplayValue(const TCIMValue& value) const;

 private:
  // The weak reference to the declaration (see the header comment).
  const boost::weak_ptr<const ICIMPropertyDecl>& DeclRef() const;
  // The declaration, locked. One that no longer exists is a programming
  // fault, reported by the shared pointer's own assertion ("px != 0").
  boost::shared_ptr<const ICIMPropertyDecl> Decl() const;
  // SetValue's check and store, without telling a reference owner.
  void StoreValue(const TCIMValue& newValue);
  // The declaration's qualifier `name`, or an empty pointer when absent.
  boost::shared_ptr<const ICIMQualifier> Qualifier(const char* name) const;
  // The display text of one value, mapped when a value map applies.
  std::string DisplayText(const TCIMValue& value) const;

  // What few properties hold: the declaration of a property of no
  // instance, and a previous value.
  struct TRare {
    boost::weak_ptr<const ICIMPropertyDecl> decl;
    std::optional<TCIMValue> prevValue;
  };
  TRare& Rare();

  // The own value, when hasValue.
  TCIMValue value;
  std::unique_ptr<TRare> rare;
  // The instance that holds this property, or nullptr.
  TInmemInstance* owner = nullptr;
  bool hasValue = false;
};

#endif  // INMEM_PROPERTY_INMEM_PROPERTY_H_
