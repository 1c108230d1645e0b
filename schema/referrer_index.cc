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
  ++version_;
  bool byText = instance != nullptr;
  if (byText) {
    byText = instance->VisitReferencePaths([&](const TCIMReference& path) {
      if (ResolvesByText(path)) {
        byReferencedPath_[HashPathText(path.PathText())].insert(entry);
      } else {
        byText = false;
      }
    });
  }
  if (!byText) alwaysVisited_.insert(entry);
}

const TCIMReference* TReferrerIndex::HeldPathLike(const TCIMReference& path) const {
  auto found = byReferencedPath_.find(HashPathText(path.PathText()));
  if (found == byReferencedPath_.end()) return nullptr;
  // Only the repository's own instances are filed by the text of their
  // references.
  const auto* holder = static_cast<const TInmemInstance*>((*found->second.begin())->second.get());
  const TCIMReference* same = nullptr;
  holder->VisitReferencePaths([&](const TCIMReference& held) {
    if (same == nullptr && held.SameInEveryPart(path)) same = &held;
  });
  return same;
}

void TReferrerIndex::Remove(TEntry entry, const TInmemInstance* instance) {
  ++version_;
  alwaysVisited_.erase(entry);
  if (instance == nullptr) return;
  instance->VisitReferencePaths([&](const TCIMReference& path) {
    auto found = byReferencedPath_.find(HashPathText(path.PathText()));
    if (found == byReferencedPath_.end()) return;
    found->second.erase(entry);
    if (found->second.empty()) byReferencedPath_.erase(found);
  });
}

void TReferrerIndex::Clear() {
  ++version_;
  byReferencedPath_.clear();
  alwaysVisited_.clear();
}

void TReferrerIndex::TakeEarlier(const TEntrySet& entries, const std::string* after, TEntry end,
                                 TEntry* best) {
  auto next = after == nullptr ? entries.begin() : entries.upper_bound(*after);
  if (next == entries.end()) return;
  if (*best == end || (*next)->first < (*best)->first) *best = *next;
}

TReferrerIndex::TEntry TReferrerIndex::Search(const TInmemInstance& target,
                                              const std::string* after, TEntry end) const {
  TEntry best = end;
  target.ForEachFiling([&](const TInmemInstance::TFiling& filing) {
    auto found = byReferencedPath_.find(HashPathText(*filing.key));
    if (found != byReferencedPath_.end()) TakeEarlier(found->second, after, end, &best);
  });
  TakeEarlier(alwaysVisited_, after, end, &best);
  return best;
}

TReferrerIndex::TEntry TReferrerIndex::Next(TWalk* walk, TEntry end) const {
  if (walk->set_ != nullptr && walk->version_ == version_ &&
      walk->filingVersion_ == walk->target_.FilingVersion()) {
    // Nothing has changed: the next entry is the next of the same set.
    if (++walk->at_ == walk->set_->end()) {
      walk->set_ = nullptr;
      return end;
    }
    walk->after_ = &(*walk->at_)->first;
    return *walk->at_;
  }
  walk->set_ = nullptr;
  const TInmemInstance::TFiling* only = walk->target_.OnlyFiling();
  if (only == nullptr || !alwaysVisited_.empty()) {
    TEntry next = Search(walk->target_, walk->after_, end);
    if (next != end) walk->after_ = &next->first;
    return next;
  }
  // A target filed in one place, and nothing visited always: one set holds
  // every candidate.
  auto found = byReferencedPath_.find(HashPathText(*only->key));
  if (found == byReferencedPath_.end()) return end;
  const TEntrySet& set = found->second;
  auto at = walk->after_ == nullptr ? set.begin() : set.upper_bound(*walk->after_);
  if (at == set.end()) return end;
  walk->set_ = &set;
  walk->at_ = at;
  walk->version_ = version_;
  walk->filingVersion_ = walk->target_.FilingVersion();
  walk->after_ = &(*at)->first;
  return *at;
}

void TReferrerIndex::Prefetch(const TInmemInstance& target) const {
  // Enough entries for a walk of common degree; a longer walk finds the
  // rest as it goes. Each step below issues the loads for all entries
  // before the next step reads what they load.
  TEntry entries[32];
  size_t count = 0;
  target.ForEachFiling([&](const TInmemInstance::TFiling& filing) {
    auto found = byReferencedPath_.find(HashPathText(*filing.key));
    if (found == byReferencedPath_.end()) return;
    for (auto it = found->second.begin(); it != found->second.end() && count < 32; ++it) {
      entries[count++] = *it;
      __builtin_prefetch(&**it);
    }
  });
  const TInmemInstance* instances[32];
  for (size_t i = 0; i < count; ++i) {
    __builtin_prefetch(entries[i]->first.data());
    // Only the repository's own instances are filed by the paths they
    // hold (see Add), so each of these is one.
    instances[i] = static_cast<const TInmemInstance*>(entries[i]->second.get());
  }
  TInmemInstance::PrefetchForWalk(instances, count);
}
