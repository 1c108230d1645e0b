#include "query/like_pattern.h"

#include <string>

#include "core/utf8.h"
#include "query/query_error.h"
#include "query/query_limits.h"

namespace {

// What stands for a byte that starts no valid UTF-8 sequence: beyond every
// code point, so that it equals no character, only the same stray byte.
constexpr char32_t kStrayByteBase = 0x110000;

// The character at `*at` in `text`, moving `*at` past it.
char32_t NextCharacter(std::string_view text, size_t* at) {
  const size_t length = Utf8SequenceLength(text.substr(*at));
  const unsigned char first = static_cast<unsigned char>(text[*at]);
  if (length == 0) {
    ++*at;
    return kStrayByteBase + first;
  }
  char32_t c = length == 1 ? first : length == 2 ? (first & 0x1F) : length == 3 ? (first & 0x0F) : (first & 0x07);
  for (size_t i = 1; i < length; ++i) c = (c << 6) | (static_cast<unsigned char>(text[*at + i]) & 0x3F);
  *at += length;
  return c;
}

}  // namespace

bool TLikePattern::TSet::Contains(char32_t c) const {
  bool in = false;
  for (const auto& range : ranges) {
    if (c >= range.first && c <= range.second) {
      in = true;
      break;
    }
  }
  return in != negated;
}

// Builds the automaton of one pattern by Thompson's construction: each piece
// of the pattern becomes a fragment with one entry and a list of exits still
// to be connected to whatever follows it.
class TPatternCompiler {
 public:
  TPatternCompiler(TLikePattern* pattern, std::string_view text, size_t position)
      : pattern_(*pattern), text_(text), position_(position) {}

  void CompileWql() {
    TFragment whole;
    bool any = false;
    while (!AtEnd()) {
      const size_t at = at_;
      const char32_t c = NextCharacter(text_, &at_);
      TFragment piece;
      if (c == '%') {
        piece = Star(Single(TLikePattern::TState::kAny, 0));
      } else if (c == '_') {
        piece = Single(TLikePattern::TState::kAny, 0);
      } else if (c == '[') {
        piece = Set(at, false);
      } else {
        piece = Single(TLikePattern::TState::kChar, c);
      }
      whole = any ? Concatenated(std::move(whole), std::move(piece)) : std::move(piece);
      any = true;
    }
    Finish(any ? std::move(whole) : Empty());
  }

  void CompileRegex() {
    // Anchors at the ends say what the whole-value match says already.
    if (!text_.empty() && text_.front() == '^') at_ = 1;
    if (text_.size() > at_ && text_.back() == '$' && !EscapedAt(text_.size() - 1)) {
      text_.remove_suffix(1);
    }
    TFragment whole = Alternatives(0);
    if (!AtEnd()) Fail(at_, "a ')' that closes no group");
    Finish(std::move(whole));
  }

 private:
  struct TExit {
    uint32_t state;
    bool alt;
  };
  struct TFragment {
    uint32_t start = 0;
    std::vector<TExit> exits;
  };

  bool AtEnd() const { return at_ >= text_.size(); }
  char Peek() const { return text_[at_]; }

  // Whether the byte at `index` is escaped by an odd run of backslashes.
  bool EscapedAt(size_t index) const {
    size_t backslashes = 0;
    while (index > backslashes && text_[index - 1 - backslashes] == '\\') ++backslashes;
    return backslashes % 2 == 1;
  }

  [[noreturn]] void Fail(size_t at, const std::string& what) const {
    throw TQueryError(EQueryErrorKind::kSyntax, position_,
                      "invalid pattern: " + what + " at its byte " + std::to_string(at + 1));
  }

  uint32_t AddState(TLikePattern::TState::EKind kind, uint32_t value) {
    if (pattern_.states_.size() >= kMaxPatternStates) {
      throw TQueryError(EQueryErrorKind::kLimit, position_,
                        "a pattern of more than " + std::to_string(kMaxPatternStates) + " states");
    }
    pattern_.states_.push_back({kind, value, 0, 0});
    return static_cast<uint32_t>(pattern_.states_.size() - 1);
  }

