#include "query/parsed_query.h"

#include <charconv>
#include <cmath>

#include "core/ascii.h"
#include "query/like_pattern.h"
#include "query/query_error.h"
#include "query/query_lexer.h"
#include "query/query_limits.h"

const char* CompareOpText(ECompareOp op) {
  switch (op) {
    case ECompareOp::kEqual:
      return "=";
    case ECompareOp::kNotEqual:
      return "<>";
    case ECompareOp::kLess:
      return "<";
    case ECompareOp::kLessOrEqual:
      return "<=";
    case ECompareOp::kGreater:
      return ">";
    case ECompareOp::kGreaterOrEqual:
      return ">=";
  }
  return "=";
}

namespace {

// Words that are never names. Reserved in every language, so that one
// query means the same wherever a keyword could stand.
const char* const kKeywords[] = {"SELECT", "FROM", "WHERE", "AND",  "OR",   "NOT",   "IS",    "NULL",
                                 "LIKE",   "ISA",  "TRUE",  "FALSE", "AS",  "ANY",  "EVERY"};

bool IsKeyword(std::string_view word) {
  for (const char* keyword : kKeywords) {
    if (EqualsFoldingAscii(word, keyword)) return true;
  }
  return false;
}

// The operator a comparison reads the same with its sides swapped.
ECompareOp Mirrored(ECompareOp op) {
  switch (op) {
    case ECompareOp::kLess:
      return ECompareOp::kGreater;
    case ECompareOp::kLessOrEqual:
      return ECompareOp::kGreaterOrEqual;
    case ECompareOp::kGreater:
      return ECompareOp::kLess;
    case ECompareOp::kGreaterOrEqual:
      return ECompareOp::kLessOrEqual;
    default:
      return op;
  }
}

}  // namespace

// Recursive descent over the tokens of one query. The recursion goes one
// level down for each parenthesis and NOT, and stops at kMaxQueryNesting.
class TQueryParser {
 public:
  TQueryParser(EQueryLanguage language, std::string_view text) : lexer_(language, text) {
    query_.language_ = language;
    query_.text_ = std::string(text);
  }

  TParsedQuery Run() {
    Advance();
    if (query_.language_ == EQueryLanguage::kFql) {
      ParseOr(0);
    } else {
      ParseSelect();
    }
    if (token_.kind != EQueryToken::kEnd) {
      FailExpected(query_.language_ == EQueryLanguage::kFql || query_.HasCondition()
                       ? "AND, OR or the end of the query"
                       : "WHERE or the end of the query");
    }
    return std::move(query_);
  }

 private:
  EQueryLanguage Language() const { return query_.language_; }

  void Advance() { token_ = lexer_.Next(); }

  [[noreturn]] void Fail(size_t position, const std::string& detail) const {
    throw TQueryError(EQueryErrorKind::kSyntax, position, detail);
  }
  [[noreturn]] void FailExpected(const std::string& what) const {
    Fail(token_.position, "expected " + what + ", found " + QuotedForMessage(token_.text));
  }

  bool AtKeyword(const char* word) const {
    return token_.kind == EQueryToken::kName && EqualsFoldingAscii(token_.text, word);
  }
  bool AtSymbol(std::string_view symbol) const {
    return token_.kind == EQueryToken::kSymbol && token_.text == symbol;
  }
  bool TakeKeyword(const char* word) {
    if (!AtKeyword(word)) return false;
    Advance();
    return true;
  }
  bool TakeSymbol(std::string_view symbol) {
    if (!AtSymbol(symbol)) return false;
    Advance();
    return true;
  }
  void ExpectKeyword(const char* word) {
    if (!TakeKeyword(word)) FailExpected(word);
  }
  // A name that is no keyword; `what` says what it names.
  std::string ExpectName(const char* what) {
    if (token_.kind != EQueryToken::kName || IsKeyword(token_.text)) FailExpected(what);
    std::string name(token_.text);
    Advance();
    return name;
  }

