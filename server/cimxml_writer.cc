// TCimXmlWriter: one method per element of the DTD that the server writes.

#include "server/cimxml_writer.h"

#include "core/ascii.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/cim_qualifier_decl.h"
#include "mof/schema_notes.h"

namespace {

const TContext kNone;

std::string TypeName(ECIMType type) { return CIMTypeName(ElementTypeOf(type)); }

// The qualifier flavor attributes that differ from the DTD's defaults
// (OVERRIDABLE and TOSUBCLASS true, TOINSTANCE and TRANSLATABLE false).
void FlavorAttributes(TXmlOut& out, uint32_t flavor) {
  if (!(flavor & ICIMQualifierDecl::kFlavorEnableOverride)) out.Attr("OVERRIDABLE", "false");
  if (!(flavor & ICIMQualifierDecl::kFlavorToSubclass)) out.Attr("TOSUBCLASS", "false");
  if (flavor & ICIMQualifierDecl::kFlavorToInstance) out.Attr("TOINSTANCE", "true");
  if (flavor & ICIMQualifierDecl::kFlavorTranslatable) out.Attr("TRANSLATABLE", "true");
}

bool Wanted(const TCimObjectOptions& options, const std::string& name) {
  return options.propertyList == nullptr || options.propertyList->count(LowerAscii(name)) > 0;
}

std::string NameOf(const boost::shared_ptr<ICIMClass>& cls) {
  return cls ? cls->GetName(kNone) : std::string();
}

// The qualifier `name` of `element`, or empty. (Elements differ in which
// lookup they answer and in how they report absence; every one lists.)
boost::shared_ptr<ICIMQualifier> FindQualifier(const ICIMNamedElement& element, const std::string& name) {
  boost::shared_ptr<ICIMQualifier> found;
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        if (EqualsFoldingAscii(q->GetName(kNone), name)) found = std::move(q);
        return !found;
      },
      kNone);
  return found;
}

// Whether `q` is a to-subclass qualifier of `overridden` taken over as it
// is: the same value and flavor.
bool TakenOver(const ICIMNamedElement& overridden, const ICIMQualifier& q) {
  boost::shared_ptr<ICIMQualifier> base = FindQualifier(overridden, q.GetName(kNone));
  if (!base || (base->GetFlavor(kNone) & ICIMQualifierDecl::kFlavorToSubclass) == 0) return false;
  return base->GetFlavor(kNone) == q.GetFlavor(kNone) && base->GetValue(kNone) == q.GetValue(kNone);
}

// The name an element's Override qualifier gives, or empty.
std::string OverrideOf(const ICIMNamedElement& element) {
  boost::shared_ptr<ICIMQualifier> q = FindQualifier(element, "Override");
  if (!q || q->GetValue(kNone).IsNull() || q->GetValue(kNone).GetType() != kCIMTypeString) return std::string();
  return q->GetValue(kNone).GetString();
}

// The superclass's property or method that `element` (declared by `cls`)
// overrides, or empty.
template <typename Decl, typename Lookup>
boost::shared_ptr<Decl> Overridden(ICIMClass& cls, const ICIMNamedElement& element, Lookup lookup) {
  const std::string name = OverrideOf(element);
  boost::shared_ptr<ICIMClass> super = cls.IsTopLevel(kNone) ? nullptr : cls.GetSuperClass(kNone);
  if (name.empty() || !super) return nullptr;
  try {
    return lookup(*super, name);
  } catch (const TTYLException&) {
    return nullptr;
  }
}

}  // namespace

void TCimXmlWriter::ScalarText(const TCIMValue& value) {
  switch (value.GetType()) {
    case kCIMTypeReal32:
    case kCIMTypeReal64: {
      std::string text = value.ToString();
      out_.Text(text == "inf" ? "INF" : text == "-inf" ? "-INF" : text == "nan" ? "NaN" : text);
      return;
    }
    case kCIMTypeString:
      out_.Text(value.GetString());
      return;
    default:
      out_.Text(value.ToString());
  }
}

void TCimXmlWriter::Value(const TCIMValue& value) {
  if (value.IsNull()) return;
  if (value.IsReference()) {
    ReferenceValue(value.GetReference());
    return;
  }
  if (!value.IsArray()) {
    out_.Open("VALUE");
    ScalarText(value);
    out_.Close();
    return;
  }
  out_.Open("VALUE.ARRAY");
  for (const TCIMValue& element : value.GetElements()) {
    if (element.IsNull()) {
      out_.Open("VALUE.NULL");
      out_.Close();
      continue;
    }
    out_.Open("VALUE");
    if (element.IsReference()) {
      out_.Text(element.GetReference().PathText());
    } else {
      ScalarText(element);
    }
    out_.Close();
  }
  out_.Close();
}

