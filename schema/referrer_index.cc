// TReferrerIndex: filing, forgetting and finding the instances that may
// point at an instance.

#include "schema/referrer_index.h"

#include "include/inmem_instance.h"
#include "include/inmem_namespace.h"
#include "schema/inmem_class.h"

namespace {

// Whether `path` resolves by text in this repository: through one of its
// namespaces, and naming a class of it when it names one by object.
bool ResolvesByText(const TCIMReference& path) {
  boost::shared_ptr<ICIMNamespace> ns = path.GetNamespace();
  if (ns && dynamic_cast<TInmemNamespace*>(ns.get()) == nullptr) return false;
  boost::shared_ptr<ICIMClass> cls = path.GetClass();
  return !cls || dynamic_cast<TInmemClass*>(cls.get()) != nullptr;
}

}  // namespace

void TReferrerIndex::Add(TEntry entry, const TInmemInstance* instance) {
  bool byText = instance != nullptr;
  if (byText) {
    byText = instance->VisitReferencePaths([&](const TCIMReference& path) {
      if (ResolvesByText(path)) {
        byReferencedPath_[Hash(path.PathText())].insert(entry);
      } else {
        byText = false;
      }
    });
  }
  if (!byText) alwaysVisited_.insert(entry);
}

void TReferrerIndex::Remove(TEntry entry, const TInmemInstance* instance) {
  alwaysVisited_.erase(entry);
  if (instance == nullptr) return;
  instance->VisitReferencePaths([&](const TCIMReference& path) {
    auto found = byReferencedPath_.find(Hash(path.PathText()));
    if (found == byReferencedPath_.end()) return;
    found->second.erase(entry);
    if (found->second.empty()) byReferencedPath_.erase(found);
  });
}

void TReferrerIndex::Clear() {
  byReferencedPath_.clear();
  alwaysVisited_.clear();
}

void TReferrerIndex::TakeEarlier(const TEntrySet& entries, const std::string* after, TEntry end,
                                 TEntry* best) {
  auto next = after == nullptr ? entries.begin() : entries.upper_bound(*after);
  if (next == entries.end()) return;
  if (*best == end || (*next)->first < (*best)->first) *best = *next;
}

TReferrerIndex::TEntry TReferrerIndex::Next(const TInmemInstance& target, const std::string* after,
                                            TEntry end) const {
  TEntry best = end;
  target.ForEachFiling([&](const TInmemInstance::TFiling& filing) {
    auto found = byReferencedPath_.find(Hash(*filing.key));
    if (found != byReferencedPath_.end()) TakeEarlier(found->second, after, end, &best);
  });
  TakeEarlier(alwaysVisited_, after, end, &best);
  return best;
}
