// TBoundQuery::Bind: a parsed query checked against a namespace and
// compiled into a TBoundProgram.

#include <algorithm>

#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_property_decl.h"
#include "query/bound_program.h"
#include "query/bound_query.h"

namespace {

const TContext kNone;

// What a comparison's type allows, and how its values are written.
enum class ECategory { kNumber, kString, kChar16, kBoolean, kDateTime, kReference, kOther };

ECategory CategoryOf(ECIMType element) {
  if (IsUnsignedIntegerType(element) || IsSignedIntegerType(element) || IsRealType(element)) {
    return ECategory::kNumber;
  }
  switch (element) {
    case kCIMTypeString:
      return ECategory::kString;
    case kCIMTypeChar16:
      return ECategory::kChar16;
    case kCIMTypeBoolean:
      return ECategory::kBoolean;
    case kCIMTypeDateTime:
      return ECategory::kDateTime;
    case kCIMTypeReference:
      return ECategory::kReference;
    default:
      return ECategory::kOther;
  }
}

// A property of the FROM class as a condition uses it.
struct TPropertyUse {
  TBoundOperand operand;
  ECIMType element = kCIMTypeNone;
  // "uint32 property Count", for messages.
  std::string described;
};

class TQueryBinder {
 public:
  TQueryBinder(const TParsedQuery& query, const boost::shared_ptr<ICIMNamespace>& ns,
               const std::string& filteredClass)
      : query_(query), ns_(ns), program_(std::make_shared<TBoundProgram>(FindFromClass(filteredClass))) {}

  std::shared_ptr<const TBoundProgram> Run() {
    TBoundProgram& p = *program_;
    p.language = query_.Language();
    p.text = query_.Text();
    p.fromClassName = p.fromClass->GetName(kNone);
    p.selectsAll = query_.SelectsAll();
    for (const TParsedQuery::TSelected& selected : query_.Selected()) {
      const std::string name = Declaration(selected.name, selected.position)->GetName(kNone);
      auto same = [&name](const std::string& other) { return EqualsFoldingAscii(name, other); };
      if (std::none_of(p.selected.begin(), p.selected.end(), same)) p.selected.push_back(name);
    }
    if (query_.HasCondition()) {
      p.stackDepth = Compile(query_.Root());
      std::map<std::string, std::vector<std::string>> required;
      if (RequiredEmbeddedClasses(query_.Root(), &required)) p.embeddedClasses = std::move(required);
    }
    if (p.stackDepth > kStackCapacity) {
      throw TQueryError(EQueryErrorKind::kLimit, 0, "a condition nested too deeply to evaluate");
    }
    return program_;
  }

 private:
  [[noreturn]] void Fail(size_t position, const std::string& detail) const {
    throw TQueryError(EQueryErrorKind::kSchema, position, detail);
  }

  boost::shared_ptr<ICIMClass> FindClass(const std::string& name, size_t position) const {
    if (!name.empty()) {
      try {
        boost::shared_ptr<ICIMClass> cls = ns_->GetClass(name, kNone);
        if (cls) return cls;
      } catch (const TTYLException&) {
        // Reported below, the same for every way of not being there.
      }
    }
    Fail(position, "no class named " + QuotedForMessage(name) + " in the namespace");
  }

  boost::shared_ptr<ICIMClass> FindFromClass(const std::string& filteredClass) const {
    if (query_.Language() != EQueryLanguage::kFql) return FindClass(query_.FromClass(), query_.FromPosition());
    if (filteredClass.empty()) Fail(0, "a filter query is bound to the class it filters, and none was given");
    return FindClass(filteredClass, 0);
  }

  boost::shared_ptr<ICIMPropertyDecl> Declaration(const std::string& name, size_t position) const {
    try {
      boost::shared_ptr<ICIMPropertyDecl> decl = program_->fromClass->GetPropertyDecl(name, kNone);
      if (decl) return decl;
    } catch (const TTYLException&) {
      // Not declared, or no valid name: the same to the client.
    }
    Fail(position, "class " + program_->fromClassName + " has no property " + QuotedForMessage(name));
  }

