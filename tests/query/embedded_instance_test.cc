// Conditions that look into embedded instances, as indication filters
// write them: ISA on the embedded instance, its properties compared with
// literals and with another embedded instance's, and the refusals.

#include <gtest/gtest.h>

#include "tests/query/query_test_support.h"

namespace {

const TContext kNone;

// An event class whose Source and Previous embed instances of the fixture.
const char kEventMof[] = R"(
Qualifier EmbeddedObject : boolean = false, Scope(property, parameter, method), Flavor(DisableOverride, ToSubclass);
class Q_Event {
   [Key] string Id;
   [EmbeddedObject] string Source;
   [EmbeddedObject] string Previous;
   string Note;
};
)";

// The instances an event embeds, by property name.
class TEmbedded : public IEmbeddedInstances {
 public:
  TEmbedded(ICIMInstance* source, ICIMInstance* previous) : source_(source), previous_(previous) {}
  ICIMInstance* Embedded(const std::string& name) const override {
    if (name == "Source") return source_;
    return name == "Previous" ? previous_ : nullptr;
  }

 private:
  ICIMInstance* source_;
  ICIMInstance* previous_;
};

class EmbeddedInstanceTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(ns_);
    TMofLoader loader(ns_);
    ASSERT_TRUE(loader.LoadText("event.mof", kEventMof));
    event_ = ns_->GetClass("Q_Event", kNone)->AllocateInstance(kNone);
    event_->SetPropertyValue("Id", TCIMValue(std::string("e")), kNone);
  }
  boost::shared_ptr<ICIMInstance> Named(const std::string& id) {
    const std::string cls = id == "a" ? "Q_Base" : id == "b" ? "Q_Sub" : "Q_SubSub";
    return ns_->GetInstance(TCIMReference::Parse(cls + ".Id=\"" + id + "\"", ns_), kNone);
  }
  ETruth Truth(EQueryLanguage language, const std::string& text, const char* source, const char* previous) {
    boost::shared_ptr<ICIMInstance> s = *source ? Named(source) : nullptr;
    boost::shared_ptr<ICIMInstance> p = *previous ? Named(previous) : nullptr;
    const TEmbedded embedded(s.get(), p.get());
    return TBoundQuery::Bind(TParsedQuery::Parse(language, text), ns_).Evaluate(*event_, &embedded);
  }

  boost::shared_ptr<ICIMNamespace> ns_ = QueryFixture();
  boost::shared_ptr<ICIMInstance> event_;
};

// a is a Q_Base with U8 200 and Label "alpha"; b a Q_Sub with U8 0 and
// Label "Beta"; c a Q_SubSub with every property null.
TEST_F(EmbeddedInstanceTest, ConditionsLookIntoTheEmbeddedInstances) {
  constexpr ETruth T = ETruth::kTrue, F = ETruth::kFalse, U = ETruth::kUnknown;
  constexpr EQueryLanguage kWql = EQueryLanguage::kWql, kCql = EQueryLanguage::kCql;
  const struct {
    EQueryLanguage language;
    const char* condition;
    const char* source;
    const char* previous;
    ETruth truth;
  } rows[] = {
      // ISA along the embedded instance's ancestry, by name.
      {kWql, "Source ISA Q_Sub", "b", "", T},
      {kWql, "Source ISA Q_Sub", "c", "", T},
      {kWql, "Source ISA q_sub", "a", "", F},
      {kWql, "Source ISA Q_Base", "c", "", T},
      {kWql, "Source ISA Q_Other", "a", "", F},
      {kWql, "Source ISA Nowhere_Class", "a", "", F},
      {kWql, "Source ISA Q_Base", "", "", U},  // nothing embedded
      {kWql, "NOT Previous ISA Q_Sub", "a", "a", T},
      // Members compared with literals, typed as the values come.
      {kWql, "Source.U8 > 100", "a", "", T},
      {kWql, "Source.U8 > 100", "b", "", F},
      {kWql, "Source.U8 > 100", "c", "", U},  // null
      {kWql, "Source.u8 = 200.0", "a", "", T},
      {kWql, "Source.S64 < 0", "b", "", T},
      {kWql, "Source.Label = 'alpha'", "a", "", T},
      {kWql, "Source.Label = 5", "a", "", U},  // a string and a number do not compare
      {kWql, "Source.Flag = TRUE", "a", "", T},
      {kWql, "Source.Extra = 'more'", "b", "", T},
      {kWql, "Source.Extra = 'more'", "a", "", U},  // a has no such property
      {kWql, "Source.Label LIKE 'al%'", "a", "", T},
      {kWql, "Source.Label LIKE 'al%'", "b", "", F},
      {kWql, "Source.Label IS NULL", "c", "", T},
      {kWql, "Source.Label IS NOT NULL", "", "", F},
      {kCql, "Source.Tags[1] = 'green'", "a", "", T},
      {kCql, "Source.Counts[5] = 1", "a", "", U},  // past the end
      // One embedded instance against another: what a filter on changes
      // writes.
      {kWql, "Source.Label <> Previous.Label", "a", "b", T},
      {kWql, "Source.Label <> Previous.Label", "a", "a", F},
      {kWql, "Source.U8 > Previous.U8", "a", "b", T},
      {kWql, "Source.U8 <> Previous.U8", "a", "c", U},
      {kWql, "Source ISA Q_Sub AND Source.U8 <> Previous.U8", "b", "a", T},
      {kWql, "Source ISA Q_Sub AND Source.U8 <> Previous.U8", "a", "b", F},
      // The event's own properties beside them.
      {kWql, "Id = 'e' AND Source.U8 = 200", "a", "", T},
      {kCql, "SELECT * FROM Q_Event E WHERE E.Source.U8 = 200", "a", "", T},
  };
  for (const auto& row : rows) {
    const std::string text = std::string(row.condition).rfind("SELECT", 0) == 0
                                 ? row.condition
                                 : std::string("SELECT * FROM Q_Event WHERE ") + row.condition;
    EXPECT_EQ(Truth(row.language, text, row.source, row.previous), row.truth)
        << text << " with Source " << row.source << ", Previous " << row.previous;
  }
  // Without the embedded instances at hand, a condition on them is unknown.
  EXPECT_EQ(TBoundQuery::Bind(TParsedQuery::Parse(kWql, "SELECT * FROM Q_Event WHERE Source.U8 = 200"), ns_)
                .Evaluate(*event_),
            U);
}

