// The hash of an instance path text, for the tables that find instances and
// their referrers by path.

#ifndef INMEM_SCHEMA_PATH_HASH_H_
#define INMEM_SCHEMA_PATH_HASH_H_

#include <cstddef>
#include <string_view>

#include <absl/hash/hash.h>

inline size_t HashPathText(std::string_view text) { return absl::Hash<std::string_view>()(text); }

#endif  // INMEM_SCHEMA_PATH_HASH_H_