  // What condition `index` needs of embedded instances' classes, into
  // *required (per property, the classes one of which it must be); false
  // when it needs nothing. ISA on an embedded instance needs its class; an
  // AND needs what any of its operands needs; an OR what every operand
  // needs, the classes of all; nothing else (a NOT among them) needs
  // anything. The recursion follows the condition tree, whose depth the
  // parser bounds.
  bool RequiredEmbeddedClasses(size_t index, std::map<std::string, std::vector<std::string>>* required) const {
    const TQueryCondition& condition = query_.Conditions()[index];
    switch (condition.kind) {
      case TQueryCondition::EKind::kIsa: {
        if (condition.left.kind != TQueryOperand::EKind::kProperty || !condition.left.member.empty()) return false;
        boost::shared_ptr<ICIMPropertyDecl> decl = program_->fromClass->GetPropertyDecl(condition.left.name, kNone);
        if (!EmbedsInstances(*decl)) return false;
        (*required)[LowerAscii(decl->GetName(kNone))] = {condition.argument};
        return true;
      }
      case TQueryCondition::EKind::kAnd:
        for (size_t child : condition.children) {
          std::map<std::string, std::vector<std::string>> one;
          if (RequiredEmbeddedClasses(child, &one)) {
            for (auto& entry : one) required->emplace(entry.first, std::move(entry.second));
          }
        }
        return !required->empty();
      case TQueryCondition::EKind::kOr: {
        std::map<std::string, std::vector<std::string>> all;
        for (size_t i = 0; i < condition.children.size(); ++i) {
          std::map<std::string, std::vector<std::string>> one;
          if (!RequiredEmbeddedClasses(condition.children[i], &one)) return false;
          if (i == 0) {
            all = std::move(one);
            continue;
          }
          // Only what every operand constrains is constrained, by any of
          // their classes.
          std::map<std::string, std::vector<std::string>> both;
          for (auto& entry : one) {
            auto known = all.find(entry.first);
            if (known == all.end()) continue;
            known->second.insert(known->second.end(), entry.second.begin(), entry.second.end());
            both.emplace(entry.first, std::move(known->second));
          }
          all = std::move(both);
          if (all.empty()) return false;
        }
        *required = std::move(all);
        return !required->empty();
      }
      default:
        return false;
    }
  }

  size_t Emit(TBoundStep::EOp op, size_t arg = 0) {
    program_->steps.push_back({op, static_cast<uint32_t>(arg)});
    return program_->steps.size() - 1;
  }

  // Emits the steps of condition `index`; returns the stack depth they need.
  // The recursion follows the condition tree, whose depth the parser bounds.
  size_t Compile(size_t index) {
    const TQueryCondition& condition = query_.Conditions()[index];
    switch (condition.kind) {
      case TQueryCondition::EKind::kAnd:
      case TQueryCondition::EKind::kOr: {
        const bool isAnd = condition.kind == TQueryCondition::EKind::kAnd;
        size_t depth = Compile(condition.children[0]);
        std::vector<size_t> skips;
        for (size_t i = 1; i < condition.children.size(); ++i) {
          skips.push_back(Emit(isAnd ? TBoundStep::EOp::kSkipIfFalse : TBoundStep::EOp::kSkipIfTrue));
          depth = std::max(depth, 1 + Compile(condition.children[i]));
          Emit(isAnd ? TBoundStep::EOp::kAnd : TBoundStep::EOp::kOr);
        }
        for (size_t skip : skips) program_->steps[skip].arg = static_cast<uint32_t>(program_->steps.size());
        return depth;
      }
      case TQueryCondition::EKind::kNot: {
        const size_t depth = Compile(condition.children[0]);
        Emit(TBoundStep::EOp::kNot);
        return depth;
      }
      default:
        program_->tests.push_back(BindTest(condition));
        Emit(TBoundStep::EOp::kTest, program_->tests.size() - 1);
        return 1;
    }
  }

