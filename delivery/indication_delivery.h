// TIndicationDelivery: sends indications to CIM-XML listeners, off the
// server's thread.
//
// The server hands over each indication as the complete body of a CIM-XML
// export request, with the destination it goes to and the subscription
// that caused it. Each destination has one bounded FIFO queue, and its
// indications arrive in the order they were sent. An indication is tried,
// and tried again after `retryInterval` up to `retryAttempts` times when
// the listener cannot be reached, does not answer within
// `requestTimeout`, or answers anything but a 200 without a CIM error
// (DSP1054's delivery retry); then it is dropped and the next one goes. An
// indication that finds its destination's queue full is dropped at once.
// Drops are counted, reported to TakeFailures with the subscriptions
// concerned (so that the server can apply their OnFatalErrorPolicy), and
// logged once per episode: one line at the first drop naming the
// destination and why, one at the next delivery saying how many were
// dropped in between.
//
// Pipelining (RFC 9112): up to `pipelineDepth` requests are written on a
// destination's keep-alive connection before their answers are read; a
// listener answers them in the order they came, and every answer
// acknowledges the oldest indication not yet acknowledged (the head).
// With a depth of 1, one request is in flight at a time. A new connection
// carries one request until its answer shows that the listener keeps it
// open; a listener that closes after an answer is thus never sent more
// than it reads (see TListenerConnection for what happens when it
// closes). When the head fails (an answer that is not a success, no
// answer in time, a connection that fails), the requests written behind
// it are abandoned with the connection: the head is tried again after
// `retryInterval`, alone, and once the listener has taken it everything
// behind it is sent again, in order. Retries are counted per try of the
// head, and spent retries drop only the head, as with one request in
// flight. The listener may already have taken indications that were
// written behind a failed head, or behind one whose connection dropped
// without an answer: those arrive twice, the second time after the head.
// So what a listener sees of one destination is in order, except that
// after a failure it may see a run of indications again from the one that
// failed.
//
// Gathering: indications that come in quick succession go to a listener
// together. A destination's requests are handed to its connection at most
// once per `gatherWindow` (an indication after a quiet window goes at
// once), and those handed over together go in one gather write; so under
// load each write carries several requests and each of the listener's
// reads takes several, and an indication waits at most a window. A backlog
// (more waiting than the pipeline has room for) is not held: it goes as
// answers make room, half a pipeline at a time. The server's thread wakes
// the delivery thread at most once per window too.
//
// Memory is bounded by the queues: at most `maxQueue` indications per
// destination, those in flight included; a body sent to several
// destinations is one shared string.
//
// Threads: the engine runs its own thread with an io_context, at a lower
// scheduling priority than the server's (`niceness`); every
// destination's connection, timers and exchanges live there, all
// asynchronous, so a slow or dead listener holds up nothing but its own
// queue. Send, TakeFailures, Counts and Forget may be called from any
// thread (the server calls them from its own); they take one mutex, which
// guards the queues, the counts, the failures and the log stream, and
// never wait on the network. The delivery thread takes the same mutex
// briefly when it takes an indication from a queue and when one ends.
// Stop and the destructor belong to the thread that owns the engine.
//
// TLS (1.2 and later): an https listener's certificate is checked against
// the system's trusted authorities (and `trustedCertificates`, when given)
// and must name the URL's host, unless `verifyListenerCertificate` is
// false. A certificate that fails the check fails the try like any other
// failure. No client certificate is presented.

#ifndef INMEM_DELIVERY_INDICATION_DELIVERY_H_
#define INMEM_DELIVERY_INDICATION_DELIVERY_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "delivery/export_body.h"