  // SELECT list FROM class [[AS] alias] [WHERE condition]
  void ParseSelect() {
    ExpectKeyword("SELECT");
    struct TQualified {
      std::string qualifier;
      size_t position;
    };
    std::vector<TQualified> qualifiers;
    if (TakeSymbol("*")) {
      query_.selectsAll_ = true;
    } else {
      query_.selectsAll_ = false;
      do {
        if (query_.selected_.size() == kMaxSelectedProperties) {
          throw TQueryError(EQueryErrorKind::kLimit, token_.position,
                            "more than " + std::to_string(kMaxSelectedProperties) + " selected properties");
        }
        const size_t position = token_.position;
        std::string name = ExpectName(Language() == EQueryLanguage::kCql ? "a property name or *"
                                                                          : "a property name");
        if (Language() == EQueryLanguage::kCql && AtSymbol(".")) {
          // CQL names a property through its class or the class's alias.
          Advance();
          qualifiers.push_back({name, position});
          if (TakeSymbol("*")) {
            query_.selectsAll_ = true;
            continue;
          }
          const size_t namePosition = token_.position;
          query_.selected_.push_back({ExpectName("a property name or *"), namePosition});
        } else {
          query_.selected_.push_back({std::move(name), position});
        }
      } while (TakeSymbol(","));
      if (query_.selectsAll_) query_.selected_.clear();
    }
    ExpectKeyword("FROM");
    query_.fromPosition_ = token_.position;
    query_.fromClass_ = ExpectName("a class name");
    if (Language() == EQueryLanguage::kCql) {
      const bool as = TakeKeyword("AS");
      if (as || (token_.kind == EQueryToken::kName && !IsKeyword(token_.text))) {
        query_.alias_ = ExpectName("an alias for the class");
      }
    }
    for (const TQualified& q : qualifiers) {
      if (!NamesFromClass(q.qualifier)) {
        Fail(q.position, "expected the class name or its alias, found " + QuotedForMessage(q.qualifier));
      }
    }
    if (TakeKeyword("WHERE")) ParseOr(0);
  }

  // Whether CQL text `name` names the FROM class: its alias, or its name.
  bool NamesFromClass(std::string_view name) const {
    return (!query_.alias_.empty() && EqualsFoldingAscii(name, query_.alias_)) ||
           EqualsFoldingAscii(name, query_.fromClass_);
  }

  size_t Add(TQueryCondition condition) {
    query_.conditions_.push_back(std::move(condition));
    return query_.conditions_.size() - 1;
  }

  // A chain of `operand`s joined by `keyword` becomes one node of `kind`.
  template <typename ParseOperand>
  size_t ParseChain(const char* keyword, TQueryCondition::EKind kind, size_t depth, ParseOperand operand) {
    const size_t position = token_.position;
    const size_t first = operand(depth);
    if (!AtKeyword(keyword)) return first;
    TQueryCondition chain;
    chain.kind = kind;
    chain.position = position;
    chain.children.push_back(first);
    while (TakeKeyword(keyword)) chain.children.push_back(operand(depth));
    return Add(std::move(chain));
  }

  size_t ParseOr(size_t depth) {
    return ParseChain("OR", TQueryCondition::EKind::kOr, depth, [this](size_t d) { return ParseAnd(d); });
  }

  size_t ParseAnd(size_t depth) {
    return ParseChain("AND", TQueryCondition::EKind::kAnd, depth, [this](size_t d) { return ParseUnary(d); });
  }

  void Deeper(size_t depth) const {
    if (depth + 1 > kMaxQueryNesting) {
      throw TQueryError(EQueryErrorKind::kLimit, token_.position,
                        "parentheses and NOT nested deeper than " + std::to_string(kMaxQueryNesting) + " levels");
    }
  }