  TBoundTest BindTest(const TQueryCondition& condition) {
    TBoundTest test;
    test.kind = condition.kind;
    test.quantifier = condition.quantifier;
    test.op = condition.op;
    test.negated = condition.negated;
    switch (condition.kind) {
      case TQueryCondition::EKind::kIsNull: {
        TPropertyUse use = Property(condition.left);
        test.left = std::move(use.operand);
        break;
      }
      case TQueryCondition::EKind::kLike: {
        TPropertyUse use = ScalarProperty(condition.left, condition.quantifier);
        if (use.element != kCIMTypeString && use.operand.kind != TBoundOperand::EKind::kMember) {
          Fail(condition.opPosition, "LIKE takes a string property, and " + use.described + " is none");
        }
        test.left = std::move(use.operand);
        program_->patterns.emplace_back(PatternSyntax(query_.Language()), condition.argument,
                                        condition.argumentPosition);
        test.argument = program_->patterns.size() - 1;
        break;
      }
      case TQueryCondition::EKind::kIsa: {
        if (condition.left.kind == TQueryOperand::EKind::kInstance) {
          test.left.kind = TBoundOperand::EKind::kInstance;
        } else if (condition.left.member.empty() && EmbedsInstances(*Declaration(condition.left.name,
                                                                                 condition.left.position))) {
          // The class is looked for where the embedded instance lives, by
          // name, when the condition runs.
          test.left = Property(condition.left).operand;
          test.left.kind = TBoundOperand::EKind::kEmbedded;
          program_->classNames.push_back(condition.argument);
          test.argument = program_->classNames.size() - 1;
          break;
        } else {
          TPropertyUse use = ScalarProperty(condition.left, EQuantifier::kNone);
          if (use.element != kCIMTypeReference) {
            Fail(condition.opPosition, "ISA takes the instance or a reference property, and " + use.described +
                                           " is none");
          }
          test.left = std::move(use.operand);
        }
        test.argument = ClassSetOf(FindClass(condition.argument, condition.argumentPosition));
        break;
      }
      default:
        BindComparison(condition, &test);
        break;
    }
    return test;
  }

  // The index of the set of `cls` and its subclasses, made once per class:
  // a set near the root of a large schema holds most of it, and a query may
  // name the same class in each of its conditions.
  size_t ClassSetOf(const boost::shared_ptr<ICIMClass>& cls) {
    std::vector<TClassSet>& sets = program_->classSets;
    for (size_t i = 0; i < sets.size(); ++i) {
      if (sets[i].Top() == cls) return i;
    }
    sets.emplace_back(cls);
    return sets.size() - 1;
  }

  void BindComparison(const TQueryCondition& condition, TBoundTest* test) {
    TPropertyUse left = ScalarProperty(condition.left, condition.quantifier);
    const bool rightProperty = condition.right.kind == TQueryOperand::EKind::kProperty;
    if (left.operand.kind == TBoundOperand::EKind::kMember ||
        (rightProperty && !condition.right.member.empty())) {
      // A member's type is known only when the condition runs: the values
      // compare as they come, a literal as written.
      test->left = std::move(left.operand);
      test->right = rightProperty ? ScalarProperty(condition.right, EQuantifier::kNone).operand
                                  : UntypedLiteral(condition.right);
      return;
    }
    const ECategory category = CategoryOf(left.element);
    const bool equality = condition.op == ECompareOp::kEqual || condition.op == ECompareOp::kNotEqual;
    if (!equality && (category == ECategory::kBoolean || category == ECategory::kReference)) {
      Fail(condition.opPosition, std::string("the operator ") + CompareOpText(condition.op) +
                                     " does not order the values of " + left.described +
                                     " (only = and <> compare them)");
    }
    if (category == ECategory::kOther) Fail(condition.left.position, left.described + " cannot be compared");
    test->left = std::move(left.operand);
    if (condition.right.kind == TQueryOperand::EKind::kProperty) {
      TPropertyUse right = ScalarProperty(condition.right, EQuantifier::kNone);
      if (CategoryOf(right.element) != category) {
        Fail(condition.right.position, "cannot compare " + left.described + " with " + right.described);
      }
      test->right = std::move(right.operand);
      return;
    }
    test->right = Literal(condition.right, category, left.described);
  }

