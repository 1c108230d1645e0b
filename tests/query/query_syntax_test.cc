// Query text that does not read: each refusal with its position and what
// was expected there; the bounds on hostile text; and text mangled at every
// byte, which must be refused or bound, never anything else.

#include <string>

#include <gtest/gtest.h>

#include "query/parsed_query.h"
#include "query/query_error.h"
#include "query/query_limits.h"
#include "tests/query/query_test_support.h"

namespace {

constexpr EQueryLanguage kWql = EQueryLanguage::kWql;
constexpr EQueryLanguage kCql = EQueryLanguage::kCql;
constexpr EQueryLanguage kFql = EQueryLanguage::kFql;

struct TRefusal {
  EQueryLanguage language;
  std::string text;
  EQueryErrorKind kind;
  std::string message;
};

void ExpectRefused(const TRefusal& row) {
  try {
    TParsedQuery::Parse(row.language, row.text);
    ADD_FAILURE() << "read: " << row.text.substr(0, 80);
  } catch (const TQueryError& e) {
    EXPECT_EQ(e.Kind(), row.kind) << row.text.substr(0, 80);
    EXPECT_EQ(e.what(), row.message) << row.text.substr(0, 80);
  }
}

TEST(QuerySyntaxTest, RefusalsSayWhereAndWhat) {
  const EQueryErrorKind kSyntax = EQueryErrorKind::kSyntax;
  const TRefusal rows[] = {
      {kWql, "", kSyntax, "at position 1: expected SELECT, found the end of the query"},
      {kWql, "SELECT", kSyntax, "at position 7: expected a property name, found the end of the query"},
      {kWql, "SELECT * FROM", kSyntax, "at position 14: expected a class name, found the end of the query"},
      {kWql, "SELECT * FORM Q_Base", kSyntax, "at position 10: expected FROM, found 'FORM'"},
      {kWql, "SELECT Label, FROM Q_Base", kSyntax, "at position 15: expected a property name, found 'FROM'"},
      {kWql, "SELECT * FROM Q_Base WHERE", kSyntax,
       "at position 27: expected a property name or a value, found the end of the query"},
      {kWql, "SELECT * FROM Q_Base WHERE (Label = 'a'", kSyntax,
       "at position 40: expected AND, OR or ')', found the end of the query"},
      {kWql, "SELECT * FROM Q_Base WHERE Label 'a'", kSyntax,
       "at position 34: expected =, <>, !=, <, <=, >, >=, IS, LIKE or ISA, found 'a'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'a' Label", kSyntax,
       "at position 40: expected AND, OR or the end of the query, found 'Label'"},
      {kWql, "SELECT * FROM Q_Base Label", kSyntax,
       "at position 22: expected WHERE or the end of the query, found 'Label'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'abc", kSyntax, "at position 36: a string that is never closed"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = 'a\\x'", kSyntax,
       "at position 39: expected \\, ' or \" after a backslash, found 'x'"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 12abc", kSyntax,
       "at position 35: expected a blank or a symbol after a number, found 'a'"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 0x", kSyntax,
       "at position 35: expected a hexadecimal digit, found the end of the query"},
      {kWql, "SELECT * FROM Q_Base WHERE R64 = 1e", kSyntax,
       "at position 36: expected the digits of an exponent, found the end of the query"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 18446744073709551616", kSyntax,
       "at position 33: the number '18446744073709551616' is out of range"},
      {kWql, "SELECT * FROM Q_Base WHERE S8 = -9223372036854775809", kSyntax,
       "at position 33: the number '-9223372036854775809' is out of range"},
      {kWql, "SELECT * FROM Q_Base WHERE R64 = 1e999", kSyntax,
       "at position 34: the number '1e999' is out of range"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 # 1", kSyntax, "at position 31: unexpected character '#'"},
      {kWql, "SELECT * FROM Q_Base WHERE U8 = 1\x01", kSyntax, "at position 34: unexpected character '\\x01'"},
      {kWql, "SELECT * FROM Q_Base WHERE 1 = 1", kSyntax, "at position 32: expected a property name, found '1'"},
      {kWql, "SELECT * FROM Q_Base WHERE __THIS = 1", kSyntax, "at position 35: expected ISA, found '='"},
      {kWql, "SELECT * FROM Q_Base WHERE Label < NULL", kSyntax,
       "at position 34: expected = or <> before NULL, found '<'"},
      {kWql, "SELECT * FROM Q_Base WHERE 'a' LIKE 'b'", kSyntax,
       "at position 28: expected a property name before LIKE, found 'a'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE Label", kSyntax,
       "at position 39: expected a pattern in quotes, found 'Label'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label IS 5", kSyntax, "at position 37: expected NULL, found '5'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label NOT = 'a'", kSyntax, "at position 38: expected LIKE, found '='"},
      {kWql, "SELECT * FROM Q_Base WHERE Counts[0] = 1", kSyntax,
       "at position 34: expected =, <>, !=, <, <=, >, >=, IS, LIKE or ISA, found '['"},
      {kWql, "SELECT * FROM Q_Base WHERE Label = SELECT", kSyntax,
       "at position 36: expected a property name or a value, found 'SELECT'"},
      {kWql, "SELECT * FROM Q_Base WHERE Label LIKE '[ab'", kSyntax,
       "at position 39: invalid pattern: a '[' that is never closed at its byte 1"},
      {kCql, "SELECT * FROM Q_Base WHERE Label LIKE '(ab'", kSyntax,
       "at position 39: invalid pattern: a '(' that is never closed at its byte 1"},
      {kFql, "Label LIKE \"a**\" OR Label LIKE \"+\"", kSyntax,
       "at position 32: invalid pattern: nothing to repeat before '+' at its byte 1"},
      {kCql, "SELECT * FROM Q_Base WHERE Label != 'a'", kSyntax,
       "at position 34: expected =, <>, <, <=, >, >=, IS, LIKE or ISA, found '!='"},
      {kCql, "SELECT * FROM Q_Base WHERE Label = NULL", kSyntax,
       "at position 36: expected a value (a test for null is written IS NULL or IS NOT NULL), found 'NULL'"},
      {kCql, "SELECT X.Label FROM Q_Base AS B", kSyntax,
       "at position 8: expected the class name or its alias, found 'X'"},
      {kCql, "SELECT * FROM Q_Base, Q_Sub", kSyntax,
       "at position 21: expected WHERE or the end of the query, found ','"},
      {kCql, "SELECT * FROM Q_Base AS", kSyntax,
       "at position 24: expected an alias for the class, found the end of the query"},
      {kCql, "SELECT * FROM Q_Base AS B WHERE B = 1", kSyntax, "at position 35: expected ISA, found '='"},
      {kCql, "SELECT * FROM Q_Base WHERE Counts[x] = 1", kSyntax,
       "at position 35: expected an array index, found 'x'"},
      {kCql, "SELECT * FROM Q_Base WHERE Counts[1 = 1", kSyntax, "at position 37: expected ']', found '='"},
      {kFql, "ANY 5 = 1", kSyntax, "at position 5: expected an array property after ANY, found '5'"},
      {kFql, "Label IS NULL", kSyntax, "at position 7: expected =, <>, <, <=, >, >= or LIKE, found 'IS'"},
      {kFql, "Label ISA Q_Base", kSyntax, "at position 7: expected =, <>, <, <=, >, >= or LIKE, found 'ISA'"},
      {kFql, "Counts[-1] = 1", kSyntax, "at position 8: expected an array index, found '-1'"},
      {kFql, "EVERY Counts = U8", kSyntax,
       "at position 16: expected a value to compare the elements with, found 'U8'"},
      {kFql, "SELECT * FROM Q_Base", kSyntax,
       "at position 1: expected a property name or a value, found 'SELECT'"},
      {kFql, "Label = \"a\" AND", kSyntax,
       "at position 16: expected a property name or a value, found the end of the query"},
  };
  for (const TRefusal& row : rows) ExpectRefused(row);
}

TEST(QuerySyntaxTest, LanguagesByTheirNames) {
  EQueryLanguage language;
  const std::pair<const char*, EQueryLanguage> known[] = {{"WQL", kWql}, {"wql", kWql},      {"DMTF:CQL", kCql},
                                                          {"CQL", kCql}, {"dmtf:cql", kCql}, {"DMTF:FQL", kFql}};
  for (const auto& [name, expected] : known) {
    ASSERT_TRUE(QueryLanguageNamed(name, &language)) << name;
    EXPECT_EQ(language, expected) << name;
  }
  for (const char* unknown : {"", "SQL", "FQL", "DMTF:WQL", "CQL "}) {
    EXPECT_FALSE(QueryLanguageNamed(unknown, &language)) << unknown;
  }
  EXPECT_STREQ(QueryLanguageName(kCql), "DMTF:CQL");
}

// Hostile text is refused at the bounds, with the bound named, and text just
// inside each bound still reads.
TEST(QuerySyntaxTest, BoundsOnHostileText) {
  const EQueryErrorKind kLimit = EQueryErrorKind::kLimit;
  const std::string select = "SELECT * FROM Q_Base WHERE ";
  auto repeated = [](const std::string& piece, size_t times) {
    std::string text;
    for (size_t i = 0; i < times; ++i) text += piece;
    return text;
  };
  auto chain = [&](size_t terms) {
    std::string text = "U8 = 1";
    for (size_t i = 1; i < terms; ++i) text += " OR U8 = 1";
    return text;
  };
  const std::string nots = repeated("NOT ", kMaxQueryNesting) + "U8 = 1";
  const std::string parens = repeated("(", kMaxQueryNesting) + "U8 = 1" + repeated(")", kMaxQueryNesting);
  for (const std::string& inside :
       {nots, parens, chain(kMaxQueryTerms), "Label = '" + std::string(kMaxLiteralLength, 'x') + "'",
        std::string(kMaxNameLength, 'P') + " = 1"}) {
    EXPECT_NO_THROW(TParsedQuery::Parse(kWql, select + inside)) << inside.substr(0, 40);
  }
  const TRefusal rows[] = {
      {kWql, select + "NOT " + nots, kLimit,
       "at position " + std::to_string(select.size() + 4 * kMaxQueryNesting + 1) +
           ": parentheses and NOT nested deeper than 32 levels"},
      {kWql, select + "(" + parens + ")", kLimit,
       "at position " + std::to_string(select.size() + kMaxQueryNesting + 1) +
           ": parentheses and NOT nested deeper than 32 levels"},
      {kWql, select + "NOT (" + repeated("NOT (", kMaxQueryNesting / 2) + "U8 = 1" + repeated(")", 17), kLimit,
       "at position " + std::to_string(select.size() + 5 * (kMaxQueryNesting / 2) + 1) +
           ": parentheses and NOT nested deeper than 32 levels"},
      {kWql, select + chain(kMaxQueryTerms + 1), kLimit,
       "at position " + std::to_string(select.size() + 7 + 10 * (kMaxQueryTerms - 1) + 4) +
           ": more than 256 conditions"},
      {kWql, select + "Label = '" + std::string(kMaxLiteralLength + 1, 'x') + "'", kLimit,
       "at position " + std::to_string(select.size() + 9) + ": a literal longer than 4096 bytes"},
      {kWql, select + std::string(kMaxNameLength + 1, 'P') + " = 1", kLimit,
       "at position " + std::to_string(select.size() + 1) + ": a name longer than 256 bytes"},
      {kWql, select + "Label = '" + std::string(kMaxQueryLength, 'x') + "'", kLimit,
       "at position 32769: a query longer than 32768 bytes"},
      {kWql, "SELECT " + repeated("P, ", kMaxSelectedProperties) + "P FROM Q_Base", kLimit,
       "at position " + std::to_string(7 + 3 * kMaxSelectedProperties + 1) +
           ": more than 256 selected properties"},
      {kFql, "Counts[1048577] = 1", kLimit, "at position 8: an array index above 1048576"},
  };
  for (const TRefusal& row : rows) ExpectRefused(row);
}

// Every valid query of a small set, with each byte deleted, doubled or
// replaced by a character that matters to the grammar: parsing and binding
// either succeed or throw TQueryError, and an evaluation of what binds
// answers for every instance.
TEST(QuerySyntaxTest, MangledTextIsRefusedOrBound) {
  boost::shared_ptr<ICIMNamespace> ns = QueryFixture();
  ASSERT_TRUE(ns);
  const std::vector<boost::shared_ptr<ICIMInstance>> instances = AllInstances(*ns, "Q_Base");
  const std::pair<EQueryLanguage, std::string> seeds[] = {
      {kWql, "SELECT Label, U8 FROM Q_Base WHERE (U8 > 1 OR Label LIKE 'a[b-c]%') AND NOT __THIS ISA Q_Sub"},
      {kCql, "SELECT B.Label FROM Q_Base AS B WHERE B.Counts[1] <> 2 AND B.When < '20240101110000.000000+000'"},
      {kFql, "ANY Tags LIKE \"(a|b)*c\" OR EVERY Counts >= -1.5e3 AND Flag = TRUE AND Letter <> 'x'"},
  };
  const std::string replacements = "()[]'\",.*=<>!-_%|\\ 0aZ";
  size_t bound = 0, refused = 0;
  for (const auto& [language, seed] : seeds) {
    std::vector<std::string> variants;
    for (size_t i = 0; i < seed.size(); ++i) {
      variants.push_back(seed.substr(0, i) + seed.substr(i + 1));
      variants.push_back(seed.substr(0, i + 1) + seed.substr(i));
      for (char c : replacements) variants.push_back(seed.substr(0, i) + c + seed.substr(i + 1));
    }
    for (const std::string& text : variants) {
      try {
        const TBoundQuery query =
            TBoundQuery::Bind(TParsedQuery::Parse(language, text), ns, language == kFql ? "Q_Base" : "");
        for (const auto& instance : instances) query.Evaluate(*instance);
        ++bound;
      } catch (const TQueryError& e) {
        EXPECT_NE(std::string(e.what()), "") << text;
        ++refused;
      }
    }
  }
  // Both outcomes occur: the mangling reaches past the lexer.
  EXPECT_GT(bound, 100u);
  EXPECT_GT(refused, 1000u);
}

}  // namespace
