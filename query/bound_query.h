// TBoundQuery: a parsed query checked against one namespace, ready to be
// evaluated against instance after instance.
//
// Bind looks up what the text names and refuses, with a TQueryError of kind
// kSchema at the place in the text, whatever does not fit:
//   - the FROM class (for FQL: the class given to Bind, the one the
//     enumeration walks) must exist; the query then matches instances of it
//     and of its subclasses;
//   - every property named, in the SELECT list or the condition, must be
//     declared by that class (its own or inherited). A property only a
//     subclass declares is refused even beside an ISA that narrows to the
//     subclass: such a query is written FROM the subclass;
//   - the class after ISA must exist; ISA takes the instance itself (WQL's
//     __THIS, CQL's class name or alias) or a scalar reference property, and
//     is true when the instance's class, or the class the reference names,
//     is that class or derives from it;
//   - a property that embeds instances (a string qualified EmbeddedObject
//     or EmbeddedInstance, as an indication's SourceInstance) may be
//     looked into, in WQL and CQL: SourceInstance ISA CIM_Disk tests the
//     embedded instance's class by name along its ancestry (the class need
//     not exist in the namespace bound to: it lives where the instance
//     does), and SourceInstance.Size names the embedded instance's
//     property, whose type is known only when the condition runs. Such a
//     member compares with what it meets as values do (scalar.h), a literal
//     with the type it was written with; a member the embedded instance
//     lacks is unknown, as a null is;
//   - comparisons: a side that is a property fixes the type the other side
//     must have. Integers of every width and sign and reals compare with
//     integer and real literals and properties, by value; strings with
//     strings; char16 with char16 or a one-character string; booleans with
//     TRUE, FALSE and booleans; datetimes with datetimes or a string holding
//     a 25-character CIM datetime (read at Bind, a timestamp compared as a
//     point in time, an interval as a length); references with references
//     or a string holding an object path (read at Bind, compared by
//     canonical path text, so letter case of names and order of keys do not
//     matter). Any other pairing, a string literal against a number for
//     one, is refused, never quietly false. Booleans and references take
//     only = and <> (and WQL's !=);
//   - LIKE takes a string property and a string pattern (like_pattern.h:
//     WQL's wildcards, or a regular expression in CQL and FQL);
//   - an array property is compared element by element with FQL's ANY
//     (true when some element satisfies the comparison) or EVERY (when
//     all do; true for an empty array), or one element is named with an
//     index, P[0] (CQL, FQL), an index past the end being a null element.
//     A whole array is never compared; IS NULL tests the whole array.
//
// Evaluation follows the rules of null in CIM: a comparison, LIKE or ISA
// with a null (a null value, element or reference, an index past the end) is
// unknown, as is a comparison of unordered values (a NaN, a timestamp
// against an interval); AND, OR and NOT work on true, false and unknown
// (false AND unknown is false, true OR unknown is true, NOT unknown is
// unknown), and an instance matches only when the condition is true. IS
// NULL (WQL and FQL also write = NULL) is never unknown. String comparisons
// and LIKE count letter case.
//
// The names in the text are resolved at Bind, so evaluating reads each
// property once per condition that names it, through the instance's own
// lookup, and allocates nothing. Evaluation never changes an instance, a
// class or the namespace: an instance of another class is answered false
// before any of its properties is read.
//
// Threads: a bound query holds no mutable state; copies share one immutable
// program. Evaluate, Matches and the other accessors may run on several
// threads at once, as far as the instances they read may be read so (the
// repository itself is used from one thread).

#ifndef INMEM_QUERY_BOUND_QUERY_H_
#define INMEM_QUERY_BOUND_QUERY_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/callbacks.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"
#include "query/parsed_query.h"
#include "query/query_error.h"

// The value of a condition under the rules of null.
enum class ETruth : uint8_t { kFalse, kTrue, kUnknown };