  // Whether `decl` holds embedded instances: a string qualified
  // EmbeddedObject or EmbeddedInstance, as an indication's SourceInstance.
  static bool EmbedsInstances(const ICIMPropertyDecl& decl) {
    if (ElementTypeOf(decl.GetType(kNone)) != kCIMTypeString) return false;
    for (const char* qualifier : {"EmbeddedObject", "EmbeddedInstance"}) {
      bool found = false;
      try {
        decl.GetQualifier(qualifier, found, kNone);
      } catch (const TTYLException&) {
        found = false;
      }
      if (found) return true;
    }
    return false;
  }

  // A property named in a condition, whatever its shape.
  TPropertyUse Property(const TQueryOperand& operand) const {
    boost::shared_ptr<ICIMPropertyDecl> decl = Declaration(operand.name, operand.position);
    TPropertyUse use;
    const ECIMType type = decl->GetType(kNone);
    if (!operand.member.empty()) {
      if (IsArrayType(type) || !EmbedsInstances(*decl)) {
        Fail(operand.memberPosition, CIMTypeName(type) + " property " + decl->GetName(kNone) +
                                         " embeds no instance whose " + QuotedForMessage(operand.member) +
                                         " could be named");
      }
      use.operand.kind = TBoundOperand::EKind::kMember;
      use.operand.name = decl->GetName(kNone);
      use.operand.member = operand.member;
      use.operand.indexed = operand.indexed;
      use.operand.index = operand.index;
      use.described = "property " + operand.member + " of the instance " + use.operand.name + " embeds";
      return use;
    }
    use.operand.kind = TBoundOperand::EKind::kProperty;
    use.operand.name = decl->GetName(kNone);
    use.operand.isArray = IsArrayType(type);
    use.operand.indexed = operand.indexed;
    use.operand.index = operand.index;
    use.element = ElementTypeOf(type);
    use.described = CIMTypeName(type) + " property " + use.operand.name;
    if (operand.indexed && !use.operand.isArray) Fail(operand.position, use.described + " is no array to index");
    return use;
  }

  // A property that gives one value to test: a scalar, an array's element,
  // or (under ANY or EVERY) each element of an array in turn.
  TPropertyUse ScalarProperty(const TQueryOperand& operand, EQuantifier quantifier) const {
    TPropertyUse use = Property(operand);
    if (use.operand.kind == TBoundOperand::EKind::kMember) return use;
    if (quantifier != EQuantifier::kNone) {
      if (!use.operand.isArray || use.operand.indexed) {
        Fail(operand.position, std::string(quantifier == EQuantifier::kAny ? "ANY" : "EVERY") +
                                   " takes a whole array property, and " + use.described + " is none");
      }
    } else if (use.operand.isArray && !use.operand.indexed) {
      const EQueryLanguage language = query_.Language();
      const char* how = language == EQueryLanguage::kFql   ? ": compare it with ANY or EVERY, or name one element"
                        : language == EQueryLanguage::kCql ? ": name one element"
                                                           : ", which WQL does not compare";
      Fail(operand.position, use.described + " is an array" + how);
    }
    return use;
  }

  // A literal compared with a value whose type is not known before: it
  // keeps the type it was written with.
  static TBoundOperand UntypedLiteral(const TQueryOperand& operand) {
    const TQueryLiteral& literal = operand.literal;
    TBoundOperand bound;
    bound.kind = TBoundOperand::EKind::kLiteral;
    switch (literal.kind) {
      case TQueryLiteral::EKind::kReal:
        bound.literal.kind = TScalar::EKind::kReal;
        bound.literal.r = literal.real;
        break;
      case TQueryLiteral::EKind::kInteger:
        bound.literal.kind = literal.negative ? TScalar::EKind::kSigned : TScalar::EKind::kUnsigned;
        if (literal.negative) {
          bound.literal.s = static_cast<int64_t>(0 - literal.magnitude);
        } else {
          bound.literal.u = literal.magnitude;
        }
        break;
      case TQueryLiteral::EKind::kBoolean:
        bound.literal.kind = TScalar::EKind::kBoolean;
        bound.literal.u = literal.boolean ? 1 : 0;
        break;
      default:  // a string (NULL never gets here: it is a test for null)
        bound.literal.kind = TScalar::EKind::kText;
        bound.text = literal.text;
        break;
    }
    return bound;
  }

