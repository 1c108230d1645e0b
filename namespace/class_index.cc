// TClassIndex: hashing names without regard to letter case, and lookups.

#include "namespace/class_index.h"

#include <cstdint>

#include "core/ascii.h"

size_t TClassIndex::TFoldedHash::operator()(std::string_view name) const {
  // FNV-1a over the folded bytes; the table mixes the result further.
  uint64_t hash = 14695981039346656037ull;
  for (char c : name) hash = (hash ^ static_cast<unsigned char>(ToLowerAscii(c))) * 1099511628211ull;
  return static_cast<size_t>(hash);
}

bool TClassIndex::TFoldedEqual::operator()(std::string_view a, std::string_view b) const {
  return EqualsFoldingAscii(a, b);
}

TClassIndex::TClassIndex(const TClassMap& classes) {
  byName_.reserve(classes.size());
  for (const auto& entry : classes) Add(entry);
}

void TClassIndex::Add(const TClassMap::value_type& entry) {
  byName_.emplace(std::string_view(entry.first), &entry.second);
}

const boost::shared_ptr<TInmemClass>* TClassIndex::Find(std::string_view name) const {
  auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : it->second;
}