// The instances an object embeds in its properties (an indication's
// SourceInstance and PreviousInstance), for conditions that look inside
// them: SourceInstance ISA CIM_Disk, SourceInstance.Size > 0.
class IEmbeddedInstances {
 public:
  // The instance the property `name` (as its class declares it) embeds, or
  // nullptr when it embeds none.
  virtual ICIMInstance* Embedded(const std::string& name) const = 0;

 protected:
  ~IEmbeddedInstances() = default;
};

struct TBoundProgram;

class TBoundQuery {
 public:
  // Checks `query` against `ns` (see above); throws TQueryError of kind
  // kSchema. `filteredClass` is the class an FQL query filters, and is
  // required for FQL; WQL and CQL name their class in the text, and ignore
  // it.
  static TBoundQuery Bind(const TParsedQuery& query, const boost::shared_ptr<ICIMNamespace>& ns,
                          const std::string& filteredClass = std::string());
  // Parse and Bind in one step, for a request that names the language and
  // carries the text: what a server does with ExecQuery, OpenQueryInstances
  // or a pull operation's FilterQuery. Throws every kind of TQueryError.
  static TBoundQuery Prepare(std::string_view languageName, std::string_view text,
                             const boost::shared_ptr<ICIMNamespace>& ns,
                             const std::string& filteredClass = std::string());

  EQueryLanguage Language() const;
  const std::string& Text() const;

  // The class the query is about, and its name as the schema spells it.
  const boost::shared_ptr<ICIMClass>& FromClass() const;
  const std::string& FromClassName() const;
  // The classes whose instances can match: the FROM class and every
  // subclass it had at Bind, as the schema spells them, each class before
  // its subclasses. For an indication filter: which classes to listen to.
  const std::vector<std::string>& MatchableClassNames() const;
  // The classes the instance embedded in `property` (any letter case) must
  // be, or derive from one of, for the condition to hold, as far as the
  // condition says (SourceInstance ISA CIM_Disk AND ...); empty when it
  // does not constrain it. An indication filter skips changes of other
  // classes without making their indications.
  const std::vector<std::string>& EmbeddedClassesRequired(std::string_view property) const;
  // Whether instances of `cls` can match: it is the FROM class or derives
  // from it (asked of the schema now, so a subclass defined after Bind
  // counts).
  bool CanMatch(ICIMClass& cls) const;

  // The projection: SELECT * (always for FQL), or the properties named in
  // the SELECT list, as their declarations spell them, each once, in the
  // order first named.
  bool SelectsAll() const;
  const std::vector<std::string>& SelectedProperties() const;
  // Whether an answer carries the property `name` (any letter case).
  bool Selects(std::string_view name) const;

  // Whether the query has a condition at all (no WHERE: every instance of
  // the class matches).
  bool HasCondition() const;

  // The condition on `instance`: kFalse for an instance whose class is not
  // the FROM class or one of its subclasses; kTrue for any other when there
  // is no condition. Throws only what the instance's own property lookup
  // throws.
  // `embedded` gives the instances the instance's properties embed; without
  // it a condition on them is unknown.
  ETruth Evaluate(ICIMInstance& instance, const IEmbeddedInstances* embedded = nullptr) const;
  bool Matches(ICIMInstance& instance, const IEmbeddedInstances* embedded = nullptr) const {
    return Evaluate(instance, embedded) == ETruth::kTrue;
  }

  // Calls `callback` with each instance of the FROM class and its
  // subclasses that matches, in the order the class enumerates them. The
  // callback returning false skips the rest. The way to filter a whole
  // enumeration: it evaluates each instance without Evaluate's check of its
  // class, which the enumeration makes unnecessary.
  void EnumerateMatches(const TInstanceCallback& callback) const;

 private:
  explicit TBoundQuery(std::shared_ptr<const TBoundProgram> program) : program_(std::move(program)) {}

  // Evaluate for an instance known to be of the FROM class or a subclass.
  ETruth EvaluateCandidate(ICIMInstance& instance, const IEmbeddedInstances* embedded) const;

  std::shared_ptr<const TBoundProgram> program_;
};

#endif  // INMEM_QUERY_BOUND_QUERY_H_
