// Queries that read but do not fit the schema: each refusal with its
// position and reason, as a client gets it.

#include <string>

#include <gtest/gtest.h>

#include "tests/query/query_test_support.h"

namespace {

constexpr EQueryLanguage kWql = EQueryLanguage::kWql;
constexpr EQueryLanguage kCql = EQueryLanguage::kCql;
constexpr EQueryLanguage kFql = EQueryLanguage::kFql;

TEST(QueryBindTest, RefusalsSayWhereAndWhy) {
  boost::shared_ptr<ICIMNamespace> ns = QueryFixture();
  ASSERT_TRUE(ns);
  struct Row {
    EQueryLanguage language;
    std::string text;
    std::string message;
    // The class an FQL query filters.
    const char* filtered = "Q_Base";
  };
  const Row rows[] = {
      {kWql, "SELECT * FROM Nope", "at position 15: no class named 'Nope' in the namespace"},
      {kWql, "SELECT Label, Nope FROM Q_Base", "at position 15: class Q_Base has no property 'Nope'"},
      // A property only a subclass declares, even where ISA narrows to it.
      {kWql, "SELECT * FROM Q_Base WHERE __THIS ISA Q_Sub AND Extra = 'x'",
       "at position 49: class Q_Base has no property 'Extra'"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 'abc'",
       "at position 33: expected a number to compare with uint8 property U8, found 'abc'"},
      {kWql, "SELECT * FROM Q_Base WHERE S64 > TRUE",
       "at position 34: expected a number to compare with sint64 property S64, found 'TRUE'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 5",
       "at position 36: expected a string in quotes to compare with string property Label, found '5'"},
      {kWql, "SELECT * FROM Q_Base WHERE Flag = 1",
       "at position 35: expected TRUE or FALSE to compare with boolean property Flag, found '1'"},
      {kWql, "SELECT * FROM Q_Base WHERE Flag < TRUE",
       "at position 33: the operator < does not order the values of boolean property Flag (only = and <> compare "
       "them)"},
      {kWql, "SELECT * FROM Q_Base WHERE Letter = 'xy'",
       "at position 37: expected one character in quotes to compare with char16 property Letter, found 'xy'"},
      {kWql, "SELECT * FROM Q_Base WHERE When = 20240101",
       "at position 35: expected a datetime in quotes to compare with datetime property When, found '20240101'"},
      {kWql, "SELECT * FROM Q_Base WHERE When = '2024'",
       "at position 35: '2024' is no CIM datetime (expected 25 characters, found 4)"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = Label",
       "at position 33: cannot compare uint8 property U8 with string property Label"},
      {kWql, "SELECT * FROM Q_Base WHERE When = Span", ""},
      {kWql, "SELECT * FROM Q_Base WHERE U8 LIKE 'x'",
       "at position 31: LIKE takes a string property, and uint8 property U8 is none"},
      {kWql, "SELECT * FROM Q_Base WHERE Tags = 'red'",
       "at position 28: string[] property Tags is an array, which WQL does not compare"},
      {kCql, "SELECT * FROM Q_Base WHERE Tags = 'red'",
       "at position 28: string[] property Tags is an array: name one element"},
      {kFql, "Tags = \"red\"",
       "at position 1: string[] property Tags is an array: compare it with ANY or EVERY, or name one element"},
      {kWql, "SELECT * FROM Q_Base WHERE Tags IS NULL", ""},
      {kCql, "SELECT * FROM Q_Base WHERE Label[0] = 'x'",
       "at position 28: string property Label is no array to index"},
      {kFql, "ANY Label = \"x\"",
       "at position 5: ANY takes a whole array property, and string property Label is none"},
      {kFql, "EVERY Counts[0] = 1",
       "at position 7: EVERY takes a whole array property, and uint32[] property Counts is none"},
      {kFql, "ANY Counts = \"1\"",
       "at position 14: expected a number to compare with uint32[] property Counts, found \"1\""},
      {kWql, "SELECT * FROM Q_Base WHERE __THIS ISA Nope",
       "at position 39: no class named 'Nope' in the namespace"},
      {kWql, "SELECT * FROM Q_Base WHERE Label ISA Q_Base",
       "at position 34: ISA takes the instance or a reference property, and string property Label is none"},
      {kWql, "SELECT * FROM Q_Link WHERE Owner = 'not a path'",
       "at position 36: 'not a path' is no object path (at position 4: expected '.')"},
      {kWql, "SELECT * FROM Q_Link WHERE Owner > 'Q_Base.Id=\"a\"'",
       "at position 34: the operator > does not order the values of reference property Owner (only = and <> "
       "compare them)"},
      {kWql, "SELECT * FROM Q_Link WHERE Owner = 5",
       "at position 36: expected an object path in quotes to compare with reference property Owner, found '5'"},
      {kWql, "SELECT * FROM Q_Link WHERE Owner = Label", "at position 36: class Q_Link has no property 'Label'"},
      {kFql, "U8 = 1", "a filter query is bound to the class it filters, and none was given", ""},
      {kFql, "U8 = 1", "no class named 'Nope' in the namespace", "Nope"},
      {kFql, "Extra = \"x\"", "at position 1: class Q_Base has no property 'Extra'"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const TParsedQuery parsed = TParsedQuery::Parse(row.language, row.text);
    try {
      TBoundQuery::Bind(parsed, ns, row.language == kFql ? row.filtered : "");
      EXPECT_EQ(row.message, "") << "bound";
    } catch (const TQueryError& e) {
      EXPECT_EQ(e.Kind(), EQueryErrorKind::kSchema);
      EXPECT_EQ(e.what(), row.message);
    }
  }
}

}  // namespace
