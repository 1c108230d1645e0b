// TPathTable: hashing and the table operations.

#include "schema/path_table.h"

bool TPathTable::Insert(TEntry entry) {
  const std::string& text = entry->first;
  return table_.emplace(TKey{HashPathText(text), &text}, entry).second;
}

const TPathTable::TEntry* TPathTable::Find(std::string_view pathText) const {
  auto it = table_.find(pathText);
  return it == table_.end() ? nullptr : &it->second;
}

void TPathTable::Erase(std::string_view pathText) {
  auto it = table_.find(pathText);
  if (it != table_.end()) table_.erase(it);
}
