// ShownValue: display texts as the property makes them, nulls made visible.

#include "display/shown_value.h"

#include <vector>

#include "include/cim_property.h"
#include "display/json_text.h"

namespace {

const TContext kNone;

// The display text the property made for a value, as shown: a null that has
// no NullDisplay text shows as "null" (JSON null) rather than as nothing.
std::string ShownText(bool isNull, const std::string& display, bool json) {
  if (isNull && display.empty()) return "null";
  return json ? JsonString(display) : display;
}

}  // namespace

std::string ShownValue(const ICIMProperty& property, bool json) {
  const TCIMValue& value = property.GetValue(kNone);
  if (value.IsNull() || !property.IsArray(kNone)) {
    return ShownText(value.IsNull(), property.GetDisplayValue(), json);
  }
  const std::vector<std::string> texts = property.GetDisplayValues();
  const std::vector<TCIMValue>& elements = value.GetElements();
  std::string shown;
  for (size_t i = 0; i < texts.size(); ++i) {
    const bool isNull = i < elements.size() && elements[i].IsNull();
    shown += (i ? (json ? "," : ", ") : "") + ShownText(isNull, texts[i], json);
  }
  return json ? "[" + shown + "]" : "{" + shown + "}";
}

std::string ShownPrevious(const ICIMProperty& property, bool json) {
  return ShownText(property.GetPrevValue().IsNull(), property.GetPrevDisplayValue(), json);
}
