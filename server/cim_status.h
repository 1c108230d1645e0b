// The status codes of CIM operations (DSP0200), the error that carries one
// out of an operation, and how a refusal of the repository becomes one.
//
// The repository throws TTYLException with its own status and writes the
// reason to the log first; the server runs each operation under a log
// capture so that the reason becomes the DESCRIPTION of the CIM error.

#ifndef INMEM_SERVER_CIM_STATUS_H_
#define INMEM_SERVER_CIM_STATUS_H_

#include <stdexcept>
#include <string>

class TLogCapture;
class TTYLException;

enum ECimStatus : int {
  kCimOk = 0,
  kCimFailed = 1,
  kCimAccessDenied = 2,
  kCimInvalidNamespace = 3,
  kCimInvalidParameter = 4,
  kCimInvalidClass = 5,
  kCimNotFound = 6,
  kCimNotSupported = 7,
  kCimClassHasChildren = 8,
  kCimClassHasInstances = 9,
  kCimInvalidSuperclass = 10,
  kCimAlreadyExists = 11,
  kCimNoSuchProperty = 12,
  kCimTypeMismatch = 13,
  kCimQueryLanguageNotSupported = 14,
  kCimInvalidQuery = 15,
  kCimMethodNotAvailable = 16,
  kCimMethodNotFound = 17,
  kCimNamespaceNotEmpty = 20,
  kCimInvalidEnumerationContext = 21,
  kCimInvalidOperationTimeout = 22,
  kCimPullHasBeenAbandoned = 23,
  kCimPullCannotBeAbandoned = 24,
  kCimFilteredEnumerationNotSupported = 25,
  kCimContinuationOnErrorNotSupported = 26,
  kCimServerLimitsExceeded = 27,
  kCimServerIsShuttingDown = 28,
};

// "CIM_ERR_NOT_FOUND" and so on; "CIM_ERR_FAILED" outside the table.
const char* CimStatusName(ECimStatus status);

// An operation's failure as the client gets it.
class TCimError : public std::runtime_error {
 public:
  TCimError(ECimStatus status, const std::string& description)
      : std::runtime_error(description), status_(status) {}
  ECimStatus Status() const { return status_; }

 private:
  ECimStatus status_;
};

// What a lookup that found nothing means to the client.
enum class EMissing { kInstance, kClass, kProperty, kQualifier };

// The CIM status of a repository refusal; status 15 (not found) depends on
// what was looked up.
ECimStatus CimStatusOf(const TTYLException& e, EMissing missing);

// The refusal as a CIM error: its status, and the lines the repository
// logged for it (or the status text when it logged none).
TCimError CimErrorOf(const TTYLException& e, const TLogCapture& capture, EMissing missing);

#endif  // INMEM_SERVER_CIM_STATUS_H_
