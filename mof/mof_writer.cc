#include "mof/mof_writer.h"

#include <cstdio>
#include <set>
#include <vector>

#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/cim_qualifier_decl.h"

namespace {

const TContext kNone;

// A string or character literal that reads back to exactly `text`: the
// quote and the backslash escaped, control characters and the char16
// surrogates (which the reader takes only as escapes) written as \xHHHH,
// other UTF-8 as it is. A byte that is not part of any UTF-8 sequence has
// no literal form and is written as U+FFFD.
std::string Quoted(const std::string& text, char quote) {
  std::string out(1, quote);
  auto escape = [&out](unsigned code) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "\\x%04X", code);
    out += buffer;
  };
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\\' || c == static_cast<unsigned char>(quote)) {
      out += '\\';
      out += static_cast<char>(c);
      ++i;
      continue;
    }
    if (c == '\n' || c == '\t' || c == '\r') {
      out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : "\\r";
      ++i;
      continue;
    }
    if (c < 0x20 || c == 0x7F) {
      escape(c);
      ++i;
      continue;
    }
    std::string_view rest = std::string_view(text).substr(i);
    size_t length = Utf8SequenceLength(rest);
    if (length > 0) {
      out.append(text, i, length);
      i += length;
      continue;
    }
    char16_t unit = 0;
    length = Char16SequenceLength(rest);
    if (length > 0 && DecodeChar16(rest.substr(0, length), &unit)) {
      escape(unit);  // a surrogate
      i += length;
      continue;
    }
    escape(0xFFFD);
    ++i;
  }
  return out + quote;
}

// A real as MOF writes it: the shortest text that reads back to the same
// number, always with a point or an exponent, and INF, -INF and NaN for the
// values beyond the numbers.
std::string RealLiteral(const TCIMValue& value) {
  std::string text = value.ToString();
  if (text == "inf") return "INF";
  if (text == "-inf") return "-INF";
  if (text == "nan") return "NaN";
  if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
  return text;
}

std::string TypeWord(ECIMType type) { return CIMTypeName(ElementTypeOf(type)); }

// The flavor words that give `bits` when applied in order; override and
// subclass words are always named, so nothing depends on the defaults.
std::string FlavorWords(uint32_t bits, const char* separator) {
  std::string words;
  auto add = [&](const char* word) {
    if (!words.empty()) words += separator;
    words += word;
  };
  add((bits & ICIMQualifierDecl::kFlavorEnableOverride) ? "EnableOverride" : "DisableOverride");
  add((bits & ICIMQualifierDecl::kFlavorToSubclass) ? "ToSubclass" : "Restricted");
  if (bits & ICIMQualifierDecl::kFlavorTranslatable) add("Translatable");
  if (bits & ICIMQualifierDecl::kFlavorToInstance) add("ToInstance");
  return words;
}

template <typename Element>
std::string QualifierList(const Element& element) {
  std::vector<std::string> items;
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        if (q->IsPropagated(kNone)) return true;  // comes back through inheritance
        std::string item = q->GetName(kNone);
        const TCIMValue& value = q->GetValue(kNone);
        if (value.IsArray() && !value.IsNull()) {
          item += MofLiteral(value);
        } else {
          item += "(" + MofLiteral(value) + ")";
        }
        uint32_t flavor = q->GetFlavor(kNone);
        if (flavor != q->GetDecl(kNone)->GetFlavor(kNone)) item += " : " + FlavorWords(flavor, " ");
        items.push_back(item);
        return true;
      },
      kNone);
  if (items.empty()) return std::string();
  std::string text = "[";
  for (size_t i = 0; i < items.size(); ++i) text += (i ? ",\n     " : "") + items[i];
  return text + "]\n";
}

std::string Indented(const std::string& qualifiers, const char* indent) {
  std::string out;
  size_t start = 0;
  while (start < qualifiers.size()) {
    size_t end = qualifiers.find('\n', start);
    out += indent + qualifiers.substr(start, end - start + 1);
    start = end + 1;
  }
  return out;
}

// Whether `a` and `b` are one object, through the different interfaces.
bool Same(const boost::shared_ptr<ICIMClass>& a, const ICIMClass& b) { return a.get() == &b; }

}  // namespace