  // NOT unary | ( or ) | predicate
  size_t ParseUnary(size_t depth) {
    if (AtKeyword("NOT")) {
      Deeper(depth);
      TQueryCondition negation;
      negation.kind = TQueryCondition::EKind::kNot;
      negation.position = token_.position;
      Advance();
      negation.children.push_back(ParseUnary(depth + 1));
      return Add(std::move(negation));
    }
    if (AtSymbol("(")) {
      Deeper(depth);
      Advance();
      const size_t inner = ParseOr(depth + 1);
      if (!TakeSymbol(")")) FailExpected("AND, OR or ')'");
      return inner;
    }
    return ParsePredicate();
  }

  // What may follow the left side of a condition, for messages.
  std::string PredicateOperators() const {
    switch (Language()) {
      case EQueryLanguage::kWql:
        return "=, <>, !=, <, <=, >, >=, IS, LIKE or ISA";
      case EQueryLanguage::kCql:
        return "=, <>, <, <=, >, >=, IS, LIKE or ISA";
      case EQueryLanguage::kFql:
        break;
    }
    return "=, <>, <, <=, >, >= or LIKE";
  }

  bool TakeCompareOp(ECompareOp* op) {
    if (token_.kind != EQueryToken::kSymbol) return false;
    struct TOp {
      const char* text;
      ECompareOp op;
    };
    static const TOp kOps[] = {{"=", ECompareOp::kEqual},       {"<>", ECompareOp::kNotEqual},
                               {"!=", ECompareOp::kNotEqual},   {"<", ECompareOp::kLess},
                               {"<=", ECompareOp::kLessOrEqual}, {">", ECompareOp::kGreater},
                               {">=", ECompareOp::kGreaterOrEqual}};
    for (const TOp& known : kOps) {
      if (token_.text != known.text) continue;
      // != is WQL's alone; the others write <>.
      if (token_.text == "!=" && Language() != EQueryLanguage::kWql) return false;
      *op = known.op;
      Advance();
      return true;
    }
    return false;
  }

  size_t ParsePredicate() {
    if (++terms_ > kMaxQueryTerms) {
      throw TQueryError(EQueryErrorKind::kLimit, token_.position,
                        "more than " + std::to_string(kMaxQueryTerms) + " conditions");
    }
    TQueryCondition condition;
    condition.position = token_.position;
    if (Language() == EQueryLanguage::kFql && (AtKeyword("ANY") || AtKeyword("EVERY"))) {
      condition.quantifier = AtKeyword("ANY") ? EQuantifier::kAny : EQuantifier::kEvery;
      Advance();
      const char* quantifier = condition.quantifier == EQuantifier::kAny ? "ANY" : "EVERY";
      condition.left = ParseOperand();
      if (condition.left.kind != TQueryOperand::EKind::kProperty) {
        Fail(condition.left.position, std::string("expected an array property after ") + quantifier +
                                          ", found " + QuotedForMessage(condition.left.written));
      }
    } else {
      condition.left = ParseOperand();
    }
    condition.opPosition = token_.position;
    const bool instance = condition.left.kind == TQueryOperand::EKind::kInstance;
    if (AtKeyword("ISA") && Language() != EQueryLanguage::kFql && condition.quantifier == EQuantifier::kNone) {
      Advance();
      ExpectNotLiteral(condition.left, "ISA");
      condition.kind = TQueryCondition::EKind::kIsa;
      condition.argumentPosition = token_.position;
      if (token_.kind == EQueryToken::kString) {
        condition.argument = token_.value;
        Advance();
      } else {
        condition.argument = ExpectName("a class name");
      }
      return Add(std::move(condition));
    }
    if (instance) FailExpected("ISA");
    if (AtKeyword("IS") && Language() != EQueryLanguage::kFql && condition.quantifier == EQuantifier::kNone) {
      Advance();
      ExpectNotLiteral(condition.left, "IS");
      condition.kind = TQueryCondition::EKind::kIsNull;
      condition.negated = TakeKeyword("NOT");
      ExpectKeyword("NULL");
      return Add(std::move(condition));
    }
    const bool notLike = AtKeyword("NOT");
    if (notLike) Advance();
    if (AtKeyword("LIKE")) {
      Advance();
      ExpectNotLiteral(condition.left, "LIKE");
      condition.kind = TQueryCondition::EKind::kLike;
      condition.negated = notLike;
      condition.argumentPosition = token_.position;
      if (token_.kind != EQueryToken::kString) FailExpected("a pattern in quotes");
      condition.argument = token_.value;
      // A pattern that does not read is the text's fault: refused here, with
      // the rest of the syntax, and compiled again by Bind.
      TLikePattern(PatternSyntax(Language()), condition.argument, condition.argumentPosition);
      Advance();
      return Add(std::move(condition));
    }
    if (notLike) FailExpected("LIKE");
    condition.kind = TQueryCondition::EKind::kCompare;
    if (!TakeCompareOp(&condition.op)) FailExpected(PredicateOperators());
    condition.right = ParseOperand();
    if (condition.right.kind == TQueryOperand::EKind::kInstance) {
      Fail(condition.right.position, "expected a property name or a value, found " +
                                         QuotedForMessage(condition.right.written));
    }
    const bool leftLiteral = condition.left.kind == TQueryOperand::EKind::kLiteral;
    const bool rightLiteral = condition.right.kind == TQueryOperand::EKind::kLiteral;
    if (leftLiteral && rightLiteral) {
      Fail(condition.right.position,
           "expected a property name, found " + QuotedForMessage(condition.right.written));
    }
    if (leftLiteral) {
      std::swap(condition.left, condition.right);
      condition.op = Mirrored(condition.op);
    }
    if (condition.quantifier != EQuantifier::kNone && condition.right.kind != TQueryOperand::EKind::kLiteral) {
      Fail(condition.right.position, "expected a value to compare the elements with, found " +
                                         QuotedForMessage(condition.right.written));
    }
    return NullTest(std::move(condition));
  }

