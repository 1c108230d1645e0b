#include "query/query_lexer.h"

#include "core/ascii.h"
#include "query/query_error.h"
#include "query/query_limits.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsNameStart(char c) { return IsAsciiLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80; }
bool IsNameChar(char c) { return IsNameStart(c) || IsAsciiDigit(c); }
bool IsHexDigit(char c) {
  return IsAsciiDigit(c) || (ToLowerAscii(c) >= 'a' && ToLowerAscii(c) <= 'f');
}

}  // namespace

TQueryToken TQueryLexer::Next() {
  SkipBlanks();
  if (pos_ >= text_.size()) return Token(EQueryToken::kEnd, pos_);
  const char c = text_[pos_];
  const char after = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
  if (IsNameStart(c)) return ReadName();
  if (IsAsciiDigit(c) || (c == '.' && IsAsciiDigit(after))) return ReadNumber();
  if ((c == '-' || c == '+') &&
      (IsAsciiDigit(after) || (after == '.' && pos_ + 2 < text_.size() && IsAsciiDigit(text_[pos_ + 2])))) {
    return ReadNumber();
  }
  if (c == '\'' || c == '"') return ReadString();
  return ReadSymbol();
}

void TQueryLexer::SkipBlanks() {
  while (pos_ < text_.size() && IsBlank(text_[pos_])) ++pos_;
}

TQueryToken TQueryLexer::Token(EQueryToken kind, size_t start) const {
  TQueryToken token;
  token.kind = kind;
  token.text = text_.substr(start, pos_ - start);
  token.position = start + 1;
  return token;
}

void TQueryLexer::Fail(size_t offset, const std::string& detail) const {
  throw TQueryError(EQueryErrorKind::kSyntax, offset + 1, detail);
}

void TQueryLexer::FailExpected(const std::string& what) const {
  Fail(pos_, "expected " + what + ", found " + QuotedForMessage(text_.substr(pos_, 1)));
}

TQueryToken TQueryLexer::ReadName() {
  const size_t start = pos_;
  while (pos_ < text_.size() && IsNameChar(text_[pos_])) ++pos_;
  if (pos_ - start > kMaxNameLength) {
    throw TQueryError(EQueryErrorKind::kLimit, start + 1,
                      "a name longer than " + std::to_string(kMaxNameLength) + " bytes");
  }
  return Token(EQueryToken::kName, start);
}

TQueryToken TQueryLexer::ReadNumber() {
  const size_t start = pos_;
  if (text_[pos_] == '-' || text_[pos_] == '+') ++pos_;
  EQueryToken kind = EQueryToken::kInteger;
  if (text_.substr(pos_, 2) == "0x" || text_.substr(pos_, 2) == "0X") {
    pos_ += 2;
    const size_t digits = pos_;
    while (pos_ < text_.size() && IsHexDigit(text_[pos_])) ++pos_;
    if (pos_ == digits) FailExpected("a hexadecimal digit");
  } else {
    while (pos_ < text_.size() && IsAsciiDigit(text_[pos_])) ++pos_;
    if (pos_ < text_.size() && text_[pos_] == '.') {
      kind = EQueryToken::kReal;
      ++pos_;
      while (pos_ < text_.size() && IsAsciiDigit(text_[pos_])) ++pos_;
    }
    if (pos_ < text_.size() && ToLowerAscii(text_[pos_]) == 'e') {
      kind = EQueryToken::kReal;
      ++pos_;
      if (pos_ < text_.size() && (text_[pos_] == '-' || text_[pos_] == '+')) ++pos_;
      const size_t digits = pos_;
      while (pos_ < text_.size() && IsAsciiDigit(text_[pos_])) ++pos_;
      if (pos_ == digits) FailExpected("the digits of an exponent");
    }
  }
  // "12abc" is no number followed by a name: the two would have to be apart.
  if (pos_ < text_.size() && IsNameChar(text_[pos_])) FailExpected("a blank or a symbol after a number");
  if (pos_ - start > kMaxLiteralLength) {
    throw TQueryError(EQueryErrorKind::kLimit, start + 1,
                      "a literal longer than " + std::to_string(kMaxLiteralLength) + " bytes");
  }
  return Token(kind, start);
}

TQueryToken TQueryLexer::ReadString() {
  const size_t start = pos_;
  const char quote = text_[pos_++];
  const bool doubledQuote = language_ == EQueryLanguage::kCql;
  std::string value;
  while (true) {
    if (pos_ >= text_.size()) Fail(start, "a string that is never closed");
    const char c = text_[pos_];
    if (c == quote) {
      if (doubledQuote && pos_ + 1 < text_.size() && text_[pos_ + 1] == quote) {
        value += quote;
        pos_ += 2;
        continue;
      }
      ++pos_;
      break;
    }
    if (c == '\\' && !doubledQuote) {
      const char escaped = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
      if (escaped != '\\' && escaped != '\'' && escaped != '"') {
        Fail(pos_ + 1, "expected \\, ' or \" after a backslash, found " +
                           QuotedForMessage(text_.substr(pos_ + 1, 1)));
      }
      value += escaped;
      pos_ += 2;
    } else {
      value += c;
      ++pos_;
    }
    if (value.size() > kMaxLiteralLength) {
      throw TQueryError(EQueryErrorKind::kLimit, start + 1,
                        "a literal longer than " + std::to_string(kMaxLiteralLength) + " bytes");
    }
  }
  TQueryToken token = Token(EQueryToken::kString, start);
  token.value = std::move(value);
  return token;
}

TQueryToken TQueryLexer::ReadSymbol() {
  const size_t start = pos_;
  static const char* const kTwoByteSymbols[] = {"<>", "!=", "<=", ">="};
  for (const char* symbol : kTwoByteSymbols) {
    if (text_.substr(pos_, 2) == symbol) {
      pos_ += 2;
      return Token(EQueryToken::kSymbol, start);
    }
  }
  const char c = text_[pos_];
  static const std::string_view kOneByteSymbols = "()[],.*=<>";
  if (kOneByteSymbols.find(c) == std::string_view::npos) {
    Fail(pos_, "unexpected character " + QuotedForMessage(text_.substr(pos_, 1)));
  }
  ++pos_;
  return Token(EQueryToken::kSymbol, start);
}
