#include "core/cim_value.h"

#include <charconv>
#include <cmath>
#include <limits>

#include <boost/make_shared.hpp>

#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"

namespace {

std::string UnsignedToString(uint64_t value, unsigned base) {
  static const char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  char buffer[65];
  char* end = buffer + sizeof buffer;
  char* p = end;
  do {
    *--p = kDigits[value % base];
    value /= base;
  } while (value != 0);
  return std::string(p, end);
}

std::string SignedToString(int64_t value, unsigned base) {
  if (value >= 0) return UnsignedToString(static_cast<uint64_t>(value), base);
  // Negate in unsigned arithmetic: -INT64_MIN does not fit in int64_t.
  return "-" + UnsignedToString(0 - static_cast<uint64_t>(value), base);
}

std::string RealToString(double value, bool single) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  char buffer[64];
  std::to_chars_result result =
      single ? std::to_chars(buffer, buffer + sizeof buffer, static_cast<float>(value))
             : std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

// -1, 0, 1 for a < b, a == b, a > b; NaN equals NaN and sorts after numbers.
int CompareReals(double a, double b) {
  bool aNan = std::isnan(a), bNan = std::isnan(b);
  if (aNan || bNan) return aNan == bNan ? 0 : (aNan ? 1 : -1);
  return a < b ? -1 : (b < a ? 1 : 0);
}

}  // namespace

TCIMValue::TCIMValue(ECIMType type, TContent content, bool isNull)
    : type_(type), null_(isNull), content_(std::move(content)) {}

TCIMValue::TCIMValue(bool value) : TCIMValue(kCIMTypeBoolean, value, false) {}
TCIMValue::TCIMValue(unsigned char value)
    : TCIMValue(kCIMTypeUint8, uint64_t{value}, false) {}
TCIMValue::TCIMValue(signed char value)
    : TCIMValue(kCIMTypeSint8, int64_t{value}, false) {}
TCIMValue::TCIMValue(unsigned short value)
    : TCIMValue(kCIMTypeUint16, uint64_t{value}, false) {}
TCIMValue::TCIMValue(short value) : TCIMValue(kCIMTypeSint16, int64_t{value}, false) {}
TCIMValue::TCIMValue(unsigned int value)
    : TCIMValue(kCIMTypeUint32, uint64_t{value}, false) {}
TCIMValue::TCIMValue(int value) : TCIMValue(kCIMTypeSint32, int64_t{value}, false) {}
TCIMValue::TCIMValue(unsigned long value)
    : TCIMValue(kCIMTypeUint64, uint64_t{value}, false) {}
TCIMValue::TCIMValue(long value) : TCIMValue(kCIMTypeSint64, int64_t{value}, false) {}
TCIMValue::TCIMValue(unsigned long long value)
    : TCIMValue(kCIMTypeUint64, uint64_t{value}, false) {}
TCIMValue::TCIMValue(long long value)
    : TCIMValue(kCIMTypeSint64, int64_t{value}, false) {}
TCIMValue::TCIMValue(float value)
    : TCIMValue(kCIMTypeReal32, static_cast<double>(value), false) {}
TCIMValue::TCIMValue(double value) : TCIMValue(kCIMTypeReal64, value, false) {}
TCIMValue::TCIMValue(char16_t value) : TCIMValue(kCIMTypeChar16, value, false) {}
TCIMValue::TCIMValue(const std::string& value)
    : TCIMValue(kCIMTypeString, value, false) {}
TCIMValue::TCIMValue(std::string&& value)
    : TCIMValue(kCIMTypeString, std::move(value), false) {}
TCIMValue::TCIMValue(const char* value)
    : TCIMValue(kCIMTypeString, std::string(value), false) {}
TCIMValue::TCIMValue(const TCIMDateTime& value)
    : TCIMValue(kCIMTypeDateTime, value, false) {}
TCIMValue::TCIMValue(const TCIMReference& value)
    : TCIMValue(kCIMTypeReference, value, false) {}