  // A literal given the category of the property it is compared with.
  TBoundOperand Literal(const TQueryOperand& operand, ECategory category, const std::string& against) const {
    const TQueryLiteral& literal = operand.literal;
    TBoundOperand bound;
    bound.kind = TBoundOperand::EKind::kLiteral;
    auto refuse = [&](const std::string& expected) {
      Fail(operand.position, "expected " + expected + " to compare with " + against + ", found " +
                                 QuotedForMessage(operand.written));
    };
    const bool isString = literal.kind == TQueryLiteral::EKind::kString;
    switch (category) {
      case ECategory::kNumber:
        if (literal.kind == TQueryLiteral::EKind::kReal) {
          bound.literal.kind = TScalar::EKind::kReal;
          bound.literal.r = literal.real;
        } else if (literal.kind == TQueryLiteral::EKind::kInteger && literal.negative) {
          bound.literal.kind = TScalar::EKind::kSigned;
          // Two's complement holds -2^63, whose magnitude no int64 holds.
          bound.literal.s = static_cast<int64_t>(0 - literal.magnitude);
        } else if (literal.kind == TQueryLiteral::EKind::kInteger) {
          bound.literal.kind = TScalar::EKind::kUnsigned;
          bound.literal.u = literal.magnitude;
        } else {
          refuse("a number");
        }
        break;
      case ECategory::kBoolean:
        if (literal.kind != TQueryLiteral::EKind::kBoolean) refuse("TRUE or FALSE");
        bound.literal.kind = TScalar::EKind::kBoolean;
        bound.literal.u = literal.boolean ? 1 : 0;
        break;
      case ECategory::kString:
        if (!isString) refuse("a string in quotes");
        bound.literal.kind = TScalar::EKind::kText;
        bound.text = literal.text;
        break;
      case ECategory::kChar16: {
        char16_t unit = 0;
        if (!isString || !DecodeChar16(literal.text, &unit)) refuse("one character in quotes");
        bound.literal.kind = TScalar::EKind::kChar;
        bound.literal.u = unit;
        break;
      }
      case ECategory::kDateTime: {
        if (!isString) refuse("a datetime in quotes");
        TCIMDateTime dateTime;
        std::string why;
        if (!TCIMDateTime::TryParse(literal.text, &dateTime, &why)) {
          Fail(operand.position, QuotedForMessage(literal.text) + " is no CIM datetime (" + why + ")");
        }
        bound.literal = DateTimeScalar(dateTime);
        break;
      }
      case ECategory::kReference: {
        if (!isString) refuse("an object path in quotes");
        TCIMReference path;
        std::string why;
        if (!TCIMReference::TryParse(literal.text, ns_, &path, &why)) {
          Fail(operand.position, QuotedForMessage(literal.text) + " is no object path (" + why + ")");
        }
        bound.literal.kind = TScalar::EKind::kPath;
        bound.text = path.PathText();
        break;
      }
      case ECategory::kOther:
        refuse("nothing");
    }
    return bound;
  }

  const TParsedQuery& query_;
  boost::shared_ptr<ICIMNamespace> ns_;
  std::shared_ptr<TBoundProgram> program_;
};

}  // namespace

TBoundQuery TBoundQuery::Bind(const TParsedQuery& query, const boost::shared_ptr<ICIMNamespace>& ns,
                              const std::string& filteredClass) {
  return TBoundQuery(TQueryBinder(query, ns, filteredClass).Run());
}

TBoundQuery TBoundQuery::Prepare(std::string_view languageName, std::string_view text,
                                 const boost::shared_ptr<ICIMNamespace>& ns, const std::string& filteredClass) {
  return Bind(TParsedQuery::Parse(languageName, text), ns, filteredClass);
}