std::string MofLiteral(const TCIMValue& value) {
  if (value.IsNull()) return "NULL";
  if (value.IsArray()) {
    std::string text = "{";
    const std::vector<TCIMValue>& elements = value.GetElements();
    for (size_t i = 0; i < elements.size(); ++i) text += (i ? ", " : "") + MofLiteral(elements[i]);
    return text + "}";
  }
  switch (value.GetType()) {
    case kCIMTypeString: return Quoted(value.GetString(), '"');
    case kCIMTypeChar16: return Quoted(value.ToString(), '\'');
    case kCIMTypeDateTime:
    case kCIMTypeReference: return Quoted(value.ToString(), '"');
    case kCIMTypeReal32:
    case kCIMTypeReal64: return RealLiteral(value);
    default: return value.ToString();
  }
}

void TMofWriter::WriteQualifierDecl(ICIMQualifierDecl& decl) {
  ECIMType type = decl.GetType(kNone);
  out_ << "Qualifier " << decl.GetName(kNone) << " : " << TypeWord(type)
       << (IsArrayType(type) ? "[]" : "");
  const TCIMValue& value = decl.GetValue(kNone);
  if (!value.IsNull()) out_ << " = " << MofLiteral(value);
  static const std::pair<uint32_t, const char*> kScopes[] = {
      {ICIMQualifierDecl::kScopeClass, "class"},         {ICIMQualifierDecl::kScopeAssociation, "association"},
      {ICIMQualifierDecl::kScopeIndication, "indication"}, {ICIMQualifierDecl::kScopeProperty, "property"},
      {ICIMQualifierDecl::kScopeReference, "reference"}, {ICIMQualifierDecl::kScopeMethod, "method"},
      {ICIMQualifierDecl::kScopeParameter, "parameter"}, {ICIMQualifierDecl::kScopeQualifier, "qualifier"},
  };
  uint32_t scope = decl.GetScope(kNone);
  std::string scopes;
  if ((scope & ICIMQualifierDecl::kScopeAny) == ICIMQualifierDecl::kScopeAny) {
    scopes = "any";
  } else {
    for (const auto& s : kScopes) {
      if (scope & s.first) scopes += (scopes.empty() ? "" : ", ") + std::string(s.second);
    }
  }
  out_ << ",\n    Scope(" << scopes << "),\n    Flavor(" << FlavorWords(decl.GetFlavor(kNone), ", ")
       << ");\n\n";
}

void TMofWriter::WriteClass(ICIMClass& cls, bool showInherited) {
  out_ << QualifierList(cls) << "class " << cls.GetName(kNone);
  boost::shared_ptr<ICIMClass> super = cls.GetSuperClass(kNone);
  if (super && !cls.IsTopLevel(kNone)) out_ << " : " << super->GetName(kNone);
  out_ << " {\n";
  auto inheritedNote = [&](const boost::shared_ptr<ICIMClass>& owner) -> std::string {
    if (Same(owner, cls)) return std::string();
    return "   // inherited from " + (owner ? owner->GetName(kNone) : std::string("?")) + "\n";
  };
  cls.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        boost::shared_ptr<ICIMClass> owner = decl->GetClass(kNone);
        if (!Same(owner, cls) && !showInherited) return true;
        out_ << "\n" << inheritedNote(owner) << Indented(QualifierList(*decl), "   ");
        ECIMType type = decl->GetType(kNone);
        const TCIMValue& value = decl->GetDefaultValue(kNone);
        if (ElementTypeOf(type) == kCIMTypeReference) {
          boost::shared_ptr<ICIMClass> target = value.GetReferencedClass();
          out_ << "   " << (target ? target->GetName(kNone) : cls.GetName(kNone)) << " REF "
               << decl->GetName(kNone);
        } else {
          out_ << "   " << TypeWord(type) << " " << decl->GetName(kNone)
               << (IsArrayType(type) ? "[]" : "");
        }
        if (!value.IsNull()) out_ << " = " << MofLiteral(value);
        out_ << ";\n";
        return true;
      },
      kNone);
  cls.EnumerateMethodDecls(
      [&](boost::shared_ptr<ICIMMethodDecl> method) {
        boost::shared_ptr<ICIMClass> owner = method->GetClass(kNone);
        if (!Same(owner, cls) && !showInherited) return true;
        out_ << "\n" << inheritedNote(owner) << Indented(QualifierList(*method), "   ") << "   "
             << TypeWord(method->GetReturnType(kNone)) << " " << method->GetName(kNone) << "(";
        std::string separator;
        for (const TDeclaredParameter& p : DeclaredParameters(*method, notes_)) {
          ECIMType type = p.decl->GetType(kNone);
          std::string qualifiers = QualifierList(*p.decl);
          for (char& c : qualifiers) c = c == '\n' ? ' ' : c;
          std::string typeText = TypeWord(type);
          if (ElementTypeOf(type) == kCIMTypeReference) {
            const std::string fallback = owner ? owner->GetName(kNone) : cls.GetName(kNone);
            typeText = (p.referenceClass.empty() ? fallback : p.referenceClass) + " REF";
          }
          out_ << separator << qualifiers << typeText << " " << p.decl->GetName(kNone)
               << (IsArrayType(type) ? "[]" : "");
          separator = ",\n        ";
        }
        out_ << ");\n";
        return true;
      },
      kNone);
  out_ << "};\n\n";
}

