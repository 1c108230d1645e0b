// TCimXmlReader: element by element, as the DTD of CIM-XML lays them out.

#include "server/cimxml_reader.h"

#include <charconv>

#include "core/ascii.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"
#include "include/cim_property_decl.h"
#include "server/cim_status.h"
#include "server/cimxml_request.h"

namespace {

const TContext kNone;

[[noreturn]] void Invalid(const std::string& why) { throw TCimError(kCimInvalidParameter, why); }

const std::string& Required(const TXmlElement& element, const char* attribute) {
  const std::string* value = element.Attribute(attribute);
  if (value == nullptr) Invalid(element.name + " has no " + attribute + " attribute");
  return *value;
}

bool IsTrue(const TXmlElement& element, const char* attribute) {
  const std::string* value = element.Attribute(attribute);
  return value != nullptr && EqualsFoldingAscii(*value, "true");
}

// The NAME of an IPARAMVALUE (the request reader made sure it has one).
const char* NameOf(const TXmlElement& parameter) { return parameter.Attribute("NAME")->c_str(); }

std::string_view Trimmed(std::string_view text) {
  const char* blanks = " \t\r\n";
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return std::string_view();
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The element that holds the value of a property, qualifier or qualifier
// declaration (after its qualifiers or scope); nullptr for none.
const TXmlElement* ValueChild(const TXmlElement& element) {
  for (const auto& child : element.children) {
    if (child->name.compare(0, 5, "VALUE") == 0) return child.get();
  }
  return nullptr;
}

// The type named by a TYPE attribute: a scalar type other than reference.
ECIMType ScalarType(const TXmlElement& element) {
  ECIMType type = kCIMTypeNone;
  const std::string& name = Required(element, "TYPE");
  if (!ParseCIMTypeName(name, &type) || type == kCIMTypeReference) {
    Invalid(element.name + " has an unknown TYPE " + Printable(name));
  }
  return type;
}

bool ReadInteger(std::string_view text, bool* negative, uint64_t* magnitude) {
  *negative = false;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    *negative = text[0] == '-';
    text.remove_prefix(1);
  }
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) return false;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), *magnitude, base);
  return read.ptr == text.data() + text.size() && read.ec == std::errc();
}

template <typename Real>
bool ReadReal(std::string_view text, Real* real, std::string* why) {
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  const auto read = std::from_chars(text.data(), text.data() + text.size(), *real);
  if (read.ptr != text.data() + text.size() || text.empty()) {
    *why = "not a number";
    return false;
  }
  if (read.ec == std::errc::result_out_of_range) {
    *why = "out of range";
    return false;
  }
  return true;
}

const std::shared_ptr<const TMofSource>& RequestSource() {
  static const std::shared_ptr<const TMofSource> source =
      std::make_shared<const TMofSource>("request", "");
  return source;
}

// The MOF flavor words of the flavor attributes a qualifier or qualifier
// declaration gives; the attributes it leaves out change nothing.
std::vector<std::string> FlavorWords(const TXmlElement& element) {
  static const struct {
    const char* attribute;
    const char* ifTrue;
    const char* ifFalse;
  } kFlavors[] = {{"OVERRIDABLE", "EnableOverride", "DisableOverride"},
                  {"TOSUBCLASS", "ToSubclass", "Restricted"},
                  {"TRANSLATABLE", "Translatable", nullptr},
                  {"TOINSTANCE", "ToInstance", nullptr}};
  std::vector<std::string> words;
  for (const auto& f : kFlavors) {
    const std::string* given = element.Attribute(f.attribute);
    if (given == nullptr) continue;
    const char* word = EqualsFoldingAscii(*given, "true") ? f.ifTrue : f.ifFalse;
    if (word != nullptr) words.push_back(word);
  }
  return words;
}

TMofLocation At(const TXmlElement& element) { return TMofLocation{RequestSource(), element.line, 1}; }

}  // namespace

