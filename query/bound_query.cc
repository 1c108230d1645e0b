// TBoundQuery's accessors and evaluation: the per-instance path.

#include "query/bound_query.h"

#include <algorithm>

#include "core/ascii.h"
#include "core/class_lookup.h"
#include "core/tyl_exception.h"
#include "include/cim_property.h"
#include "query/bound_program.h"

namespace {

const TContext kNone;

ETruth TruthOf(bool value) { return value ? ETruth::kTrue : ETruth::kFalse; }

ETruth Not(ETruth a) {
  return a == ETruth::kUnknown ? a : TruthOf(a == ETruth::kFalse);
}
ETruth And(ETruth a, ETruth b) {
  if (a == ETruth::kFalse || b == ETruth::kFalse) return ETruth::kFalse;
  return a == ETruth::kTrue && b == ETruth::kTrue ? ETruth::kTrue : ETruth::kUnknown;
}
ETruth Or(ETruth a, ETruth b) {
  if (a == ETruth::kTrue || b == ETruth::kTrue) return ETruth::kTrue;
  return a == ETruth::kFalse && b == ETruth::kFalse ? ETruth::kFalse : ETruth::kUnknown;
}

ETruth Holds(ECompareOp op, EOrder order) {
  if (order == EOrder::kUnordered) return ETruth::kUnknown;
  switch (op) {
    case ECompareOp::kEqual:
      return TruthOf(order == EOrder::kEqual);
    case ECompareOp::kNotEqual:
      return TruthOf(order != EOrder::kEqual);
    case ECompareOp::kLess:
      return TruthOf(order == EOrder::kLess);
    case ECompareOp::kLessOrEqual:
      return TruthOf(order != EOrder::kGreater);
    case ECompareOp::kGreater:
      return TruthOf(order == EOrder::kGreater);
    case ECompareOp::kGreaterOrEqual:
      return TruthOf(order != EOrder::kLess);
  }
  return ETruth::kUnknown;
}

// Runs the tests of one program on one instance. The property objects it
// reads are held only while their test runs.
class TTestRunner {
 public:
  TTestRunner(const TBoundProgram& program, ICIMInstance& instance, const IEmbeddedInstances* embedded)
      : program_(program), instance_(instance), embedded_(embedded) {}

  ETruth Run(const TBoundTest& test) const {
    switch (test.kind) {
      case TQueryCondition::EKind::kIsNull: {
        boost::shared_ptr<ICIMProperty> held;
        const TCIMValue* value = Value(test.left, &held);
        return TruthOf((value == nullptr || value->IsNull()) != test.negated);
      }
      case TQueryCondition::EKind::kIsa:
        return Isa(test);
      case TQueryCondition::EKind::kLike:
        return Quantified(test, [&](const TCIMValue& value) {
          if (value.IsNull() || value.GetType() != kCIMTypeString) return ETruth::kUnknown;
          return TruthOf(program_.patterns[test.argument].Matches(value.GetString()) != test.negated);
        });
      default:
        return Compare(test);
    }
  }

 private:
  // The value of a property operand, its index applied: nullptr for an
  // element past the end or of a null array. *held keeps it alive.
  const TCIMValue* Value(const TBoundOperand& operand, boost::shared_ptr<ICIMProperty>* held) const {
    if (operand.kind == TBoundOperand::EKind::kMember) {
      // A member the embedded instance lacks is as unknown as a null.
      ICIMInstance* embedded = Embedded(operand);
      if (embedded == nullptr) return nullptr;
      try {
        *held = embedded->GetProperty(operand.member, kNone);
      } catch (const TTYLException&) {
        return nullptr;
      }
    } else {
      *held = instance_.GetProperty(operand.name, kNone);
    }
    const TCIMValue& value = (*held)->GetValue(kNone);
    if (!operand.indexed) return &value;
    if (value.IsNull() || !value.IsArray()) return nullptr;
    const std::vector<TCIMValue>& elements = value.GetElements();
    return operand.index < elements.size() ? &elements[operand.index] : nullptr;
  }

  // `test` of the left operand's value, or under ANY or EVERY of each of
  // its elements, combined.
  template <typename TestOne>
  ETruth Quantified(const TBoundTest& test, const TestOne& testOne) const {
    boost::shared_ptr<ICIMProperty> held;
    const TCIMValue* value = Value(test.left, &held);
    if (value == nullptr) return ETruth::kUnknown;
    if (test.quantifier == EQuantifier::kNone) return testOne(*value);
    if (value->IsNull() || !value->IsArray()) return ETruth::kUnknown;
    const bool any = test.quantifier == EQuantifier::kAny;
    // ANY is an OR of the elements' tests, EVERY an AND; each stops once
    // the answer cannot change.
    ETruth result = TruthOf(!any);
    for (const TCIMValue& element : value->GetElements()) {
      const ETruth one = testOne(element);
      result = any ? Or(result, one) : And(result, one);
      if (result == TruthOf(any)) break;
    }
    return result;
  }

  ETruth Compare(const TBoundTest& test) const {
    TScalar right;
    boost::shared_ptr<ICIMProperty> rightHeld;
    if (test.right.kind == TBoundOperand::EKind::kLiteral) {
      right = test.right.literal;
      if (right.kind == TScalar::EKind::kText || right.kind == TScalar::EKind::kPath) right.text = test.right.text;
    } else {
      const TCIMValue* value = Value(test.right, &rightHeld);
      if (value == nullptr || !ScalarOf(*value, &right)) return ETruth::kUnknown;
    }
    return Quantified(test, [&](const TCIMValue& value) {
      TScalar left;
      if (!ScalarOf(value, &left)) return ETruth::kUnknown;
      return Holds(test.op, CompareScalars(left, right));
    });
  }

