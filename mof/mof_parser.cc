#include "mof/mof_parser.h"

#include <strings.h>

#include "core/printable_text.h"

namespace {

bool EqualsIgnoringCase(const std::string& a, const char* b) {
  return strcasecmp(a.c_str(), b) == 0;
}

std::string Describe(const TMofToken& token) {
  switch (token.kind) {
    case EMofToken::kEnd: return "the end of the file";
    case EMofToken::kString: return "a string";
    case EMofToken::kChar: return "a character literal";
    case EMofToken::kInteger:
    case EMofToken::kReal: return "the number " + Printable(token.text);
    case EMofToken::kAlias: return "the alias $" + Printable(token.text);
    default: return "'" + Printable(token.text) + "'";
  }
}

const char* const kFlavors[] = {"EnableOverride", "DisableOverride", "Restricted", "ToSubclass",
                                "Translatable", "ToInstance"};

}  // namespace

TMofParser::TMofParser(std::shared_ptr<const TMofSource> source) : lexer_(std::move(source)) {}

const TMofToken& TMofParser::Peek() {
  if (!hasCurrent_) {
    current_ = lexer_.Next();
    hasCurrent_ = true;
  }
  return current_;
}

TMofToken TMofParser::Take() {
  Peek();
  hasCurrent_ = false;
  if (current_.kind == EMofToken::kPunctuation) Nest(current_.text, &open_);
  return current_;
}

bool TMofParser::IsPunctuation(const char* p) {
  return Peek().kind == EMofToken::kPunctuation && Peek().text == p;
}

bool TMofParser::IsKeyword(const char* word) {
  return Peek().kind == EMofToken::kIdentifier && EqualsIgnoringCase(Peek().text, word);
}

void TMofParser::FailAt(const TMofToken& token, const std::string& expected) {
  throw TMofError(token.location, "expected " + expected + ", found " + Describe(token));
}

void TMofParser::Expect(const char* punctuation, const char* what) {
  if (!IsPunctuation(punctuation)) FailAt(Peek(), what);
  Take();
}

void TMofParser::ExpectKeyword(const char* word) {
  if (!IsKeyword(word)) FailAt(Peek(), std::string("\"") + word + "\"");
  Take();
}

std::string TMofParser::ExpectName(const char* what) {
  if (Peek().kind != EMofToken::kIdentifier) FailAt(Peek(), what);
  return Take().text;
}

bool TMofParser::StartsProduction(const TMofToken& token) {
  if (token.kind == EMofToken::kPunctuation) return token.text == "#";
  return token.kind == EMofToken::kIdentifier &&
         (EqualsIgnoringCase(token.text, "class") || EqualsIgnoringCase(token.text, "instance") ||
          EqualsIgnoringCase(token.text, "qualifier"));
}

void TMofParser::Nest(const std::string& punctuation, TOpen* open) {
  auto count = [&](int* n, char opener, char closer) {
    if (punctuation[0] == opener) ++*n;
    if (punctuation[0] == closer && *n > 0) --*n;
  };
  count(&open->braces, '{', '}');
  count(&open->brackets, '[', ']');
  count(&open->parentheses, '(', ')');
}

void TMofParser::Recover() {
  // What the failed production opened is still open.
  TOpen open = open_;
  // A qualifier list of the failed production still waits for the "class"
  // or "instance" that it qualifies: that word belongs to the failed one.
  bool listWaits = listWaits_;
  // A '[' after a name is an array's size; any other starts a qualifier list.
  bool afterName = false;
  while (true) {
    TMofToken token;
    if (hasCurrent_) {
      token = current_;
      hasCurrent_ = false;
    } else {
      try {
        token = lexer_.Next();
      } catch (const TMofError&) {
        continue;  // skip text that is no token; the lexer has moved past it
      }
    }
    // The next production's first token, outside anything the failed one
    // opened, ends the failed one. It is kept for Next, which reads it, so
    // recovery stopping there still moves on; and a stray byte between two
    // productions costs the second nothing.
    const bool list = token.kind == EMofToken::kPunctuation && token.text == "[" && !afterName;
    if (open.braces == 0 && open.brackets == 0 && open.parentheses == 0 &&
        (list || StartsProduction(token))) {
      const bool qualified = EqualsIgnoringCase(token.text, "class") ||
                             EqualsIgnoringCase(token.text, "instance");
      if (!(listWaits && qualified)) {
        current_ = token;
        hasCurrent_ = true;
        return;
      }
      listWaits = false;
    }
    if (token.kind == EMofToken::kEnd) return;
    afterName = token.kind == EMofToken::kIdentifier;
    if (token.kind != EMofToken::kPunctuation) continue;
    if (token.text == "]" && open.braces == 0 && open.brackets == 1) listWaits = true;
    Nest(token.text, &open);
    if (token.text == ";" && open.braces == 0) return;
  }
}