TEST_F(EmbeddedInstanceTest, OnlyEmbeddingPropertiesAreLookedInto) {
  const struct {
    EQueryLanguage language;
    const char* text;
    EQueryErrorKind kind;
    size_t position;  // from 1, as the messages count
  } rows[] = {
      {EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Note.Size = 1", EQueryErrorKind::kSchema, 34},
      {EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Id.Size = 1", EQueryErrorKind::kSchema, 32},
      {EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Nope.Size = 1", EQueryErrorKind::kSchema, 29},
      {EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Source.U8 ISA Q_Base", EQueryErrorKind::kSchema, 39},
      {EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Source. = 1", EQueryErrorKind::kSyntax, 37},
      // FQL names no members.
      {EQueryLanguage::kFql, "Source.U8 = 1", EQueryErrorKind::kSyntax, 7},
  };
  for (const auto& row : rows) {
    try {
      TBoundQuery::Bind(TParsedQuery::Parse(row.language, row.text), ns_, "Q_Event");
      ADD_FAILURE() << row.text << " was taken";
    } catch (const TQueryError& e) {
      EXPECT_EQ(e.Kind(), row.kind) << row.text << ": " << e.what();
      EXPECT_EQ(e.Position(), row.position) << row.text << ": " << e.what();
    }
  }
}

}  // namespace

namespace {

// What a condition needs of an embedded instance's class, for a filter to
// skip changes of other classes unseen.
TEST_F(EmbeddedInstanceTest, ConditionsSayWhichClassesTheyCanKeep) {
  const struct {
    const char* condition;
    std::vector<std::string> source;
  } rows[] = {
      {"Source ISA Q_Sub", {"Q_Sub"}},
      {"Source ISA Q_Sub AND Source.U8 > 1", {"Q_Sub"}},
      {"Source.U8 > 1 AND (Source ISA Q_Sub)", {"Q_Sub"}},
      {"Source ISA Q_Sub OR Source ISA Q_Other", {"Q_Sub", "Q_Other"}},
      {"(Source ISA Q_Sub AND Id = 'e') OR Source ISA Q_Other", {"Q_Sub", "Q_Other"}},
      {"Source ISA Q_Sub OR Source.U8 > 1", {}},  // the second keeps any class
      {"NOT Source ISA Q_Sub", {}},
      {"Previous ISA Q_Sub", {}},  // it constrains Previous, not Source
      {"Source.U8 > 1", {}},
  };
  for (const auto& row : rows) {
    const TBoundQuery query = TBoundQuery::Bind(
        TParsedQuery::Parse(EQueryLanguage::kWql, std::string("SELECT * FROM Q_Event WHERE ") + row.condition), ns_);
    EXPECT_EQ(query.EmbeddedClassesRequired("source"), row.source) << row.condition;
  }
  const TBoundQuery previous = TBoundQuery::Bind(
      TParsedQuery::Parse(EQueryLanguage::kWql, "SELECT * FROM Q_Event WHERE Previous ISA Q_Sub AND Source ISA Q_Base"),
      ns_);
  EXPECT_EQ(previous.EmbeddedClassesRequired("Previous"), std::vector<std::string>{"Q_Sub"});
  EXPECT_EQ(previous.EmbeddedClassesRequired("SOURCE"), std::vector<std::string>{"Q_Base"});
}

}  // namespace