  ICIMInstance* Embedded(const TBoundOperand& operand) const {
    return embedded_ == nullptr ? nullptr : embedded_->Embedded(operand.name);
  }

  ETruth Isa(const TBoundTest& test) const {
    if (test.left.kind == TBoundOperand::EKind::kEmbedded) {
      ICIMInstance* embedded = Embedded(test.left);
      if (embedded == nullptr) return ETruth::kUnknown;
      boost::shared_ptr<ICIMClass> cls = embedded->GetClass(kNone);
      return TruthOf(cls && IsOrDerivesFrom(*cls, program_.classNames[test.argument]));
    }
    const TClassSet& classes = program_.classSets[test.argument];
    if (test.left.kind == TBoundOperand::EKind::kInstance) {
      boost::shared_ptr<ICIMClass> cls = instance_.GetClass(kNone);
      return TruthOf(cls && classes.Contains(*cls));
    }
    boost::shared_ptr<ICIMProperty> held;
    const TCIMValue* value = Value(test.left, &held);
    if (value == nullptr || value->IsNull() || !value->IsReference()) return ETruth::kUnknown;
    return TruthOf(classes.ContainsClassOf(value->GetReference()));
  }

  const TBoundProgram& program_;
  ICIMInstance& instance_;
  const IEmbeddedInstances* embedded_;
};

}  // namespace

EQueryLanguage TBoundQuery::Language() const { return program_->language; }
const std::string& TBoundQuery::Text() const { return program_->text; }
const boost::shared_ptr<ICIMClass>& TBoundQuery::FromClass() const { return program_->fromClass; }
const std::string& TBoundQuery::FromClassName() const { return program_->fromClassName; }
const std::vector<std::string>& TBoundQuery::MatchableClassNames() const { return program_->matchable.Names(); }
bool TBoundQuery::CanMatch(ICIMClass& cls) const { return program_->matchable.Contains(cls); }

const std::vector<std::string>& TBoundQuery::EmbeddedClassesRequired(std::string_view property) const {
  static const std::vector<std::string> kNoneRequired;
  auto found = program_->embeddedClasses.find(LowerAscii(std::string(property)));
  return found == program_->embeddedClasses.end() ? kNoneRequired : found->second;
}
bool TBoundQuery::SelectsAll() const { return program_->selectsAll; }
const std::vector<std::string>& TBoundQuery::SelectedProperties() const { return program_->selected; }
bool TBoundQuery::HasCondition() const { return !program_->steps.empty(); }

bool TBoundQuery::Selects(std::string_view name) const {
  if (program_->selectsAll) return true;
  return std::any_of(program_->selected.begin(), program_->selected.end(),
                     [name](const std::string& selected) { return EqualsFoldingAscii(selected, name); });
}

ETruth TBoundQuery::Evaluate(ICIMInstance& instance, const IEmbeddedInstances* embedded) const {
  {
    // Another class's instance may lack the properties the tests read (and
    // the repository makes some up when asked for them): never ask.
    boost::shared_ptr<ICIMClass> cls = instance.GetClass(kNone);
    if (!cls || !program_->matchable.Contains(*cls)) return ETruth::kFalse;
  }
  return EvaluateCandidate(instance, embedded);
}

ETruth TBoundQuery::EvaluateCandidate(ICIMInstance& instance, const IEmbeddedInstances* embedded) const {
  const TBoundProgram& program = *program_;
  if (program.steps.empty()) return ETruth::kTrue;
  const TTestRunner runner(program, instance, embedded);
  ETruth stack[kStackCapacity];
  size_t top = 0;
  const size_t count = program.steps.size();
  for (size_t at = 0; at < count; ++at) {
    const TBoundStep& step = program.steps[at];
    switch (step.op) {
      case TBoundStep::EOp::kTest:
        stack[top++] = runner.Run(program.tests[step.arg]);
        break;
      case TBoundStep::EOp::kNot:
        stack[top - 1] = Not(stack[top - 1]);
        break;
      case TBoundStep::EOp::kAnd:
        --top;
        stack[top - 1] = And(stack[top - 1], stack[top]);
        break;
      case TBoundStep::EOp::kOr:
        --top;
        stack[top - 1] = Or(stack[top - 1], stack[top]);
        break;
      case TBoundStep::EOp::kSkipIfFalse:
        if (stack[top - 1] == ETruth::kFalse) at = step.arg - 1;
        break;
      case TBoundStep::EOp::kSkipIfTrue:
        if (stack[top - 1] == ETruth::kTrue) at = step.arg - 1;
        break;
    }
  }
  return stack[0];
}

void TBoundQuery::EnumerateMatches(const TInstanceCallback& callback) const {
  bool more = true;
  // The class's own enumeration hands out instances of it and its
  // subclasses alone, so none needs the check Evaluate makes.
  program_->fromClass->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance> instance) {
        if (more && EvaluateCandidate(*instance, nullptr) == ETruth::kTrue) more = callback(instance);
        return more;
      },
      true, kNone);
}
