#include "core/status_code.h"

namespace {

struct TStatusEntry {
  ETYLStatusCode code;
  std::string name;
  std::string text;
};

constexpr int kTableSize = 14;

const TStatusEntry* FindEntry(ETYLStatusCode code) {
  // Built once, never destroyed: the texts are handed out by reference and
  // may be read while other static objects are being torn down.
  static const TStatusEntry* const kTable = new TStatusEntry[kTableSize]{
      {kStatusOk, "OK", "success"},
      {kStatusNotSupported, "NOT_SUPPORTED", "operation not supported"},
      {kStatusInvalidParameter, "INVALID_PARAMETER", "invalid parameter"},
      {kStatusValueOutOfRange, "VALUE_OUT_OF_RANGE", "value out of range"},
      {kStatusLoadFailed, "LOAD_FAILED", "provider library could not be loaded"},
      {kStatusNoKeys, "NO_KEYS", "class has no key property"},
      {kStatusTypeMismatch, "TYPE_MISMATCH", "type mismatch"},
      {kStatusNotFound, "NOT_FOUND", "not found"},
      {kStatusAlreadyDefined, "ALREADY_DEFINED", "already defined"},
      {kStatusNullKey, "NULL_KEY", "key property is null"},
      {kStatusReferenceOnNonAssociation, "REFERENCE_ON_NON_ASSOCIATION",
       "reference property on a non-association class"},
      {kStatusInvalidName, "INVALID_NAME", "invalid CIM name"},
      {kStatusQualifierConflict, "QUALIFIER_CONFLICT",
       "conflicting non-overridable qualifier"},
      {kStatusUnderlyingNamespaceNotSupported, "UNDERLYING_NAMESPACE_NOT_SUPPORTED",
       "underlying namespaces are not supported"},
  };
  static const TStatusEntry* const kUnknown =
      new TStatusEntry{kStatusOk, "UNKNOWN", "unknown status code"};
  for (const TStatusEntry* entry = kTable; entry != kTable + kTableSize; ++entry) {
    if (entry->code == code) return entry;
  }
  return kUnknown;
}

}  // namespace

const std::string& TTYLStatusCode::TranslateStatusCode() const {
  return FindEntry(code_)->text;
}

const std::string& TTYLStatusCode::GetStatusName() const {
  return FindEntry(code_)->name;
}
