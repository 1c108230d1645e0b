// TClassIndex: a namespace's entered classes found by name, in any letter
// case, in constant time and without making a normalised copy of the name.
//
// The namespace keeps its classes in an ordered map (its enumerations and
// copies go by that order); this index points at the map's entries, so
// that the lookups every instance path and reference resolution makes need
// not walk the map.
//
// Invariants: every entry points at the value of the owning namespace's
// map entry filed under the same normalised name, and that entry lives as
// long as the index (classes are never removed from a namespace). Only
// valid CIM names are entered, and letters are the only characters that
// compare alike in two cases, so a name found here is a valid name; a name
// not found may be invalid, which the caller learns by normalising it.

#ifndef INMEM_NAMESPACE_CLASS_INDEX_H_
#define INMEM_NAMESPACE_CLASS_INDEX_H_

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include <absl/container/flat_hash_map.h>
#include <boost/shared_ptr.hpp>

class TInmemClass;

class TClassIndex {
 public:
  typedef std::map<std::string, boost::shared_ptr<TInmemClass>> TClassMap;

  // An index of every entry of `classes`.
  explicit TClassIndex(const TClassMap& classes);

  // Indexes `entry`, an element of the map the index was made from.
  void Add(const TClassMap::value_type& entry);
  // The class entered under `name` in any letter case, or nullptr.
  const boost::shared_ptr<TInmemClass>* Find(std::string_view name) const;

 private:
  // ASCII letters compared and hashed as lower case, everything else as it is.
  struct TFoldedHash {
    typedef void is_transparent;
    size_t operator()(std::string_view name) const;
  };
  struct TFoldedEqual {
    typedef void is_transparent;
    bool operator()(std::string_view a, std::string_view b) const;
  };

  absl::flat_hash_map<std::string_view, const boost::shared_ptr<TInmemClass>*, TFoldedHash,
                      TFoldedEqual>
      byName_;
};

#endif  // INMEM_NAMESPACE_CLASS_INDEX_H_
