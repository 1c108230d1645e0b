// TMofParser: reads MOF productions one at a time: pragmas, qualifier
// declarations, classes (with properties, references and methods) and
// instances. Keywords are matched in any letter case.
//
// Next throws TMofError at the first text that does not fit; Recover
// then skips to the end of the production so that reading can go on.

#ifndef INMEM_MOF_MOF_PARSER_H_
#define INMEM_MOF_MOF_PARSER_H_

#include <memory>

#include "mof/mof_ast.h"
#include "mof/mof_lexer.h"

class TMofParser {
 public:
  explicit TMofParser(std::shared_ptr<const TMofSource> source);

  // Reads the next production into *production; false at the end of the text.
  bool Next(TMofProduction* production);
  // After a syntax error: skips to just past the ';' that ends the failed
  // production (outside the braces it opened), or to the start of the next
  // production (outside the braces, brackets and parentheses it opened),
  // whichever comes first.
  void Recover();

 private:
  // Braces, brackets and parentheses opened and not yet closed.
  struct TOpen {
    int braces = 0;
    int brackets = 0;
    int parentheses = 0;
  };

  const TMofToken& Peek();
  TMofToken Take();
  bool IsPunctuation(const char* p);
  bool IsKeyword(const char* word);
  void Expect(const char* punctuation, const char* what);
  void ExpectKeyword(const char* word);
  std::string ExpectName(const char* what);
  [[noreturn]] void FailAt(const TMofToken& token, const std::string& expected);
  static bool StartsProduction(const TMofToken& token);
  // Counts `punctuation` in *open when it opens or closes one of them.
  static void Nest(const std::string& punctuation, TOpen* open);

  void ParsePragma(TMofPragma* pragma);
  void ParseQualifierDecl(TMofQualifierDecl* decl);
  void ParseClass(std::vector<TMofQualifier> qualifiers, TMofClass* cls);
  void ParseFeature(TMofFeature* feature);
  void ParseParameter(TMofParameter* parameter);
  void ParseInstance(std::vector<TMofQualifier> qualifiers, TMofInstance* instance);
  std::vector<TMofQualifier> ParseQualifierList();
  std::vector<std::string> ParseFlavorList();
  // A data type keyword, or "ClassName REF".
  TMofType ParseType();
  // "[" [size] "]", when present.
  bool ParseArraySuffix();
  TMofValue ParseInitializer();
  TMofValue ParseConstant();

  TMofLexer lexer_;
  TMofToken current_;
  bool hasCurrent_ = false;
  // What the production being read has opened and not yet closed.
  TOpen open_;
  // The production being read has a qualifier list and has not yet come to
  // the "class" or "instance" it qualifies.
  bool listWaits_ = false;
};

#endif  // INMEM_MOF_MOF_PARSER_H_