  void Connect(const std::vector<TExit>& exits, uint32_t target) {
    for (const TExit& exit : exits) {
      TLikePattern::TState& state = pattern_.states_[exit.state];
      (exit.alt ? state.alt : state.next) = target;
    }
  }

  TFragment Single(TLikePattern::TState::EKind kind, uint32_t value) {
    const uint32_t state = AddState(kind, value);
    return {state, {{state, false}}};
  }
  TFragment Empty() { return Single(TLikePattern::TState::kJump, 0); }

  TFragment Concatenated(TFragment first, TFragment second) {
    Connect(first.exits, second.start);
    first.exits = std::move(second.exits);
    return first;
  }
  TFragment Either(TFragment first, TFragment second) {
    const uint32_t split = AddState(TLikePattern::TState::kSplit, 0);
    pattern_.states_[split].next = first.start;
    pattern_.states_[split].alt = second.start;
    TFragment both{split, std::move(first.exits)};
    both.exits.insert(both.exits.end(), second.exits.begin(), second.exits.end());
    return both;
  }
  // `item` any number of times: a split that enters it or leaves, and that
  // its exits come back to.
  TFragment Star(TFragment item) {
    const uint32_t split = AddState(TLikePattern::TState::kSplit, 0);
    pattern_.states_[split].next = item.start;
    Connect(item.exits, split);
    return {split, {{split, true}}};
  }
  TFragment Plus(TFragment item) {
    const uint32_t split = AddState(TLikePattern::TState::kSplit, 0);
    pattern_.states_[split].next = item.start;
    Connect(item.exits, split);
    return {item.start, {{split, true}}};
  }
  TFragment Optional(TFragment item) {
    const uint32_t split = AddState(TLikePattern::TState::kSplit, 0);
    pattern_.states_[split].next = item.start;
    item.exits.push_back({split, true});
    return {split, std::move(item.exits)};
  }

  void Finish(TFragment whole) {
    Connect(whole.exits, AddState(TLikePattern::TState::kMatch, 0));
    pattern_.start_ = whole.start;
  }

  // The set whose '[' is at `open`; at_ is just past that '['. With
  // `escapes`, a backslash makes the next character stand for itself.
  TFragment Set(size_t open, bool escapes) {
    TLikePattern::TSet set;
    if (!AtEnd() && Peek() == '^') {
      set.negated = true;
      ++at_;
    }
    bool first = true;
    while (true) {
      if (AtEnd()) Fail(open, "a '[' that is never closed");
      if (Peek() == ']' && !first) {
        ++at_;
        break;
      }
      first = false;
      const char32_t low = SetCharacter(escapes);
      char32_t high = low;
      if (at_ + 1 < text_.size() && Peek() == '-' && text_[at_ + 1] != ']') {
        ++at_;
        high = SetCharacter(escapes);
        if (high < low) Fail(at_ - 1, "a range whose end comes before its start");
      }
      set.ranges.emplace_back(low, high);
    }
    pattern_.sets_.push_back(std::move(set));
    return Single(TLikePattern::TState::kSet, static_cast<uint32_t>(pattern_.sets_.size() - 1));
  }

  char32_t SetCharacter(bool escapes) {
    if (escapes && Peek() == '\\') {
      ++at_;
      if (AtEnd()) Fail(at_ - 1, "a backslash at the end");
    }
    return NextCharacter(text_, &at_);
  }

  // alternative { '|' alternative }
  TFragment Alternatives(size_t depth) {
    TFragment result = Sequence(depth);
    while (!AtEnd() && Peek() == '|') {
      ++at_;
      result = Either(std::move(result), Sequence(depth));
    }
    return result;
  }

  // { item [* + ?] }, up to '|', ')' or the end
  TFragment Sequence(size_t depth) {
    TFragment result;
    bool any = false;
    while (!AtEnd() && Peek() != '|' && Peek() != ')') {
      TFragment item = Item(depth);
      while (!AtEnd() && (Peek() == '*' || Peek() == '+' || Peek() == '?')) {
        const char quantifier = Peek();
        ++at_;
        item = quantifier == '*' ? Star(std::move(item)) : quantifier == '+' ? Plus(std::move(item))
                                                                             : Optional(std::move(item));
      }
      result = any ? Concatenated(std::move(result), std::move(item)) : std::move(item);
      any = true;
    }
    return any ? result : Empty();
  }

