// TDeliveryLedger: the bookkeeping of indication delivery, apart from the
// network: every destination's queue, its counts, its drop episodes and the
// failures not yet taken.
//
// A destination is idle or busy. Add wakes an idle destination (it says
// so, and the caller starts delivering); Next hands out the indication at
// a given place in the queue (the front, or behind those the caller has in
// flight already): it stays there, counted as queued, until it reaches the
// front and Delivered or GiveUp removes it; Next at the front of an empty
// queue makes the destination idle again. Every indication handed out carries the
// destination's generation, which Forget and DropAll advance when they
// empty the queue: an outcome reported with an older generation concerns an
// indication already dropped and counted, and changes nothing.
//
// Drop episodes: the first drop after a delivery (or ever) logs one line
// naming the destination and why; the next delivery logs how many were
// dropped since.
//
// Invariants: a queue never holds more than `maxQueue`; once closed, Add
// drops everything.
//
// Thread-safety: none of its own. TIndicationDelivery calls it only under
// its mutex, which also covers the log stream written here.

#ifndef INMEM_DELIVERY_DELIVERY_LEDGER_H_
#define INMEM_DELIVERY_DELIVERY_LEDGER_H_

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "delivery/export_body.h"
#include "delivery/indication_delivery.h"

class TDeliveryLedger {
 public:
  struct TQueued {
    std::shared_ptr<const TExportBody> body;
    std::string subscriptionKey;
  };
  // The indication to deliver next, with where it goes (shared with the
  // ledger, replaced there when the destination changes).
  struct TNext {
    std::shared_ptr<const TExportBody> body;
    std::shared_ptr<const TDestination> destination;
    uint64_t generation = 0;
  };
  enum class EAdded { kQueued, kWake, kDropped };

  TDeliveryLedger(size_t maxQueue, std::ostream& log);

  // kWake: queued, and the destination was idle: it is busy now, and the
  // caller must start delivering to it.
  EAdded Add(const TDestination& destination, std::shared_ptr<const TExportBody> body,
             std::string subscriptionKey);
  // The indication `offset` places behind the front of the queue, or
  // nullopt when the queue is not that long. With `offset` 0 and an empty
  // queue, the destination is idle from then on.
  std::optional<TNext> Next(const std::string& key, size_t offset = 0);
  // How many indications the destination's queue holds, those in flight
  // included.
  size_t Queued(const std::string& key) const;
  // Removes the front of the queue, which the listener took.
  void Delivered(const std::string& key, uint64_t generation);
  // Whether the indication handed out with `generation` is still the
  // front of its queue.
  bool Current(const std::string& key, uint64_t generation) const;
  // Counts a retry of it; false (nothing counted) when it is no longer
  // current.
  bool Retried(const std::string& key, uint64_t generation);
  // Drops the front of the queue, counted and reported as `kind`.
  void GiveUp(const std::string& key, uint64_t generation, EDeliveryFailure kind, const std::string& reason);
  // Empties the destination's queue (counted as dropped); returns how many.
  uint64_t Forget(const std::string& key);
  // From now on Add drops everything.
  void Close() { closed_ = true; }
  // Whether no destination is busy.
  bool Idle() const { return busy_ == 0; }
  // Empties every queue (counted as dropped) and logs it; returns how many.
  uint64_t DropAll();

  // Logs one line.
  void Note(const std::string& text);

  std::vector<TDeliveryFailure> TakeFailures();
  TDeliveryCounts Counts(const std::string& key) const;

 private:
  struct TEntry {
    std::shared_ptr<const TDestination> destination;
    std::deque<TQueued> queue;
    TDeliveryCounts counts;
    bool busy = false;
    uint64_t generation = 0;
    uint64_t episodeDrops = 0;  // since the last delivery
  };
  struct TPending {
    std::string reason;
    uint64_t dropped = 0;
    std::set<std::string> subscriptions;
  };

  // Counts one drop of `subscriptionKey` at `entry`.
  void Drop(TEntry& entry, EDeliveryFailure kind, const std::string& reason, const std::string& subscriptionKey);
  // Drops what the queue holds, without reporting failures (the
  // destination is gone or the engine stops).
  uint64_t Discard(TEntry& entry);

  const size_t maxQueue_;
  std::ostream& log_;
  bool closed_ = false;
  size_t busy_ = 0;
  std::unordered_map<std::string, TEntry> entries_;
  std::map<std::pair<std::string, EDeliveryFailure>, TPending> failures_;
};

#endif  // INMEM_DELIVERY_DELIVERY_LEDGER_H_
