// TQualifierSet: the qualifiers of one named element (a class, or a property,
// method or parameter declaration), keyed by normalised name.
//
// The four kinds of element share every rule but two, and those two are
// stated per kind in one TQualifierRules value:
//   - what happens when a qualifier arrives over a held one whose flavor does
//     not enable override (EHeldQualifierRule), and
//   - how the two GetQualifier slots answer for an absent qualifier.
// A held qualifier whose flavor enables override is always replaced.

#ifndef INMEM_SCHEMA_QUALIFIER_SET_H_
#define INMEM_SCHEMA_QUALIFIER_SET_H_

#include <functional>
#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/callbacks.h"

class ICIMQualifier;
class TInmemQualifier;

// Over a held qualifier that may not be overridden, a new one of the same
// name is dropped when it equals the held one; when it differs:
enum class EHeldQualifierRule {
  // (classes) a different value is refused with status 28, unless the
  // element holds a "dontcollect" qualifier, which drops it silently;
  kRefuseOtherValueUnlessDontCollect,
  // (declarations) a different value or flavor is refused with status 28.
  kRefuseOtherValueOrFlavor,
};

struct TQualifierRules {
  EHeldQualifierRule held;
  // False: the lookup with a found flag is not offered (throws status 1).
  bool lookupWithFlag;
  // True: the lookup without a flag throws status 15 for an absent
  // qualifier; false: it returns an empty pointer.
  bool absentLookupThrows;
};

class TQualifierSet {
 public:
  // Keyed by normalised name; looked up by any string view of one.
  typedef std::map<std::string, boost::shared_ptr<TInmemQualifier>, std::less<>> TMap;

  // Adds `qualifier` under its normalised name by the rules above. Throws
  // status 25 for an invalid name and 28 for a refused conflict.
  void Add(const boost::shared_ptr<TInmemQualifier>& qualifier, EHeldQualifierRule rule);

  // The qualifier held under normalised `name`, or an empty pointer.
  boost::shared_ptr<TInmemQualifier> Find(const std::string& name) const;

  // The two lookup slots of a named element, answering by `rules`.
  boost::shared_ptr<const ICIMQualifier> Lookup(const std::string& name, bool& found,
                                                const TQualifierRules& rules) const;
  boost::shared_ptr<const ICIMQualifier> Lookup(const std::string& name,
                                                const TQualifierRules& rules) const;

  // Calls `callback` in name order until it returns false.
  void Enumerate(const TQualifierCallback& callback) const;

  const TMap& Map() const { return qualifiers_; }
  // Inserts `qualifier` under `key` unless the key is taken.
  void InsertIfAbsent(const std::string& key, const boost::shared_ptr<TInmemQualifier>& qualifier);

 private:
  TMap qualifiers_;
};

// True when `qualifier` is present, not null, boolean and true: the test for
// KEY, ABSTRACT and ASSOCIATION.
bool IsTrueQualifier(const boost::shared_ptr<const ICIMQualifier>& qualifier);

#endif  // INMEM_SCHEMA_QUALIFIER_SET_H_