  TFragment Item(size_t depth) {
    const size_t at = at_;
    const char c = Peek();
    if (c == '*' || c == '+' || c == '?') Fail(at, std::string("nothing to repeat before '") + c + "'");
    if (c == '(') {
      if (depth + 1 > kMaxQueryNesting) {
        throw TQueryError(EQueryErrorKind::kLimit, position_,
                          "groups in a pattern nested deeper than " + std::to_string(kMaxQueryNesting) +
                              " levels");
      }
      ++at_;
      TFragment group = Alternatives(depth + 1);
      if (AtEnd() || Peek() != ')') Fail(at, "a '(' that is never closed");
      ++at_;
      return group;
    }
    if (c == '.') {
      ++at_;
      return Single(TLikePattern::TState::kAny, 0);
    }
    if (c == '[') {
      ++at_;
      return Set(at, true);
    }
    if (c == '\\') {
      ++at_;
      if (AtEnd()) Fail(at, "a backslash at the end");
    }
    return Single(TLikePattern::TState::kChar, NextCharacter(text_, &at_));
  }

  TLikePattern& pattern_;
  std::string_view text_;
  size_t position_;
  size_t at_ = 0;
};

TLikePattern::TLikePattern(ESyntax syntax, std::string_view pattern, size_t position) {
  if (pattern.size() > kMaxPatternLength) {
    throw TQueryError(EQueryErrorKind::kLimit, position,
                      "a pattern longer than " + std::to_string(kMaxPatternLength) + " bytes");
  }
  TPatternCompiler compiler(this, pattern, position);
  if (syntax == ESyntax::kWql) {
    compiler.CompileWql();
  } else {
    compiler.CompileRegex();
  }
}

bool TLikePattern::Consumes(const TState& state, char32_t c) const {
  switch (state.kind) {
    case TState::kChar:
      return state.value == c;
    case TState::kAny:
      return true;
    case TState::kSet:
      return sets_[state.value].Contains(c);
    default:
      return false;
  }
}

bool TLikePattern::Matches(std::string_view value) const {
  // The states the automaton is in after each character, with the states
  // that only lead on (splits, jumps) followed through at once. `seen`
  // stamps each state with the step that last added it, so a state enters a
  // list once per step and a loop of empty moves ends.
  uint16_t lists[2][kMaxPatternStates];
  uint16_t pending[kMaxPatternStates];
  uint32_t seen[kMaxPatternStates];
  const size_t count = states_.size();
  for (size_t i = 0; i < count; ++i) seen[i] = 0;
  uint32_t step = 1;
  size_t sizes[2] = {0, 0};

  auto add = [&](int list, uint32_t state) {
    size_t top = 0;
    if (seen[state] == step) return;
    seen[state] = step;
    pending[top++] = static_cast<uint16_t>(state);
    while (top > 0) {
      const TState& s = states_[pending[--top]];
      if (s.kind == TState::kSplit || s.kind == TState::kJump) {
        const uint32_t targets[2] = {s.next, s.alt};
        for (int t = 0; t < (s.kind == TState::kSplit ? 2 : 1); ++t) {
          if (seen[targets[t]] == step) continue;
          seen[targets[t]] = step;
          pending[top++] = static_cast<uint16_t>(targets[t]);
        }
      } else {
        lists[list][sizes[list]++] = static_cast<uint16_t>(&s - states_.data());
      }
    }
  };

  int current = 0;
  add(current, start_);
  size_t at = 0;
  while (at < value.size()) {
    if (sizes[current] == 0) return false;
    const char32_t c = NextCharacter(value, &at);
    const int next = 1 - current;
    sizes[next] = 0;
    ++step;
    for (size_t i = 0; i < sizes[current]; ++i) {
      const TState& s = states_[lists[current][i]];
      if (Consumes(s, c)) add(next, s.next);
    }
    current = next;
  }
  for (size_t i = 0; i < sizes[current]; ++i) {
    if (states_[lists[current][i]].kind == TState::kMatch) return true;
  }
  return false;
}
