// The productions of a MOF file as the parser reads them, before any of them
// is entered into a repository. Values keep their literal form; the loader
// gives them the type of the declaration they initialise.

#ifndef INMEM_MOF_MOF_AST_H_
#define INMEM_MOF_MOF_AST_H_

#include <optional>
#include <string>
#include <vector>

#include "core/cim_type.h"
#include "mof/mof_source.h"

struct TMofValue {
  enum EKind { kNull, kBoolean, kInteger, kReal, kString, kChar, kArray, kAlias };
  EKind kind = kNull;
  std::string text;  // string or char content, number text, alias name
  bool boolean = false;
  std::vector<TMofValue> elements;
  TMofLocation location;
};

struct TMofQualifier {
  std::string name;
  std::optional<TMofValue> value;  // none: a boolean qualifier meaning TRUE
  std::vector<std::string> flavors;
  TMofLocation location;
};

// The type of a property, reference, parameter or method result.
struct TMofType {
  ECIMType type = kCIMTypeNone;  // element type; kCIMTypeReference for REF
  std::string refClass;          // for references
  bool isArray = false;
};

struct TMofParameter {
  std::vector<TMofQualifier> qualifiers;
  TMofType type;
  std::string name;
  TMofLocation location;
};

struct TMofFeature {
  enum EKind { kProperty, kMethod };
  EKind kind = kProperty;
  std::vector<TMofQualifier> qualifiers;
  TMofType type;  // a method's result type
  std::string name;
  std::optional<TMofValue> defaultValue;
  std::vector<TMofParameter> parameters;
  TMofLocation location;
};

struct TMofClass {
  std::vector<TMofQualifier> qualifiers;
  std::string name;
  std::string superName;
  std::vector<TMofFeature> features;
  TMofLocation location;
};

struct TMofQualifierDecl {
  std::string name;
  TMofType type;
  std::optional<TMofValue> defaultValue;
  std::vector<std::string> scopes;
  std::vector<std::string> flavors;
  TMofLocation location;
};

struct TMofPropertyValue {
  std::string name;
  TMofValue value;
  TMofLocation location;
};

struct TMofInstance {
  std::vector<TMofQualifier> qualifiers;
  std::string className;
  std::string alias;
  std::vector<TMofPropertyValue> values;
  TMofLocation location;
};

struct TMofPragma {
  std::string name;
  std::string parameter;
  TMofLocation location;
};

struct TMofProduction {
  enum EKind { kPragma, kQualifierDecl, kClass, kInstance };
  EKind kind = kPragma;
  TMofPragma pragma;
  TMofQualifierDecl qualifierDecl;
  TMofClass cls;
  TMofInstance instance;
};

#endif  // INMEM_MOF_MOF_AST_H_