bool ReadScalarText(std::string_view text, ECIMType type, TCIMValue* value, std::string* why) {
  if (type == kCIMTypeString) {
    *value = TCIMValue(std::string(text));
    return true;
  }
  if (type == kCIMTypeChar16) {
    char16_t c = 0;
    if (!DecodeChar16(text, &c)) {
      *why = "a char16 value is exactly one character";
      return false;
    }
    *value = TCIMValue(c);
    return true;
  }
  text = Trimmed(text);
  if (type == kCIMTypeBoolean) {
    if (!EqualsFoldingAscii(text, "true") && !EqualsFoldingAscii(text, "false")) {
      *why = "a boolean is TRUE or FALSE";
      return false;
    }
    *value = TCIMValue(EqualsFoldingAscii(text, "true"));
    return true;
  }
  if (type == kCIMTypeDateTime) {
    TCIMDateTime dateTime;
    if (!TCIMDateTime::TryParse(std::string(text), &dateTime, why)) return false;
    *value = TCIMValue(dateTime);
    return true;
  }
  if (IsRealType(type)) {
    std::string_view unsigned_ = !text.empty() && (text[0] == '-' || text[0] == '+') ? text.substr(1) : text;
    if (EqualsFoldingAscii(unsigned_, "INF") || EqualsFoldingAscii(text, "NaN")) {
      const double special = EqualsFoldingAscii(text, "NaN") ? std::numeric_limits<double>::quiet_NaN()
                             : text[0] == '-'              ? -std::numeric_limits<double>::infinity()
                                                           : std::numeric_limits<double>::infinity();
      *value = type == kCIMTypeReal32 ? TCIMValue(static_cast<float>(special)) : TCIMValue(special);
      return true;
    }
    if (type == kCIMTypeReal32) {
      float real = 0;
      if (!ReadReal(text, &real, why)) return false;
      *value = TCIMValue(real);
    } else {
      double real = 0;
      if (!ReadReal(text, &real, why)) return false;
      *value = TCIMValue(real);
    }
    return true;
  }
  if (!IsUnsignedIntegerType(type) && !IsSignedIntegerType(type)) {
    *why = "no value of type " + CIMTypeName(type) + " is written as text";
    return false;
  }
  bool negative = false;
  uint64_t magnitude = 0;
  if (!ReadInteger(text, &negative, &magnitude)) {
    *why = "not an integer";
    return false;
  }
  TCIMValue wide;
  if (!negative || magnitude == 0) {
    wide = TCIMValue(static_cast<unsigned long long>(magnitude));
  } else if (magnitude <= 9223372036854775808ull) {
    wide = TCIMValue(static_cast<long long>(0 - magnitude));
  } else {
    *why = "out of range for " + CIMTypeName(type);
    return false;
  }
  try {
    *value = TCIMValue::OfIntegerType(wide, type);
  } catch (const TTYLException&) {
    *why = "out of range for " + CIMTypeName(type);
    return false;
  }
  return true;
}

TMofValue MofValueOf(const TCIMValue& value) {
  TMofValue m;
  if (value.IsNull()) return m;
  if (value.IsArray()) {
    m.kind = TMofValue::kArray;
    for (const TCIMValue& element : value.GetElements()) m.elements.push_back(MofValueOf(element));
    return m;
  }
  const ECIMType type = value.GetType();
  if (type == kCIMTypeBoolean) {
    m.kind = TMofValue::kBoolean;
    m.boolean = static_cast<bool>(value);
  } else if (IsUnsignedIntegerType(type) || IsSignedIntegerType(type)) {
    m.kind = TMofValue::kInteger;
    m.text = value.ToString();
  } else if (IsRealType(type)) {
    m.kind = TMofValue::kReal;
    m.text = value.ToString();
  } else if (type == kCIMTypeChar16) {
    m.kind = TMofValue::kChar;
    m.text = value.ToString();
  } else if (type == kCIMTypeReference) {
    m.kind = TMofValue::kString;
    m.text = value.GetReference().PathText();
  } else {
    m.kind = TMofValue::kString;
    m.text = value.ToString();
  }
  return m;
}

const TXmlElement& TCimXmlReader::Content(const TXmlElement* parameter, const char* name, const char* kind) const {
  if (parameter == nullptr || parameter->children.empty()) Invalid(std::string("parameter ") + name + " is required");
  const TXmlElement& content = *parameter->children.front();
  if (content.name != kind) Invalid(std::string("parameter ") + name + " holds " + Printable(content.name) + ", not " + kind);
  return content;
}

