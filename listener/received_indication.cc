// ReadIndication: the indication's INSTANCE, its embedded instances, and
// display text from the repository where it has the class.

#include "listener/received_indication.h"

#include "core/ascii.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "display/json_text.h"
#include "display/shown_value.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "server/cim_status.h"
#include "server/cimxml_reader.h"
#include "server/cimxml_request.h"

namespace {

const TContext kNone;

[[noreturn]] void Invalid(const std::string& why) { throw TCimError(kCimInvalidParameter, why); }

// What one reading shares: the repository, the limits, the reader (which
// keeps its own budget of path text) and the budget of the path text built
// here, of the same size.
struct TReading {
  boost::shared_ptr<ICIMNamespace> ns;
  const TXmlLimits& limits;
  TCimXmlReader reader;
  size_t pathTextLeft;
};

// The properties that carry instances: read as instances at the top, kept
// as text deeper down.
bool IsEmbeddedInstance(const std::string& name) {
  return EqualsFoldingAscii(name, "SourceInstance") || EqualsFoldingAscii(name, "PreviousInstance");
}

// The value element of a PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE
// (after its qualifiers), or nullptr for a null.
const TXmlElement* ValueChild(const TXmlElement& property) {
  for (const auto& child : property.children) {
    if (child->name != "QUALIFIER") return child.get();
  }
  return nullptr;
}

// Whether the sender marked the property a key (a Key qualifier, true).
bool HasKeyQualifier(const TXmlElement& property) {
  for (const auto& child : property.children) {
    if (child->name != "QUALIFIER") continue;
    const std::string* name = child->Attribute("NAME");
    const TXmlElement* value = child->Child("VALUE");
    if (name != nullptr && EqualsFoldingAscii(*name, "Key") &&
        (value == nullptr || EqualsFoldingAscii(std::string_view(value->text), "true"))) {
      return true;
    }
  }
  return false;
}

// The text GetPath gives for these parts, taken from the budget first:
// nested paths double their backslashes at every level.
std::string PathText(const std::string& namespaceName, const std::string& className,
                     const std::vector<TCIMReference::TKeyBinding>& keys, TReading& r) {
  const size_t length = TCIMReference::PathTextLength(namespaceName, className, keys);
  if (length > r.pathTextLeft) Invalid("the paths of the indication are too long");
  r.pathTextLeft -= length;
  std::vector<TCIMReference::TKeyView> views;
  for (const auto& key : keys) views.emplace_back(&key.first, &key.second);
  return TCIMReference::PathTextOf(namespaceName, className, views.data(), views.size());
}

std::string RawPathText(const TXmlElement& element, TReading& r, size_t depth);

// A key's value as its element types it: KEYVALUE with VALUETYPE string
// (the default), numeric or boolean, or a VALUE.REFERENCE as its path text.
TCIMValue RawKeyValue(const TXmlElement& element, TReading& r, size_t depth) {
  if (element.name == "VALUE.REFERENCE") return TCIMValue(RawPathText(element, r, depth + 1));
  if (element.name != "KEYVALUE") Invalid("a key holds " + Printable(element.name));
  const std::string* kind = element.Attribute("VALUETYPE");
  if (kind == nullptr || *kind == "string") return TCIMValue(element.text);
  TCIMValue value;
  std::string why;
  if (*kind == "boolean" && ReadScalarText(element.text, kCIMTypeBoolean, &value, &why)) return value;
  if (*kind == "numeric") {
    for (ECIMType type : {kCIMTypeSint64, kCIMTypeUint64, kCIMTypeReal64}) {
      if (ReadScalarText(element.text, type, &value, &why)) return value;
    }
  }
  Invalid("key value " + Printable(element.text) + " is not " + Printable(*kind));
}

// The path text of a VALUE.REFERENCE (or of the path inside it) without
// the classes: keys typed as the elements say.
std::string RawPathText(const TXmlElement& element, TReading& r, size_t depth) {
  if (depth > r.limits.maxDepth) Invalid("references nest too deep");
  const TXmlElement* path = &element;
  if (path->name == "VALUE.REFERENCE") {
    if (path->children.size() != 1) Invalid("VALUE.REFERENCE must hold one path");
    path = path->children.front().get();
  }
  std::string namespaceName;
  const TXmlElement* name = path;
  if (path->name == "INSTANCEPATH" || path->name == "LOCALINSTANCEPATH" || path->name == "CLASSPATH" ||
      path->name == "LOCALCLASSPATH") {
    if (path->children.size() != 2) Invalid(path->name + " must hold a namespace and a name");
    const TXmlElement* ns = path->children.front().get();
    if (ns->name == "NAMESPACEPATH") ns = ns->Child("LOCALNAMESPACEPATH");
    if (ns == nullptr || ns->name != "LOCALNAMESPACEPATH") Invalid(path->name + " has no namespace");
    try {
      namespaceName = ReadLocalNamespacePath(*ns);
    } catch (const TCimProtocolError& e) {
      Invalid(e.what());
    }
    name = path->children.back().get();
  }
  const std::string* className =
      name->Attribute(name->name == "CLASSNAME" ? std::string_view("NAME") : std::string_view("CLASSNAME"));
  if (className == nullptr || (name->name != "CLASSNAME" && name->name != "INSTANCENAME")) {
    Invalid("not a path: " + Printable(name->name));
  }
  std::vector<TCIMReference::TKeyBinding> keys;
  for (const auto& child : name->children) {
    if (child->name == "KEYBINDING") {
      const std::string* key = child->Attribute("NAME");
      if (key == nullptr || child->children.size() != 1) Invalid("KEYBINDING must have a NAME and one value");
      keys.emplace_back(*key, RawKeyValue(*child->children.front(), r, depth));
    } else {
      // The value alone of a class's one key, whose name only the class knows.
      return PathText(namespaceName, *className, {}, r) + "=" + RawKeyValue(*child, r, depth).ToString();
    }
  }
  return PathText(namespaceName, *className, keys, r);
}

// The value of a property element typed by its own TYPE; a reference as
// its path text.
TCIMValue RawValue(const TXmlElement& property, TReading& r) {
  const TXmlElement* value = ValueChild(property);
  if (property.name == "PROPERTY.REFERENCE") {
    if (value == nullptr || value->name == "VALUE.NULL") return TCIMValue::Null(kCIMTypeString);
    return TCIMValue(RawPathText(*value, r, 0));
  }
  const std::string* typeName = property.Attribute("TYPE");
  ECIMType type = kCIMTypeNone;
  if (typeName == nullptr || !ParseCIMTypeName(*typeName, &type) || type == kCIMTypeReference) {
    Invalid("property " + Printable(*property.Attribute("NAME")) + " has no known TYPE");
  }
  if (property.name == "PROPERTY.ARRAY") type = ArrayTypeOf(type);
  return r.reader.Value(value, type, nullptr);
}

// Display text without a schema: the values' own texts.
void ShowRaw(TShownProperty& p) {
  auto text = [](const TCIMValue& v) { return v.IsNull() ? std::string("null") : v.ToString(); };
  auto json = [&text](const TCIMValue& v) { return v.IsNull() ? std::string("null") : JsonString(text(v)); };
  if (p.value.IsNull() || !p.value.IsArray()) {
    p.text = text(p.value);
    p.json = json(p.value);
    return;
  }
  p.text = "{";
  p.json = "[";
  const std::vector<TCIMValue>& elements = p.value.GetElements();
  for (size_t i = 0; i < elements.size(); ++i) {
    p.text += (i ? ", " : "") + text(elements[i]);
    p.json += (i ? "," : "") + json(elements[i]);
  }
  p.text += "}";
  p.json += "]";
}

// Display text from the class: false when the instance takes no such value.
bool ShowFromSchema(ICIMInstance& instance, TShownProperty& p) {
  try {
    instance.SetPropertyValue(p.name, p.value, kNone);
    boost::shared_ptr<ICIMProperty> property = instance.GetProperty(p.name, kNone);
    if (!property) return false;
    p.text = ShownValue(*property, false);
    p.json = ShownValue(*property, true);
    return true;
  } catch (const TTYLException&) {
    return false;
  }
}

// Reads an INSTANCE. With `diverted`, the embedded-instance properties are
// handed there rather than shown.
TShownInstance ReadInstance(const TXmlElement& element, TReading& r,
                            std::vector<TCimPropertyElement>* diverted) {
  std::vector<TCimPropertyElement> elements;
  TShownInstance shown;
  shown.className = r.reader.InstanceProperties(element, &elements);
  boost::shared_ptr<ICIMClass> cls;
  boost::shared_ptr<ICIMInstance> instance;
  try {
    cls = r.ns->GetClass(shown.className, kNone);
    if (cls) instance = cls->AllocateInstance(kNone);
  } catch (const TTYLException&) {
    instance.reset();
  }
  if (instance) shown.className = cls->GetName(kNone);
  std::vector<TCIMReference::TKeyBinding> markedKeys;
  for (const TCimPropertyElement& p : elements) {
    if (diverted != nullptr && IsEmbeddedInstance(p.name)) {
      diverted->push_back(p);
      continue;
    }
    TShownProperty property;
    property.name = p.name;
    bool shownBySchema = false;
    if (instance) {
      boost::shared_ptr<ICIMPropertyDecl> decl;
      try {
        decl = cls->GetPropertyDecl(p.name, kNone);
      } catch (const TTYLException&) {
      }
      if (decl) {
        try {
          property.value = r.reader.PropertyValue(*p.element, *decl);
          property.name = decl->GetName(kNone);
          shownBySchema = ShowFromSchema(*instance, property);
        } catch (const TCimError&) {
          // The sender's schema differs from ours: shown as it came.
        }
      }
    }
    if (!shownBySchema) {
      property.value = RawValue(*p.element, r);
      ShowRaw(property);
    }
    if (HasKeyQualifier(*p.element)) markedKeys.emplace_back(property.name, property.value);
    shown.properties.push_back(std::move(property));
  }
  if (instance) {
    bool keyed = false;
    cls->EnumerateKeys(
        [&keyed](const std::string&) {
          keyed = true;
          return false;
        },
        kNone);
    try {
      if (keyed) shown.path = instance->GetReference(kNone).GetPath();
    } catch (const TTYLException&) {
      shown.path.clear();
    }
  }
  if (shown.path.empty() && !markedKeys.empty()) shown.path = PathText("", shown.className, markedKeys, r);
  return shown;
}

// The instance a SourceInstance or PreviousInstance property holds as
// text; none for a null.
std::optional<TShownInstance> ReadEmbedded(const TCimPropertyElement& p, TReading& r) {
  if (p.element->name != "PROPERTY") Invalid(Printable(p.name) + " must be a string holding an instance");
  const TXmlElement* value = ValueChild(*p.element);
  if (value == nullptr || value->name == "VALUE.NULL") return std::nullopt;
  if (value->name != "VALUE") Invalid(Printable(p.name) + " holds " + Printable(value->name));
  std::string why;
  bool tooLarge = false;
  std::unique_ptr<TXmlElement> document = ReadXmlDocument(value->text, r.limits, &why, &tooLarge);
  if (!document) Invalid(Printable(p.name) + " does not hold an instance that can be read: " + why);
  if (document->name != "INSTANCE") Invalid(Printable(p.name) + " holds " + Printable(document->name) + ", not INSTANCE");
  return ReadInstance(*document, r, nullptr);
}

}  // namespace