TCIMValue::TCIMValue(TCIMReference&& value)
    : TCIMValue(kCIMTypeReference, std::move(value), false) {}

TCIMValue::TCIMValue(ECIMType elementType, std::vector<TCIMValue> elements)
    : type_(ArrayTypeOf(elementType)), null_(false) {
  if (elementType < kCIMTypeBoolean || elementType > kCIMTypeReference) {
    ThrowLogged(3, "TYL: an array cannot hold elements of type " +
                       CIMTypeName(elementType),
                kStatusInvalidParameter);
  }
  for (const TCIMValue& element : elements) {
    if (element.type_ != elementType) {
      ThrowLogged(3, "TYL: a " + CIMTypeName(elementType) +
                         " array cannot hold an element of type " +
                         CIMTypeName(element.type_),
                  kStatusTypeMismatch);
    }
  }
  content_ = TElementsPtr(boost::make_shared<const std::vector<TCIMValue>>(std::move(elements)));
}

TCIMValue TCIMValue::OfIntegerType(const TCIMValue& integer, ECIMType type) {
  switch (type) {
    case kCIMTypeUint8: return TCIMValue(static_cast<unsigned char>(integer));
    case kCIMTypeSint8: return TCIMValue(static_cast<signed char>(integer));
    case kCIMTypeUint16: return TCIMValue(static_cast<unsigned short>(integer));
    case kCIMTypeSint16: return TCIMValue(static_cast<short>(integer));
    case kCIMTypeUint32: return TCIMValue(static_cast<unsigned int>(integer));
    case kCIMTypeSint32: return TCIMValue(static_cast<int>(integer));
    case kCIMTypeUint64: return TCIMValue(static_cast<unsigned long long>(integer));
    case kCIMTypeSint64: return TCIMValue(static_cast<long long>(integer));
    default: throw TTYLException(kStatusTypeMismatch);
  }
}

TCIMValue TCIMValue::Null(ECIMType type) {
  if (type != kCIMTypeNone && !IsValidCIMType(type)) {
    throw TTYLException(kStatusInvalidParameter);
  }
  return TCIMValue(type, std::monostate(), true);
}

TCIMValue TCIMValue::NullReference(const boost::shared_ptr<ICIMClass>& referencedClass) {
  TCIMReference prototype;
  if (referencedClass) prototype.SetClass(referencedClass);
  return TCIMValue(kCIMTypeReference, std::move(prototype), true);
}

boost::shared_ptr<ICIMClass> TCIMValue::GetReferencedClass() const {
  if (type_ != kCIMTypeReference) ThrowMismatch();
  const TCIMReference* reference = std::get_if<TCIMReference>(&content_);
  if (reference == nullptr) return boost::shared_ptr<ICIMClass>();
  return reference->GetClass();
}

void TCIMValue::ThrowMismatch() const { throw TTYLException(kStatusTypeMismatch); }

uint64_t TCIMValue::ToUnsigned(uint64_t max) const {
  if (null_) ThrowMismatch();
  if (IsUnsignedIntegerType(type_)) {
    uint64_t value = std::get<uint64_t>(content_);
    if (value > max) throw TTYLException(kStatusValueOutOfRange);
    return value;
  }
  if (IsSignedIntegerType(type_)) {
    int64_t value = std::get<int64_t>(content_);
    if (value < 0 || static_cast<uint64_t>(value) > max) {
      throw TTYLException(kStatusValueOutOfRange);
    }
    return static_cast<uint64_t>(value);
  }
  ThrowMismatch();
}

int64_t TCIMValue::ToSigned(int64_t min, int64_t max) const {
  if (null_) ThrowMismatch();
  if (IsSignedIntegerType(type_)) {
    int64_t value = std::get<int64_t>(content_);
    if (value < min || value > max) throw TTYLException(kStatusValueOutOfRange);
    return value;
  }
  if (IsUnsignedIntegerType(type_)) {
    uint64_t value = std::get<uint64_t>(content_);
    if (value > static_cast<uint64_t>(max)) throw TTYLException(kStatusValueOutOfRange);
    return static_cast<int64_t>(value);
  }
  ThrowMismatch();
}

