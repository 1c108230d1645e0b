#include "query/class_set.h"

#include <algorithm>

#include "core/ascii.h"
#include "core/collected.h"

namespace {

const TContext kNone;

std::string Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) c = ToLowerAscii(c);
  return folded;
}

}  // namespace

TClassSet::TClassSet(const boost::shared_ptr<ICIMClass>& top) : top_(top) {
  classes_.push_back(top);
  for (boost::shared_ptr<ICIMClass>& sub : Collected<ICIMClass>([&](const TClassCallback& callback) {
         top->EnumerateSubclasses(callback, true, kNone);
       })) {
    classes_.push_back(std::move(sub));
  }
  for (const boost::shared_ptr<ICIMClass>& cls : classes_) {
    addresses_.push_back(cls.get());
    names_.push_back(cls->GetName(kNone));
    foldedNames_.push_back(Folded(names_.back()));
  }
  std::sort(addresses_.begin(), addresses_.end());
  std::sort(foldedNames_.begin(), foldedNames_.end());
}

bool TClassSet::Contains(ICIMClass& cls) const {
  if (&cls == top_.get() || std::binary_search(addresses_.begin(), addresses_.end(), &cls)) return true;
  return cls.IsSubclassOf(top_, kNone);
}

bool TClassSet::ContainsClassOf(const TCIMReference& path) const {
  const std::string& name = path.GetClassName();
  auto at = std::lower_bound(foldedNames_.begin(), foldedNames_.end(), name,
                             [](const std::string& folded, const std::string& n) {
                               return LessFoldingAscii(folded, n);
                             });
  if (at != foldedNames_.end() && EqualsFoldingAscii(*at, name)) return true;
  boost::shared_ptr<ICIMClass> cls = path.GetClass();
  return cls && Contains(*cls);
}
