// TInmemElementGroup: recording classes and tearing them down.

#include "namespace/element_group.h"

#include <algorithm>

#include "schema/inmem_class.h"

TInmemElementGroup::~TInmemElementGroup() {
  for (const boost::weak_ptr<TInmemClass>& recorded : classes_) {
    // Clearing one class may free others; those are skipped when reached.
    boost::shared_ptr<TInmemClass> cls = recorded.lock();
    if (!cls) continue;
    cls->ClearClassInstances();
    cls->ClearAssociationClasses();
  }
}

void TInmemElementGroup::Record(const boost::shared_ptr<TInmemClass>& cls) {
  if (classes_.size() == classes_.capacity()) {
    // Classes allocated and dropped without being entered leave expired
    // entries: they go before the vector grows, and it grows only when at
    // least half of it is still alive, so that a record stays cheap.
    classes_.erase(std::remove_if(classes_.begin(), classes_.end(),
                                  [](const boost::weak_ptr<TInmemClass>& c) { return c.expired(); }),
                   classes_.end());
    if (classes_.size() * 2 >= classes_.capacity()) classes_.reserve(2 * classes_.capacity() + 8);
  }
  classes_.push_back(cls);
}
