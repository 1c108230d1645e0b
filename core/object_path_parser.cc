// TCIMReference::Parse: reads object path text as TCIMReference::GetPath
// writes it.
//
// Path text comes from users and from the network, so the reader bounds its
// own depth: an array key value holds no arrays, and references quoted
// inside references nest at most kMaxNesting deep.

#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "core/cim_reference.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
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

constexpr int kMaxNesting = 16;

// Why path text cannot be read: the byte where reading stopped and what was
// wrong there. Thrown inside the reader, turned into the caller's error.
struct TPathError {
  size_t position;
  std::string what;
  bool tooDeep = false;  // reported as it is at every level, not wrapped
};

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

class TPathParser {
 public:
  TPathParser(const std::string& text, const boost::shared_ptr<ICIMNamespace>& ns, int depth)
      : text_(text), ns_(ns), depth_(depth) {}

  TCIMReference Parse() {
    std::string namespaceName;
    size_t split = text_.find_first_of(":.\"");
    if (split != std::string::npos && text_[split] == ':') {
      namespaceName = text_.substr(0, split);
      pos_ = split + 1;
      // A path into another namespace the host serves is read with that
      // namespace's classes, and so are the paths among its keys.
      boost::shared_ptr<ICIMNamespace> named = TNamespaceDirectory::Find(namespaceName);
      if (named) ns_ = named;
    }
    TCIMReference reference(ns_, TContext());
    if (!namespaceName.empty()) reference.SetNameSpaceName(namespaceName);
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
      const size_t keyAt = pos_;
      std::string key = ReadName("a key name");
      if (reference.FindKeyValue(key) != nullptr) Fail("key " + key + " is given twice", keyAt);
      Expect('=');
      TRawValue raw = ReadValue(false);
      reference.AddKeyValue(key, Convert(raw, DeclaredType(cls, key), key));
      if (AtEnd()) return reference;
      Expect(',');
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& what, size_t position) const {
    throw TPathError{position, what};
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

  TRawValue ReadValue(bool inArray) {
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
      if (inArray) Fail("an array key value cannot hold an array", pos_);
      raw.kind = TRawValue::kArray;
      ++pos_;
      if (!AtEnd() && text_[pos_] == '}') {
        ++pos_;
        return raw;
      }
      while (true) {
        raw.elements.push_back(ReadValue(true));
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
    if (elementType == kCIMTypeNone) elementType = UntypedElementType(&elements);
    for (TCIMValue& element : elements) {
      if (element.IsNull()) {
        element = TCIMValue::Null(elementType);
      } else if (element.GetType() != elementType) {
        Fail("the elements of key " + key + " are not all of one type", raw.position);
      }
    }
    return TCIMValue(elementType, std::move(elements));
  }

  // Without a declaration the first non-null element fixes the type of an
  // array, except that integers read as uint64 (non-negative) and sint64
  // (negative) become one type: sint64 when some element is negative and
  // all fit it.
  static ECIMType UntypedElementType(std::vector<TCIMValue>* elements) {
    ECIMType type = kCIMTypeNone;
    bool negative = false, large = false;
    for (const TCIMValue& element : *elements) {
      if (element.IsNull()) continue;
      if (type == kCIMTypeNone) type = element.GetType();
      negative = negative || element.GetType() == kCIMTypeSint64;
      large = large || (element.GetType() == kCIMTypeUint64 &&
                        static_cast<unsigned long long>(element) >
                            static_cast<unsigned long long>(std::numeric_limits<long long>::max()));
    }
    if (type == kCIMTypeNone) return kCIMTypeString;
    if ((type == kCIMTypeUint64 || type == kCIMTypeSint64) && negative && !large) {
      for (TCIMValue& element : *elements) {
        if (!element.IsNull() && element.GetType() == kCIMTypeUint64) {
          element = TCIMValue(static_cast<long long>(element));
        }
      }
      return kCIMTypeSint64;
    }
    return type;
  }

  TCIMValue ConvertQuoted(const TRawValue& raw, ECIMType type, const std::string& key) const {
    switch (type) {
      case kCIMTypeNone:
      case kCIMTypeString:
        return TCIMValue(raw.text);
      case kCIMTypeDateTime: {
        TCIMDateTime dateTime;
        std::string why;
        if (!TCIMDateTime::TryParse(raw.text, &dateTime, &why)) {
          Fail("key " + key + " is not a CIM datetime (" + why + ")", raw.position);
        }
        return TCIMValue(dateTime);
      }
      case kCIMTypeReference: {
        if (depth_ + 1 >= kMaxNesting) {
          throw TPathError{raw.position,
                           "nesting deeper than " + std::to_string(kMaxNesting) + " references", true};
        }
        try {
          return TCIMValue(TPathParser(raw.text, ns_, depth_ + 1).Parse());
        } catch (const TPathError& inner) {
          if (inner.tooDeep) throw TPathError{raw.position, inner.what, true};
          Fail("key " + key + " is not an object path: at its position " +
                   std::to_string(inner.position + 1) + ": " + inner.what,
               raw.position);
        }
      }
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
      if (type == kCIMTypeReal32) return TCIMValue(ReadReal<float>(raw, key));
      if (type == kCIMTypeNone || type == kCIMTypeReal64) return TCIMValue(ReadReal<double>(raw, key));
      Mistyped(raw, type, key);
    }
    if (type != kCIMTypeNone && !IsUnsignedIntegerType(type) && !IsSignedIntegerType(type)) {
      Mistyped(raw, type, key);
    }
    TCIMValue value;
    if (!s.empty() && s[0] == '-') {
      long long number = 0;
      ReadInteger(raw, key, type == kCIMTypeNone ? kCIMTypeSint64 : type, &number);
      // The value decides, not the sign written: "-0" is a uint64, as the
      // "0" it is written back as reads.
      value = number < 0 ? TCIMValue(number) : TCIMValue(static_cast<unsigned long long>(number));
    } else {
      unsigned long long number = 0;
      ReadInteger(raw, key, type == kCIMTypeNone ? kCIMTypeUint64 : type, &number);
      value = TCIMValue(number);
    }
    if (type == kCIMTypeNone) return value;
    try {
      return TCIMValue::OfIntegerType(value, type);
    } catch (const TTYLException&) {
      Fail(s + " is out of range for key " + key + " of type " + CIMTypeName(type), raw.position);
    }
  }

  // The whole text as a real of type T ("nan" and "inf" included); a number
  // beyond T's range is refused, not made infinite.
  template <typename T>
  T ReadReal(const TRawValue& raw, const std::string& key) const {
    const std::string& s = raw.text;
    T value = 0;
    std::from_chars_result result = std::from_chars(s.data(), s.data() + s.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
      Fail(s + " is out of range for key " + key + " of type " +
               CIMTypeName(sizeof(T) == sizeof(float) ? kCIMTypeReal32 : kCIMTypeReal64),
           raw.position);
    }
    if (result.ec != std::errc() || result.ptr != s.data() + s.size()) {
      Fail("expected a number for key " + key, raw.position);
    }
    return value;
  }

  // The whole text as an integer of type T; digits beyond T's range are out
  // of range for `type`, the key's type.
  template <typename T>
  void ReadInteger(const TRawValue& raw, const std::string& key, ECIMType type, T* out) const {
    const std::string& s = raw.text;
    std::from_chars_result result = std::from_chars(s.data(), s.data() + s.size(), *out);
    if (result.ptr != s.data() + s.size()) Fail("expected a number for key " + key, raw.position);
    if (result.ec == std::errc::result_out_of_range) {
      Fail(s + " is out of range for key " + key + " of type " + CIMTypeName(type), raw.position);
    }
    if (result.ec != std::errc()) Fail("expected a number for key " + key, raw.position);
  }

  [[noreturn]] void Mistyped(const TRawValue& raw, ECIMType type, const std::string& key) const {
    Fail("key " + key + " is declared " + CIMTypeName(type), raw.position);
  }

  const std::string& text_;
  boost::shared_ptr<ICIMNamespace> ns_;
  // How many references this text is quoted inside.
  int depth_;
  size_t pos_ = 0;
};

}  // namespace

bool TCIMReference::TryParse(const std::string& text, const boost::shared_ptr<ICIMNamespace>& ns,
                             TCIMReference* path, std::string* error) {
  try {
    *path = TPathParser(text, ns, 0).Parse();
    return true;
  } catch (const TPathError& e) {
    *error = "at position " + std::to_string(e.position + 1) + ": " + Printable(e.what);
    return false;
  }
}

TCIMReference TCIMReference::Parse(const std::string& text,
                                   const boost::shared_ptr<ICIMNamespace>& ns) {
  TCIMReference path;
  std::string error;
  if (!TryParse(text, ns, &path, &error)) {
    ThrowLogged(3, "TYL: invalid object path '" + Printable(text) + "' " + error,
                kStatusInvalidParameter);
  }
  return path;
}
