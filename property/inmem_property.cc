#include "property/inmem_property.h"

#include <sstream>

#include <boost/assert.hpp>

#include "include/cim_class.h"
#include "include/inmem_instance.h"
#include "namespace/refusal.h"

namespace {

std::string TypeText(const TCIMValue::TCIMType& type) {
  std::ostringstream out;
  out << type;
  return out.str();
}

std::string ClassName(const boost::shared_ptr<ICIMClass>& cls) {
  return cls ? cls->GetName(TContext()) : std::string();
}

}  // namespace

TInmemProperty::TInmemProperty(const boost::weak_ptr<const ICIMPropertyDecl>& decl)
    : rare(new TRare{decl, std::nullopt}) {}

TInmemProperty::TRare& TInmemProperty::Rare() {
  if (!rare) rare.reset(new TRare());
  return *rare;
}

const boost::weak_ptr<const ICIMPropertyDecl>& TInmemProperty::DeclRef() const {
  return owner != nullptr ? owner->DeclOf(*this) : rare->decl;
}

boost::shared_ptr<const ICIMPropertyDecl> TInmemProperty::Decl() const {
  boost::shared_ptr<const ICIMPropertyDecl> locked = DeclRef().lock();
  // Dereferenced here, so that GetDecl fails as every other use does rather
  // than hand out an empty pointer.
  static_cast<void>(*locked);
  return locked;
}

TCIMValue::TCIMType TInmemProperty::GetType(TContext) const { return Decl()->GetType(TContext()); }

bool TInmemProperty::IsArray(TContext) const { return Decl()->IsArray(TContext()); }

const TCIMValue& TInmemProperty::GetValue(TContext) const {
  return hasValue ? value : Decl()->GetDefaultValue(TContext());
}

void TInmemProperty::SetValue(const TCIMValue& newValue, TContext) {
  if (owner == nullptr || !owner->HoldsReference(*this)) {
    StoreValue(newValue);
    return;
  }
  owner->BeforeReferenceChange();
  try {
    StoreValue(newValue);
  } catch (...) {
    owner->AfterReferenceChange();
    throw;
  }
  owner->AfterReferenceChange();
}

void TInmemProperty::StoreValue(const TCIMValue& newValue) {
  TCIMValue::TCIMType declType = Decl()->GetType(TContext());
  if (declType != newValue.GetType()) {
    ThrowRefusal("Inmem: SetValue: decl is type " + TypeText(declType) + " but value is type " +
                     TypeText(newValue.GetType()),
                 kStatusTypeMismatch);
  }
  value = newValue;
  hasValue = true;
}

boost::shared_ptr<const ICIMPropertyDecl> TInmemProperty::GetDecl(TContext) const {
  return Decl();
}

bool TInmemProperty::operator==(const ICIMProperty& other) const {
  BOOST_ASSERT_MSG(hasValue, "the property has its own value");
  return other.GetDecl(TContext()) == Decl() && value == other.GetValue(TContext());
}

bool TInmemProperty::operator<(const ICIMProperty& other) const {
  BOOST_ASSERT_MSG(hasValue, "the property has its own value");
  boost::shared_ptr<const ICIMPropertyDecl> mine = Decl();
  boost::shared_ptr<const ICIMPropertyDecl> theirs = other.GetDecl(TContext());
  if (mine.owner_before(theirs)) return true;
  if (theirs.owner_before(mine)) return false;
  return value < other.GetValue(TContext());
}

const TCIMValue& TInmemProperty::GetPrevValue() const {
  return HasPrevValue() ? *rare->prevValue : GetValue(TContext());
}

void TInmemProperty::ResetPrevValue() {
  Rare().prevValue.emplace();
}

