// Queries of the three languages evaluated over the fixture: each operator
// on each type, nulls and unknowns, arrays, subclasses, ISA, projection, and
// the guarantee that evaluating changes nothing.

#include <thread>

#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "tests/query/query_test_support.h"

namespace {

const TContext kNone;
constexpr EQueryLanguage kWql = EQueryLanguage::kWql;
constexpr EQueryLanguage kCql = EQueryLanguage::kCql;
constexpr EQueryLanguage kFql = EQueryLanguage::kFql;

const char kLinkA[] = "q_link.owner=\"q_base.id=\\\"a\\\"\",target=\"q_other.id=\\\"o\\\"\"";
const char kLinkB[] = "q_link.owner=\"q_sub.id=\\\"b\\\"\",target=\"q_other.id=\\\"o\\\"\"";

class QueryEvaluationTest : public testing::Test {
 protected:
  TBoundQuery Bound(EQueryLanguage language, const std::string& text, const std::string& filtered = "Q_Base") {
    return TBoundQuery::Bind(TParsedQuery::Parse(language, text), ns_,
                             language == kFql ? filtered : std::string());
  }
  boost::shared_ptr<ICIMInstance> Instance(const std::string& path) {
    return ns_->GetInstance(TCIMReference::Parse(path, ns_), kNone);
  }

