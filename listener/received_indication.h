// TReceivedIndication and ReadIndication: an indication a listener received,
// read from the INSTANCE of an ExportIndication request into what is shown
// of it: the indication's class and properties, and the instances it
// carries embedded (SourceInstance, PreviousInstance), each property with
// its value and display text.
//
// Display text comes from the repository when it holds the class (units,
// value maps, as `inmem get` shows them): the values are set on an instance
// of the class allocated for the purpose and never added to the namespace,
// so the repository does not change. A class the repository lacks, a
// property it does not declare, or a value that does not fit the
// declaration (the sender's schema may differ) is shown raw: typed by the
// element's own TYPE, a reference as its path text.
//
// SourceInstance and PreviousInstance are string properties whose value is
// an INSTANCE document (marked EmbeddedObject="instance" by DSP0201 2.4,
// EMBEDDEDOBJECT by older senders, or not at all); it is read with the
// same XML limits as the request. Instances embedded deeper are shown as
// their text. Anything that cannot be read throws TCimError
// (kCimInvalidParameter), naming the element at fault.
//
// Not thread-safe: a reading uses the repository, which is single-threaded.

#ifndef INMEM_LISTENER_RECEIVED_INDICATION_H_
#define INMEM_LISTENER_RECEIVED_INDICATION_H_

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_value.h"
#include "include/cim_namespace.h"
#include "server/xml_document.h"

struct TShownProperty {
  std::string name;
  TCIMValue value;
  // The display text, one text per element of an array ("{a, b}"), "null"
  // for a null without a NullDisplay text; and the same as JSON (a string,
  // an array of strings, or null).
  std::string text;
  std::string json;
  // Set when the previous instance gives this property another value.
  std::optional<TCIMValue> previous;
  std::string previousText;
  std::string previousJson;
};

struct TShownInstance {
  std::string className;
  // The instance's path, when its keys are known (from the repository's
  // class, or Key qualifiers the sender wrote); else empty.
  std::string path;
  // In the order the sender gave them.
  std::vector<TShownProperty> properties;
};

struct TReceivedIndication {
  std::chrono::system_clock::time_point received;
  // The indication itself, without the embedded instances.
  TShownInstance indication;
  std::optional<TShownInstance> source;
  std::optional<TShownInstance> previous;
  // What the indication is about: SourceInstanceModelPath when given, else
  // the source instance's path; empty when neither is known.
  std::string sourcePath;
};

// Reads the indication `element` (an INSTANCE). `ns` is the repository that
// gives display text; `requestBytes` the size of the request it came in,
// which bounds the path text it may build.
TReceivedIndication ReadIndication(const TXmlElement& element, const boost::shared_ptr<ICIMNamespace>& ns,
                                   const TXmlLimits& limits, size_t requestBytes);

#endif  // INMEM_LISTENER_RECEIVED_INDICATION_H_
