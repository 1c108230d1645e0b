// TPathTable: hashing and the table operations.

#include "schema/path_table.h"

bool TPathTable::Insert(TEntry entry) {
  return table_.insert(TSlot{HashPathText(entry->first), entry}).second;
}

const TPathTable::TEntry* TPathTable::Find(std::string_view pathText) const {
  auto it = table_.find(pathText);
  return it == table_.end() ? nullptr : &it->entry;
}

void TPathTable::Erase(std::string_view pathText) {
  auto it = table_.find(pathText);
  if (it != table_.end()) table_.erase(it);
}