TCIMValue::operator bool() const {
  if (null_ || type_ != kCIMTypeBoolean) ThrowMismatch();
  return std::get<bool>(content_);
}

TCIMValue::operator unsigned char() const {
  return static_cast<unsigned char>(ToUnsigned(std::numeric_limits<unsigned char>::max()));
}
TCIMValue::operator signed char() const {
  return static_cast<signed char>(ToSigned(std::numeric_limits<signed char>::min(),
                                           std::numeric_limits<signed char>::max()));
}
TCIMValue::operator unsigned short() const {
  return static_cast<unsigned short>(ToUnsigned(std::numeric_limits<unsigned short>::max()));
}
TCIMValue::operator short() const {
  return static_cast<short>(
      ToSigned(std::numeric_limits<short>::min(), std::numeric_limits<short>::max()));
}
TCIMValue::operator unsigned int() const {
  return static_cast<unsigned int>(ToUnsigned(std::numeric_limits<unsigned int>::max()));
}
TCIMValue::operator int() const {
  return static_cast<int>(
      ToSigned(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}
TCIMValue::operator unsigned long() const {
  return static_cast<unsigned long>(ToUnsigned(std::numeric_limits<unsigned long>::max()));
}
TCIMValue::operator long() const {
  return static_cast<long>(
      ToSigned(std::numeric_limits<long>::min(), std::numeric_limits<long>::max()));
}
TCIMValue::operator unsigned long long() const {
  return ToUnsigned(std::numeric_limits<unsigned long long>::max());
}
TCIMValue::operator long long() const {
  return ToSigned(std::numeric_limits<long long>::min(),
                  std::numeric_limits<long long>::max());
}

TCIMValue::operator double() const {
  if (null_) ThrowMismatch();
  if (IsRealType(type_)) return std::get<double>(content_);
  if (IsUnsignedIntegerType(type_)) return static_cast<double>(std::get<uint64_t>(content_));
  if (IsSignedIntegerType(type_)) return static_cast<double>(std::get<int64_t>(content_));
  ThrowMismatch();
}

TCIMValue::operator float() const { return static_cast<float>(static_cast<double>(*this)); }

TCIMValue::operator char16_t() const {
  if (null_ || type_ != kCIMTypeChar16) ThrowMismatch();
  return std::get<char16_t>(content_);
}

TCIMValue::operator std::string() const { return GetString(); }

const std::string& TCIMValue::GetString() const {
  if (null_ || type_ != kCIMTypeString) ThrowMismatch();
  return std::get<std::string>(content_);
}

TCIMValue::operator TCIMDateTime() const {
  if (null_ || type_ != kCIMTypeDateTime) ThrowMismatch();
  return std::get<TCIMDateTime>(content_);
}

const TCIMReference& TCIMValue::GetReference() const {
  if (null_ || type_ != kCIMTypeReference) ThrowMismatch();
  return std::get<TCIMReference>(content_);
}

TCIMValue::operator TCIMReference() const { return GetReference(); }

void TCIMValue::PrefetchReference() const {
  const TCIMReference* reference = std::get_if<TCIMReference>(&content_);
  if (reference != nullptr) reference->Prefetch();
}

void TCIMValue::PrefetchReferenceText() const {
  const TCIMReference* reference = std::get_if<TCIMReference>(&content_);
  if (reference != nullptr) reference->PrefetchText();
}

TCIMValue::operator const std::vector<TCIMValue>&() const { return GetElements(); }

const std::vector<TCIMValue>& TCIMValue::GetElements() const {
  if (null_ || !IsArray()) ThrowMismatch();
  return *std::get<TElementsPtr>(content_);
}

std::string TCIMValue::ToString(unsigned char base) const {
  if (base < 2 || base > 36) {
    ThrowLogged(3, "TYL: number base " + std::to_string(base) + " is not between 2 and 36",
                kStatusInvalidParameter);
  }
  if (null_) return std::string();
  if (IsArray()) {
    std::string text = "{";
    const std::vector<TCIMValue>& elements = GetElements();
    for (size_t i = 0; i < elements.size(); ++i) {
      if (i != 0) text += ", ";
      text += elements[i].ToString(base);
    }
    return text + "}";
  }
  switch (type_) {
    case kCIMTypeBoolean:
      return std::get<bool>(content_) ? "TRUE" : "FALSE";
    case kCIMTypeUint8:
    case kCIMTypeUint16:
    case kCIMTypeUint32:
    case kCIMTypeUint64:
      return UnsignedToString(std::get<uint64_t>(content_), base);
    case kCIMTypeSint8:
    case kCIMTypeSint16:
    case kCIMTypeSint32:
    case kCIMTypeSint64:
      return SignedToString(std::get<int64_t>(content_), base);
    case kCIMTypeReal32:
    case kCIMTypeReal64:
      return RealToString(std::get<double>(content_), type_ == kCIMTypeReal32);
    case kCIMTypeChar16: {
      std::string text;
      AppendChar16(&text, std::get<char16_t>(content_));
      return text;
    }
    case kCIMTypeString:
      return std::get<std::string>(content_);
    case kCIMTypeDateTime:
      return std::get<TCIMDateTime>(content_).ToString();
    case kCIMTypeReference:
      return GetReference().GetPath();
    default:
      return std::string();
  }
}

namespace {

int CompareElements(const std::vector<TCIMValue>& a, const std::vector<TCIMValue>& b) {
  for (size_t i = 0; i < a.size() && i < b.size(); ++i) {
    if (a[i] < b[i]) return -1;
    if (b[i] < a[i]) return 1;
  }
  return a.size() < b.size() ? -1 : (b.size() < a.size() ? 1 : 0);
}

template <typename T>
int Compare(const T& a, const T& b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

// Three-way comparison (negative, zero, positive) of two non-null values of
// the same type.
int CompareContent(const TCIMValue& a, const TCIMValue& b) {
  ECIMType type = a.GetType();
  if (IsArrayType(type)) return CompareElements(a.GetElements(), b.GetElements());
  switch (type) {
    case kCIMTypeBoolean:
      return Compare(static_cast<bool>(a), static_cast<bool>(b));
    case kCIMTypeUint8:
    case kCIMTypeUint16:
    case kCIMTypeUint32:
    case kCIMTypeUint64:
      return Compare(static_cast<unsigned long long>(a), static_cast<unsigned long long>(b));
    case kCIMTypeSint8:
    case kCIMTypeSint16:
    case kCIMTypeSint32:
    case kCIMTypeSint64:
      return Compare(static_cast<long long>(a), static_cast<long long>(b));
    case kCIMTypeReal32:
    case kCIMTypeReal64:
      return CompareReals(static_cast<double>(a), static_cast<double>(b));
    case kCIMTypeChar16:
      return Compare(static_cast<char16_t>(a), static_cast<char16_t>(b));
    case kCIMTypeString:
      return a.GetString().compare(b.GetString());
    case kCIMTypeDateTime:
      return Compare(static_cast<TCIMDateTime>(a), static_cast<TCIMDateTime>(b));
    case kCIMTypeReference:
      return a.GetReference().PathText().compare(b.GetReference().PathText());
    default:
      return 0;
  }
}

}  // namespace

bool operator==(const TCIMValue& a, const TCIMValue& b) {
  if (a.type_ != b.type_ || a.null_ != b.null_) return false;
  if (a.null_) return true;
  return CompareContent(a, b) == 0;
}

bool operator<(const TCIMValue& a, const TCIMValue& b) {
  if (a.type_ != b.type_) return a.type_ < b.type_;
  if (a.null_ != b.null_) return a.null_;
  if (a.null_) return false;
  return CompareContent(a, b) < 0;
}

std::ostream& operator<<(std::ostream& out, const TCIMValue::TCIMType& type) {
  return out << CIMTypeName(type.GetType());
}