  // A comparison with the literal NULL: in WQL and FQL, = NULL and <> NULL
  // test for null; every other use, and any in CQL (which writes IS NULL),
  // is refused, since it could only ever be unknown.
  size_t NullTest(TQueryCondition condition) {
    if (condition.right.kind != TQueryOperand::EKind::kLiteral ||
        condition.right.literal.kind != TQueryLiteral::EKind::kNull) {
      return Add(std::move(condition));
    }
    const bool equality = condition.op == ECompareOp::kEqual || condition.op == ECompareOp::kNotEqual;
    if (Language() == EQueryLanguage::kCql) {
      Fail(condition.right.position,
           "expected a value (a test for null is written IS NULL or IS NOT NULL), found 'NULL'");
    }
    if (!equality) {
      Fail(condition.opPosition, std::string("expected = or <> before NULL, found ") +
                                     QuotedForMessage(CompareOpText(condition.op)));
    }
    condition.kind = TQueryCondition::EKind::kIsNull;
    condition.negated = condition.op == ECompareOp::kNotEqual;
    condition.right = TQueryOperand();
    return Add(std::move(condition));
  }

  void ExpectNotLiteral(const TQueryOperand& operand, const char* before) const {
    if (operand.kind == TQueryOperand::EKind::kLiteral) {
      Fail(operand.position, std::string("expected a property name before ") + before + ", found " +
                                 QuotedForMessage(operand.written));
    }
  }