void TMofWriter::WriteInstance(ICIMInstance& instance) {
  out_ << "instance of " << instance.GetClass(kNone)->GetName(kNone) << " {\n";
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        if (property->UsesDefaultValue(kNone)) return true;
        out_ << "   " << property->GetDecl(kNone)->GetName(kNone) << " = "
             << MofLiteral(property->GetValue(kNone)) << ";\n";
        return true;
      },
      kNone);
  out_ << "};\n\n";
}

void TMofWriter::WriteNamespace(ICIMNamespace& ns, const std::function<bool(ICIMInstance&)>& keep,
                                const std::function<bool(ICIMClass&)>& keepClass) {
  ns.EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> decl) {
        WriteQualifierDecl(*decl);
        return true;
      },
      kNone);
  // Every class after its superclass and the classes it references.
  std::vector<boost::shared_ptr<ICIMClass>> all;
  ns.GetClass("", kNone)->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> cls) {
        if (!keepClass || keepClass(*cls)) all.push_back(cls);
        return true;
      },
      true, kNone);
  // A class waits for the classes it needs: its superclass and the classes
  // its references (and, by the notes, its reference parameters) point at.
  // A chain of references can be as long as the schema, so the walk keeps
  // its own stack rather than recursing.
  struct TPending {
    boost::shared_ptr<ICIMClass> cls;
    std::vector<boost::shared_ptr<ICIMClass>> needs;
    size_t next = 0;
  };
  std::set<const ICIMClass*> seen;
  std::vector<TPending> pending;
  auto visit = [&](const boost::shared_ptr<ICIMClass>& cls) {
    if ((keepClass && !keepClass(*cls)) || !seen.insert(cls.get()).second) return;
    TPending entry{cls, {}};
    if (!cls->IsTopLevel(kNone)) entry.needs.push_back(cls->GetSuperClass(kNone));
    cls->EnumeratePropertyDecls(
        [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
          const TCIMValue& value = decl->GetDefaultValue(kNone);
          if (!value.IsReference()) return true;
          boost::shared_ptr<ICIMClass> target = value.GetReferencedClass();
          if (target) entry.needs.push_back(target);
          return true;
        },
        kNone);
    if (notes_ != nullptr) {
      for (const std::string& name : notes_->ReferencedClasses(cls->GetName(kNone))) {
        try {
          entry.needs.push_back(ns.GetClass(name, kNone));
        } catch (const TTYLException&) {
          // gone since: the parameter is written as the notes have it
        }
      }
    }
    pending.push_back(std::move(entry));
  };
  for (const auto& cls : all) {
    visit(cls);
    while (!pending.empty()) {
      TPending& top = pending.back();
      if (top.next < top.needs.size()) {
        const boost::shared_ptr<ICIMClass> need = top.needs[top.next++];
        visit(need);  // may move `top`
        continue;
      }
      WriteClass(*top.cls);
      pending.pop_back();
    }
  }
  // Plain instances first: associations point at them.
  for (bool associations : {false, true}) {
    for (const auto& cls : all) {
      if (cls->IsAssociation(kNone) != associations) continue;
      cls->EnumerateInstances(
          [&](boost::shared_ptr<ICIMInstance> instance) {
            if (!keep || keep(*instance)) WriteInstance(*instance);
            return true;
          },
          false, kNone);
    }
  }
}