void TCimXmlWriter::ReferenceValue(const TCIMReference& path) {
  out_.Open("VALUE.REFERENCE");
  if (path.GetKeyBindings().empty()) {
    ClassName(path.GetClassName());
  } else if (!path.GetNameSpaceName().empty()) {
    out_.Open("LOCALINSTANCEPATH");
    LocalNamespacePath(path.GetNameSpaceName());
    InstanceName(path);
    out_.Close();
  } else {
    InstanceName(path);
  }
  out_.Close();
}

void TCimXmlWriter::KeyBinding(const std::string& name, const TCIMValue& value) {
  if (value.IsNull()) return;  // a filed instance has none; nothing says "null key"
  out_.Open("KEYBINDING");
  out_.Attr("NAME", name);
  if (value.IsReference()) {
    ReferenceValue(value.GetReference());
  } else {
    const ECIMType type = value.GetType();
    const bool numeric = IsUnsignedIntegerType(type) || IsSignedIntegerType(type) || IsRealType(type);
    out_.Open("KEYVALUE");
    out_.Attr("VALUETYPE", type == kCIMTypeBoolean ? "boolean" : numeric ? "numeric" : "string");
    out_.Attr("TYPE", value.IsArray() ? "string" : TypeName(type));
    if (value.IsArray()) {
      out_.Text(value.ToString());
    } else {
      ScalarText(value);
    }
    out_.Close();
  }
  out_.Close();
}

void TCimXmlWriter::InstanceName(const TCIMReference& path) {
  // Names as the class declares them: a path read from text may carry them
  // in another letter case.
  boost::shared_ptr<ICIMClass> cls = path.GetClass();
  out_.Open("INSTANCENAME");
  out_.Attr("CLASSNAME", cls ? cls->GetName(kNone) : path.GetClassName());
  for (const TCIMReference::TKeyBinding& key : path.GetKeyBindings()) {
    boost::shared_ptr<ICIMPropertyDecl> decl;
    try {
      if (cls) decl = cls->GetPropertyDecl(key.first, kNone);
    } catch (const TTYLException&) {
    }
    KeyBinding(decl ? decl->GetName(kNone) : key.first, key.second);
  }
  out_.Close();
}

void TCimXmlWriter::LocalNamespacePath(const std::string& namespaceName) {
  out_.Open("LOCALNAMESPACEPATH");
  size_t start = 0;
  while (start <= namespaceName.size()) {
    size_t end = namespaceName.find('/', start);
    if (end == std::string::npos) end = namespaceName.size();
    if (end > start) {
      out_.Open("NAMESPACE");
      out_.Attr("NAME", std::string_view(namespaceName).substr(start, end - start));
      out_.Close();
    }
    start = end + 1;
  }
  out_.Close();
}

void TCimXmlWriter::NamespacePath(const std::string& namespaceName) {
  out_.Open("NAMESPACEPATH");
  out_.TextElement("HOST", host_);
  LocalNamespacePath(namespaceName);
  out_.Close();
}

void TCimXmlWriter::InstancePath(const TCIMReference& path) {
  out_.Open("INSTANCEPATH");
  NamespacePath(path.GetNameSpaceName().empty() ? namespace_ : path.GetNameSpaceName());
  InstanceName(path);
  out_.Close();
}

void TCimXmlWriter::ClassName(const std::string& className) {
  out_.Open("CLASSNAME");
  out_.Attr("NAME", className);
  out_.Close();
}

void TCimXmlWriter::ClassPath(const std::string& className) {
  out_.Open("CLASSPATH");
  NamespacePath(namespace_);
  ClassName(className);
  out_.Close();
}

void TCimXmlWriter::Qualifiers(const ICIMNamedElement& element, bool localOnly, const TQualifierOrigin& origin) {
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        const bool passedOn = (q->GetFlavor(kNone) & ICIMQualifierDecl::kFlavorToSubclass) != 0;
        if (origin.inherited && !passedOn) return true;  // stays with the class that declares the element
        const TCIMValue& value = q->GetValue(kNone);
        const bool propagated = q->IsPropagated(kNone) || (origin.inherited && passedOn) ||
                                (origin.overridden != nullptr && TakenOver(*origin.overridden, *q));
        if ((localOnly && propagated) || ElementTypeOf(value.GetType()) == kCIMTypeReference) {
          return true;
        }
        out_.Open("QUALIFIER");
        out_.Attr("NAME", q->GetName(kNone));
        out_.Attr("TYPE", TypeName(q->GetType(kNone)));
        if (propagated) out_.Attr("PROPAGATED", "true");
        FlavorAttributes(out_, q->GetFlavor(kNone));
        Value(value);
        out_.Close();
        return true;
      },
      kNone);
}

