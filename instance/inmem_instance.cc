// TInmemInstance: construction, validation, entry into the namespace and
// property access.

#include "include/inmem_instance.h"

#include <typeinfo>

#include <boost/make_shared.hpp>

#include "core/os_specific.h"
#include "include/cim_class.h"
#include "include/cim_property.h"
#include "include/inmem_namespace.h"
#include "namespace/refusal.h"
#include "property/inmem_property.h"
#include "schema/inmem_class.h"
#include "schema/property_layout.h"

// Out-of-class definitions: hosts may odr-use the exported flags.
const int32_t TInmemInstance::kValidateKeysNonNull;
const int32_t TInmemInstance::kValidateReferences;

namespace {

// The properties a viewer may ask of any instance, and what it gets when the
// class never declared them.
struct TFallback {
  std::string name;
  TCIMValue value;
};

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// By plain, case-sensitive substring search on the name as asked: a longer
// name that contains a trigger word is served too.
bool FindFallback(const std::string& asked, TFallback* fallback) {
  if (Contains(asked, "speedDuplex")) {
    *fallback = {"speedDuplex", TCIMValue("Unknown")};
    return true;
  }
  if (Contains(asked, "Description")) {
    *fallback = {"Description", TCIMValue(" ")};
    return true;
  }
  for (const char* status : {"CommunicationStatus", "DetailedStatus", "HealthState",
                             "OperatingStatus", "PrimaryStatus"}) {
    if (Contains(asked, status)) {
      *fallback = {asked, TCIMValue(static_cast<unsigned short>(0))};
      return true;
    }
  }
  return false;
}

// A repository class keeps the layout of its instances; another class's
// declarations are laid out afresh.
boost::shared_ptr<const TPropertyLayout> LayoutOf(ICIMClass& cls) {
  auto* repositoryClass = dynamic_cast<TInmemClass*>(&cls);
  return repositoryClass != nullptr ? repositoryClass->InstanceLayout() : TPropertyLayout::Of(cls);
}

}  // namespace

bool TInmemInstance::HasFallback(const std::string& name) {
  TFallback unused;
  return FindFallback(name, &unused);
}

TInmemInstance::TInmemInstance(boost::shared_ptr<ICIMClass> cls, int validateFlags)
    : validateFlags(validateFlags), cls(cls), layout(LayoutOf(*cls)) {
  properties.Build(layout->size(), [this](size_t, void* place) { new (place) TInmemProperty(this); });
  StampCollectionTime();
}

void TInmemInstance::StampCollectionTime() {
  try {
    if (!DeclaresCollectionTime()) return;
    SetPropertyValue("DateTimeOfCollection", TCIMValue(TOSSpecific::GetLocalTime()), TContext());
  } catch (const TTYLException& e) {
    // A class without the property gives instances without the stamp.
    if (e.GetStatusCode() != kStatusNotFound) throw TTYLException(e.GetStatus());
  }
}

bool TInmemInstance::DeclaresCollectionTime() const {
  // The repository's own class finds a declaration exactly when its current
  // layout, which this instance was just built from, has the name. Asking
  // the layout spares a thrown and caught "absent" for every instance of a
  // class without the property. Any other implementation, a subclass of
  // ours included, may answer its lookup as it likes, so it is asked.
  const ICIMClass& own = *cls;  // dereferenced apart: typeid's operand has no side effects
  if (typeid(own) == typeid(TInmemClass)) {
    static const std::string kNormalisedName = "datetimeofcollection";
    return layout->Find(kNormalisedName) != TPropertyLayout::kAbsent;
  }
  cls->GetPropertyDecl("DateTimeOfCollection", TContext());  // absent: status 15
  return true;
}

TInmemInstance::~TInmemInstance() {
  BOOST_ASSERT_MSG(firstFiling.cls == nullptr, "a filed instance is held by its class");
}

boost::shared_ptr<ICIMProperty> TInmemInstance::PropertyHandle(size_t slot) {
  return boost::shared_ptr<ICIMProperty>(shared_from_this(), &properties[slot]);
}

void TInmemInstance::NoteFiled(TInmemClass* by, const std::string* key) {
  ++filingVersion;
  if (firstFiling.cls == nullptr) {
    firstFiling = {by, key};
    return;
  }
  if (!moreFilings) moreFilings.reset(new std::vector<TFiling>());
  moreFilings->push_back({by, key});
}

void TInmemInstance::NoteUnfiled(TInmemClass* by, const std::string* key) {
  ++filingVersion;
  const bool more = moreFilings && !moreFilings->empty();
  if (firstFiling.cls == by && firstFiling.key == key) {
    if (!more) {
      firstFiling = {nullptr, nullptr};
      return;
    }
    firstFiling = moreFilings->back();
    moreFilings->pop_back();
    return;
  }
  if (!more) return;
  for (auto it = moreFilings->begin(); it != moreFilings->end(); ++it) {
    if (it->cls == by && it->key == key) {
      moreFilings->erase(it);
      return;
    }
  }
}