bool TMofParser::Next(TMofProduction* production) {
  *production = TMofProduction();
  open_ = TOpen();
  listWaits_ = false;
  if (Peek().kind == EMofToken::kEnd) return false;
  if (IsPunctuation("#")) {
    production->kind = TMofProduction::kPragma;
    ParsePragma(&production->pragma);
    return true;
  }
  if (IsKeyword("qualifier")) {
    production->kind = TMofProduction::kQualifierDecl;
    ParseQualifierDecl(&production->qualifierDecl);
    return true;
  }
  std::vector<TMofQualifier> qualifiers;
  if (IsPunctuation("[")) {
    qualifiers = ParseQualifierList();
    listWaits_ = true;
  }
  if (IsKeyword("class")) {
    listWaits_ = false;
    production->kind = TMofProduction::kClass;
    ParseClass(std::move(qualifiers), &production->cls);
    return true;
  }
  if (IsKeyword("instance")) {
    listWaits_ = false;
    production->kind = TMofProduction::kInstance;
    ParseInstance(std::move(qualifiers), &production->instance);
    return true;
  }
  FailAt(Peek(), "\"#pragma\", \"qualifier\", \"class\" or \"instance of\"");
}

void TMofParser::ParsePragma(TMofPragma* pragma) {
  pragma->location = Take().location;  // '#'
  ExpectKeyword("pragma");
  pragma->name = ExpectName("a pragma name");
  Expect("(", "'(' after the pragma name");
  if (Peek().kind != EMofToken::kString) FailAt(Peek(), "a string");
  pragma->parameter = Take().text;
  Expect(")", "')'");
}

void TMofParser::ParseQualifierDecl(TMofQualifierDecl* decl) {
  decl->location = Take().location;  // "qualifier"
  decl->name = ExpectName("a qualifier name");
  Expect(":", "':' and the qualifier's type");
  decl->type = ParseType();
  if (decl->type.type == kCIMTypeReference) FailAt(Peek(), "a data type (not a reference)");
  decl->type.isArray = ParseArraySuffix();
  if (IsPunctuation("=")) {
    Take();
    decl->defaultValue = ParseInitializer();
  }
  Expect(",", "',' and \"Scope(...)\"");
  ExpectKeyword("scope");
  Expect("(", "'('");
  do {
    decl->scopes.push_back(ExpectName("a scope (class, association, indication, property, "
                                      "reference, method, parameter, qualifier or any)"));
  } while (IsPunctuation(",") && (Take(), true));
  Expect(")", "')' or ','");
  if (IsPunctuation(",")) {
    Take();
    ExpectKeyword("flavor");
    Expect("(", "'('");
    decl->flavors = ParseFlavorList();
    Expect(")", "')' or ','");
  }
  Expect(";", "';' after the qualifier declaration");
}

std::vector<std::string> TMofParser::ParseFlavorList() {
  std::vector<std::string> flavors;
  do {
    TMofToken token = Peek();
    bool known = false;
    for (const char* flavor : kFlavors) known = known || IsKeyword(flavor);
    if (!known) {
      FailAt(token, "a flavor (EnableOverride, DisableOverride, Restricted, ToSubclass or "
                    "Translatable)");
    }
    flavors.push_back(Take().text);
  } while (IsPunctuation(",") && (Take(), true));
  return flavors;
}

std::vector<TMofQualifier> TMofParser::ParseQualifierList() {
  Take();  // '['
  std::vector<TMofQualifier> qualifiers;
  while (true) {
    TMofQualifier qualifier;
    qualifier.location = Peek().location;
    qualifier.name = ExpectName("a qualifier name");
    if (IsPunctuation("(")) {
      Take();
      qualifier.value = ParseConstant();
      Expect(")", "')' after the qualifier's value");
    } else if (IsPunctuation("{")) {
      qualifier.value = ParseInitializer();
    }
    if (IsPunctuation(":")) {
      Take();
      // Flavors follow the colon, separated by blanks.
      while (true) {
        bool known = false;
        for (const char* flavor : kFlavors) known = known || IsKeyword(flavor);
        if (!known) break;
        qualifier.flavors.push_back(Take().text);
      }
      if (qualifier.flavors.empty()) FailAt(Peek(), "a flavor after ':'");
    }
    qualifiers.push_back(std::move(qualifier));
    if (IsPunctuation("]")) {
      Take();
      return qualifiers;
    }
    Expect(",", "',' or ']' in the qualifier list");
  }
}

TMofType TMofParser::ParseType() {
  TMofType type;
  TMofToken token = Peek();
  if (token.kind != EMofToken::kIdentifier) FailAt(token, "a data type");
  if (ParseCIMTypeName(token.text, &type.type) && type.type != kCIMTypeReference) {
    Take();
    return type;
  }
  // "ClassName REF"
  Take();
  if (!IsKeyword("ref")) FailAt(token, "a data type or \"ClassName REF\"");
  Take();
  type.type = kCIMTypeReference;
  type.refClass = token.text;
  return type;
}