void TCimXmlWriter::OpenProperty(const boost::shared_ptr<const ICIMPropertyDecl>& decl) {
  const std::string& name = decl->GetName(kNone);
  const ECIMType type = decl->GetType(kNone);
  if (ElementTypeOf(type) == kCIMTypeReference && !IsArrayType(type)) {
    out_.Open("PROPERTY.REFERENCE");
    out_.Attr("NAME", name);
    boost::shared_ptr<ICIMClass> target = decl->GetDefaultValue(kNone).GetReferencedClass();
    if (target) out_.Attr("REFERENCECLASS", target->GetName(kNone));
    return;
  }
  out_.Open(IsArrayType(type) ? "PROPERTY.ARRAY" : "PROPERTY");
  out_.Attr("NAME", name);
  out_.Attr("TYPE", ElementTypeOf(type) == kCIMTypeReference ? "string" : TypeName(type));
  // A string that holds an object as CIM-XML text says so, so that a
  // client reads the object out of it.
  if (ElementTypeOf(type) != kCIMTypeString) return;
  if (const char* kind = EmbeddedKind(decl)) out_.Attr("EmbeddedObject", kind);
}

const char* TCimXmlWriter::EmbeddedKind(const boost::shared_ptr<const ICIMPropertyDecl>& decl) {
  for (const auto& known : knownEmbedded_) {
    if (known.first == decl) return known.second;
  }
  const char* kind = nullptr;
  for (const auto& embedded : {std::make_pair("EmbeddedInstance", "instance"), std::make_pair("EmbeddedObject", "object")}) {
    bool found = false;
    try {
      decl->GetQualifier(embedded.first, found, kNone);
    } catch (const TTYLException&) {
      found = false;
    }
    if (found) {
      kind = embedded.second;
      break;
    }
  }
  if (knownEmbedded_.size() < kKnownEmbedded) knownEmbedded_.emplace_back(decl, kind);
  return kind;
}

void TCimXmlWriter::Instance(ICIMInstance& instance, const TCimObjectOptions& options) {
  boost::shared_ptr<ICIMClass> cls = instance.GetClass(kNone);
  out_.Open("INSTANCE");
  out_.Attr("CLASSNAME", NameOf(cls));
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        boost::shared_ptr<const ICIMPropertyDecl> decl = property->GetDecl(kNone);
        const std::string& name = decl->GetName(kNone);
        if (!Wanted(options, name)) return true;
        // Asked for only when it is written or decides.
        boost::shared_ptr<ICIMClass> origin;
        if (options.localOnly || options.includeClassOrigin) origin = decl->GetClass(kNone);
        if (options.localOnly && origin.get() != cls.get()) return true;
        if (options.declaredBy != nullptr) {
          try {
            options.declaredBy->GetPropertyDecl(name, kNone);
          } catch (const TTYLException&) {
            return true;  // declared by a subclass only
          }
        }
        const TCIMValue& value = property->GetValue(kNone);
        OpenProperty(decl);
        if (options.includeClassOrigin && origin) out_.Attr("CLASSORIGIN", origin->GetName(kNone));
        if (options.includeQualifiers) Qualifiers(*decl, false);
        Value(value);
        out_.Close();
        return true;
      },
      kNone);
  out_.Close();
}

