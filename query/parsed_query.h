// TParsedQuery: a query as read from its text, before it meets a schema.
//
// Parse reads WQL, CQL or FQL text (docs/query.md has each grammar) into a
// SELECT list, a FROM class and a condition tree, and refuses text that does
// not read as the language, or that is past the bounds of query_limits.h,
// with a TQueryError that says where and what was expected. Nothing is looked
// up: whether the class and the properties exist, and whether each literal
// fits its property, is Bind's work (bound_query.h).
//
// The condition is a tree held in one vector: each node names its children
// by index, and every child comes before its parent, so the root is the last
// node. AND and OR nodes hold all the operands of a chain (a AND b AND c is
// one node), so the tree is only as deep as the text nests parentheses and
// NOTs, which Parse bounds.
//
// A parsed query is a value: immutable once made, safe to read from several
// threads at once, and cheap to bind again to another namespace.

#ifndef INMEM_QUERY_PARSED_QUERY_H_
#define INMEM_QUERY_PARSED_QUERY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "query/query_language.h"

enum class ECompareOp { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual };

// The operator as a query writes it ("<>" for kNotEqual).
const char* CompareOpText(ECompareOp op);

// A constant written in the query. Integers keep their sign and magnitude
// apart, so that every value from -2^63 to 2^64-1 is held exactly.
struct TQueryLiteral {
  enum class EKind { kNull, kBoolean, kInteger, kReal, kString };
  EKind kind = EKind::kNull;
  bool boolean = false;
  bool negative = false;
  uint64_t magnitude = 0;
  double real = 0;
  std::string text;
};

// One side of a condition: a property (with an array index when one was
// written), a literal, or the instance itself (WQL's __THIS, CQL's class
// name or alias), which only ISA takes. A property may name a member of the
// instance the property embeds (WQL and CQL: SourceInstance.Name, as
// indication filters write), a member being a property of that instance.
struct TQueryOperand {
  enum class EKind { kProperty, kLiteral, kInstance };
  EKind kind = EKind::kLiteral;
  size_t position = 0;
  std::string name;
  // The embedded instance's property, when one was named, and where.
  std::string member;
  size_t memberPosition = 0;
  bool indexed = false;
  size_t index = 0;
  TQueryLiteral literal;
  // The operand as written, for messages.
  std::string written;
};

enum class EQuantifier { kNone, kAny, kEvery };

struct TQueryCondition {
  enum class EKind { kAnd, kOr, kNot, kCompare, kIsNull, kLike, kIsa };
  EKind kind = EKind::kCompare;
  // Where the condition starts in the text.
  size_t position = 0;
  // kAnd, kOr: two or more operands; kNot: one.
  std::vector<size_t> children;
  // kCompare, kLike: FQL's ANY or EVERY before an array property.
  EQuantifier quantifier = EQuantifier::kNone;
  ECompareOp op = ECompareOp::kEqual;
  size_t opPosition = 0;
  // IS NOT NULL, NOT LIKE.
  bool negated = false;
  // kCompare: both sides; kIsNull, kLike, kIsa: `left` alone. A literal is
  // on the right whenever one side is a literal (5 < P is read as P > 5).
  TQueryOperand left;
  TQueryOperand right;
  // kLike: the pattern; kIsa: the class name.
  std::string argument;
  size_t argumentPosition = 0;
};

class TParsedQuery {
 public:
  struct TSelected {
    std::string name;
    size_t position;
  };

  // Reads `text` as `language`; throws TQueryError (kSyntax, kLimit).
  static TParsedQuery Parse(EQueryLanguage language, std::string_view text);
  // The same for a language named as clients name it; an unknown name
  // throws TQueryError of kind kUnknownLanguage.
  static TParsedQuery Parse(std::string_view languageName, std::string_view text);

  EQueryLanguage Language() const { return language_; }
  const std::string& Text() const { return text_; }

  // The FROM class as written, and where (WQL, CQL; empty for FQL, which
  // filters whatever class it is bound to).
  const std::string& FromClass() const { return fromClass_; }
  size_t FromPosition() const { return fromPosition_; }
  // CQL's alias of the FROM class; empty when none was given.
  const std::string& Alias() const { return alias_; }
  // SELECT * (and always for FQL), or the names listed, in their order.
  bool SelectsAll() const { return selectsAll_; }
  const std::vector<TSelected>& Selected() const { return selected_; }

  // The condition tree; empty when the query has no condition.
  const std::vector<TQueryCondition>& Conditions() const { return conditions_; }
  bool HasCondition() const { return !conditions_.empty(); }
  size_t Root() const { return conditions_.size() - 1; }

 private:
  friend class TQueryParser;
  TParsedQuery() = default;

  EQueryLanguage language_ = EQueryLanguage::kWql;
  std::string text_;
  std::string fromClass_;
  size_t fromPosition_ = 0;
  std::string alias_;
  bool selectsAll_ = true;
  std::vector<TSelected> selected_;
  std::vector<TQueryCondition> conditions_;
};

#endif  // INMEM_QUERY_PARSED_QUERY_H_