bool TCimXmlReader::Boolean(const TXmlElement* parameter, bool byDefault) const {
  if (parameter == nullptr || parameter->children.empty()) return byDefault;
  TCIMValue value;
  std::string why;
  if (!ReadScalarText(Content(parameter, NameOf(*parameter), "VALUE").text, kCIMTypeBoolean, &value, &why)) {
    Invalid("parameter " + Printable(*parameter->Attribute("NAME")) + ": " + why);
  }
  return static_cast<bool>(value);
}

std::optional<uint32_t> TCimXmlReader::Uint32(const TXmlElement* parameter) const {
  if (parameter == nullptr || parameter->children.empty()) return std::nullopt;
  TCIMValue value;
  std::string why;
  if (!ReadScalarText(Content(parameter, NameOf(*parameter), "VALUE").text, kCIMTypeUint32, &value, &why)) {
    Invalid("parameter " + Printable(*parameter->Attribute("NAME")) + ": " + why);
  }
  return static_cast<uint32_t>(value);
}

std::optional<std::string> TCimXmlReader::String(const TXmlElement* parameter) const {
  if (parameter == nullptr || parameter->children.empty()) return std::nullopt;
  return Content(parameter, NameOf(*parameter), "VALUE").text;
}

std::string TCimXmlReader::ClassName(const TXmlElement* parameter) const {
  if (parameter == nullptr || parameter->children.empty()) return std::string();
  return Required(Content(parameter, NameOf(*parameter), "CLASSNAME"), "NAME");
}

std::optional<std::set<std::string>> TCimXmlReader::PropertyList(const TXmlElement* parameter) const {
  if (parameter == nullptr || parameter->children.empty()) return std::nullopt;
  std::set<std::string> names;
  for (const auto& element : Content(parameter, NameOf(*parameter), "VALUE.ARRAY").children) {
    if (element->name != "VALUE") Invalid("PropertyList holds " + Printable(element->name));
    std::string name(Trimmed(element->text));
    for (char& c : name) c = ToLowerAscii(c);
    names.insert(std::move(name));
  }
  return names;
}

size_t PathTextBudget(size_t requestBytes) { return (64u << 10) + 8 * requestBytes; }

void TCimXmlReader::SpendPathText(size_t bytes) const {
  if (bytes > pathTextLeft_) {
    Invalid("the object paths of this request would take more than " + std::to_string(pathTextBudget_) +
            " bytes of text (references nested too deep)");
  }
  pathTextLeft_ -= bytes;
}

TCIMValue TCimXmlReader::KeyValue(const TXmlElement& element, const TCIMValue* prototype) const {
  if (element.name == "VALUE.REFERENCE") return TCIMValue(Reference(element));
  if (element.name != "KEYVALUE") Invalid("a key binding holds " + Printable(element.name));
  ECIMType type = kCIMTypeString;
  if (prototype != nullptr && !prototype->IsArray()) {
    type = prototype->GetType();
  } else if (element.Attribute("TYPE") != nullptr) {
    type = ScalarType(element);
  } else {
    const std::string* kind = element.Attribute("VALUETYPE");
    const std::string_view text = Trimmed(element.text);
    if (kind != nullptr && *kind == "boolean") {
      type = kCIMTypeBoolean;
    } else if (kind != nullptr && *kind == "numeric") {
      const bool real = text.find_first_of(".eEnN") != std::string_view::npos &&
                        text.find_first_of("xX") == std::string_view::npos;
      type = real ? kCIMTypeReal64 : !text.empty() && text[0] == '-' ? kCIMTypeSint64 : kCIMTypeUint64;
    }
  }
  TCIMValue value;
  std::string why;
  if (type == kCIMTypeReference) {
    TCIMReference path;
    if (!TCIMReference::TryParse(std::string(Trimmed(element.text)), ns_, &path, &why)) {
      Invalid("key value " + Printable(element.text) + " is not an object path (" + why + ")");
    }
    // Its text is no longer than the text it was read from.
    SpendPathText(path.PathText().size());
    return TCIMValue(path);
  }
  if (!ReadScalarText(element.text, type, &value, &why)) {
    Invalid("key value " + Printable(element.text) + " is no " + CIMTypeName(type) + ": " + why);
  }
  return value;
}

