// TCIMValue: one CIM value of any type, or a null.
//
// A value has a type (ECIMType, the array flag included) and is either null
// or holds content of exactly that type. An untyped null (the default) has
// type kCIMTypeNone. Typed nulls come from Null(type); NullReference(class)
// is a null of type reference that still knows the class it would refer to,
// as a property declaration's prototype does.
//
// Storage: unsigned integers as uint64_t, signed as int64_t, both reals as
// double (a real32 holds exactly what the float held), strings inline,
// references as paths (handles on shared parts) and arrays behind a shared
// immutable pointer, so that copying a value never copies a path or an
// element list.
//
// Conversions are explicit and checked. A conversion throws
// TTYLException(kStatusTypeMismatch) when the value is null or its type does
// not convert to the target, and TTYLException(kStatusValueOutOfRange) when
// the type converts but the content does not fit:
//   - integer targets accept every integer type whose content fits;
//   - float and double accept every integer and real type;
//   - bool, char16_t, std::string, TCIMDateTime, TCIMReference and the
//     element vector accept only their own type.
// A conversion never returns a value that the content does not hold.
//
// ToString(base) forms: integers in bases 2 to 36 (lower-case digits, no
// prefix, '-' for negatives; another base throws kStatusInvalidParameter);
// reals in the shortest text that reads back to the same number ("nan",
// "inf", "-inf" for those); booleans "TRUE" / "FALSE"; char16 as its UTF-8
// character; strings as they are; datetimes as their 25-character text;
// references as GetPath(); null as ""; arrays as "{e1, e2}" with each element
// written by these rules in the same base.
//
// Comparison: operator== holds for the same type (array flag included), the
// same null-ness and equal content. operator< orders by type, then null
// before non-null, then content (numbers by value, NaN after every other
// real, strings byte-wise, references by path text, arrays element by
// element); it is a strict weak order whose equivalence is operator==.

#ifndef INMEM_CORE_CIM_VALUE_H_
#define INMEM_CORE_CIM_VALUE_H_

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_date_time.h"
#include "core/cim_reference.h"
#include "core/cim_type.h"

class ICIMClass;

class TCIMValue {
 public:
  // The type of a value, as the interfaces pass it around.
  class TCIMType {
   public:
    TCIMType(ECIMType type = kCIMTypeNone) : type_(type) {}  // NOLINT
    operator ECIMType() const { return type_; }               // NOLINT
    ECIMType GetType() const { return type_; }

   private:
    ECIMType type_;
  };

  TCIMValue() : type_(kCIMTypeNone), null_(true), kind_(kEmpty) {}
  TCIMValue(const TCIMValue& other);
  TCIMValue(TCIMValue&& other) noexcept;
  TCIMValue& operator=(const TCIMValue& other);
  TCIMValue& operator=(TCIMValue&& other) noexcept;
  ~TCIMValue() { Destroy(); }

  TCIMValue(bool value);                  // NOLINT (all scalar constructors)
  TCIMValue(unsigned char value);         // uint8
  TCIMValue(signed char value);           // sint8
  TCIMValue(unsigned short value);        // uint16
  TCIMValue(short value);                 // sint16
  TCIMValue(unsigned int value);          // uint32
  TCIMValue(int value);                   // sint32
  TCIMValue(unsigned long value);         // uint64
  TCIMValue(long value);                  // sint64
  TCIMValue(unsigned long long value);    // uint64
  TCIMValue(long long value);             // sint64
  TCIMValue(float value);                 // real32
  TCIMValue(double value);                // real64
  TCIMValue(char16_t value);              // char16
  TCIMValue(const std::string& value);    // string
  TCIMValue(std::string&& value);         // string
  TCIMValue(const char* value);           // string
  TCIMValue(const TCIMDateTime& value);   // datetime
  TCIMValue(const TCIMReference& value);  // reference
  TCIMValue(TCIMReference&& value);       // reference

  // An array of `elementType` (a scalar type, 1 to 15). Every element must be
  // of that type, null elements included; otherwise throws
  // kStatusTypeMismatch (kStatusInvalidParameter for a bad element type).
  TCIMValue(ECIMType elementType, std::vector<TCIMValue> elements);

  // A null of any type, arrays included.
  static TCIMValue Null(ECIMType type);
  // The number of the integer value `integer` as a value of the integer
  // type `type`; throws like the conversions do (status 3 when the number
  // does not fit `type`, 14 when `integer` holds no integer).
  static TCIMValue OfIntegerType(const TCIMValue& integer, ECIMType type);
  // A null reference that answers GetReferencedClass with `referencedClass`
  // (held weakly).
  static TCIMValue NullReference(const boost::shared_ptr<ICIMClass>& referencedClass);

