// TCIMReference::Parse: reads object path text as TCIMReference::GetPath
// writes it.

#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"
#include "include/cim_property_decl.h"

namespace {

// A key value as written, before it is given a type.
struct TRawValue {
  enum EKind { kQuoted, kBare, kNull, kArray };
  EKind kind = kBare;
  std::string text;
  std::vector<TRawValue> elements;
  size_t position = 0;  // where the value starts, for error messages
};

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

class TPathParser {
 public:
  TPathParser(const std::string& text, const boost::shared_ptr<ICIMNamespace>& ns)
      : text_(text), ns_(ns) {}

  TCIMReference Parse() {
    TCIMReference reference(ns_, TContext());
    size_t split = text_.find_first_of(":.\"");
    if (split != std::string::npos && text_[split] == ':') {
      reference.SetNameSpaceName(text_.substr(0, split));
      pos_ = split + 1;
    }
    std::string className = ReadName("a class name");
    boost::shared_ptr<ICIMClass> cls = FindClass(className);
    if (cls) {
      reference.SetClass(cls);
    } else {
      reference.SetClassName(className);
    }
    if (AtEnd()) return reference;
    Expect('.');
    while (true) {
      std::string key = ReadName("a key name");
      Expect('=');
      TRawValue raw = ReadValue();
      reference.AddKeyValue(key, Convert(raw, DeclaredType(cls, key), key));
      if (AtEnd()) return reference;
      Expect(',');
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& what, size_t position) const {
    ThrowLogged(3,
                "TYL: invalid object path '" + text_ + "' at position " +
                    std::to_string(position + 1) + ": " + what,
                kStatusInvalidParameter);
  }
  [[noreturn]] void FailExpected(const std::string& what) const {
    Fail("expected " + what, pos_);
  }

  bool AtEnd() const { return pos_ >= text_.size(); }

  void Expect(char c) {
    if (AtEnd() || text_[pos_] != c) FailExpected(std::string("'") + c + "'");
    ++pos_;
  }

  std::string ReadName(const char* what) {
    size_t start = pos_;
    if (AtEnd() || !IsNameStart(text_[pos_])) FailExpected(what);
    while (!AtEnd() && IsNameChar(text_[pos_])) ++pos_;
    return text_.substr(start, pos_ - start);
  }

  TRawValue ReadValue() {
    TRawValue raw;
    raw.position = pos_;
    if (AtEnd()) FailExpected("a key value");
    char c = text_[pos_];
    if (c == '"') {
      raw.kind = TRawValue::kQuoted;
      ++pos_;
      while (true) {
        if (AtEnd()) Fail("unterminated string", raw.position);
        char d = text_[pos_++];
        if (d == '"') break;
        if (d == '\\') {
          if (AtEnd() || (text_[pos_] != '"' && text_[pos_] != '\\')) {
            FailExpected("'\\\"' or '\\\\' after a backslash");
          }
          d = text_[pos_++];
        }
        raw.text += d;
      }
      return raw;
    }
    if (c == '{') {
      raw.kind = TRawValue::kArray;
      ++pos_;
      if (!AtEnd() && text_[pos_] == '}') {
        ++pos_;
        return raw;
      }
      while (true) {
        raw.elements.push_back(ReadValue());
        if (!AtEnd() && text_[pos_] == '}') {
          ++pos_;
          return raw;
        }
        Expect(',');
      }
    }
    size_t start = pos_;
    while (!AtEnd() && text_[pos_] != ',' && text_[pos_] != '}') ++pos_;
    raw.text = text_.substr(start, pos_ - start);
    if (raw.text.empty()) FailExpected("a key value");
    if (raw.text == "NULL") raw.kind = TRawValue::kNull;
    return raw;
  }

  boost::shared_ptr<ICIMClass> FindClass(const std::string& name) const {
    if (!ns_) return boost::shared_ptr<ICIMClass>();
    try {
      return ns_->GetClass(name, TContext());
    } catch (const TTYLException&) {
      return boost::shared_ptr<ICIMClass>();
    }
  }

  // The declared type of key `key`, or kCIMTypeNone when it is not known.
  static ECIMType DeclaredType(const boost::shared_ptr<ICIMClass>& cls,
                               const std::string& key) {
    if (!cls) return kCIMTypeNone;
    try {
      boost::shared_ptr<ICIMPropertyDecl> decl = cls->GetPropertyDecl(key, TContext());
      return decl ? decl->GetType(TContext()).GetType() : kCIMTypeNone;
    } catch (const TTYLException&) {
      return kCIMTypeNone;
    }
  }

  TCIMValue Convert(const TRawValue& raw, ECIMType type, const std::string& key) const {
    switch (raw.kind) {
      case TRawValue::kNull:
        return TCIMValue::Null(type);
      case TRawValue::kArray:
        return ConvertArray(raw, type, key);
      case TRawValue::kQuoted:
        return ConvertQuoted(raw, type, key);
      case TRawValue::kBare:
        break;
    }
    if (raw.text == "TRUE" || raw.text == "FALSE") {
      if (type != kCIMTypeNone && type != kCIMTypeBoolean) Mistyped(raw, type, key);
      return TCIMValue(raw.text == "TRUE");
    }
    return ConvertNumber(raw, type, key);
  }

  TCIMValue ConvertArray(const TRawValue& raw, ECIMType type, const std::string& key) const {
    if (type != kCIMTypeNone && !IsArrayType(type)) Mistyped(raw, type, key);
    ECIMType elementType = ElementTypeOf(type);
    std::vector<TCIMValue> elements;
    for (const TRawValue& element : raw.elements) {
      elements.push_back(Convert(element, elementType, key));
    }
    // Without a declaration the first non-null element fixes the type.
    for (const TCIMValue& element : elements) {
      if (elementType == kCIMTypeNone && !element.IsNull()) elementType = element.GetType();
    }
    if (elementType == kCIMTypeNone) elementType = kCIMTypeString;
    for (TCIMValue& element : elements) {
      if (element.IsNull()) {
        element = TCIMValue::Null(elementType);
      } else if (element.GetType() != elementType) {
        Fail("the elements of key " + key + " are not all of one type", raw.position);
      }
    }
    return TCIMValue(elementType, std::move(elements));
  }

  TCIMValue ConvertQuoted(const TRawValue& raw, ECIMType type, const std::string& key) const {
    switch (type) {
      case kCIMTypeNone:
      case kCIMTypeString:
        return TCIMValue(raw.text);
      case kCIMTypeDateTime:
        try {
          return TCIMValue(TCIMDateTime::Parse(raw.text));
        } catch (const TTYLException&) {
          Fail("key " + key + " is not a CIM datetime", raw.position);
        }
      case kCIMTypeReference:
        return TCIMValue(TCIMReference::Parse(raw.text, ns_));
      case kCIMTypeChar16: {
        char16_t c = 0;
        if (!DecodeChar16(raw.text, &c)) {
          Fail("key " + key + " is a char16 and needs exactly one character", raw.position);
        }
        return TCIMValue(c);
      }
      default:
        Mistyped(raw, type, key);
    }
  }

  TCIMValue ConvertNumber(const TRawValue& raw, ECIMType type, const std::string& key) const {
    const std::string& s = raw.text;
    bool real = IsRealType(type) ||
                (type == kCIMTypeNone &&
                 s.find_first_of(".eEni") != std::string::npos);  // 1.5, 1e9, nan, inf
    if (real) {
      char* end = nullptr;
      double value = std::strtod(s.c_str(), &end);
      if (end != s.c_str() + s.size()) Fail("expected a number for key " + key, raw.position);
      if (type == kCIMTypeReal32) return TCIMValue(static_cast<float>(value));
      if (type == kCIMTypeNone || type == kCIMTypeReal64) return TCIMValue(value);
      Mistyped(raw, type, key);
    }
    if (type != kCIMTypeNone && !IsUnsignedIntegerType(type) && !IsSignedIntegerType(type)) {
      Mistyped(raw, type, key);
    }
    TCIMValue value;
    if (!s.empty() && s[0] == '-') {
      long long number = 0;
      if (!ReadInteger(s, &number)) Fail("expected a number for key " + key, raw.position);
      value = TCIMValue(number);
    } else {
      unsigned long long number = 0;
      if (!ReadInteger(s, &number)) Fail("expected a number for key " + key, raw.position);
      value = TCIMValue(number);
    }
    if (type == kCIMTypeNone) return value;
    try {
      return Narrow(value, type);
    } catch (const TTYLException&) {
      Fail(s + " does not fit key " + key + " of type " + CIMTypeName(type), raw.position);
    }
  }

  template <typename T>
  static bool ReadInteger(const std::string& s, T* out) {
    std::from_chars_result result = std::from_chars(s.data(), s.data() + s.size(), *out);
    return result.ec == std::errc() && result.ptr == s.data() + s.size();
  }

  static TCIMValue Narrow(const TCIMValue& value, ECIMType type) {
    switch (type) {
      case kCIMTypeUint8: return TCIMValue(static_cast<unsigned char>(value));
      case kCIMTypeSint8: return TCIMValue(static_cast<signed char>(value));
      case kCIMTypeUint16: return TCIMValue(static_cast<unsigned short>(value));
      case kCIMTypeSint16: return TCIMValue(static_cast<short>(value));
      case kCIMTypeUint32: return TCIMValue(static_cast<unsigned int>(value));
      case kCIMTypeSint32: return TCIMValue(static_cast<int>(value));
      case kCIMTypeUint64: return TCIMValue(static_cast<unsigned long long>(value));
      default: return TCIMValue(static_cast<long long>(value));
    }
  }

  [[noreturn]] void Mistyped(const TRawValue& raw, ECIMType type, const std::string& key) const {
    Fail("key " + key + " is declared " + CIMTypeName(type), raw.position);
  }

  const std::string& text_;
  boost::shared_ptr<ICIMNamespace> ns_;
  size_t pos_ = 0;
};

}  // namespace

TCIMReference TCIMReference::Parse(const std::string& text,
                                   const boost::shared_ptr<ICIMNamespace>& ns) {
  return TPathParser(text, ns).Parse();
}
