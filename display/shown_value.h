// What a property shows people: its display text (units, value maps), one
// text per element for an array, and "null" for a null without a
// NullDisplay text. The tool prints it, the pages show it.

#ifndef INMEM_DISPLAY_SHOWN_VALUE_H_
#define INMEM_DISPLAY_SHOWN_VALUE_H_

#include <string>

class ICIMProperty;

// The current value: "931.5 Gigabytes", "{Other, Storage}", "null". In
// JSON, a JSON string, array of strings, or null.
std::string ShownValue(const ICIMProperty& property, bool json);
// The previous value the same way (one text; GetPrevDisplayValue).
std::string ShownPrevious(const ICIMProperty& property, bool json);

#endif  // INMEM_DISPLAY_SHOWN_VALUE_H_
