// Why the repository refused an operation, as one line for a report.
//
// TTYLException carries only a status code; the repository's own account of
// a refusal is the line it logged just before the throw. A caller runs the
// operation under a TLogCapture and, when it throws, reports this reason in
// place of the bare status text.

#ifndef INMEM_CORE_REFUSAL_REASON_H_
#define INMEM_CORE_REFUSAL_REASON_H_

#include <string>

#include "core/log_capture.h"
#include "core/tyl_exception.h"

// The lines `capture` kept (each made printable, joined with "; "), or the
// status text of `e` when there are none.
std::string RefusalReason(const TLogCapture& capture, const TTYLException& e);

#endif  // INMEM_CORE_REFUSAL_REASON_H_