TCIMReference TCimXmlReader::InstanceName(const TXmlElement& element) const {
  return InstanceNameIn(element, *ns_);
}

TCIMReference TCimXmlReader::InstanceNameIn(const TXmlElement& element, ICIMNamespace& ns) const {
  if (element.name != "INSTANCENAME") Invalid("expected INSTANCENAME, found " + Printable(element.name));
  const std::string& className = Required(element, "CLASSNAME");
  boost::shared_ptr<ICIMClass> cls;
  try {
    cls = ns.GetClass(className, kNone);
  } catch (const TTYLException&) {
    throw TCimError(kCimInvalidClass, "no class named " + Printable(className));
  }
  std::vector<TCIMReference::TKeyBinding> keys;
  auto add = [&](std::string name, const TXmlElement& content) {
    for (const auto& key : keys) {
      if (EqualsFoldingAscii(key.first, name)) Invalid("key " + Printable(name) + " is given twice");
    }
    boost::shared_ptr<ICIMPropertyDecl> decl;
    try {
      decl = cls->GetPropertyDecl(name, kNone);
    } catch (const TTYLException&) {
      Invalid("class " + Printable(className) + " has no property " + Printable(name));
    }
    keys.emplace_back(decl->GetName(kNone), KeyValue(content, &decl->GetDefaultValue(kNone)));
  };
  for (const auto& child : element.children) {
    if (child->name == "KEYBINDING") {
      if (child->children.size() != 1) Invalid("KEYBINDING must hold one value");
      add(Required(*child, "NAME"), *child->children.front());
    } else {
      // A path of a class with one key may give its value alone.
      std::vector<std::string> keyNames;
      cls->EnumerateKeys([&](const std::string& key) { keyNames.push_back(key); return true; }, kNone);
      if (keyNames.size() != 1 || element.children.size() != 1) {
        Invalid("an INSTANCENAME without KEYBINDING names a class with exactly one key");
      }
      add(keyNames.front(), *child);
    }
  }
  SpendPathText(TCIMReference::PathTextLength("", cls->GetName(kNone), keys));
  return TCIMReference(cls, "", std::move(keys));
}

TCIMReference TCimXmlReader::Reference(const TXmlElement& element) const {
  if (element.name != "VALUE.REFERENCE" || element.children.size() != 1) {
    Invalid("expected VALUE.REFERENCE with one path, found " + Printable(element.name));
  }
  const TXmlElement& path = *element.children.front();
  std::string namespaceName;
  const TXmlElement* name = &path;
  if (path.name == "LOCALINSTANCEPATH" || path.name == "LOCALCLASSPATH" ||
      path.name == "INSTANCEPATH" || path.name == "CLASSPATH") {
    if (path.children.size() != 2) Invalid(path.name + " must hold a namespace and a name");
    const TXmlElement* ns = path.children.front().get();
    if (ns->name == "NAMESPACEPATH") ns = ns->Child("LOCALNAMESPACEPATH");
    if (ns == nullptr || ns->name != "LOCALNAMESPACEPATH") Invalid(path.name + " has no namespace");
    try {
      namespaceName = ReadLocalNamespacePath(*ns);
    } catch (const TCimProtocolError& e) {
      Invalid(e.what());
    }
    if (EqualsFoldingAscii(namespaceName, served_)) namespaceName.clear();
    name = path.children.back().get();
  }
  TCIMReference reference;
  if (name->name == "CLASSNAME") {
    reference.SetClassName(Required(*name, "NAME"));
  } else {
    // A path into another namespace the server serves names a class of that
    // namespace, whose keys type its key values.
    boost::shared_ptr<ICIMNamespace> named;
    if (!namespaceName.empty()) named = TNamespaceDirectory::Find(namespaceName);
    reference = InstanceNameIn(*name, named ? *named : *ns_);
  }
  if (!namespaceName.empty()) {
    SpendPathText(namespaceName.size() + 1 + reference.PathText().size());
    reference.SetNameSpaceName(namespaceName);
  }
  return reference;
}

