// TMofLexer: splits MOF text into tokens.
//
// Comments ("//" to the end of the line, "/* ... */") and white space are
// skipped. String literals are returned with their escapes resolved; the
// parser joins adjacent ones. Text inside a literal must be UTF-8; escapes
// (\xHHHH) give any character of 16 bits. Numbers keep their text; the parser gives them
// a type. Keywords are identifiers: the parser compares them without regard
// to letter case.

#ifndef INMEM_MOF_MOF_LEXER_H_
#define INMEM_MOF_MOF_LEXER_H_

#include <memory>
#include <string>

#include "mof/mof_source.h"

enum class EMofToken {
  kEnd,
  kIdentifier,  // names and keywords
  kAlias,       // $name (text without the '$')
  kString,      // "..." (text with escapes resolved, UTF-8)
  kChar,        // '...' (text with escapes resolved, UTF-8)
  kInteger,     // decimal, 0x hexadecimal, leading-0 octal, or binary with a b suffix
  kReal,
  kPunctuation,  // one of { } ( ) [ ] ; , : = and the '#' of a pragma
};

struct TMofToken {
  EMofToken kind = EMofToken::kEnd;
  std::string text;
  TMofLocation location;
};

class TMofLexer {
 public:
  explicit TMofLexer(std::shared_ptr<const TMofSource> source);

  // The next token; kEnd at the end of the text. Throws TMofError for
  // text that is no token, and leaves the lexer past that text (at least
  // one byte further), so that the next call reads on.
  TMofToken Next();

 private:
  TMofLocation Here() const;
  char Peek(size_t ahead = 0) const;
  void Advance();
  void SkipBlanksAndComments();
  TMofToken ReadToken();
  // Reads one escape after its backslash; false, with the reason in
  // *problem, for an escape that means nothing.
  bool ReadEscape(std::string* out, char quote, std::string* problem);
  TMofToken ReadQuoted(char quote);
  TMofToken ReadNumber();
  [[noreturn]] void Fail(const TMofLocation& where, const std::string& message) const;

  std::shared_ptr<const TMofSource> source_;
  const std::string& text_;
  size_t pos_ = 0;
  int line_ = 1;
  int column_ = 1;
};

#endif  // INMEM_MOF_MOF_LEXER_H_
