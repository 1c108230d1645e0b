// TInmemClass: filing instances, with the index of the references they hold,
// and finding the ones that may point at an instance.

#include "include/inmem_instance.h"
#include "schema/inmem_class.h"

namespace {

TInmemInstance* AsInmem(const boost::shared_ptr<ICIMInstance>& instance) {
  return dynamic_cast<TInmemInstance*>(instance.get());
}

}  // namespace

void TInmemClass::AddInstance(boost::shared_ptr<ICIMInstance> instance, TContext) {
  // A second instance under a path already taken is not filed; the first stays.
  auto filed = instances.emplace(instance->GetElementReference(TContext()).PathText(), instance);
  if (!filed.second) return;
  instancesByPath.Insert(filed.first);
  TInmemInstance* inmem = AsInmem(instance);
  if (inmem != nullptr) inmem->NoteFiled(this, &filed.first->first);
  referrers.Add(filed.first, inmem);
}

void TInmemClass::RemoveInstance(boost::shared_ptr<ICIMInstance> instance, TContext) {
  // Whatever is filed under the instance's path now goes, even when that is
  // another instance.
  const TCIMReference path = instance->GetElementReference(TContext());
  const TReferrerIndex::TEntry* byPath = instancesByPath.Find(path.PathText());
  if (byPath == nullptr) return;
  const TReferrerIndex::TEntry filed = *byPath;
  TInmemInstance* inmem = AsInmem(filed->second);
  referrers.Remove(filed, inmem);
  if (inmem != nullptr) inmem->NoteUnfiled(this, &filed->first);
  instancesByPath.Erase(path.PathText());
  instances.erase(filed);
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
  instances.clear();
}

void TInmemClass::EnumerateReferrers(const TInmemInstance& target,
                                     const TInstanceCallback& callback) {
  if (CorrectsProcessors()) {
    EnumerateInstances(callback, false, TContext());
    return;
  }
  // The next candidate is looked up afresh after each callback, which may
  // file, drop or change instances as it likes.
  std::string last;
  const std::string* after = nullptr;
  for (;;) {
    TReferrerIndex::TEntry next = referrers.Next(target, after, instances.end());
    if (next == instances.end()) return;
    last = next->first;
    after = &last;
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