TCIMValue TCimXmlReader::Value(const TXmlElement* element, ECIMType type,
                               const boost::shared_ptr<ICIMClass>& refClass) const {
  if (element == nullptr || element->name == "VALUE.NULL") {
    return type == kCIMTypeReference ? TCIMValue::NullReference(refClass) : TCIMValue::Null(type);
  }
  const ECIMType elementType = ElementTypeOf(type);
  auto mismatch = [&] {
    throw TCimError(kCimTypeMismatch, "expected a " + CIMTypeName(type) + " value, found " +
                                          Printable(element->name));
  };
  auto scalar = [&](const TXmlElement& e) {
    if (elementType == kCIMTypeReference) {
      if (e.name != "VALUE.REFERENCE") mismatch();
      return TCIMValue(Reference(e));
    }
    if (e.name != "VALUE") mismatch();
    TCIMValue value;
    std::string why;
    if (!ReadScalarText(e.text, elementType, &value, &why)) {
      Invalid(Printable(e.text) + " is no " + CIMTypeName(elementType) + ": " + why);
    }
    return value;
  };
  if (!IsArrayType(type)) return scalar(*element);
  if (element->name != "VALUE.ARRAY" && element->name != "VALUE.REFARRAY") mismatch();
  std::vector<TCIMValue> elements;
  for (const auto& child : element->children) {
    elements.push_back(child->name == "VALUE.NULL" ? TCIMValue::Null(elementType) : scalar(*child));
  }
  return TCIMValue(elementType, std::move(elements));
}

TCIMValue TCimXmlReader::PropertyValue(const TXmlElement& property, const ICIMPropertyDecl& decl) const {
  const ECIMType type = decl.GetType(kNone);
  const bool reference = ElementTypeOf(type) == kCIMTypeReference;
  const char* expected = reference ? "PROPERTY.REFERENCE" : IsArrayType(type) ? "PROPERTY.ARRAY" : "PROPERTY";
  if (property.name != expected ||
      (!reference && property.Attribute("TYPE") != nullptr && ScalarType(property) != ElementTypeOf(type))) {
    throw TCimError(kCimTypeMismatch, "property " + decl.GetName(kNone) + " is declared " +
                                          CIMTypeName(type) + ", given as " + Printable(property.name));
  }
  return DeclaredValue(ValueChild(property), decl);
}

TCIMValue TCimXmlReader::DeclaredValue(const TXmlElement* element, const ICIMPropertyDecl& decl) const {
  const TCIMValue& prototype = decl.GetDefaultValue(kNone);
  return Value(element, decl.GetType(kNone),
               prototype.IsReference() ? prototype.GetReferencedClass() : boost::shared_ptr<ICIMClass>());
}

std::string TCimXmlReader::InstanceProperties(const TXmlElement& element,
                                              std::vector<TCimPropertyElement>* properties) const {
  if (element.name != "INSTANCE") Invalid("expected INSTANCE, found " + Printable(element.name));
  for (const auto& child : element.children) {
    if (child->name == "QUALIFIER") continue;
    if (child->name != "PROPERTY" && child->name != "PROPERTY.ARRAY" && child->name != "PROPERTY.REFERENCE") {
      Invalid("INSTANCE holds " + Printable(child->name));
    }
    const std::string& name = Required(*child, "NAME");
    for (const TCimPropertyElement& p : *properties) {
      if (EqualsFoldingAscii(p.name, name)) Invalid("property " + Printable(name) + " is given twice");
    }
    properties->push_back(TCimPropertyElement{name, child.get()});
  }
  return Required(element, "CLASSNAME");
}

TMofType TCimXmlReader::TypeOf(const TXmlElement& element) const {
  TMofType type;
  const std::string& kind = element.name;
  if (kind == "PROPERTY.REFERENCE" || kind == "PARAMETER.REFERENCE" || kind == "PARAMETER.REFARRAY") {
    type.type = kCIMTypeReference;
    const std::string* target = element.Attribute("REFERENCECLASS");
    if (target != nullptr) type.refClass = *target;
    type.isArray = kind == "PARAMETER.REFARRAY";
    return type;
  }
  type.type = ScalarType(element);
  if (kind == "QUALIFIER") {
    const TXmlElement* value = ValueChild(element);
    type.isArray = value != nullptr && value->name == "VALUE.ARRAY";
  } else {
    type.isArray = kind == "PROPERTY.ARRAY" || kind == "PARAMETER.ARRAY" || IsTrue(element, "ISARRAY");
  }
  return type;
}

