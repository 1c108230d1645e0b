#include "mof/mof_lexer.h"

#include <cctype>

#include "core/printable_text.h"
#include "core/utf8.h"

namespace {

bool IsNameStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool IsNameChar(char c) { return IsNameStart(c) || std::isdigit(static_cast<unsigned char>(c)); }

}  // namespace

TMofLexer::TMofLexer(std::shared_ptr<const TMofSource> source)
    : source_(std::move(source)), text_(source_->text) {}

TMofLocation TMofLexer::Here() const { return TMofLocation{source_, line_, column_}; }

char TMofLexer::Peek(size_t ahead) const {
  return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0';
}

void TMofLexer::Advance() {
  if (text_[pos_] == '\n') {
    ++line_;
    column_ = 1;
  } else {
    ++column_;
  }
  ++pos_;
}

void TMofLexer::Fail(const TMofLocation& where, const std::string& message) const {
  throw TMofError(where, message);
}

void TMofLexer::SkipBlanksAndComments() {
  while (pos_ < text_.size()) {
    char c = Peek();
    if (std::isspace(static_cast<unsigned char>(c))) {
      Advance();
    } else if (c == '/' && Peek(1) == '/') {
      while (pos_ < text_.size() && Peek() != '\n') Advance();
    } else if (c == '/' && Peek(1) == '*') {
      TMofLocation start = Here();
      Advance();
      Advance();
      while (!(Peek() == '*' && Peek(1) == '/')) {
        if (pos_ >= text_.size()) Fail(start, "unterminated comment: expected \"*/\"");
        Advance();
      }
      Advance();
      Advance();
    } else {
      return;
    }
  }
}

TMofToken TMofLexer::Next() {
  const size_t start = pos_;
  try {
    return ReadToken();
  } catch (const TMofError&) {
    // Whatever went wrong, the next call starts further on: reading again
    // after an error (recovery does) must never stop in one place.
    if (pos_ == start && pos_ < text_.size()) Advance();
    throw;
  }
}

TMofToken TMofLexer::ReadToken() {
  SkipBlanksAndComments();
  TMofToken token;
  token.location = Here();
  if (pos_ >= text_.size()) return token;
  char c = Peek();
  if (c == '"' || c == '\'') return ReadQuoted(c);
  if ((c == '-' || c == '+') && text_.compare(pos_ + 1, 3, "INF") == 0 && !IsNameChar(Peek(4))) {
    token.kind = EMofToken::kReal;  // a signed infinity
    for (int i = 0; i < 4; ++i) {
      token.text += Peek();
      Advance();
    }
    return token;
  }
  if (std::isdigit(static_cast<unsigned char>(c)) ||
      ((c == '-' || c == '+' || c == '.') && std::isdigit(static_cast<unsigned char>(Peek(1))))) {
    return ReadNumber();
  }
  if (c == '$') {
    Advance();
    if (!IsNameStart(Peek())) Fail(Here(), "expected an alias name after '$'");
    token.kind = EMofToken::kAlias;
    while (IsNameChar(Peek())) {
      token.text += Peek();
      Advance();
    }
    return token;
  }
  if (IsNameStart(c)) {
    token.kind = EMofToken::kIdentifier;
    while (IsNameChar(Peek())) {
      token.text += Peek();
      Advance();
    }
    return token;
  }
  if (std::string("{}()[];,:=#").find(c) != std::string::npos) {
    token.kind = EMofToken::kPunctuation;
    token.text = std::string(1, c);
    Advance();
    return token;
  }
  Advance();
  Fail(token.location, "unexpected character '" + Printable(std::string(1, c)) + "'");
}

bool TMofLexer::ReadEscape(std::string* out, char quote, std::string* problem) {
  Advance();  // the backslash
  char c = Peek();
  switch (c) {
    case 'b': *out += '\b'; break;
    case 't': *out += '\t'; break;
    case 'n': *out += '\n'; break;
    case 'f': *out += '\f'; break;
    case 'r': *out += '\r'; break;
    case '"': *out += '"'; break;
    case '\'': *out += '\''; break;
    case '\\': *out += '\\'; break;
    case 'x':
    case 'X': {
      Advance();
      unsigned code = 0;
      int digits = 0;
      while (digits < 4 && std::isxdigit(static_cast<unsigned char>(Peek()))) {
        char d = Peek();
        code = code * 16 + static_cast<unsigned>(std::isdigit(static_cast<unsigned char>(d))
                                                      ? d - '0'
                                                      : std::tolower(d) - 'a' + 10);
        ++digits;
        Advance();
      }
      if (digits == 0) {
        *problem = "expected 1 to 4 hexadecimal digits after \"\\x\"";
        return false;
      }
      AppendChar16(out, static_cast<char16_t>(code));
      return true;
    }
    default:
      *problem = "unknown escape \"\\" + Printable(std::string(1, c)) + "\" in a " +
                 (quote == '"' ? "string" : "character") + " literal";
      return false;
  }
  Advance();
  return true;
}

TMofToken TMofLexer::ReadQuoted(char quote) {
  TMofToken token;
  token.location = Here();
  token.kind = quote == '"' ? EMofToken::kString : EMofToken::kChar;
  const char* what = quote == '"' ? "string" : "character";
  // The first problem inside the literal is reported once its end is found,
  // so that reading goes on after the literal, not in the middle of it.
  TMofLocation problemAt;
  std::string problem;
  Advance();
  while (true) {
    if (pos_ >= text_.size() || Peek() == '\n') {
      Fail(token.location,
           std::string("unterminated ") + what + " literal: expected " + quote);
    }
    char c = Peek();
    if (c == quote) {
      Advance();
      if (!problem.empty()) Fail(problemAt, problem);
      return token;
    }
    TMofLocation here = Here();
    std::string found;
    if (c == '\\') {
      if (!ReadEscape(&token.text, quote, &found) && problem.empty()) {
        problemAt = here;
        problem = found;
      }
      continue;
    }
    // Text in a literal is UTF-8; escapes can give any other character.
    size_t length = Utf8SequenceLength(std::string_view(text_).substr(pos_, 4));
    if (length == 0) {
      if (problem.empty()) {
        problemAt = here;
        problem = std::string("invalid UTF-8 in a ") + what + " literal: byte " +
                  Printable(std::string(1, c)) + " (write other characters as \\xHHHH)";
      }
      length = 1;
    }
    for (size_t i = 0; i < length; ++i) {
      token.text += Peek();
      Advance();
    }
  }
}

TMofToken TMofLexer::ReadNumber() {
  TMofToken token;
  token.location = Here();
  token.kind = EMofToken::kInteger;
  if (Peek() == '-' || Peek() == '+') {
    token.text += Peek();
    Advance();
  }
  while (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '.' ||
         ((Peek() == '-' || Peek() == '+') && (token.text.back() == 'e' || token.text.back() == 'E') &&
          token.text.find_first_of("xX") == std::string::npos)) {
    token.text += Peek();
    Advance();
  }
  const std::string& s = token.text;
  size_t digits = (s[0] == '-' || s[0] == '+') ? 1 : 0;
  bool hex = s.size() > digits + 1 && s[digits] == '0' && (s[digits + 1] == 'x' || s[digits + 1] == 'X');
  if (!hex && s.find_first_of(".eE") != std::string::npos) token.kind = EMofToken::kReal;
  return token;
}
