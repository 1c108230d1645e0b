// TPathTable: a class's instance map entries, found by their path text in
// constant time.
//
// The ordered instance map keeps path order for enumerations; this table
// answers lookups by path without walking it. It is an open-addressing hash
// table whose slots hold each entry's hash beside the entry itself (16
// bytes a slot), so that growing the table never reads the texts again (at
// a million instances those reads are a cache miss each).
//
// Invariant: every entry held is a live element of the instance map, filed
// under its own key; an entry is erased before its map element goes.

#ifndef INMEM_SCHEMA_PATH_TABLE_H_
#define INMEM_SCHEMA_PATH_TABLE_H_

#include <cstddef>
#include <string>
#include <string_view>

#include <absl/container/flat_hash_set.h>

#include "schema/path_hash.h"
#include "schema/referrer_index.h"

class TPathTable {
 public:
  typedef TReferrerIndex::TEntry TEntry;

  // Files `entry` under its key; false (and nothing changes) when an entry
  // with that text is filed already.
  bool Insert(TEntry entry);
  // The entry filed under `pathText`, or nullptr.
  const TEntry* Find(std::string_view pathText) const;
  // Drops the entry filed under `pathText`, if any.
  void Erase(std::string_view pathText);
  void Clear() { table_.clear(); }

 private:
  struct TSlot {
    size_t hash;
    TEntry entry;  // filed under the text entry->first
  };
  struct THash {
    typedef void is_transparent;
    size_t operator()(const TSlot& slot) const { return slot.hash; }
    size_t operator()(std::string_view text) const { return HashPathText(text); }
  };
  struct TEqual {
    typedef void is_transparent;
    bool operator()(const TSlot& a, const TSlot& b) const {
      return a.hash == b.hash && a.entry->first == b.entry->first;
    }
    bool operator()(const TSlot& a, std::string_view b) const { return a.entry->first == b; }
    bool operator()(std::string_view a, const TSlot& b) const { return a == b.entry->first; }
  };

  absl::flat_hash_set<TSlot, THash, TEqual> table_;
};

#endif  // INMEM_SCHEMA_PATH_TABLE_H_