struct TDeliveryConfig {
  // Indications held per destination, those in flight included.
  size_t maxQueue = 100000;
  // Tries after the first (CIM_IndicationService.DeliveryRetryAttempts).
  unsigned retryAttempts = 3;
  // Between tries (CIM_IndicationService.DeliveryRetryInterval).
  std::chrono::milliseconds retryInterval{2000};
  // One try: connecting, sending, and the listener's answer (counted, for
  // an indication behind others in flight, from the answer before it).
  std::chrono::milliseconds requestTimeout{10000};
  // Requests written to one listener before their answers are read (HTTP
  // pipelining); 1 sends the next only once the previous is answered; 0
  // counts as 1.
  unsigned pipelineDepth = 16;
  // Indications that come in quick succession are gathered: the delivery
  // thread starts on newly queued indications at most once per window, so
  // that under load each listener gets several requests in one write, and
  // the server's thread wakes the delivery thread at most once per window.
  // An indication after a quiet window goes at once. Zero: never gather.
  std::chrono::microseconds gatherWindow{1000};
  // How much lower the delivery thread's scheduling priority is than the
  // server's (nice steps): where the two share a busy core, the
  // operations go first and delivery takes what is left. 0: the same.
  int niceness = 10;
  // How long Stop keeps delivering what is queued.
  std::chrono::milliseconds shutdownGrace{2000};
  bool verifyListenerCertificate = true;
  // A PEM file of authorities trusted beside the system's; may be empty.
  std::string trustedCertificates;
};

// What the subscription layer knows of a CIM_ListenerDestinationCIMXML.
struct TDestination {
  std::string key;  // identifies the destination (its object path)
  std::string url;  // [http://|https://]host[:port][/path]
  std::string user, password;  // HTTP Basic when user is not empty
};

enum class EDeliveryFailure {
  kRetriesSpent,   // the listener refused or never took an indication
  kQueueOverflow,  // indications came faster than the listener took them
  kUnusableUrl,    // the destination's URL cannot be used
};

// Drops of one kind at one destination since the last TakeFailures.
struct TDeliveryFailure {
  std::string destinationKey;
  EDeliveryFailure kind;
  std::string reason;  // the last one seen, for the log and the operator
  uint64_t dropped = 0;
  std::vector<std::string> subscriptionKeys;  // sorted, each once
};

// One indication for one destination, as SendAll takes them (for the
// length of the call only).
struct TIndicationToSend {
  const TDestination& destination;
  std::shared_ptr<const TExportBody> body;
  const std::string& subscriptionKey;
};

struct TDeliveryCounts {
  uint64_t sent = 0;     // taken by the listener
  uint64_t dropped = 0;  // given up: retries spent, queue full, forgotten, left at Stop
  uint64_t queued = 0;   // waiting now, those in flight included
  uint64_t retried = 0;  // tries after a first one that failed
};

class TIndicationDelivery {
 public:
  // Starts the delivery thread. `log` receives the lines about drops; it
  // is written only under the engine's mutex.
  TIndicationDelivery(TDeliveryConfig config, std::ostream& log);
  // Stop().
  ~TIndicationDelivery();
  TIndicationDelivery(const TIndicationDelivery&) = delete;
  TIndicationDelivery& operator=(const TIndicationDelivery&) = delete;

  // Queues `body` for `destination`, behind what is already queued for it;
  // when the queue is full, the indication is dropped and counted. The URL
  // and credentials given with the latest Send are used from the next
  // indication on. After Stop, every indication is dropped.
  void Send(const TDestination& destination, std::shared_ptr<const TExportBody> body,
            const std::string& subscriptionKey);
  // Send for each, in order, under one taking of the engine's mutex (what
  // one change sends to every subscriber).
  void SendAll(const std::vector<TIndicationToSend>& indications);
  // The drops since the last call, one entry per destination and kind.
  std::vector<TDeliveryFailure> TakeFailures();
  // Zero for a destination never sent to.
  TDeliveryCounts Counts(const std::string& destinationKey) const;
  // The destination is gone: its queue is dropped (counted) and what is
  // in flight abandoned. Its counts stay; a later Send starts it again.
  void Forget(const std::string& destinationKey);
  // Keeps delivering what is queued for at most `shutdownGrace`, then
  // drops (counts and logs) what is left and ends the thread. Returns once
  // the thread has ended; later calls return at once.
  void Stop();

  class TImpl;

 private:
  std::unique_ptr<TImpl> impl_;
};

#endif  // INMEM_DELIVERY_INDICATION_DELIVERY_H_
