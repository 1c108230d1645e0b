// TPropertyLayout: built from a class's declaration enumeration.

#include "schema/property_layout.h"

#include <algorithm>

#include <boost/make_shared.hpp>

#include "core/ascii.h"
#include "include/inmem_namespace.h"

std::vector<TPropertyLayout::TSlot>::const_iterator TPropertyLayout::LowerBound(
    const std::vector<TSlot>& slots, const std::string& name) {
  return std::lower_bound(slots.begin(), slots.end(), name,
                          [](const TSlot& slot, const std::string& n) { return slot.name < n; });
}

boost::shared_ptr<const TPropertyLayout> TPropertyLayout::Of(ICIMClass& cls) {
  auto layout = boost::make_shared<TPropertyLayout>();
  cls.EnumeratePropertyDecls(
      [&layout](boost::shared_ptr<ICIMPropertyDecl> decl) { return layout->InsertProp(decl); },
      TContext());
  return layout;
}

bool TPropertyLayout::InsertProp(boost::shared_ptr<ICIMPropertyDecl> decl) {
  std::string name = TInmemNamespace::NormalizeName(decl->GetName(TContext()));
  auto at = LowerBound(slots_, name);
  // The first of two declarations that normalise alike keeps its place.
  if (at == slots_.end() || at->name != name) {
    const bool isReference = decl->GetType(TContext()) == kCIMTypeReference;
    slots_.insert(at, TSlot{std::move(name), decl, isReference});
    hasReferences_ = hasReferences_ || isReference;
  }
  return true;
}

size_t TPropertyLayout::Find(const std::string& normalisedName) const {
  auto at = LowerBound(slots_, normalisedName);
  if (at == slots_.end() || at->name != normalisedName) return kAbsent;
  return static_cast<size_t>(at - slots_.begin());
}

size_t TPropertyLayout::FindAnyCase(std::string_view name) const {
  auto at = std::lower_bound(slots_.begin(), slots_.end(), name,
                             [](const TSlot& slot, std::string_view n) {
                               return LessFoldingAscii(slot.name, n);
                             });
  if (at == slots_.end() || !EqualsFoldingAscii(at->name, name)) return kAbsent;
  return static_cast<size_t>(at - slots_.begin());
}