bool TMofParser::ParseArraySuffix() {
  if (!IsPunctuation("[")) return false;
  Take();
  if (Peek().kind == EMofToken::kInteger) Take();  // a fixed size is accepted and not kept
  Expect("]", "']' to close the array size");
  return true;
}

void TMofParser::ParseClass(std::vector<TMofQualifier> qualifiers, TMofClass* cls) {
  cls->qualifiers = std::move(qualifiers);
  cls->location = Take().location;  // "class"
  cls->name = ExpectName("a class name");
  if (IsPunctuation(":")) {
    Take();
    cls->superName = ExpectName("the superclass name");
  }
  Expect("{", "'{' to open the class body");
  while (!IsPunctuation("}")) {
    TMofFeature feature;
    ParseFeature(&feature);
    cls->features.push_back(std::move(feature));
  }
  Take();
  Expect(";", "';' after the class body");
}

void TMofParser::ParseFeature(TMofFeature* feature) {
  if (IsPunctuation("[")) feature->qualifiers = ParseQualifierList();
  feature->location = Peek().location;
  feature->type = ParseType();
  feature->name = ExpectName("a property or method name");
  if (IsPunctuation("(")) {
    Take();
    feature->kind = TMofFeature::kMethod;
    while (!IsPunctuation(")")) {
      TMofParameter parameter;
      ParseParameter(&parameter);
      feature->parameters.push_back(std::move(parameter));
      if (!IsPunctuation(")")) Expect(",", "',' or ')' in the parameter list");
    }
    Take();
  } else {
    feature->type.isArray = ParseArraySuffix();
    if (IsPunctuation("=")) {
      Take();
      feature->defaultValue = ParseInitializer();
    }
  }
  Expect(";", "';' after the declaration");
}

void TMofParser::ParseParameter(TMofParameter* parameter) {
  if (IsPunctuation("[")) parameter->qualifiers = ParseQualifierList();
  parameter->location = Peek().location;
  parameter->type = ParseType();
  parameter->name = ExpectName("a parameter name");
  parameter->type.isArray = ParseArraySuffix();
}

void TMofParser::ParseInstance(std::vector<TMofQualifier> qualifiers, TMofInstance* instance) {
  instance->qualifiers = std::move(qualifiers);
  instance->location = Take().location;  // "instance"
  ExpectKeyword("of");
  instance->className = ExpectName("a class name");
  if (IsKeyword("as")) {
    Take();
    if (Peek().kind != EMofToken::kAlias) FailAt(Peek(), "an alias ($name)");
    instance->alias = Take().text;
  }
  Expect("{", "'{' to open the instance body");
  while (!IsPunctuation("}")) {
    if (IsPunctuation("[")) ParseQualifierList();  // property qualifiers are not kept
    TMofPropertyValue value;
    value.location = Peek().location;
    value.name = ExpectName("a property name");
    Expect("=", "'=' and the property's value");
    value.value = ParseInitializer();
    Expect(";", "';' after the property's value");
    instance->values.push_back(std::move(value));
  }
  Take();
  Expect(";", "';' after the instance body");
}

TMofValue TMofParser::ParseInitializer() {
  if (!IsPunctuation("{")) return ParseConstant();
  TMofValue array;
  array.kind = TMofValue::kArray;
  array.location = Take().location;
  while (!IsPunctuation("}")) {
    array.elements.push_back(ParseConstant());
    if (!IsPunctuation("}")) Expect(",", "',' or '}' in the array");
  }
  Take();
  return array;
}

TMofValue TMofParser::ParseConstant() {
  TMofValue value;
  TMofToken token = Peek();
  value.location = token.location;
  switch (token.kind) {
    case EMofToken::kString:
      value.kind = TMofValue::kString;
      while (Peek().kind == EMofToken::kString) value.text += Take().text;  // adjacent strings join
      return value;
    case EMofToken::kChar:
      value.kind = TMofValue::kChar;
      value.text = Take().text;
      return value;
    case EMofToken::kInteger:
      value.kind = TMofValue::kInteger;
      value.text = Take().text;
      return value;
    case EMofToken::kReal:
      value.kind = TMofValue::kReal;
      value.text = Take().text;
      return value;
    case EMofToken::kAlias:
      value.kind = TMofValue::kAlias;
      value.text = Take().text;
      return value;
    case EMofToken::kIdentifier:
      if (EqualsIgnoringCase(token.text, "true") || EqualsIgnoringCase(token.text, "false")) {
        value.kind = TMofValue::kBoolean;
        value.boolean = EqualsIgnoringCase(Take().text, "true");
        return value;
      }
      // The words CIM's XML form uses for the reals beyond the numbers.
      if (token.text == "INF" || token.text == "NaN") {
        value.kind = TMofValue::kReal;
        value.text = Take().text;
        return value;
      }
      if (EqualsIgnoringCase(token.text, "null")) {
        Take();
        return value;
      }
      break;
    default:
      break;
  }
  FailAt(token, "a value (number, string, character, TRUE, FALSE, NULL or $alias)");
}