void TCimXmlWriter::Class(ICIMClass& cls, const TCimObjectOptions& options) {
  out_.Open("CLASS");
  out_.Attr("NAME", cls.GetName(kNone));
  if (!cls.IsTopLevel(kNone)) out_.Attr("SUPERCLASS", NameOf(cls.GetSuperClass(kNone)));
  if (options.includeQualifiers) Qualifiers(cls, options.localOnly);
  // An element is propagated when the class took it over unchanged from a
  // superclass; with localOnly those stay out.
  auto originAttributes = [&](const boost::shared_ptr<ICIMClass>& origin) {
    if (options.includeClassOrigin) out_.Attr("CLASSORIGIN", NameOf(origin));
    if (origin.get() != &cls) out_.Attr("PROPAGATED", "true");
  };
  cls.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        boost::shared_ptr<ICIMClass> origin = decl->GetClass(kNone);
        const std::string& name = decl->GetName(kNone);
        if ((options.localOnly && origin.get() != &cls) || !Wanted(options, name)) return true;
        const TCIMValue& value = decl->GetDefaultValue(kNone);
        OpenProperty(decl);
        originAttributes(origin);
        if (options.includeQualifiers) {
          TQualifierOrigin from{origin.get() != &cls, nullptr};
          boost::shared_ptr<ICIMPropertyDecl> overridden;
          if (!from.inherited) {
            overridden = Overridden<ICIMPropertyDecl>(
                cls, *decl, [](ICIMClass& super, const std::string& n) { return super.GetPropertyDecl(n, kNone); });
          }
          from.overridden = overridden.get();
          Qualifiers(*decl, options.localOnly, from);
        }
        Value(value);
        out_.Close();
        return true;
      },
      kNone);
  cls.EnumerateMethodDecls(
      [&](boost::shared_ptr<ICIMMethodDecl> method) {
        boost::shared_ptr<ICIMClass> origin = method->GetClass(kNone);
        if (options.localOnly && origin.get() != &cls) return true;
        out_.Open("METHOD");
        out_.Attr("NAME", method->GetName(kNone));
        const ECIMType result = method->GetReturnType(kNone);
        if (IsValidCIMType(result) && !IsArrayType(result) && result != kCIMTypeReference) {
          out_.Attr("TYPE", TypeName(result));
        }
        originAttributes(origin);
        const bool inherited = origin.get() != &cls;
        boost::shared_ptr<ICIMMethodDecl> overridden;
        if (!inherited && options.includeQualifiers) {
          overridden = Overridden<ICIMMethodDecl>(
              cls, *method, [](ICIMClass& super, const std::string& n) { return super.GetMethodDecl(n, kNone); });
        }
        if (options.includeQualifiers) Qualifiers(*method, options.localOnly, {inherited, overridden.get()});
        for (const TDeclaredParameter& parameter : DeclaredParameters(*method, options.notes)) {
          const ECIMType type = parameter.decl->GetType(kNone);
          const bool reference = ElementTypeOf(type) == kCIMTypeReference;
          const bool array = IsArrayType(type);
          out_.Open(reference ? (array ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE")
                              : (array ? "PARAMETER.ARRAY" : "PARAMETER"));
          out_.Attr("NAME", parameter.decl->GetName(kNone));
          if (!reference) out_.Attr("TYPE", TypeName(type));
          if (!parameter.referenceClass.empty()) out_.Attr("REFERENCECLASS", parameter.referenceClass);
          if (options.includeQualifiers) {
            boost::shared_ptr<ICIMParameterDecl> base;
            if (overridden) base = overridden->GetParameter(parameter.decl->GetName(kNone), kNone);
            Qualifiers(*parameter.decl, options.localOnly, {inherited, base.get()});
          }
          out_.Close();
        }
        out_.Close();
        return true;
      },
      kNone);
  out_.Close();
}

void TCimXmlWriter::QualifierDecl(ICIMQualifierDecl& decl) {
  const ECIMType type = decl.GetType(kNone);
  out_.Open("QUALIFIER.DECLARATION");
  out_.Attr("NAME", decl.GetName(kNone));
  out_.Attr("TYPE", TypeName(type));
  out_.Attr("ISARRAY", IsArrayType(type) ? "true" : "false");
  FlavorAttributes(out_, decl.GetFlavor(kNone));
  static const std::pair<uint32_t, const char*> kScopes[] = {
      {ICIMQualifierDecl::kScopeClass, "CLASS"},         {ICIMQualifierDecl::kScopeAssociation, "ASSOCIATION"},
      {ICIMQualifierDecl::kScopeReference, "REFERENCE"}, {ICIMQualifierDecl::kScopeProperty, "PROPERTY"},
      {ICIMQualifierDecl::kScopeMethod, "METHOD"},       {ICIMQualifierDecl::kScopeParameter, "PARAMETER"},
      {ICIMQualifierDecl::kScopeIndication, "INDICATION"},
  };
  const uint32_t scope = decl.GetScope(kNone);
  out_.Open("SCOPE");
  for (const auto& s : kScopes) {
    if (scope & s.first) out_.Attr(s.second, "true");
  }
  out_.Close();
  Value(decl.GetValue(kNone));
  out_.Close();
}