  boost::shared_ptr<ICIMNamespace> ns_ = QueryFixture();
};

// Instance a: U8 200, S8 -5, U64 2^64-1, S64 -1, R32 1.5, R64 -2.25, Flag
// TRUE, Letter 'x', When 12:00+060 (11:00 UTC), Span one day, Tags {red,
// green}, Counts {1, 2, 3}. b (Q_Sub): U8 0, S8 7, U64 0, S64 -2^63, R32
// -0.5, R64 NaN, Flag FALSE, Letter 'X', When 11:00+000, Span a microsecond
// short of a day, Tags {}, Counts {5, NULL}. c (Q_SubSub): all null.
TEST_F(QueryEvaluationTest, MatchesByEachOperatorAndType) {
  const std::string bothLinks = std::string(kLinkA) + "," + kLinkB;
  struct Row {
    EQueryLanguage language;
    const char* query;
    std::string matching;
    // The class an FQL query filters.
    const char* filtered = "Q_Base";
  };
  const Row rows[] = {
      // Integers of every width and sign, by value; against reals exactly.
      {kWql, "SELECT * FROM Q_Base WHERE U8 > 100", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 200.0", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 < 200.5", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE 100 < U8", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE S8 < 0", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE S8 >= -5", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE U16 <> 1", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U16 != 1", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE S16 <= -300", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U32 > 3999999999 AND S32 < -69999", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U32 = 0x7", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE U64 = 18446744073709551615", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U64 > -1", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE U64 > 1.8e19", "a"},
      // 2^64-1 as a double rounds up to 2^64; the integer stays below it.
      {kWql, "SELECT * FROM Q_Base WHERE U64 < 18446744073709551615.0", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE S64 = -9223372036854775808", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE S64 < 0", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE S64 > -2", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE R32 = 1.5", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE R32 < 0", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE R32 >= -1", "a,b"},
      // NaN is unordered: every comparison with it is unknown.
      {kWql, "SELECT * FROM Q_Base WHERE R64 < 0", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE R64 <> 0", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE NOT R64 = 0", "a"},
      // Property against property.
      {kWql, "SELECT * FROM Q_Base WHERE U8 > S8", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE U16 < U32", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE R32 > S8", "a"},
      // Strings by their bytes, letter case counting.
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'alpha'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = \"alpha\"", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'Alpha'", ""},
      {kWql, "SELECT * FROM Q_Base WHERE Label <> 'alpha'", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label < 'a'", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label >= 'alpha'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'al\\'pha'", ""},
      {kCql, "SELECT * FROM Q_Base WHERE Label = 'al''pha' OR Label = 'Beta'", "b"},
      // char16 against one character.
      {kWql, "SELECT * FROM Q_Base WHERE Letter = 'x'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Letter < 'x'", "b"},
      // Booleans.
      {kWql, "SELECT * FROM Q_Base WHERE Flag = TRUE", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Flag <> true", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Flag = False", "b"},
      // Datetimes as time: a's 12:00 at +60 minutes is b's 11:00 UTC.
      {kWql, "SELECT * FROM Q_Base WHERE When = '20240101110000.000000+000'", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE When = '20240101060000.000000-300'", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE When < '20240101115959.000000+000'", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE When > '20240101103000.000000-060'", ""},
      {kWql, "SELECT * FROM Q_Base WHERE When >= '20231231235959.999999+000'", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE Span > '00000000235959.999999:000'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Span = '00000001000000.000000:000'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Span < '00000001000000.000000:000'", "b"},
      // A timestamp and an interval are unordered.
      {kWql, "SELECT * FROM Q_Base WHERE When <> '00000001000000.000000:000'", ""},
      {kWql, "SELECT * FROM Q_Base WHERE NOT When = '00000001000000.000000:000'", ""},
      // References by canonical path, names in any letter case.
      {kWql, "SELECT * FROM Q_Link WHERE Owner = 'q_base.ID=\"a\"'", kLinkA},
      {kWql, "SELECT * FROM Q_Link WHERE Owner = 'Q_Base.Id=\"b\"'", ""},
      {kWql, "SELECT * FROM Q_Link WHERE Owner <> 'Q_Sub.Id=\"b\"'", kLinkA},
      {kWql, "SELECT * FROM Q_Link WHERE Owner <> Target", bothLinks},
      // ISA: the instance itself, or the class a reference names.
      {kWql, "SELECT * FROM Q_Base WHERE __THIS ISA 'Q_Sub'", "b,c"},
      {kWql, "SELECT * FROM Q_Base WHERE __this ISA Q_SubSub", "c"},
      {kWql, "SELECT * FROM Q_Base WHERE NOT __THIS ISA Q_Sub", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE __THIS ISA Q_Other", ""},
      {kCql, "SELECT * FROM Q_Base WHERE Q_Base ISA Q_Sub", "b,c"},
      {kCql, "SELECT * FROM Q_Base AS B WHERE B ISA Q_SubSub", "c"},
      {kWql, "SELECT * FROM Q_Link WHERE Owner ISA Q_Sub", kLinkB},
      {kCql, "SELECT * FROM Q_Link WHERE Owner ISA 'Q_Base'", bothLinks},
      // Null tests, never unknown.
      {kWql, "SELECT * FROM Q_Base WHERE Label IS NULL", "c"},
      {kWql, "SELECT * FROM Q_Base WHERE Label IS NOT NULL", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = NULL", "c"},
      {kWql, "SELECT * FROM Q_Base WHERE Label != NULL", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE Tags IS NULL", "c"},
      {kCql, "SELECT * FROM Q_Base WHERE NOT Label IS NULL", "a,b"},
      {kFql, "Label = NULL", "c"},
      {kFql, "Label <> NULL", "a,b"},
      // Three values: c's nulls make its comparisons unknown.
      {kWql, "SELECT * FROM Q_Base WHERE NOT (U8 > 100)", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 > 100 OR U8 <= 100", "a,b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label IS NULL OR U8 > 100", "a,c"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 > 100 OR Label IS NULL", "a,c"},
      {kWql, "SELECT * FROM Q_Base WHERE NOT (Label IS NULL AND U8 > 100)", "a,b"},
      // c: false AND unknown is false.
      {kWql, "SELECT * FROM Q_Base WHERE NOT (Label IS NOT NULL AND U8 > 100)", "b,c"},
      {kWql, "SELECT * FROM Q_Base WHERE U16 = 1 OR Label IS NULL", "b,c"},
      {kWql, "SELECT * FROM Q_Base WHERE NOT NOT U8 = 0", "b"},
      // AND binds before OR; parentheses change that.
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'x' AND U8 = 1 OR Flag = TRUE", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Flag = TRUE OR Flag = FALSE AND U8 = 200", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE (Flag = TRUE OR Flag = FALSE) AND U8 = 0", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 0 AND S8 = 7 AND U16 = 1 AND Flag = FALSE", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 1 OR U8 = 2 OR U8 = 200 OR U8 = 3", "a"},
      // LIKE: WQL's wildcards, CQL's and FQL's regular expressions.
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE 'al%'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE '_eta'", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE '[AB]%'", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE '[^B]%'", "a"},
      {kWql, "SELECT * FROM Q_Base WHERE Label NOT LIKE 'al%'", "b"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE 'ALPHA'", ""},
      {kCql, "SELECT * FROM Q_Base WHERE Label LIKE 'al.*'", "a"},
      {kCql, "SELECT * FROM Q_Base WHERE Label LIKE 'alpha|Beta'", "a,b"},
      {kCql, "SELECT * FROM Q_Base WHERE Label LIKE 'B.t+a'", "b"},
      {kCql, "SELECT * FROM Q_Base WHERE Label LIKE 'al%'", ""},
      {kFql, "Label LIKE \"a.*\"", "a"},
      {kFql, "Label NOT LIKE \"a.*\"", "b"},
      // Arrays: ANY, EVERY, one element; an index past the end is a null.
      {kFql, "ANY Tags = \"red\"", "a"},
      {kFql, "EVERY Tags <> \"blue\"", "a,b"},
      {kFql, "EVERY Tags = \"red\"", "b"},
      {kFql, "ANY Counts > 4", "b"},
      {kFql, "EVERY Counts > 0", "a"},
      {kFql, "NOT EVERY Counts > 4", "a"},
      {kFql, "NOT ANY Counts = 7", "a"},
      {kFql, "ANY Tags LIKE \"gr.*\"", "a"},
      {kFql, "Counts[0] = 5", "b"},
      {kFql, "Counts[2] >= 3", "a"},
      {kFql, "Counts[1] = NULL", "b,c"},
      {kFql, "Counts[5] = NULL", "a,b,c"},
      {kFql, "Counts[0] < Counts[1] AND U8 = 200", "a"},
      {kCql, "SELECT * FROM Q_Base WHERE Counts[1] = 2", "a"},
      // Subclasses' instances are the FROM class's too.
      {kWql, "SELECT * FROM Q_Base", "a,b,c"},
      {kWql, "SELECT * FROM Q_Sub", "b,c"},
      {kWql, "SELECT * FROM q_subsub WHERE Extra IS NULL", "c"},
      {kWql, "select label from Q_BASE where u8 > 100", "a"},
      {kCql, "SELECT B.Label FROM Q_Base AS B WHERE B.U8 > 100", "a"},
      {kCql, "SELECT * FROM Q_Base B WHERE Q_Base.S8 = 7", "b"},
      {kFql, "Extra = \"more\"", "b", "Q_Sub"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.query);
    try {
      EXPECT_EQ(Matching(Bound(row.language, row.query, row.filtered)), row.matching);
    } catch (const TQueryError& e) {
      ADD_FAILURE() << e.what();
    }
  }
}

TEST_F(QueryEvaluationTest, EvaluatesToTrueFalseOrUnknown) {
  const TBoundQuery query = Bound(kWql, "SELECT * FROM Q_Base WHERE U8 > 100");
  EXPECT_EQ(query.Evaluate(*Instance("Q_Base.Id=\"a\"")), ETruth::kTrue);
  EXPECT_EQ(query.Evaluate(*Instance("Q_Sub.Id=\"b\"")), ETruth::kFalse);
  EXPECT_EQ(query.Evaluate(*Instance("Q_SubSub.Id=\"c\"")), ETruth::kUnknown);
  EXPECT_FALSE(query.Matches(*Instance("Q_SubSub.Id=\"c\"")));
  // Not of the class: false, not unknown.
  EXPECT_EQ(Bound(kWql, "SELECT * FROM Q_Sub").Evaluate(*Instance("Q_Base.Id=\"a\"")), ETruth::kFalse);
  EXPECT_EQ(Bound(kWql, "SELECT * FROM Q_Sub").Evaluate(*Instance("Q_Sub.Id=\"b\"")), ETruth::kTrue);
}

TEST_F(QueryEvaluationTest, ProjectionAndClasses) {
  const TBoundQuery listed = Bound(kWql, "SELECT label, U8, LABEL FROM q_base");
  EXPECT_FALSE(listed.SelectsAll());
  EXPECT_EQ(listed.SelectedProperties(), (std::vector<std::string>{"Label", "U8"}));
  EXPECT_TRUE(listed.Selects("LABEL"));
  EXPECT_FALSE(listed.Selects("Id"));
  EXPECT_FALSE(listed.HasCondition());
  EXPECT_EQ(listed.FromClassName(), "Q_Base");
  EXPECT_EQ(listed.MatchableClassNames(), (std::vector<std::string>{"Q_Base", "Q_Sub", "Q_SubSub"}));
  EXPECT_TRUE(listed.CanMatch(*ns_->GetClass("Q_SubSub", kNone)));
  EXPECT_FALSE(listed.CanMatch(*ns_->GetClass("Q_Other", kNone)));

  const TBoundQuery aliased = Bound(kCql, "SELECT B.Extra, b.Id FROM Q_Sub AS B WHERE B.U8 = 0");
  EXPECT_EQ(aliased.SelectedProperties(), (std::vector<std::string>{"Extra", "Id"}));
  EXPECT_TRUE(aliased.HasCondition());
  EXPECT_TRUE(Bound(kCql, "SELECT B.* FROM Q_Sub AS B").SelectsAll());
  const TBoundQuery filter = Bound(kFql, "U8 = 0", "Q_Sub");
  EXPECT_TRUE(filter.SelectsAll());
  EXPECT_TRUE(filter.Selects("Extra"));
  EXPECT_EQ(filter.MatchableClassNames(), (std::vector<std::string>{"Q_Sub", "Q_SubSub"}));
}

// A subclass defined after the query was bound: its instances are the FROM
// class's as well, and ISA sees through it, though the snapshot of names is
// the one taken at Bind.
TEST_F(QueryEvaluationTest, SubclassDefinedAfterBind) {
  const TBoundQuery query = Bound(kWql, "SELECT * FROM Q_Base WHERE __THIS ISA Q_Sub AND U8 = 9");
  const TBoundQuery links = Bound(kWql, "SELECT * FROM Q_Link WHERE Owner ISA Q_Sub");
  TCapturingLogger quiet;
  TMofLoader loader(ns_);
  ASSERT_TRUE(loader.LoadText("late.mof", R"(
    class Q_Late : Q_Sub {};
    instance of Q_Late { Id = "late"; U8 = 9; };
    instance of Q_Link { Owner = "Q_Late.Id=\"late\""; Target = "Q_Other.Id=\"o\""; };
  )"));
  EXPECT_EQ(Matching(query), "late");
  EXPECT_EQ(query.MatchableClassNames().size(), 3u);
  EXPECT_TRUE(query.CanMatch(*ns_->GetClass("Q_Late", kNone)));
  EXPECT_EQ(Matching(links),
            "q_link.owner=\"q_late.id=\\\"late\\\"\",target=\"q_other.id=\\\"o\\\"\"," + std::string(kLinkB));
}

// Evaluation reads only: an instance of another class is refused before any
// property is asked for (the repository would add "Description" to a class
// that lacks it), and a whole table of queries leaves the repository as it
// was.
TEST_F(QueryEvaluationTest, EvaluatingChangesNothing) {
  const std::string before = Exported(*ns_);
  const TBoundQuery query = Bound(kWql, "SELECT * FROM Q_Base WHERE Description IS NULL");
  boost::shared_ptr<ICIMInstance> other = Instance("Q_Other.Id=\"o\"");
  EXPECT_EQ(query.Evaluate(*other), ETruth::kFalse);
  EXPECT_THROW(ns_->GetClass("Q_Other", kNone)->GetPropertyDecl("Description", kNone), TTYLException);
  EXPECT_EQ(Matching(query), "a,b,c");
  for (const char* text :
       {"SELECT * FROM Q_Base WHERE Label LIKE '%a%' OR Flag = TRUE",
        "SELECT U8 FROM Q_Base WHERE __THIS ISA Q_Sub", "SELECT * FROM Q_Link WHERE Owner ISA Q_Sub"}) {
    Matching(Bound(kWql, text));
  }
  EXPECT_EQ(Exported(*ns_), before);
}

TEST_F(QueryEvaluationTest, PrepareNamesTheLanguage) {
  EXPECT_EQ(Matching(TBoundQuery::Prepare("wql", "SELECT * FROM Q_Base WHERE S8 = 7", ns_)), "b");
  EXPECT_EQ(Matching(TBoundQuery::Prepare("DMTF:CQL", "SELECT * FROM Q_Base WHERE S8 = 7", ns_)), "b");
  EXPECT_EQ(Matching(TBoundQuery::Prepare("CQL", "SELECT * FROM Q_Base WHERE S8 = 7", ns_)), "b");
  EXPECT_EQ(Matching(TBoundQuery::Prepare("dmtf:fql", "S8 = 7", ns_, "Q_Base")), "b");
  try {
    TBoundQuery::Prepare("DMTF:SQL", "SELECT * FROM Q_Base", ns_);
    ADD_FAILURE() << "an unknown language was read";
  } catch (const TQueryError& e) {
    EXPECT_EQ(e.Kind(), EQueryErrorKind::kUnknownLanguage);
    EXPECT_STREQ(e.what(), "the query language 'DMTF:SQL' is not supported (WQL, DMTF:CQL and DMTF:FQL are)");
  }
}

// One bound query evaluated from several threads at once gives each thread
// the answers it gives alone: evaluation keeps nothing between instances.
TEST_F(QueryEvaluationTest, ConcurrentEvaluation) {
  const TBoundQuery query =
      Bound(kFql, "(ANY Counts > 4 OR Label LIKE \"al.*\") AND NOT When = \"20240102000000.000000+000\"");
  const std::vector<boost::shared_ptr<ICIMInstance>> instances = AllInstances(*ns_, "Q_Base");
  std::vector<ETruth> alone;
  for (const auto& instance : instances) alone.push_back(query.Evaluate(*instance));
  EXPECT_EQ(alone, (std::vector<ETruth>{ETruth::kTrue, ETruth::kTrue, ETruth::kUnknown}));
  std::vector<int> mismatches(4, 0);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < mismatches.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 2000; ++round) {
        for (size_t i = 0; i < instances.size(); ++i) mismatches[t] += query.Evaluate(*instances[i]) != alone[i];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
