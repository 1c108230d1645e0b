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

TCIMValue::TCIMValue(const TCIMValue& other) : TCIMValue(TNoContent(), other.type_, other.null_) {
  PlaceCopyOf(other);
}

TCIMValue::TCIMValue(TCIMValue&& other) noexcept : TCIMValue(TNoContent(), other.type_, other.null_) {
  PlaceMoveOf(other);
}

TCIMValue& TCIMValue::operator=(const TCIMValue& other) {
  if (this == &other) return *this;
  // Copied first: `other` may live inside this value (an element of it).
  TCIMValue copy(other);
  return *this = std::move(copy);
}

TCIMValue& TCIMValue::operator=(TCIMValue&& other) noexcept {
  if (this == &other) return *this;
  // Taken first: `other` may live inside this value.
  TCIMValue taken(std::move(other));
  Destroy();
  type_ = taken.type_;
  null_ = taken.null_;
  PlaceMoveOf(taken);
  return *this;
}

void TCIMValue::PlaceCopyOf(const TCIMValue& other) {
  switch (other.kind_) {
    case kEmpty: break;
    case kBool: Place(kBool, &TPayload::boolean, other.payload_.boolean); break;
    case kUnsigned: Place(kUnsigned, &TPayload::unsignedInteger, other.payload_.unsignedInteger); break;
    case kSigned: Place(kSigned, &TPayload::signedInteger, other.payload_.signedInteger); break;
    case kReal: Place(kReal, &TPayload::real, other.payload_.real); break;
    case kChar16: Place(kChar16, &TPayload::char16, other.payload_.char16); break;
    case kString: Place(kString, &TPayload::string, other.payload_.string); break;
    case kDateTime: Place(kDateTime, &TPayload::dateTime, other.payload_.dateTime); break;
    case kReference: Place(kReference, &TPayload::reference, other.payload_.reference); break;
    case kElements: Place(kElements, &TPayload::elements, other.payload_.elements); break;
  }
}

void TCIMValue::PlaceMoveOf(TCIMValue& other) noexcept {
  switch (other.kind_) {
    case kString: Place(kString, &TPayload::string, std::move(other.payload_.string)); break;
    case kReference:
      Place(kReference, &TPayload::reference, std::move(other.payload_.reference));
      break;
    case kElements: Place(kElements, &TPayload::elements, std::move(other.payload_.elements)); break;
    default: PlaceCopyOf(other); break;  // nothing to take: plain bytes
  }
}

void TCIMValue::Destroy() noexcept {
  switch (kind_) {
    case kString: payload_.string.~basic_string(); break;
    case kDateTime: payload_.dateTime.~TCIMDateTime(); break;
    case kReference: payload_.reference.~TCIMReference(); break;
    case kElements: payload_.elements.~TElementsPtr(); break;
    default: break;
  }
  kind_ = kEmpty;
}

TCIMValue::TCIMValue(bool value) : TCIMValue(TNoContent(), kCIMTypeBoolean, false) {
  Place(kBool, &TPayload::boolean, value);
}
TCIMValue::TCIMValue(unsigned char value) : TCIMValue(TNoContent(), kCIMTypeUint8, false) {
  Place(kUnsigned, &TPayload::unsignedInteger, uint64_t{value});
}
TCIMValue::TCIMValue(signed char value) : TCIMValue(TNoContent(), kCIMTypeSint8, false) {
  Place(kSigned, &TPayload::signedInteger, int64_t{value});
}
TCIMValue::TCIMValue(unsigned short value) : TCIMValue(TNoContent(), kCIMTypeUint16, false) {
  Place(kUnsigned, &TPayload::unsignedInteger, uint64_t{value});
}
TCIMValue::TCIMValue(short value) : TCIMValue(TNoContent(), kCIMTypeSint16, false) {
  Place(kSigned, &TPayload::signedInteger, int64_t{value});
}
TCIMValue::TCIMValue(unsigned int value) : TCIMValue(TNoContent(), kCIMTypeUint32, false) {
  Place(kUnsigned, &TPayload::unsignedInteger, uint64_t{value});
}
TCIMValue::TCIMValue(int value) : TCIMValue(TNoContent(), kCIMTypeSint32, false) {
  Place(kSigned, &TPayload::signedInteger, int64_t{value});
}
TCIMValue::TCIMValue(unsigned long value) : TCIMValue(TNoContent(), kCIMTypeUint64, false) {
  Place(kUnsigned, &TPayload::unsignedInteger, uint64_t{value});
}
TCIMValue::TCIMValue(long value) : TCIMValue(TNoContent(), kCIMTypeSint64, false) {
  Place(kSigned, &TPayload::signedInteger, int64_t{value});
}
TCIMValue::TCIMValue(unsigned long long value) : TCIMValue(TNoContent(), kCIMTypeUint64, false) {
  Place(kUnsigned, &TPayload::unsignedInteger, uint64_t{value});
}
TCIMValue::TCIMValue(long long value) : TCIMValue(TNoContent(), kCIMTypeSint64, false) {
  Place(kSigned, &TPayload::signedInteger, int64_t{value});
}
TCIMValue::TCIMValue(float value) : TCIMValue(TNoContent(), kCIMTypeReal32, false) {
  Place(kReal, &TPayload::real, static_cast<double>(value));
}
TCIMValue::TCIMValue(double value) : TCIMValue(TNoContent(), kCIMTypeReal64, false) {
  Place(kReal, &TPayload::real, value);
}
TCIMValue::TCIMValue(char16_t value) : TCIMValue(TNoContent(), kCIMTypeChar16, false) {
  Place(kChar16, &TPayload::char16, value);
}
TCIMValue::TCIMValue(const std::string& value) : TCIMValue(TNoContent(), kCIMTypeString, false) {
  Place(kString, &TPayload::string, value);
}
TCIMValue::TCIMValue(std::string&& value) : TCIMValue(TNoContent(), kCIMTypeString, false) {
  Place(kString, &TPayload::string, std::move(value));
}
TCIMValue::TCIMValue(const char* value) : TCIMValue(TNoContent(), kCIMTypeString, false) {
  Place(kString, &TPayload::string, value);
}
TCIMValue::TCIMValue(const TCIMDateTime& value) : TCIMValue(TNoContent(), kCIMTypeDateTime, false) {
  Place(kDateTime, &TPayload::dateTime, value);
}
TCIMValue::TCIMValue(const TCIMReference& value) : TCIMValue(TNoContent(), kCIMTypeReference, false) {
  Place(kReference, &TPayload::reference, value);
}
TCIMValue::TCIMValue(TCIMReference&& value) : TCIMValue(TNoContent(), kCIMTypeReference, false) {
  Place(kReference, &TPayload::reference, std::move(value));
}