  TQueryOperand ParseOperand() {
    TQueryOperand operand;
    operand.position = token_.position;
    operand.written = std::string(token_.text);
    switch (token_.kind) {
      case EQueryToken::kInteger:
      case EQueryToken::kReal:
        operand.literal = NumberLiteral();
        Advance();
        return operand;
      case EQueryToken::kString:
        operand.literal.kind = TQueryLiteral::EKind::kString;
        operand.literal.text = token_.value;
        Advance();
        return operand;
      case EQueryToken::kName:
        break;
      default:
        FailExpected("a property name or a value");
    }
    if (AtKeyword("TRUE") || AtKeyword("FALSE")) {
      operand.literal.kind = TQueryLiteral::EKind::kBoolean;
      operand.literal.boolean = AtKeyword("TRUE");
      Advance();
      return operand;
    }
    if (TakeKeyword("NULL")) return operand;
    if (Language() == EQueryLanguage::kWql && EqualsFoldingAscii(token_.text, "__THIS")) {
      operand.kind = TQueryOperand::EKind::kInstance;
      Advance();
      return operand;
    }
    std::string name = ExpectName("a property name or a value");
    if (Language() == EQueryLanguage::kCql && NamesFromClass(name)) {
      if (!TakeSymbol(".")) {
        operand.kind = TQueryOperand::EKind::kInstance;
        return operand;
      }
      operand.position = token_.position;
      name = ExpectName("a property name");
    }
    operand.kind = TQueryOperand::EKind::kProperty;
    operand.name = std::move(name);
    operand.written = operand.name;
    if (Language() != EQueryLanguage::kFql && TakeSymbol(".")) {
      operand.memberPosition = token_.position;
      operand.member = ExpectName("a property name");
      operand.written += "." + operand.member;
    }
    if (Language() != EQueryLanguage::kWql && AtSymbol("[")) {
      Advance();
      if (token_.kind != EQueryToken::kInteger || token_.text[0] == '-' || token_.text[0] == '+') {
        FailExpected("an array index");
      }
      const TQueryLiteral index = NumberLiteral();
      if (index.magnitude > kMaxArrayIndex) {
        throw TQueryError(EQueryErrorKind::kLimit, token_.position,
                          "an array index above " + std::to_string(kMaxArrayIndex));
      }
      operand.indexed = true;
      operand.index = static_cast<size_t>(index.magnitude);
      Advance();
      if (!TakeSymbol("]")) FailExpected("']'");
    }
    return operand;
  }

  // The literal of the number token at hand.
  TQueryLiteral NumberLiteral() const {
    TQueryLiteral literal;
    std::string_view text = token_.text;
    if (token_.kind == EQueryToken::kReal) {
      literal.kind = TQueryLiteral::EKind::kReal;
      // from_chars reads no leading '+'.
      if (text[0] == '+') text.remove_prefix(1);
      auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), literal.real);
      if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(literal.real)) {
        Fail(token_.position, "the number " + QuotedForMessage(token_.text) + " is out of range");
      }
      return literal;
    }
    literal.kind = TQueryLiteral::EKind::kInteger;
    literal.negative = text[0] == '-';
    if (text[0] == '-' || text[0] == '+') text.remove_prefix(1);
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
      base = 16;
      text.remove_prefix(2);
    }
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), literal.magnitude, base);
    const uint64_t mostNegative = uint64_t{1} << 63;
    if (error != std::errc() || end != text.data() + text.size() ||
        (literal.negative && literal.magnitude > mostNegative)) {
      Fail(token_.position, "the number " + QuotedForMessage(token_.text) + " is out of range");
    }
    if (literal.magnitude == 0) literal.negative = false;
    return literal;
  }

  TQueryLexer lexer_;
  TQueryToken token_;
  TParsedQuery query_;
  size_t terms_ = 0;
};

TParsedQuery TParsedQuery::Parse(EQueryLanguage language, std::string_view text) {
  if (text.size() > kMaxQueryLength) {
    throw TQueryError(EQueryErrorKind::kLimit, kMaxQueryLength + 1,
                      "a query longer than " + std::to_string(kMaxQueryLength) + " bytes");
  }
  return TQueryParser(language, text).Run();
}

TParsedQuery TParsedQuery::Parse(std::string_view languageName, std::string_view text) {
  EQueryLanguage language;
  if (!QueryLanguageNamed(languageName, &language)) {
    throw TQueryError(EQueryErrorKind::kUnknownLanguage, 0,
                      "the query language " + QuotedForMessage(languageName) +
                          " is not supported (WQL, DMTF:CQL and DMTF:FQL are)");
  }
  return Parse(language, text);
}
