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
// Invariants: slots are in ascending order of name with no name twice; a
// layout never changes once built (a class builds a new one when its
// declarations change), and it holds its declarations, so an instance's
// properties keep theirs for as long as the instance lives.

#ifndef INMEM_SCHEMA_PROPERTY_LAYOUT_H_
#define INMEM_SCHEMA_PROPERTY_LAYOUT_H_

#include <cstddef>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

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
  const boost::shared_ptr<ICIMPropertyDecl>& Decl(size_t slot) const { return slots_[slot].decl; }
  // The slot named `normalisedName`, or kAbsent.
  size_t Find(const std::string& normalisedName) const;

 private:
  struct TSlot {
    std::string name;
    boost::shared_ptr<ICIMPropertyDecl> decl;
  };

  // Adds the slot of one declaration unless a slot has its normalised name.
  // Always true: the enumeration goes over every declaration.
  bool InsertProp(boost::shared_ptr<ICIMPropertyDecl> decl);
  // The first slot whose name is not before `name`.
  static std::vector<TSlot>::const_iterator LowerBound(const std::vector<TSlot>& slots,
                                                       const std::string& name);

  std::vector<TSlot> slots_;
};

#endif  // INMEM_SCHEMA_PROPERTY_LAYOUT_H_