TCIMValue::TCIMValue(ECIMType elementType, std::vector<TCIMValue> elements)
    : TCIMValue(TNoContent(), ArrayTypeOf(elementType), false) {
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
  Place(kElements, &TPayload::elements,
        TElementsPtr(boost::make_shared<const std::vector<TCIMValue>>(std::move(elements))));
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
  return TCIMValue(TNoContent(), type, true);
}

TCIMValue TCIMValue::NullReference(const boost::shared_ptr<ICIMClass>& referencedClass) {
  TCIMReference prototype;
  if (referencedClass) prototype.SetClass(referencedClass);
  TCIMValue null(TNoContent(), kCIMTypeReference, true);
  null.Place(kReference, &TPayload::reference, std::move(prototype));
  return null;
}

boost::shared_ptr<ICIMClass> TCIMValue::GetReferencedClass() const {
  if (type_ != kCIMTypeReference) ThrowMismatch();
  const TCIMReference* reference = ReferenceContent();
  if (reference == nullptr) return boost::shared_ptr<ICIMClass>();
  return reference->GetClass();
}

void TCIMValue::ThrowMismatch() const { throw TTYLException(kStatusTypeMismatch); }

uint64_t TCIMValue::ToUnsigned(uint64_t max) const {
  if (null_) ThrowMismatch();
  if (IsUnsignedIntegerType(type_)) {
    uint64_t value = payload_.unsignedInteger;
    if (value > max) throw TTYLException(kStatusValueOutOfRange);
    return value;
  }
  if (IsSignedIntegerType(type_)) {
    int64_t value = payload_.signedInteger;
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
    int64_t value = payload_.signedInteger;
    if (value < min || value > max) throw TTYLException(kStatusValueOutOfRange);
    return value;
  }
  if (IsUnsignedIntegerType(type_)) {
    uint64_t value = payload_.unsignedInteger;
    if (value > static_cast<uint64_t>(max)) throw TTYLException(kStatusValueOutOfRange);
    return static_cast<int64_t>(value);
  }
  ThrowMismatch();
}

TCIMValue::operator bool() const {
  if (null_ || type_ != kCIMTypeBoolean) ThrowMismatch();
  return payload_.boolean;
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
  if (IsRealType(type_)) return payload_.real;
  if (IsUnsignedIntegerType(type_)) return static_cast<double>(payload_.unsignedInteger);
  if (IsSignedIntegerType(type_)) return static_cast<double>(payload_.signedInteger);
  ThrowMismatch();
}

TCIMValue::operator float() const { return static_cast<float>(static_cast<double>(*this)); }

TCIMValue::operator char16_t() const {
  if (null_ || type_ != kCIMTypeChar16) ThrowMismatch();
  return payload_.char16;
}

TCIMValue::operator std::string() const { return GetString(); }

const std::string& TCIMValue::GetString() const {
  if (null_ || type_ != kCIMTypeString) ThrowMismatch();
  return payload_.string;
}

TCIMValue::operator TCIMDateTime() const {
  if (null_ || type_ != kCIMTypeDateTime) ThrowMismatch();
  return payload_.dateTime;
}

const TCIMReference& TCIMValue::GetReference() const {
  if (null_ || type_ != kCIMTypeReference) ThrowMismatch();
  return payload_.reference;
}

TCIMValue::operator TCIMReference() const { return GetReference(); }

void TCIMValue::PrefetchReference() const {
  const TCIMReference* reference = ReferenceContent();
  if (reference != nullptr) reference->Prefetch();
}

void TCIMValue::PrefetchReferenceText() const {
  const TCIMReference* reference = ReferenceContent();
  if (reference != nullptr) reference->PrefetchText();
}

TCIMValue::operator const std::vector<TCIMValue>&() const { return GetElements(); }

const std::vector<TCIMValue>& TCIMValue::GetElements() const {
  if (null_ || !IsArray()) ThrowMismatch();
  return *payload_.elements;
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
      return payload_.boolean ? "TRUE" : "FALSE";
    case kCIMTypeUint8:
    case kCIMTypeUint16:
    case kCIMTypeUint32:
    case kCIMTypeUint64:
      return UnsignedToString(payload_.unsignedInteger, base);
    case kCIMTypeSint8:
    case kCIMTypeSint16:
    case kCIMTypeSint32:
    case kCIMTypeSint64:
      return SignedToString(payload_.signedInteger, base);
    case kCIMTypeReal32:
    case kCIMTypeReal64:
      return RealToString(payload_.real, type_ == kCIMTypeReal32);
    case kCIMTypeChar16: {
      std::string text;
      AppendChar16(&text, payload_.char16);
      return text;
    }
    case kCIMTypeString:
      return payload_.string;
    case kCIMTypeDateTime:
      return payload_.dateTime.ToString();
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
