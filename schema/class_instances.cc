// TInmemClass: filing instances, with the index of the references they hold,
// and finding the ones that may point at an instance.

#include "include/inmem_instance.h"
#include "schema/inmem_class.h"

namespace {

TInmemInstance* AsInmem(const boost::shared_ptr<ICIMInstance>& instance) {
  return dynamic_cast<TInmemInstance*>(instance.get());
}

// The text of the path `instance` is filed under.
std::string ElementPathText(ICIMInstance& instance, TInmemInstance* inmem) {
  return inmem != nullptr ? inmem->ElementPathText()
                          : instance.GetElementReference(TContext()).GetPath();
}

}  // namespace

void TInmemClass::AddInstance(boost::shared_ptr<ICIMInstance> instance, TContext) {
  TInmemInstance* inmem = AsInmem(instance);
  // A second instance under a path already taken is not filed; the first stays.
  auto filed = instances.emplace(ElementPathText(*instance, inmem), instance);
  if (!filed.second) return;
  instancesByPath.Insert(filed.first);
  if (inmem != nullptr) {
    inmem->NoteFiled(this, &filed.first->first);
    // Referrers of one target hold one path: at a million associations that
    // is a third of their memory.
    inmem->SharePaths([this](const TCIMReference& path) { return referrers.HeldPathLike(path); });
  }
  referrers.Add(filed.first, inmem);
}

void TInmemClass::RemoveInstance(boost::shared_ptr<ICIMInstance> instance, TContext) {
  // Whatever is filed under the instance's path now goes, even when that is
  // another instance.
  const std::string path = ElementPathText(*instance, AsInmem(instance));
  const TReferrerIndex::TEntry* byPath = instancesByPath.Find(path);
  if (byPath == nullptr) return;
  const TReferrerIndex::TEntry filed = *byPath;
  TInmemInstance* inmem = AsInmem(filed->second);
  referrers.Remove(filed, inmem);
  if (inmem != nullptr) inmem->NoteUnfiled(this, &filed->first);
  instancesByPath.Erase(path);
  DropEntry(filed);
}

void TInmemClass::DropEntry(TReferrerIndex::TEntry entry) {
  if (activeWalks == 0) {
    instances.erase(entry);
    return;
  }
  droppedDuringWalks.push_back(instances.extract(entry));
  droppedDuringWalks.back().mapped().reset();
}

boost::shared_ptr<ICIMInstance> TInmemClass::FindInstance(const TCIMReference& path,
                                                          TContext) const {
  const TReferrerIndex::TEntry* filed = instancesByPath.Find(path.PathText());
  return filed == nullptr ? boost::shared_ptr<ICIMInstance>() : (*filed)->second;
}

void TInmemClass::ClearClassInstances() {
  for (const auto& entry : instances) {
    TInmemInstance* inmem = AsInmem(entry.second);
    if (inmem != nullptr) inmem->NoteUnfiled(this, &entry.first);
  }
  referrers.Clear();
  instancesByPath.Clear();
  while (!instances.empty()) DropEntry(instances.begin());
}

void TInmemClass::EnumerateReferrers(const TInmemInstance& target,
                                     const TInstanceCallback& callback) {
  if (CorrectsProcessors()) {
    EnumerateInstances(callback, false, TContext());
    return;
  }
  referrers.Prefetch(target);
  // Callbacks may file, drop or change instances as they like; the walk
  // finds its next candidate after the last one's key, which stays valid
  // while the walk runs (see droppedDuringWalks).
  struct TActiveWalk {
    explicit TActiveWalk(TInmemClass* cls) : cls(cls) { ++cls->activeWalks; }
    ~TActiveWalk() {
      // Only a write drops instances: readers walking side by side find the
      // list empty and leave it alone.
      if (cls->activeWalks.fetch_sub(1) == 1 && !cls->droppedDuringWalks.empty()) cls->droppedDuringWalks.clear();
    }
    TInmemClass* cls;
  } active(this);
  TReferrerIndex::TWalk walk(target);
  for (;;) {
    TReferrerIndex::TEntry next = referrers.Next(&walk, instances.end());
    if (next == instances.end()) return;
    boost::shared_ptr<ICIMInstance> candidate = next->second;
    callback(candidate);  // the result does not stop the walk
  }
}

void TInmemClass::ForgetReferrer(const std::string& key, const TInmemInstance& instance) {
  const TReferrerIndex::TEntry* filed = instancesByPath.Find(key);
  if (filed != nullptr) referrers.Remove(*filed, &instance);
}

void TInmemClass::NoteReferrer(const std::string& key, const TInmemInstance& instance) {
  const TReferrerIndex::TEntry* filed = instancesByPath.Find(key);
  if (filed != nullptr) referrers.Add(*filed, &instance);
}
