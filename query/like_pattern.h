// TLikePattern: the pattern of a LIKE condition, compiled once and matched
// against many values.
//
// Two syntaxes, both matched against the whole value, character by character
// (UTF-8 code points; a byte that is no part of a valid sequence is a
// character of its own, which only the same byte and the wildcards match),
// letter case counting:
//   Wql    %  any run of characters, the empty one included
//          _  any one character
//          [abc] [a-z] one character of a set; [^abc] one not in it; a ]
//          right after [ or [^ belongs to the set
//          everything else stands for itself
//   Regex  (CQL and FQL) .  any one character
//          [...] [^...] a set, as above, where \ makes the next character
//          stand for itself
//          * + ?  after an item: any number of it, one or more, at most one
//          ( )  a group; |  alternatives
//          \  makes the next character stand for itself
//          ^ first and $ last are taken and change nothing (the match is
//          of the whole value anyway); anywhere else they stand for
//          themselves.
//   Counted repetition ({n,m}) and class escapes (\d, \w) are not read: a
//   backslash before a letter means that letter.
//
// Matching simulates the pattern's automaton over the value, every state at
// once (no backtracking), so it costs at most the value's length times the
// pattern's states, whatever the pattern; its working sets live on the stack
// (at most kMaxPatternStates states), so matching allocates nothing.
//
// A compiled pattern is immutable: Matches may run on several threads at once.

#ifndef INMEM_QUERY_LIKE_PATTERN_H_
#define INMEM_QUERY_LIKE_PATTERN_H_

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "query/query_language.h"

class TLikePattern {
 public:
  enum class ESyntax { kWql, kRegex };

  // Compiles `pattern`; a pattern that does not read, or is past the bounds
  // of query_limits.h, throws TQueryError at `position` (where the pattern
  // stands in the query), saying at which character of the pattern.
  TLikePattern(ESyntax syntax, std::string_view pattern, size_t position);

  bool Matches(std::string_view value) const;

  size_t StateCount() const { return states_.size(); }

 private:
  struct TState {
    enum EKind : uint8_t { kChar, kAny, kSet, kSplit, kJump, kMatch };
    EKind kind;
    // kChar: the character; kSet: the index of the set.
    uint32_t value;
    // The next state; kSplit also goes to `alt`.
    uint32_t next;
    uint32_t alt;
  };
  struct TSet {
    bool negated = false;
    std::vector<std::pair<char32_t, char32_t>> ranges;
    bool Contains(char32_t c) const;
  };

  friend class TPatternCompiler;

  bool Consumes(const TState& state, char32_t c) const;

  std::vector<TState> states_;
  std::vector<TSet> sets_;
  uint32_t start_ = 0;
};

// The pattern syntax of a language's LIKE.
inline TLikePattern::ESyntax PatternSyntax(EQueryLanguage language) {
  return language == EQueryLanguage::kWql ? TLikePattern::ESyntax::kWql : TLikePattern::ESyntax::kRegex;
}

#endif  // INMEM_QUERY_LIKE_PATTERN_H_