void TInmemProperty::SetPrevValue(const TCIMValue& newValue) {
  if (!newValue.IsNull()) {
    boost::shared_ptr<const ICIMPropertyDecl> d = Decl();
    TCIMValue::TCIMType declType = d->GetType(TContext());
    if (declType != newValue.GetType()) {
      // No "Inmem: " here: the logs are read as they stand.
      ThrowRefusal("SetPrevValue: decl is type " + TypeText(declType) + " but value is type " +
                       TypeText(newValue.GetType()),
                   kStatusTypeMismatch);
    }
    if (declType == kCIMTypeReference) {
      // Only the previous value is held to the declared class; SetValue is not.
      boost::shared_ptr<ICIMClass> valueClass = newValue.GetReferencedClass();
      boost::shared_ptr<ICIMClass> declClass =
          d->GetDefaultValue(TContext()).GetReferencedClass();
      if (valueClass && declClass && !valueClass->IsSubclassOf(declClass, TContext())) {
        ThrowRefusal("SetPrevValue: decl references type " + ClassName(declClass) +
                         " but value references " + ClassName(valueClass),
                     kStatusTypeMismatch);
      }
    }
  }
  Rare().prevValue = newValue;
}

boost::shared_ptr<const ICIMQualifier> TInmemProperty::Qualifier(const char* name) const {
  // The found-flag lookup answers an absent qualifier without an exception,
  // which matters on the display path; a declaration that refuses it is
  // asked the plain way.
  boost::shared_ptr<const ICIMPropertyDecl> d = Decl();
  try {
    bool found = false;
    boost::shared_ptr<const ICIMQualifier> qualifier = d->GetQualifier(name, found, TContext());
    return found ? qualifier : boost::shared_ptr<const ICIMQualifier>();
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotSupported) throw;
  }
  try {
    return d->GetQualifier(name, TContext());
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw;
    return boost::shared_ptr<const ICIMQualifier>();
  }
}

std::string TInmemProperty::ToStringWithBase(const TCIMValue& shown) const {
  unsigned char base = 10;
  boost::shared_ptr<const ICIMQualifier> qualifier = Qualifier("BASE");
  if (qualifier) {
    const TCIMValue& baseValue = qualifier->GetValue(TContext());
    if (!baseValue.IsNull() && baseValue.GetType() == kCIMTypeUint8) {
      unsigned char wanted = static_cast<unsigned char>(baseValue);
      // A base the number text cannot take leaves base 10.
      if (wanted >= 2 && wanted <= 36) base = wanted;
    }
  }
  return shown.ToString(base);
}

namespace {

bool IsMappableType(ECIMType type) {
  return type == kCIMTypeBoolean || type == kCIMTypeUint8 || type == kCIMTypeUint16 ||
         type == kCIMTypeUint32 || type == kCIMTypeUint64;
}

}  // namespace

std::string TInmemProperty::DisplayText(const TCIMValue& shown) const {
  if (shown.IsNull() || !IsMappableType(shown.GetType())) return FormatDisplayValue(shown);
  TValueMapEntries entries;
  std::string defaultText;
  if (!BuildValueMap(entries, defaultText)) return FormatDisplayValue(shown);
  return MapValue(shown, entries, defaultText);  // a mapped text carries no unit
}

std::string TInmemProperty::GetDisplayValue() const { return DisplayText(GetValue(TContext())); }

std::string TInmemProperty::GetPrevDisplayValue() const { return DisplayText(GetPrevValue()); }

std::vector<std::string> TInmemProperty::GetDisplayValues() const {
  const TCIMValue& shown = GetValue(TContext());
  std::vector<std::string> texts;
  if (!shown.IsNull() && shown.IsArray() && IsMappableType(ElementTypeOf(shown.GetType()))) {
    TValueMapEntries entries;
    std::string defaultText;
    if (BuildValueMap(entries, defaultText)) {
      for (const TCIMValue& element : shown.GetElements()) {
        texts.push_back(element.IsNull() ? FormatDisplayValue(element)
                                         : MapValue(element, entries, defaultText));
      }
      return texts;
    }
  }
  if (!Decl()->IsArray(TContext())) {
    texts.push_back(FormatDisplayValue(shown));
  } else if (!shown.IsNull() && shown.IsArray()) {
    for (const TCIMValue& element : shown.GetElements()) {
      texts.push_back(FormatDisplayValue(element));
    }
  }
  return texts;
}