bool TInmemInstance::VisitReferencePaths(
    const boost::function<void(const TCIMReference&)>& visit) const {
  if (!layout->HasReferences()) return true;
  bool allOwn = true;
  for (const TInmemProperty& property : properties) {
    // A default whose declaration is gone is no value at all: the instance
    // holds nothing there to index or to forget.
    if (property.UsesDefaultValue(TContext()) && !property.HasDecl()) continue;
    const TCIMValue& value = property.GetValue(TContext());
    if (!value.IsReference()) continue;
    if (property.UsesDefaultValue(TContext())) {
      allOwn = false;
    } else if (!value.IsNull()) {
      visit(value.GetReference());
    }
  }
  return allOwn;
}

void TInmemInstance::SharePaths(
    const boost::function<const TCIMReference*(const TCIMReference&)>& findSame) {
  if (!layout->HasReferences()) return;
  for (TInmemProperty& property : properties) {
    if (property.UsesDefaultValue(TContext())) continue;
    const TCIMValue& value = property.GetValue(TContext());
    if (!value.IsReference() || value.IsNull()) continue;
    const TCIMReference* same = findSame(value.GetReference());
    if (same != nullptr && !same->SharesPartsWith(value.GetReference())) {
      property.ShareValue(TCIMValue(*same));
    }
  }
}

const boost::weak_ptr<const ICIMPropertyDecl>& TInmemInstance::DeclOf(
    const TInmemProperty& property) const {
  return layout->Decl(static_cast<size_t>(&property - properties.data()));
}

bool TInmemInstance::HoldsReference(const TInmemProperty& property) const {
  return layout->IsReference(static_cast<size_t>(&property - properties.data()));
}

void TInmemInstance::BeforeReferenceChange() {
  ForEachFiling([this](const TFiling& filing) { filing.cls->ForgetReferrer(*filing.key, *this); });
}

void TInmemInstance::AfterReferenceChange() {
  ForEachFiling([this](const TFiling& filing) { filing.cls->NoteReferrer(*filing.key, *this); });
}

template <typename F>
bool TInmemInstance::VisitOwnKeys(const F& visit) const {
  const ICIMClass& own = *cls;  // dereferenced apart: typeid's operand has no side effects
  if (typeid(*this) != typeid(TInmemInstance) || typeid(own) != typeid(TInmemClass)) return false;
  TInmemClass& inmemClass = static_cast<TInmemClass&>(*cls);
  boost::shared_ptr<const TInmemClass::TKeyCache> keys = inmemClass.Keys();
  // Instances built since the schema last changed share the class's layout.
  const std::vector<size_t>* known = inmemClass.KeySlotsIn(layout.get());
  // Every key is looked up before the first visit: when one is missing, the
  // caller's way through the interfaces must see every key.
  size_t slots[kMaxOwnKeys];
  if (keys->keys.size() > kMaxOwnKeys) return false;
  for (size_t i = 0; i < keys->keys.size(); ++i) {
    slots[i] = known != nullptr ? (*known)[i] : layout->Find(keys->keys[i].first);
    if (slots[i] == TPropertyLayout::kAbsent) return false;
  }
  for (size_t i = 0; i < keys->keys.size(); ++i) visit(keys->keys[i].second, properties[slots[i]]);
  return true;
}

void TInmemInstance::Validate(TContext) const {
  if ((validateFlags & kValidateKeysNonNull) != 0) {
    const bool own = VisitOwnKeys([this](const std::string& keyName, const TInmemProperty& key) {
      if (key.GetValue(TContext()).IsNull()) ThrowNullKey(keyName);
    });
    if (!own) {
      cls->EnumerateKeys(
          [this](const std::string& keyName) { return ValidateKeyNonNull(&keyName); },
          TContext());
    }
  }
  if ((validateFlags & kValidateReferences) == 0) return;
  if (!cls->IsAssociation(TContext())) return;
  for (const TInmemProperty& property : properties) {
    // A default whose declaration is gone is no value at all: the instance
    // holds nothing there to index or to forget.
    if (property.UsesDefaultValue(TContext()) && !property.HasDecl()) continue;
    const TCIMValue& value = property.GetValue(TContext());
    if (!value.IsReference()) continue;
    // A null reference is a path to nothing.
    static const TCIMReference kNowhere;
    const TCIMReference& path = value.IsNull() ? kNowhere : value.GetReference();
    try {
      path.GetCIMElement(false);
    } catch (const TTYLException& e) {
      if (e.GetStatusCode() == kStatusNotFound) {
        TRootObject::GetCoreLogger()->Log(
            kValidationLogLevel, "Inmem: Reference " + path.GetPath() + " doesn't point to anything!");
      }
      throw TTYLException(e.GetStatus());
    }
  }
}

bool TInmemInstance::ValidateKeyNonNull(const std::string* keyName) const {
  // GetProperty may add a fallback declaration to the class; it reads only.
  boost::shared_ptr<ICIMProperty> key =
      const_cast<TInmemInstance*>(this)->GetProperty(*keyName, TContext());
  if (!key->GetValue(TContext()).IsNull()) return true;
  ThrowNullKey(*keyName);
}

