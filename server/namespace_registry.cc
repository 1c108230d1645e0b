// TNamespaceRegistry: a map by folded name, mirrored in the core's
// namespace directory.

#include "server/namespace_registry.h"

#include <stdexcept>

#include "core/ascii.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"

namespace {

bool IsIdentifierStart(char c) { return IsAsciiLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80; }
bool IsIdentifierChar(char c) { return IsIdentifierStart(c) || IsAsciiDigit(c); }

}  // namespace

TNamespaceRegistry::TNamespaceRegistry(TFactory newNamespace) : factory_(std::move(newNamespace)) {}

TNamespaceRegistry::~TNamespaceRegistry() {
  for (const auto& entry : byKey_) TNamespaceDirectory::Unregister(entry.first, entry.second.ns.get());
}

bool TNamespaceRegistry::IsValidName(std::string_view name) {
  if (name.empty()) return false;
  bool start = true;
  for (char c : name) {
    if (c == '/') {
      if (start) return false;  // an empty component
      start = true;
    } else if (start ? IsIdentifierStart(c) : IsIdentifierChar(c)) {
      start = false;
    } else {
      return false;
    }
  }
  return !start;
}

const TNamespaceRegistry::TEntry* TNamespaceRegistry::Find(std::string_view name) const {
  auto it = byKey_.find(TNamespaceDirectory::Key(name));
  return it == byKey_.end() ? nullptr : &it->second;
}

const TNamespaceRegistry::TEntry* TNamespaceRegistry::FindByRepository(const ICIMNamespace* ns) const {
  for (const auto& entry : byKey_) {
    if (entry.second.ns.get() == ns) return &entry.second;
  }
  return nullptr;
}

std::vector<const TNamespaceRegistry::TEntry*> TNamespaceRegistry::Entries() const {
  std::vector<const TEntry*> entries;
  for (const auto& entry : byKey_) entries.push_back(&entry.second);
  return entries;
}

const TNamespaceRegistry::TEntry& TNamespaceRegistry::Add(const std::string& name,
                                                          boost::shared_ptr<ICIMNamespace> ns,
                                                          std::shared_ptr<TSchemaNotes> notes) {
  std::string_view trimmed = name;
  while (!trimmed.empty() && trimmed.front() == '/') trimmed.remove_prefix(1);
  while (!trimmed.empty() && trimmed.back() == '/') trimmed.remove_suffix(1);
  if (!IsValidName(trimmed)) {
    throw std::invalid_argument("not a namespace name: " + Printable(name) +
                                " (names are identifiers joined by '/')");
  }
  const std::string key = TNamespaceDirectory::Key(trimmed);
  if (byKey_.count(key) != 0) throw std::invalid_argument("namespace " + Printable(name) + " is there already");
  TEntry& entry = byKey_[key];
  entry.name = std::string(trimmed);
  entry.ns = std::move(ns);
  entry.notes = notes ? std::move(notes) : std::make_shared<TSchemaNotes>();
  TNamespaceDirectory::Register(key, entry.ns);
  Changed();
  return entry;
}

bool TNamespaceRegistry::Remove(std::string_view name) {
  auto it = byKey_.find(TNamespaceDirectory::Key(name));
  if (it == byKey_.end()) return false;
  TNamespaceDirectory::Unregister(it->first, it->second.ns.get());
  byKey_.erase(it);
  Changed();
  return true;
}

void TNamespaceRegistry::Replace(std::string_view name, boost::shared_ptr<ICIMNamespace> ns,
                                 std::shared_ptr<TSchemaNotes> notes) {
  auto it = byKey_.find(TNamespaceDirectory::Key(name));
  if (it == byKey_.end()) throw std::invalid_argument("no namespace " + Printable(std::string(name)));
  it->second.ns = std::move(ns);
  it->second.notes = notes ? std::move(notes) : std::make_shared<TSchemaNotes>();
  TNamespaceDirectory::Register(it->first, it->second.ns);
  Changed();
}

void TNamespaceRegistry::Changed() {
  for (const auto& observer : observers_) observer();
}