std::optional<TMofValue> TCimXmlReader::TypedValue(const TXmlElement& element, const TMofType& type) const {
  const TXmlElement* value = ValueChild(element);
  if (value == nullptr) return std::nullopt;
  const ECIMType full = type.isArray ? ArrayTypeOf(type.type) : type.type;
  TMofValue m = MofValueOf(Value(value, full, nullptr));
  m.location = At(*value);
  return m;
}

std::vector<TMofQualifier> TCimXmlReader::Qualifiers(const TXmlElement& element, TMofLocation where) const {
  std::vector<TMofQualifier> qualifiers;
  for (const auto& child : element.children) {
    if (child->name != "QUALIFIER" || IsTrue(*child, "PROPAGATED")) continue;
    TMofQualifier q;
    q.name = Required(*child, "NAME");
    q.location = where;
    std::optional<TMofValue> value = TypedValue(*child, TypeOf(*child));
    q.value = value ? *value : TMofValue();  // a qualifier without a value is null
    q.flavors = FlavorWords(*child);
    qualifiers.push_back(std::move(q));
  }
  return qualifiers;
}

TMofProduction TCimXmlReader::Class(const TXmlElement& element) const {
  if (element.name != "CLASS") Invalid("expected CLASS, found " + Printable(element.name));
  TMofProduction production;
  production.kind = TMofProduction::kClass;
  TMofClass& c = production.cls;
  c.location = At(element);
  c.name = Required(element, "NAME");
  const std::string* super = element.Attribute("SUPERCLASS");
  if (super != nullptr) c.superName = *super;
  c.qualifiers = Qualifiers(element, c.location);
  for (const auto& child : element.children) {
    const std::string& kind = child->name;
    if (kind == "QUALIFIER" || IsTrue(*child, "PROPAGATED")) continue;
    TMofFeature feature;
    feature.location = At(*child);
    feature.name = Required(*child, "NAME");
    feature.qualifiers = Qualifiers(*child, feature.location);
    if (kind == "METHOD") {
      feature.kind = TMofFeature::kMethod;
      feature.type.type = ScalarType(*child);
      for (const auto& p : child->children) {
        if (p->name == "QUALIFIER") continue;
        if (p->name.compare(0, 9, "PARAMETER") != 0) Invalid("METHOD holds " + Printable(p->name));
        TMofParameter parameter;
        parameter.location = At(*p);
        parameter.name = Required(*p, "NAME");
        parameter.type = TypeOf(*p);
        parameter.qualifiers = Qualifiers(*p, parameter.location);
        feature.parameters.push_back(std::move(parameter));
      }
    } else if (kind == "PROPERTY" || kind == "PROPERTY.ARRAY" || kind == "PROPERTY.REFERENCE") {
      feature.type = TypeOf(*child);
      feature.defaultValue = TypedValue(*child, feature.type);
    } else {
      Invalid("CLASS holds " + Printable(kind));
    }
    c.features.push_back(std::move(feature));
  }
  return production;
}

TMofProduction TCimXmlReader::QualifierDecl(const TXmlElement& element) const {
  if (element.name != "QUALIFIER.DECLARATION") {
    Invalid("expected QUALIFIER.DECLARATION, found " + Printable(element.name));
  }
  TMofProduction production;
  production.kind = TMofProduction::kQualifierDecl;
  TMofQualifierDecl& d = production.qualifierDecl;
  d.location = At(element);
  d.name = Required(element, "NAME");
  d.type = TypeOf(element);
  d.defaultValue = TypedValue(element, d.type);
  const TXmlElement* scope = element.Child("SCOPE");
  if (scope == nullptr) {
    d.scopes.push_back("any");
  } else {
    for (const auto& attribute : scope->attributes) {
      if (!EqualsFoldingAscii(attribute.second, "true")) continue;
      std::string word = attribute.first;
      for (char& c : word) c = ToLowerAscii(c);
      d.scopes.push_back(word);
    }
  }
  d.flavors = FlavorWords(element);
  return production;
}
