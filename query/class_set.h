// TClassSet: a class and all its subclasses, for the questions a query asks
// of every instance: is this instance's class (or the class a reference
// names) that class or one derived from it?
//
// The set is taken from the schema when it is made, and kept both as class
// objects (held, so that they stay comparable by address) and as names, so
// that the common answers are a lookup. A class the snapshot does not hold
// (a subclass defined later, a class object replaced since) is asked
// through the schema (ICIMClass::IsSubclassOf), so the answers stay right
// when the schema grows; only Names() is the snapshot's.
//
// Immutable once made; the lookups read the schema and change nothing, so a
// set may be shared between threads that may read the schema.

#ifndef INMEM_QUERY_CLASS_SET_H_
#define INMEM_QUERY_CLASS_SET_H_

#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "include/cim_class.h"

class TClassSet {
 public:
  explicit TClassSet(const boost::shared_ptr<ICIMClass>& top);

  // Whether `cls` is the top class or derives from it.
  bool Contains(ICIMClass& cls) const;
  // Whether the class `path` names is the top class or derives from it:
  // by name, else through the class the path resolves to; false when it
  // resolves to none.
  bool ContainsClassOf(const TCIMReference& path) const;

  const boost::shared_ptr<ICIMClass>& Top() const { return top_; }
  // The names of the classes in the snapshot as the schema spells them, the
  // top class first, each class before its subclasses.
  const std::vector<std::string>& Names() const { return names_; }

 private:
  boost::shared_ptr<ICIMClass> top_;
  // Held so that the addresses below stay those of live classes.
  std::vector<boost::shared_ptr<ICIMClass>> classes_;
  // Sorted, for binary search.
  std::vector<const ICIMClass*> addresses_;
  std::vector<std::string> names_;
  // The names folded to lower case, sorted.
  std::vector<std::string> foldedNames_;
};

#endif  // INMEM_QUERY_CLASS_SET_H_
