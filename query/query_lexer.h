// TQueryLexer: splits query text into tokens, by the rules of one language.
//
// Blanks (space, tab, line ends) separate tokens; any other control byte is
// refused. Names start with a letter, '_' or a byte of a UTF-8 sequence and go
// on with those and digits; keywords are names, compared by the parser in any
// letter case. Numbers: decimal or 0x hexadecimal integers, decimal reals with
// a point or an exponent, each with an optional sign written right before it.
// Strings are quoted with ' or " in every language; inside, WQL and FQL take
// a backslash before \, ' or " for that character, and CQL takes the quote
// doubled. Symbols: ( ) [ ] , . * = <> != < <= > >=.
//
// Every token carries its 1-based byte position. A token past a bound of
// query_limits.h (a name or a literal too long) is refused as kLimit, text
// that is no token as kSyntax, both as TQueryError at the place of the fault.
//
// A lexer is the state of one reading: one thread uses it, once.

#ifndef INMEM_QUERY_QUERY_LEXER_H_
#define INMEM_QUERY_QUERY_LEXER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "query/query_language.h"

enum class EQueryToken { kEnd, kName, kInteger, kReal, kString, kSymbol };

struct TQueryToken {
  EQueryToken kind = EQueryToken::kEnd;
  // The token as written: a view of the query text (empty at the end).
  std::string_view text;
  // A string's characters with its quotes and escapes resolved.
  std::string value;
  // 1-based byte offset of the token's first byte.
  size_t position = 0;
};

class TQueryLexer {
 public:
  // `text` must outlive the lexer and the tokens it gives.
  TQueryLexer(EQueryLanguage language, std::string_view text) : language_(language), text_(text) {}

  // The next token; kEnd, repeatedly, once the text is used up.
  TQueryToken Next();

 private:
  void SkipBlanks();
  TQueryToken ReadName();
  TQueryToken ReadNumber();
  TQueryToken ReadString();
  TQueryToken ReadSymbol();
  TQueryToken Token(EQueryToken kind, size_t start) const;
  [[noreturn]] void Fail(size_t offset, const std::string& detail) const;
  // "expected `what`, found" the byte at the current place.
  [[noreturn]] void FailExpected(const std::string& what) const;

  EQueryLanguage language_;
  std::string_view text_;
  size_t pos_ = 0;
};

#endif  // INMEM_QUERY_QUERY_LEXER_H_
