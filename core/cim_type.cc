#include "core/cim_type.h"

#include <strings.h>

namespace {

const char* const kScalarNames[] = {
    "none",   "boolean", "uint8",  "sint8",  "uint16", "sint16",
    "uint32", "sint32",  "uint64", "sint64", "real32", "real64",
    "char16", "string",  "datetime", "reference",
};

}  // namespace

bool IsValidCIMType(int type) {
  return (type >= kCIMTypeBoolean && type <= kCIMTypeReference) ||
         (type > kCIMTypeArrayFlag &&
          type <= (kCIMTypeReference | kCIMTypeArrayFlag));
}

std::string CIMTypeName(ECIMType type) {
  if (type == kCIMTypeNone) return kScalarNames[0];
  if (!IsValidCIMType(type)) return "invalid";
  std::string name = kScalarNames[ElementTypeOf(type)];
  if (IsArrayType(type)) name += "[]";
  return name;
}

bool ParseCIMTypeName(const std::string& word, ECIMType* type) {
  for (int t = kCIMTypeBoolean; t <= kCIMTypeReference; ++t) {
    if (strcasecmp(word.c_str(), kScalarNames[t]) == 0) {
      *type = static_cast<ECIMType>(t);
      return true;
    }
  }
  return false;
}
