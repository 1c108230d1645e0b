// Equality and order of element names as the repository compares them:
// after TInmemNamespace::NormalizeName on both sides (so letter case does not
// count, and an invalid name throws status 25).

#ifndef INMEM_SCHEMA_NORMALIZED_NAMES_H_
#define INMEM_SCHEMA_NORMALIZED_NAMES_H_

#include <string>

#include "include/inmem_namespace.h"

inline bool NormalizedNamesEqual(const std::string& a, const std::string& b) {
  return TInmemNamespace::NormalizeName(a) == TInmemNamespace::NormalizeName(b);
}

inline bool NormalizedNameLess(const std::string& a, const std::string& b) {
  return TInmemNamespace::NormalizeName(a) < TInmemNamespace::NormalizeName(b);
}

#endif  // INMEM_SCHEMA_NORMALIZED_NAMES_H_