void TInmemInstance::ThrowNullKey(const std::string& keyName) const {
  ThrowLogged(kValidationLogLevel,
              "Inmem: Instance " + cls->GetName(TContext()) + ": key property " + keyName +
                  " is NULL",
              kStatusNullKey);
}

void TInmemInstance::AddToNamespace(TContext context) {
  try {
    Validate(context);
  } catch (const TTYLException&) {
    // "invalid references" for a null key too: the wording is kept as it is.
    TRootObject::GetCoreLogger()->Log(
        kValidationLogLevel, "Inmem: Instance " + cls->GetName(TContext()) + ": invalid references");
    return;
  }
  cls->AddInstance(shared_from_this(), context);
}

void TInmemInstance::Delete(TContext context) {
  cls->RemoveInstance(shared_from_this(), context);
}

size_t TInmemInstance::SlotOf(const std::string& name) const {
  const size_t slot = layout->FindAnyCase(name);
  // A name found is valid; one not found may be invalid, and is refused as such.
  if (slot == TPropertyLayout::kAbsent) TInmemNamespace::NormalizeName(name);
  return slot;
}

boost::shared_ptr<ICIMProperty> TInmemInstance::GetProperty(const std::string& name, TContext) {
  const size_t slot = SlotOf(name);
  if (slot != TPropertyLayout::kAbsent) return PropertyHandle(slot);
  TFallback fallback;
  if (!FindFallback(name, &fallback)) throw TTYLException(kStatusNotFound);
  // From now on the class declares the property; this instance does not hold
  // it, so each request makes a fresh property with the default.
  boost::shared_ptr<ICIMClass> owner = GetClass(TContext());
  boost::shared_ptr<ICIMPropertyDecl> decl =
      owner->AllocatePropertyDecl(fallback.name, fallback.value, TContext());
  owner->AddProperty(decl, TContext());
  return boost::make_shared<TInmemProperty>(owner->GetPropertyDecl(fallback.name, TContext()));
}

void TInmemInstance::SetPropertyValue(const std::string& name, const TCIMValue& value,
                                      TContext) {
  const size_t slot = SlotOf(name);
  if (slot != TPropertyLayout::kAbsent) {
    properties[slot].SetValue(value, TContext());
    return;
  }
  if (Contains(name, "speedDuplex")) return;  // dropped without a word
  throw TTYLException(kStatusNotFound);
}

void TInmemInstance::EnumerateProperties(const TPropertyCallback& callback, TContext) {
  for (size_t slot = 0; slot < properties.size(); ++slot) {
    try {
      callback(PropertyHandle(slot));  // the result does not stop the walk
    } catch (const TTYLException&) {
      LogRefusal("TInmemInstance::EnumerateProperties: Failed in Enumerate the Property \"" +
                 properties[slot].GetDecl(TContext())->GetName(TContext()) + "\" of Class " +
                 cls->GetName(TContext()));
    }
  }
}

namespace {

// Fills a path with the key values of one instance, in key order.
class TBuildPathCallback {
 public:
  TBuildPathCallback(boost::shared_ptr<TInmemInstance> instance, TCIMReference* reference)
      : instance_(instance), reference_(reference) {}

  bool operator()(const std::string& keyName) const {
    boost::shared_ptr<ICIMProperty> key = instance_->GetProperty(keyName, TContext());
    reference_->AddKeyValue(keyName, key->GetValue(TContext()));
    return true;
  }

 private:
  boost::shared_ptr<TInmemInstance> instance_;
  TCIMReference* reference_;
};

}  // namespace

TCIMReference TInmemInstance::GetReference(TContext context) {
  auto provNsp = context.find("ProvNSP");
  const std::string namespaceName =
      provNsp == context.end() ? std::string() : static_cast<std::string>(provNsp->second);
  std::vector<TCIMReference::TKeyBinding> keys;
  const bool own = VisitOwnKeys([&keys](const std::string& keyName, const TInmemProperty& key) {
    keys.emplace_back(keyName, key.GetValue(TContext()));
  });
  if (own) return TCIMReference(cls, namespaceName, std::move(keys));

  TCIMReference reference{boost::shared_ptr<ICIMNamespace>(), TContext()};
  reference.SetClass(cls);
  reference.SetNameSpaceName(namespaceName);
  cls->EnumerateKeys(TBuildPathCallback(shared_from_this(), &reference), TContext());
  return reference;
}

TCIMReference TInmemInstance::GetElementReference(TContext context) {
  return GetReference(context);
}

std::string TInmemInstance::ElementPathText() {
  TCIMReference::TKeyView keys[kMaxOwnKeys];
  size_t count = 0;
  const bool own = VisitOwnKeys([&](const std::string& keyName, const TInmemProperty& key) {
    keys[count++] = TCIMReference::TKeyView(&keyName, &key.GetValue(TContext()));
  });
  if (!own) return GetElementReference(TContext()).GetPath();
  return TCIMReference::PathTextOf(std::string(), cls->GetName(TContext()), keys, count);
}

bool TInmemInstance::operator==(const ICIMInstance& other) const {
  return cls == other.GetClass(TContext());
}

bool TInmemInstance::operator<(const ICIMInstance& other) const {
  return cls.owner_before(other.GetClass(TContext()));
}
