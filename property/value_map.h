// The value map of a property: the entries built from its "ValueMap" and
// "Values" qualifiers, which turn integer codes into text.
//
// An entry maps every number from `lower` to `upper` (inclusive) to `text`;
// an upper bound of kOpenUpperBound marks an open range ("lo.."). Entries are
// tried in order and the first that holds the number wins; a number that no
// entry holds gets the default text (from a ".." entry) when there is one.

#ifndef INMEM_PROPERTY_VALUE_MAP_H_
#define INMEM_PROPERTY_VALUE_MAP_H_

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

struct TValueMapEntry {
  uint64_t lower;
  uint64_t upper;
  std::string text;
};

constexpr uint64_t kOpenUpperBound = std::numeric_limits<uint64_t>::max();

typedef std::vector<TValueMapEntry> TValueMapEntries;

#endif  // INMEM_PROPERTY_VALUE_MAP_H_
