// PrintIndication: one received indication as `inmem listen` prints it,
// flushed at once so that a script reading the output sees it when it
// arrives.
//
// Text: a line with the time received (UTC), the indication's class and
// the path of the instance it is about; then the indication's properties,
// one a line, "    Name = display text"; then the source instance, a line
// "    SourceInstance CLASS" and its properties indented further, a property
// the previous instance gives another value "Name = now (was before)". A
// previous instance without a source instance is shown the same way under
// "    PreviousInstance CLASS". Text from the sender is made printable (no
// control characters, valid UTF-8), so one value stays on one line.
//
// JSON: exactly one object on one line: {"received", "class", "path",
// "properties", "sourceInstance", "previousInstance"}, each instance
// {"class", "path", "properties"}, each property {"value", "display"} and
// "previous" (the previous instance's display text) where it changed; a
// path that is not known is null, an instance that is not there left out.

#ifndef INMEM_LISTENER_INDICATION_PRINTER_H_
#define INMEM_LISTENER_INDICATION_PRINTER_H_

#include <ostream>

#include "listener/received_indication.h"

void PrintIndication(const TReceivedIndication& indication, bool json, std::ostream& out);

#endif  // INMEM_LISTENER_INDICATION_PRINTER_H_
