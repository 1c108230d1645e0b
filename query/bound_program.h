// TBoundProgram: what Bind makes of a query and Evaluate runs. Internal to
// the query library (bound_query.h is the interface).
//
// The condition becomes a list of steps over a stack of truth values, in
// the order a post-order walk of the condition tree visits it: kTest pushes
// the value of one test (a comparison, IS NULL, LIKE, ISA), kNot changes the
// top, kAnd and kOr combine the top two. Before each further operand of an
// AND (OR), kSkipIfFalse (kSkipIfTrue) jumps past the rest of the chain when
// the top already decides it, leaving that value as the chain's. Running the
// steps needs no recursion, and at most `stackDepth` values, which the
// parser's nesting bound limits (kStackCapacity).
//
// Immutable once Bind has made it.

#ifndef INMEM_QUERY_BOUND_PROGRAM_H_
#define INMEM_QUERY_BOUND_PROGRAM_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "query/class_set.h"
#include "query/like_pattern.h"
#include "query/parsed_query.h"
#include "query/query_limits.h"
#include "query/scalar.h"

// Every AND/OR level of the condition tree adds at most one value to the
// stack, and each parenthesis level holds at most an OR of ANDs.
constexpr size_t kStackCapacity = 2 * kMaxQueryNesting + 4;

struct TBoundOperand {
  // kMember: a property of the instance that the property `name` embeds;
  // kEmbedded: that instance itself (what ISA tests). The embedded
  // instance's class is known only when the condition runs, so a member's
  // type is too: its values compare as they come (scalar.h), and a literal
  // keeps the type it was written with.
  enum class EKind : uint8_t { kProperty, kLiteral, kInstance, kMember, kEmbedded };
  EKind kind = EKind::kLiteral;
  // kProperty, kMember, kEmbedded: the name as declared, and whether the
  // declaration is an array; with an index, the element it names.
  std::string name;
  // kMember: the member's name as written.
  std::string member;
  bool isArray = false;
  bool indexed = false;
  size_t index = 0;
  // kLiteral: the value; a string's or a path's text is `text`, which the
  // scalar is pointed at when used (so that copies of the program never
  // point into each other).
  TScalar literal;
  std::string text;
};

struct TBoundTest {
  TQueryCondition::EKind kind = TQueryCondition::EKind::kCompare;
  EQuantifier quantifier = EQuantifier::kNone;
  ECompareOp op = ECompareOp::kEqual;
  bool negated = false;
  TBoundOperand left;
  TBoundOperand right;
  // kLike: index into `patterns`; kIsa: into `classSets`, or for an
  // embedded instance into `classNames`.
  size_t argument = 0;
};

struct TBoundStep {
  enum class EOp : uint8_t { kTest, kNot, kAnd, kOr, kSkipIfFalse, kSkipIfTrue };
  EOp op;
  // kTest: the test's index; kSkip*: the step to go on from.
  uint32_t arg;
};

struct TBoundProgram {
  EQueryLanguage language = EQueryLanguage::kWql;
  std::string text;
  boost::shared_ptr<ICIMClass> fromClass;
  std::string fromClassName;
  TClassSet matchable;
  bool selectsAll = true;
  std::vector<std::string> selected;
  std::vector<TBoundTest> tests;
  std::vector<TLikePattern> patterns;
  std::vector<TClassSet> classSets;
  // The classes ISA names for embedded instances: these live in other
  // namespaces, so they are matched by name along the instance's ancestry.
  std::vector<std::string> classNames;
  // Per property that embeds instances (lower case): the classes one of
  // which the embedded instance must be (or derive from) for the condition
  // to hold, when the condition says so; none when it does not.
  std::map<std::string, std::vector<std::string>> embeddedClasses;
  std::vector<TBoundStep> steps;
  size_t stackDepth = 0;

  explicit TBoundProgram(const boost::shared_ptr<ICIMClass>& from) : fromClass(from), matchable(from) {}
};

#endif  // INMEM_QUERY_BOUND_PROGRAM_H_
