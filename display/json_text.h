// JSON text for the tool's --format json output: string escaping, and values
// as JSON (numbers and booleans bare, null, arrays, everything else a string).
//
// The text is always valid JSON and valid UTF-8, whatever the repository
// holds: control characters are escaped, and bytes that are not valid UTF-8
// (strings from other hosts, or from what a machine reports) become U+FFFD.

#ifndef INMEM_DISPLAY_JSON_TEXT_H_
#define INMEM_DISPLAY_JSON_TEXT_H_

#include <string>

#include "core/cim_value.h"

std::string JsonString(const std::string& text);
std::string JsonValue(const TCIMValue& value);

#endif  // INMEM_DISPLAY_JSON_TEXT_H_