TReceivedIndication ReadIndication(const TXmlElement& element, const boost::shared_ptr<ICIMNamespace>& ns,
                                   const TXmlLimits& limits, size_t requestBytes) {
  TReading r{ns, limits, TCimXmlReader(ns, "", PathTextBudget(requestBytes)), PathTextBudget(requestBytes)};
  TReceivedIndication received;
  received.received = std::chrono::system_clock::now();
  std::vector<TCimPropertyElement> embedded;
  received.indication = ReadInstance(element, r, &embedded);
  for (const TCimPropertyElement& p : embedded) {
    (EqualsFoldingAscii(p.name, "SourceInstance") ? received.source : received.previous) = ReadEmbedded(p, r);
  }
  if (received.source && received.previous) {
    for (TShownProperty& now : received.source->properties) {
      for (const TShownProperty& before : received.previous->properties) {
        if (!EqualsFoldingAscii(now.name, before.name) || now.value == before.value) continue;
        now.previous = before.value;
        now.previousText = before.text;
        now.previousJson = before.json;
      }
    }
  }
  for (const TShownProperty& p : received.indication.properties) {
    if (EqualsFoldingAscii(p.name, "SourceInstanceModelPath") && !p.value.IsNull() && !p.value.IsArray()) {
      received.sourcePath = p.value.ToString();
    }
  }
  if (received.sourcePath.empty() && received.source) received.sourcePath = received.source->path;
  return received;
}
