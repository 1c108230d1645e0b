// TDeliveryLedger: queues, counts, drop episodes and failures.

#include "delivery/delivery_ledger.h"

#include "core/printable_text.h"

TDeliveryLedger::TDeliveryLedger(size_t maxQueue, std::ostream& log) : maxQueue_(maxQueue), log_(log) {}

TDeliveryLedger::EAdded TDeliveryLedger::Add(const TDestination& destination,
                                             std::shared_ptr<const TExportBody> body, std::string subscriptionKey) {
  TEntry& entry = entries_[destination.key];
  if (!entry.destination || entry.destination->url != destination.url ||
      entry.destination->user != destination.user || entry.destination->password != destination.password) {
    entry.destination = std::make_shared<const TDestination>(destination);
  }
  if (closed_) {
    // Stopping: the log line at the end of Stop covers these.
    ++entry.counts.dropped;
    return EAdded::kDropped;
  }
  if (entry.queue.size() >= maxQueue_) {
    Drop(entry, EDeliveryFailure::kQueueOverflow,
         "its queue is full (" + std::to_string(maxQueue_) + " indications)", subscriptionKey);
    return EAdded::kDropped;
  }
  entry.queue.push_back(TQueued{std::move(body), std::move(subscriptionKey)});
  if (entry.busy) return EAdded::kQueued;
  entry.busy = true;
  ++busy_;
  return EAdded::kWake;
}

std::optional<TDeliveryLedger::TNext> TDeliveryLedger::Next(const std::string& key, size_t offset) {
  auto found = entries_.find(key);
  if (found == entries_.end()) return std::nullopt;
  TEntry& entry = found->second;
  if (entry.queue.empty() && offset == 0) {
    if (entry.busy) --busy_;
    entry.busy = false;
    return std::nullopt;
  }
  if (offset >= entry.queue.size()) return std::nullopt;
  return TNext{entry.queue[offset].body, entry.destination, entry.generation};
}

size_t TDeliveryLedger::Queued(const std::string& key) const {
  auto found = entries_.find(key);
  return found == entries_.end() ? 0 : found->second.queue.size();
}

void TDeliveryLedger::Delivered(const std::string& key, uint64_t generation) {
  TEntry& entry = entries_[key];
  if (entry.generation != generation) return;
  entry.queue.pop_front();
  ++entry.counts.sent;
  if (entry.episodeDrops > 0) {
    log_ << "inmem serve: indications reach destination " << Printable(key) << " again; "
         << entry.episodeDrops << " were dropped" << std::endl;
    entry.episodeDrops = 0;
  }
}

bool TDeliveryLedger::Current(const std::string& key, uint64_t generation) const {
  auto found = entries_.find(key);
  return found != entries_.end() && found->second.generation == generation && !found->second.queue.empty();
}

bool TDeliveryLedger::Retried(const std::string& key, uint64_t generation) {
  if (!Current(key, generation)) return false;
  ++entries_[key].counts.retried;
  return true;
}

void TDeliveryLedger::Note(const std::string& text) { log_ << "inmem serve: " << text << std::endl; }

void TDeliveryLedger::GiveUp(const std::string& key, uint64_t generation, EDeliveryFailure kind,
                             const std::string& reason) {
  TEntry& entry = entries_[key];
  if (entry.generation != generation) return;
  const std::string subscription = std::move(entry.queue.front().subscriptionKey);
  entry.queue.pop_front();
  Drop(entry, kind, reason, subscription);
}

void TDeliveryLedger::Drop(TEntry& entry, EDeliveryFailure kind, const std::string& reason,
                           const std::string& subscriptionKey) {
  ++entry.counts.dropped;
  if (entry.episodeDrops++ == 0) {
    log_ << "inmem serve: dropping indications for destination " << Printable(entry.destination->key) << " ("
         << Printable(entry.destination->url) << "): " << reason << std::endl;
  }
  TPending& pending = failures_[{entry.destination->key, kind}];
  pending.reason = reason;
  ++pending.dropped;
  pending.subscriptions.insert(subscriptionKey);
}

uint64_t TDeliveryLedger::Discard(TEntry& entry) {
  const uint64_t dropped = entry.queue.size();
  entry.counts.dropped += dropped;
  entry.queue.clear();
  ++entry.generation;
  entry.episodeDrops = 0;
  return dropped;
}

uint64_t TDeliveryLedger::Forget(const std::string& key) {
  auto found = entries_.find(key);
  if (found == entries_.end()) return 0;
  const uint64_t dropped = Discard(found->second);
  if (dropped > 0) {
    log_ << "inmem serve: destination " << Printable(key) << " is gone; " << dropped
         << " indications queued for it were dropped" << std::endl;
  }
  return dropped;
}

uint64_t TDeliveryLedger::DropAll() {
  uint64_t total = 0;
  size_t destinations = 0;
  for (auto& [key, entry] : entries_) {
    const uint64_t dropped = Discard(entry);
    total += dropped;
    destinations += dropped > 0;
  }
  if (total > 0) {
    log_ << "inmem serve: indication delivery stopped; " << total << " indications still queued for "
         << destinations << " destinations were dropped" << std::endl;
  }
  return total;
}

std::vector<TDeliveryFailure> TDeliveryLedger::TakeFailures() {
  std::vector<TDeliveryFailure> failures;
  for (auto& [where, pending] : failures_) {
    failures.push_back(TDeliveryFailure{where.first, where.second, std::move(pending.reason), pending.dropped,
                                        {pending.subscriptions.begin(), pending.subscriptions.end()}});
  }
  failures_.clear();
  return failures;
}

TDeliveryCounts TDeliveryLedger::Counts(const std::string& key) const {
  auto found = entries_.find(key);
  if (found == entries_.end()) return {};
  TDeliveryCounts counts = found->second.counts;
  counts.queued = found->second.queue.size();
  return counts;
}
