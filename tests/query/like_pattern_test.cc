// LIKE patterns of both syntaxes against values: wildcards, sets, groups,
// characters beyond ASCII, and patterns that do not read.

#include "query/like_pattern.h"

#include <string>

#include <gtest/gtest.h>

#include "query/query_error.h"
#include "query/query_limits.h"

namespace {

using ESyntax = TLikePattern::ESyntax;

TEST(LikePatternTest, MatchesWholeValues) {
  struct Row {
    ESyntax syntax;
    const char* pattern;
    const char* value;
    bool matches;
  };
  const Row rows[] = {
      // WQL wildcards.
      {ESyntax::kWql, "abc", "abc", true},
      {ESyntax::kWql, "abc", "abcd", false},
      {ESyntax::kWql, "abc", "ABC", false},
      {ESyntax::kWql, "a%", "a", true},
      {ESyntax::kWql, "a%", "abcdef", true},
      {ESyntax::kWql, "a%", "ba", false},
      {ESyntax::kWql, "%c", "abc", true},
      {ESyntax::kWql, "%b%", "abc", true},
      {ESyntax::kWql, "%b%", "ac", false},
      {ESyntax::kWql, "%", "", true},
      {ESyntax::kWql, "_", "", false},
      {ESyntax::kWql, "a_c", "abc", true},
      {ESyntax::kWql, "a_c", "ac", false},
      {ESyntax::kWql, "a%b%c", "aXXbYYc", true},
      {ESyntax::kWql, "a%b%c", "aXXcYYb", false},
      {ESyntax::kWql, "[abc]x", "bx", true},
      {ESyntax::kWql, "[abc]x", "dx", false},
      {ESyntax::kWql, "[a-f]%", "eagle", true},
      {ESyntax::kWql, "[a-f]%", "goose", false},
      {ESyntax::kWql, "[^a-f]%", "goose", true},
      {ESyntax::kWql, "[^a-f]%", "eagle", false},
      {ESyntax::kWql, "[]]", "]", true},
      {ESyntax::kWql, "[%]", "%", true},
      {ESyntax::kWql, "[%]", "x", false},
      {ESyntax::kWql, "a.c", "abc", false},
      {ESyntax::kWql, "a*", "aaa", false},
      // One wildcard is one character, whatever its UTF-8 length.
      {ESyntax::kWql, "caf_", "caf\xc3\xa9", true},
      {ESyntax::kWql, "caf__", "caf\xc3\xa9", false},
      {ESyntax::kWql, "[\xc3\xa0-\xc3\xbc]", "\xc3\xa9", true},
      // A byte of no UTF-8 sequence is one character, which only the same
      // byte and the wildcards match.
      {ESyntax::kWql, "a_b",
       "a\xff"
       "b",
       true},
      {ESyntax::kWql,
       "a\xff"
       "b",
       "a\xff"
       "b",
       true},
      {ESyntax::kWql,
       "a\xfe"
       "b",
       "a\xff"
       "b",
       false},
      {ESyntax::kWql,
       "a\xc3"
       "b",
       "a\xc3\xa9", false},
      // Regular expressions (CQL, FQL).
      {ESyntax::kRegex, "abc", "abc", true},
      {ESyntax::kRegex, "a.c", "abc", true},
      {ESyntax::kRegex, "a.c", "ac", false},
      {ESyntax::kRegex, "a.*", "a", true},
      {ESyntax::kRegex, "a.*", "abc", true},
      {ESyntax::kRegex, "ab*c", "ac", true},
      {ESyntax::kRegex, "ab*c", "abbbc", true},
      {ESyntax::kRegex, "ab+c", "ac", false},
      {ESyntax::kRegex, "ab+c", "abbc", true},
      {ESyntax::kRegex, "ab?c", "abc", true},
      {ESyntax::kRegex, "ab?c", "abbc", false},
      {ESyntax::kRegex, "(ab)+", "ababab", true},
      {ESyntax::kRegex, "(ab)+", "aba", false},
      {ESyntax::kRegex, "red|green", "green", true},
      {ESyntax::kRegex, "red|green", "redgreen", false},
      {ESyntax::kRegex, "x(red|green)y", "xgreeny", true},
      {ESyntax::kRegex, "(|a)b", "b", true},
      {ESyntax::kRegex, "()*", "", true},
      {ESyntax::kRegex, "(a*)*b", "aab", true},
      {ESyntax::kRegex, "[0-9]+\\.[0-9]+", "10.25", true},
      {ESyntax::kRegex, "[0-9]+\\.[0-9]+", "10x25", false},
      {ESyntax::kRegex, "[^0-9]*", "abc", true},
      {ESyntax::kRegex, "[^0-9]*", "ab1", false},
      {ESyntax::kRegex, "[\\]a]+", "]a]", true},
      {ESyntax::kRegex, "a\\*", "a*", true},
      {ESyntax::kRegex, "a\\*", "aa", false},
      {ESyntax::kRegex, "^abc$", "abc", true},
      {ESyntax::kRegex, "^ab", "abc", false},
      {ESyntax::kRegex, "a^b", "a^b", true},
      {ESyntax::kRegex, "a\\$", "a$", true},
      {ESyntax::kRegex, "%", "%", true},
      {ESyntax::kRegex, "%", "abc", false},
      {ESyntax::kRegex, "\xc3\xa9+", "\xc3\xa9\xc3\xa9", true},
      {ESyntax::kRegex, ".", "\xc3\xa9", true},
  };
  for (const Row& row : rows) {
    TLikePattern pattern(row.syntax, row.pattern, 1);
    EXPECT_EQ(pattern.Matches(row.value), row.matches)
        << (row.syntax == ESyntax::kWql ? "WQL " : "regex ") << row.pattern << " on " << row.value;
  }
}

// A pattern that would make a backtracking matcher take exponential time
// costs the automaton the value's length times its states.
TEST(LikePatternTest, NestedRepetitionStaysLinear) {
  const std::string many(4000, 'a');
  EXPECT_FALSE(TLikePattern(ESyntax::kRegex, "(a*)*(a*)*(a*)*b", 1).Matches(many));
  EXPECT_TRUE(TLikePattern(ESyntax::kRegex, "(a*)*(a*)*(a*)*", 1).Matches(many));
  EXPECT_FALSE(TLikePattern(ESyntax::kWql, "%a%a%a%a%a%a%a%a%b", 1).Matches(many));
}

TEST(LikePatternTest, RefusesWhatDoesNotRead) {
  struct Row {
    ESyntax syntax;
    std::string pattern;
    EQueryErrorKind kind;
    const char* message;
  };
  const Row rows[] = {
      {ESyntax::kWql, "[ab", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a '[' that is never closed at its byte 1"},
      {ESyntax::kWql, "x[z-a]", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a range whose end comes before its start at its byte 5"},
      {ESyntax::kRegex, "*a", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: nothing to repeat before '*' at its byte 1"},
      {ESyntax::kRegex, "a|+", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: nothing to repeat before '+' at its byte 3"},
      {ESyntax::kRegex, "(ab", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a '(' that is never closed at its byte 1"},
      {ESyntax::kRegex, "ab)", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a ')' that closes no group at its byte 3"},
      {ESyntax::kRegex, "ab\\", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a backslash at the end at its byte 3"},
      {ESyntax::kRegex, "[a\\", EQueryErrorKind::kSyntax,
       "at position 9: invalid pattern: a backslash at the end at its byte 3"},
      {ESyntax::kRegex, std::string(33, '(') + std::string(33, ')'), EQueryErrorKind::kLimit,
       "at position 9: groups in a pattern nested deeper than 32 levels"},
      {ESyntax::kWql, std::string(kMaxPatternLength + 1, 'a'), EQueryErrorKind::kLimit,
       "at position 9: a pattern longer than 512 bytes"},
      // Within the length bound, but past the states the matcher keeps:
      // every '|' opens an alternative and adds a split.
      {ESyntax::kRegex, std::string(kMaxPatternLength, '|'), EQueryErrorKind::kLimit,
       "at position 9: a pattern of more than 1024 states"},
  };
  for (const Row& row : rows) {
    try {
      TLikePattern(row.syntax, row.pattern, 9);
      ADD_FAILURE() << row.pattern << " was read";
    } catch (const TQueryError& e) {
      EXPECT_EQ(e.Kind(), row.kind) << row.pattern;
      EXPECT_STREQ(e.what(), row.message) << row.pattern;
    }
  }
}

}  // namespace
