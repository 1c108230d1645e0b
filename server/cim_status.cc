// CIM status names and the repository's refusals as CIM errors.

#include "server/cim_status.h"

#include "core/log_capture.h"
#include "core/tyl_exception.h"
#include "core/refusal_reason.h"

const char* CimStatusName(ECimStatus status) {
  switch (status) {
    case kCimOk: return "CIM_ERR_OK";
    case kCimFailed: return "CIM_ERR_FAILED";
    case kCimAccessDenied: return "CIM_ERR_ACCESS_DENIED";
    case kCimInvalidNamespace: return "CIM_ERR_INVALID_NAMESPACE";
    case kCimInvalidParameter: return "CIM_ERR_INVALID_PARAMETER";
    case kCimInvalidClass: return "CIM_ERR_INVALID_CLASS";
    case kCimNotFound: return "CIM_ERR_NOT_FOUND";
    case kCimNotSupported: return "CIM_ERR_NOT_SUPPORTED";
    case kCimClassHasChildren: return "CIM_ERR_CLASS_HAS_CHILDREN";
    case kCimClassHasInstances: return "CIM_ERR_CLASS_HAS_INSTANCES";
    case kCimInvalidSuperclass: return "CIM_ERR_INVALID_SUPERCLASS";
    case kCimAlreadyExists: return "CIM_ERR_ALREADY_EXISTS";
    case kCimNoSuchProperty: return "CIM_ERR_NO_SUCH_PROPERTY";
    case kCimTypeMismatch: return "CIM_ERR_TYPE_MISMATCH";
    case kCimQueryLanguageNotSupported: return "CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED";
    case kCimInvalidQuery: return "CIM_ERR_INVALID_QUERY";
    case kCimMethodNotAvailable: return "CIM_ERR_METHOD_NOT_AVAILABLE";
    case kCimMethodNotFound: return "CIM_ERR_METHOD_NOT_FOUND";
    case kCimNamespaceNotEmpty: return "CIM_ERR_NAMESPACE_NOT_EMPTY";
    case kCimInvalidEnumerationContext: return "CIM_ERR_INVALID_ENUMERATION_CONTEXT";
    case kCimInvalidOperationTimeout: return "CIM_ERR_INVALID_OPERATION_TIMEOUT";
    case kCimPullHasBeenAbandoned: return "CIM_ERR_PULL_HAS_BEEN_ABANDONED";
    case kCimPullCannotBeAbandoned: return "CIM_ERR_PULL_CANNOT_BE_ABANDONED";
    case kCimFilteredEnumerationNotSupported: return "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED";
    case kCimContinuationOnErrorNotSupported: return "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED";
    case kCimServerLimitsExceeded: return "CIM_ERR_SERVER_LIMITS_EXCEEDED";
    case kCimServerIsShuttingDown: return "CIM_ERR_SERVER_IS_SHUTTING_DOWN";
  }
  return "CIM_ERR_FAILED";
}

ECimStatus CimStatusOf(const TTYLException& e, EMissing missing) {
  switch (e.GetStatusCode()) {
    case kStatusNotFound:
      switch (missing) {
        case EMissing::kInstance: return kCimNotFound;
        case EMissing::kClass: return kCimInvalidClass;
        case EMissing::kProperty: return kCimNoSuchProperty;
        case EMissing::kQualifier: return kCimNotFound;
      }
      return kCimNotFound;
    case kStatusAlreadyDefined: return kCimAlreadyExists;
    case kStatusTypeMismatch: return kCimTypeMismatch;
    case kStatusInvalidParameter:
    case kStatusValueOutOfRange:
    case kStatusInvalidName:
    case kStatusNoKeys:
    case kStatusNullKey:
    case kStatusReferenceOnNonAssociation:
    case kStatusQualifierConflict: return kCimInvalidParameter;
    case kStatusNotSupported:
    case kStatusUnderlyingNamespaceNotSupported: return kCimNotSupported;
    default: return kCimFailed;
  }
}

TCimError CimErrorOf(const TTYLException& e, const TLogCapture& capture, EMissing missing) {
  return TCimError(CimStatusOf(e, missing), RefusalReason(capture, e));
}
