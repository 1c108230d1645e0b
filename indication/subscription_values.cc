// Reading the subscription classes' properties.

#include "indication/subscription_values.h"

#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "include/cim_property.h"

namespace {

const TContext kNone;

// The value of property `name`, or nullptr when the instance has none.
const TCIMValue* ValueOf(ICIMInstance& instance, const std::string& name, boost::shared_ptr<ICIMProperty>* held) {
  try {
    *held = instance.GetProperty(name, kNone);
  } catch (const TTYLException&) {
    return nullptr;
  }
  const TCIMValue& value = (*held)->GetValue(kNone);
  return value.IsNull() ? nullptr : &value;
}

}  // namespace

std::string StringValue(ICIMInstance& instance, const std::string& name) {
  boost::shared_ptr<ICIMProperty> held;
  const TCIMValue* value = ValueOf(instance, name, &held);
  return value != nullptr && value->GetType() == kCIMTypeString ? value->GetString() : std::string();
}

uint16_t Uint16Value(ICIMInstance& instance, const std::string& name, uint16_t fallback) {
  boost::shared_ptr<ICIMProperty> held;
  const TCIMValue* value = ValueOf(instance, name, &held);
  if (value == nullptr || value->IsArray()) return fallback;
  try {
    return static_cast<uint16_t>(static_cast<unsigned long long>(*value));
  } catch (const TTYLException&) {
    return fallback;
  }
}

boost::shared_ptr<ICIMInstance> Referenced(ICIMInstance& instance, const std::string& name, ICIMNamespace& ns) {
  boost::shared_ptr<ICIMProperty> held;
  const TCIMValue* value = ValueOf(instance, name, &held);
  if (value == nullptr || !value->IsReference()) return nullptr;
  // Instances are filed under their paths within the namespace.
  TCIMReference path = value->GetReference();
  path.SetNameSpaceName("");
  try {
    return ns.GetInstance(path, kNone);
  } catch (const TTYLException&) {
    return nullptr;
  }
}

std::vector<std::string> SourceNamespacesOf(ICIMInstance& filter, const std::string& own) {
  std::vector<std::string> names;
  boost::shared_ptr<ICIMProperty> held;
  if (const TCIMValue* many = ValueOf(filter, "SourceNamespaces", &held); many != nullptr && many->IsArray()) {
    for (const TCIMValue& element : many->GetElements()) {
      if (!element.IsNull() && element.GetType() == kCIMTypeString) names.push_back(element.GetString());
    }
  }
  if (names.empty()) {
    const std::string one = StringValue(filter, "SourceNamespace");
    names.push_back(one.empty() ? own : one);
  }
  return names;
}
