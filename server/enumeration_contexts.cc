// TEnumerationContexts: a map of open enumerations by identifier.

#include "server/enumeration_contexts.h"

#include <cstdio>

std::optional<std::string> TEnumerationContexts::Open(TEnumeration enumeration,
                                                      TClock::time_point now) {
  DropExpired(now);
  if (open_.size() >= maxOpen_) return std::nullopt;
  char id[40];
  std::snprintf(id, sizeof id, "%08x%08x%08x%08x", random_(), random_(), random_(), random_());
  enumeration.expires = now + enumeration.timeout;
  open_[id] = std::move(enumeration);
  return std::string(id);
}

TEnumeration* TEnumerationContexts::Find(const std::string& id, TClock::time_point now) {
  auto it = open_.find(id);
  if (it == open_.end()) return nullptr;
  if (it->second.expires <= now) {
    open_.erase(it);
    return nullptr;
  }
  it->second.expires = now + it->second.timeout;
  return &it->second;
}

void TEnumerationContexts::DropExpired(TClock::time_point now) {
  for (auto it = open_.begin(); it != open_.end();) {
    it = it->second.expires <= now ? open_.erase(it) : std::next(it);
  }
}