  bool IsNull() const { return null_; }
  bool IsArray() const { return IsArrayType(type_); }
  bool IsReference() const { return type_ == kCIMTypeReference; }
  TCIMType GetType() const { return type_; }

  // The class a reference value or reference prototype refers to; empty when
  // that class is not known or no longer exists. Other types throw
  // kStatusTypeMismatch.
  boost::shared_ptr<ICIMClass> GetReferencedClass() const;

  explicit operator bool() const;
  explicit operator unsigned char() const;
  explicit operator signed char() const;
  explicit operator unsigned short() const;
  explicit operator short() const;
  explicit operator unsigned int() const;
  explicit operator int() const;
  explicit operator unsigned long() const;
  explicit operator long() const;
  explicit operator unsigned long long() const;
  explicit operator long long() const;
  explicit operator float() const;
  explicit operator double() const;
  explicit operator char16_t() const;
  explicit operator std::string() const;
  explicit operator TCIMDateTime() const;
  explicit operator TCIMReference() const;
  explicit operator const std::vector<TCIMValue>&() const;

  // Direct, unchecked-by-copy access for hot paths: the string of a non-null
  // string value (throws like operator std::string otherwise).
  const std::string& GetString() const;
  // The path of a non-null reference value (throws like operator
  // TCIMReference otherwise).
  const TCIMReference& GetReference() const;
  // The elements of a non-null array.
  const std::vector<TCIMValue>& GetElements() const;

  std::string ToString(unsigned char base = 10) const;

  // Hints for a reader about to go through many values in memory that is
  // likely not in the processor's cache; they change nothing. The first asks
  // for a reference's path object to be loaded, the second (once that has
  // arrived) for the path's text.
  void PrefetchReference() const;
  void PrefetchReferenceText() const;

  friend bool operator==(const TCIMValue& a, const TCIMValue& b);
  friend bool operator<(const TCIMValue& a, const TCIMValue& b);

 private:
  typedef boost::shared_ptr<const std::vector<TCIMValue>> TElementsPtr;
  // Which member of the payload holds the content (a null may still hold a
  // reference prototype).
  enum EKind : uint8_t {
    kEmpty, kBool, kUnsigned, kSigned, kReal, kChar16, kString, kDateTime, kReference, kElements
  };
  // The content, one member at a time as kind_ says: a union rather than a
  // std::variant so that the type, the null flag and the kind share one
  // word and a value takes 40 bytes, not 48 (a repository holds millions).
  union TPayload {
    TPayload() {}
    ~TPayload() {}
    bool boolean;
    uint64_t unsignedInteger;
    int64_t signedInteger;
    double real;
    char16_t char16;
    std::string string;
    TCIMDateTime dateTime;
    TCIMReference reference;
    TElementsPtr elements;
  };

  // A value of `type` with no content yet; the caller places it (Place).
  // The tag keeps this constructor out of the public ones' overloads.
  struct TNoContent {};
  TCIMValue(TNoContent, ECIMType type, bool isNull) : type_(type), null_(isNull), kind_(kEmpty) {}
  // Builds `content` in the payload member `member` and records `kind`;
  // the payload holds nothing before.
  template <typename T, typename M>
  void Place(EKind kind, M TPayload::*member, T&& content) {
    new (&(payload_.*member)) M(std::forward<T>(content));
    kind_ = kind;
  }
  // Copies or moves the content of `other` into this value's empty payload.
  void PlaceCopyOf(const TCIMValue& other);
  void PlaceMoveOf(TCIMValue& other) noexcept;
  // Ends the content's life; the payload then holds nothing.
  void Destroy() noexcept;
  const TCIMReference* ReferenceContent() const {
    return kind_ == kReference ? &payload_.reference : nullptr;
  }

  uint64_t ToUnsigned(uint64_t max) const;
  int64_t ToSigned(int64_t min, int64_t max) const;
  [[noreturn]] void ThrowMismatch() const;

  ECIMType type_ : 8;
  bool null_;
  EKind kind_;
  TPayload payload_;
};

inline bool operator!=(const TCIMValue& a, const TCIMValue& b) { return !(a == b); }

// Writes the CIM name of the type, e.g. "uint16", "string[]".
std::ostream& operator<<(std::ostream& out, const TCIMValue::TCIMType& type);

#endif  // INMEM_CORE_CIM_VALUE_H_
