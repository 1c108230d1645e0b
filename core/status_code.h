// Status codes of the object manager and their texts.
//
// ETYLStatusCode numbers every outcome that crosses the interfaces. The
// numbers 1, 7, 14, 15, 16, 18, 22, 25, 28 and 31 are compared by the
// repository plug-in and its hosts and never change; the core adds its own
// codes for its own failures (2, 3, 4).
//
// TTYLStatusCode is the value class that carries one code. It is inline except
// for the two text lookups, whose strings live in the core library for the
// life of the process.

#ifndef INMEM_CORE_STATUS_CODE_H_
#define INMEM_CORE_STATUS_CODE_H_

#include <string>

enum ETYLStatusCode : int {
  kStatusOk = 0,
  // An operation that this kind of namespace or element does not offer.
  kStatusNotSupported = 1,
  // Malformed text or an argument outside what the operation accepts
  // (object path or datetime text, number base, datetime fields).
  kStatusInvalidParameter = 2,
  // A value whose type converts to the requested type but whose content
  // does not fit in it (uint16 300 read as uint8, sint8 -1 read as uint32).
  kStatusValueOutOfRange = 3,
  // A provider library that the operating system could not load.
  kStatusLoadFailed = 4,
  kStatusNoKeys = 7,
  // A value of another type than the one required, including a null value
  // read as a concrete type.
  kStatusTypeMismatch = 14,
  kStatusNotFound = 15,
  kStatusAlreadyDefined = 16,
  kStatusNullKey = 18,
  kStatusReferenceOnNonAssociation = 22,
  kStatusInvalidName = 25,
  kStatusQualifierConflict = 28,
  kStatusUnderlyingNamespaceNotSupported = 31,
};

class TTYLStatusCode {
 public:
  TTYLStatusCode(ETYLStatusCode code = kStatusOk) : code_(code) {}  // NOLINT
  TTYLStatusCode(const TTYLStatusCode&) = default;
  TTYLStatusCode& operator=(const TTYLStatusCode&) = default;
  TTYLStatusCode& operator=(ETYLStatusCode code) {
    code_ = code;
    return *this;
  }

  ETYLStatusCode GetStatusCode() const { return code_; }

  // A short human text, e.g. "not found". Codes outside the table translate
  // to "unknown status code".
  const std::string& TranslateStatusCode() const;

  // The code's symbolic name, e.g. "NOT_FOUND"; "UNKNOWN" outside the table.
  const std::string& GetStatusName() const;

 private:
  ETYLStatusCode code_;
};

inline bool operator==(const TTYLStatusCode& a, const TTYLStatusCode& b) {
  return a.GetStatusCode() == b.GetStatusCode();
}
inline bool operator!=(const TTYLStatusCode& a, const TTYLStatusCode& b) {
  return !(a == b);
}

#endif  // INMEM_CORE_STATUS_CODE_H_
