// TPropertyLayout: which properties the instances of a class hold, and in
// what order, as the class's property declarations stood at one moment.
//
// An instance holds one property per declaration, under the declaration's
// normalised name; of two declarations that normalise alike, the first one
// the class enumerates keeps the name. Every instance built from the same
// declarations gets the same names in the same order, so the names are
// kept once here and an instance keeps only its property values, in slot
// order, beside a pointer to its layout.
//
// A layout refers to its declarations weakly, as the properties built from
// it do: the class owns its declarations, and one that leaves the class (is
// removed or replaced) goes as soon as the host lets go of it, even while
// instances built before the change live on. Their properties then no longer
// reach it, and using one is a programming fault. The layout a class keeps
// for new instances is rebuilt whenever its declarations change, so every
// declaration it names is alive while it is current.
//
// Invariants: slots are in ascending order of name with no name twice; a
// layout never changes once built. Whether a slot's declaration is of
// reference type is kept with the slot; a declaration's type changes only
// with its default value, which counts as a schema change, so a current
// layout's flags are right.

#ifndef INMEM_SCHEMA_PROPERTY_LAYOUT_H_
#define INMEM_SCHEMA_PROPERTY_LAYOUT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_property_decl.h"

class TPropertyLayout {
 public:
  static const size_t kAbsent = static_cast<size_t>(-1);

  // The layout of `cls`'s declarations as its EnumeratePropertyDecls gives
  // them now. Throws what normalising a declaration's name throws.
  static boost::shared_ptr<const TPropertyLayout> Of(ICIMClass& cls);

  size_t size() const { return slots_.size(); }
  const std::string& Name(size_t slot) const { return slots_[slot].name; }
  const boost::weak_ptr<const ICIMPropertyDecl>& Decl(size_t slot) const {
    return slots_[slot].decl;
  }
  bool IsReference(size_t slot) const { return slots_[slot].isReference; }
  // Whether some slot is of reference type.
  bool HasReferences() const { return hasReferences_; }
  // The slot named `normalisedName`, or kAbsent.
  size_t Find(const std::string& normalisedName) const;
  // The slot whose name equals `name` in any letter case, or kAbsent; the
  // same as Find(NormalizeName(name)) for a valid name, without the copy.
  // An invalid name is never found.
  size_t FindAnyCase(std::string_view name) const;

 private:
  struct TSlot {
    std::string name;
    boost::weak_ptr<const ICIMPropertyDecl> decl;
    bool isReference;
  };

  // Adds the slot of one declaration unless a slot has its normalised name.
  // Always true: the enumeration goes over every declaration.
  bool InsertProp(boost::shared_ptr<ICIMPropertyDecl> decl);
  // The first slot whose name is not before `name`.
  static std::vector<TSlot>::const_iterator LowerBound(const std::vector<TSlot>& slots,
                                                       const std::string& name);

  std::vector<TSlot> slots_;
  bool hasReferences_ = false;
};

#endif  // INMEM_SCHEMA_PROPERTY_LAYOUT_H_
