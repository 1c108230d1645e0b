// TIndicationDelivery: the delivery thread, and each destination's tries.

#include "delivery/indication_delivery.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "delivery/delivery_ledger.h"
#include "delivery/export_request.h"
#include "delivery/listener_connection.h"
#include "delivery/listener_url.h"

namespace net = boost::asio;
namespace ssl = boost::asio::ssl;
typedef boost::system::error_code TErrorCode;

namespace {

// One indication handed to the connection: the request shares the body.
struct TOutgoing {
  TDeliveryLedger::TNext next;
  TExportPost request;
};

// What the delivery thread keeps of one destination: its connection, the
// indications in flight on it and how many times the head has failed.
struct TWorker {
  TWorker(std::string key, net::io_context& ioc, ssl::context& tls, bool verifyPeer)
      : key(std::move(key)),
        connection(std::make_shared<TListenerConnection>(ioc, tls, verifyPeer)),
        retry(ioc),
        gather(ioc) {}

  const std::string key;
  std::shared_ptr<TListenerConnection> connection;
  net::steady_timer retry;
  net::steady_timer gather;  // the end of the gathering window, while `gathering`
  // Handed to the connection and not yet answered, in queue order: the
  // front is the front of the destination's queue (when of its current
  // generation), the rest the indications behind it.
  std::deque<std::shared_ptr<TOutgoing>> inFlight;
  // The URL as last read, kept while the destination's URL text is the same.
  std::string urlText;
  std::optional<TListenerUrl> url;
  std::string urlProblem;
  unsigned failures = 0;     // of the head of the queue, since it became the head
  bool waiting = false;      // for the retry of the head: nothing goes meanwhile
  uint64_t waitingFor = 0;   // the generation of that head
  bool oneAtATime = false;   // since a failure, until the listener takes an indication
  bool gathering = false;    // indications wait for the end of the window
  std::chrono::steady_clock::time_point lastSent;  // when requests were last handed out
};

// Lowers the calling thread's scheduling priority by `niceness` steps
// (Linux schedules each thread by its own nice value).
void LowerPriority(int niceness) {
  if (niceness <= 0) return;
  const id_t thread = static_cast<id_t>(::syscall(SYS_gettid));
  errno = 0;
  const int now = ::getpriority(PRIO_PROCESS, thread);
  if (errno != 0) return;
  ::setpriority(PRIO_PROCESS, thread, std::min(now + niceness, 19));
}

ssl::context MakeTlsContext(const TDeliveryConfig& config) {
  ssl::context tls(ssl::context::tls_client);
  tls.set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 | ssl::context::no_sslv3 |
                  ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1);
  TErrorCode ec;
  tls.set_default_verify_paths(ec);  // without a system store, only the named file is trusted
  if (!config.trustedCertificates.empty()) {
    tls.load_verify_file(config.trustedCertificates, ec);
    if (ec) {
      throw std::runtime_error("cannot read the trusted certificates " + config.trustedCertificates + ": " +
                               ec.message());
    }
  }
  return tls;
}

}  // namespace

class TIndicationDelivery::TImpl {
 public:
  TImpl(TDeliveryConfig config, std::ostream& log)
      : config(std::move(config)), tls(MakeTlsContext(this->config)), ledger(this->config.maxQueue, log) {}

  // Delivery thread: the destinations in `toWake` have something queued;
  // they start now, or at the end of the gathering window.
  void WakeAll();
  void WakeGathered();
  // Delivery thread: the destination has something queued.
  void Wake(const std::string& key);
  // Delivery thread: hands the connection of `worker` the indications
  // that may go now, in queue order, up to the pipeline's depth.
  void Pump(TWorker& worker);
  // Delivery thread: whether Pump may go on now. Not when requests went
  // to the listener less than a window ago and what waits would not fill
  // the pipeline: then it waits for the end of the window, and what came
  // meanwhile goes in one write.
  bool MayPump(TWorker& worker);
  // Delivery thread: the answer to the first indication in flight.
  void Answered(TWorker& worker, const std::string& problem);
  // Delivery thread: after Forget, drops what `worker` has in flight of
  // the forgotten queue.
  void Abandon(TWorker& worker);
  void BeginStop();
  void Abort();

  const TDeliveryConfig config;
  // Declared before everything that holds a socket or timer, so that it
  // outlives them.
  net::io_context ioc{1};
  net::executor_work_guard<net::io_context::executor_type> work = net::make_work_guard(ioc);
  ssl::context tls;

  // Guards the ledger (and through it the log stream) and the wakes.
  mutable std::mutex mu;
  TDeliveryLedger ledger;
  // Destinations that Send made busy and the delivery thread has not
  // started on yet. One post carries them all: a change that goes to ten
  // destinations costs the server's thread one wake of the delivery
  // thread, not ten, and none while a wake is already on its way.
  std::vector<std::string> toWake;
  bool wakePosted = false;

  // The delivery thread's own.
  std::unordered_map<std::string, std::unique_ptr<TWorker>> workers;
  net::steady_timer grace{ioc};
  net::steady_timer gather{ioc};  // the end of the gathering window
  std::chrono::steady_clock::time_point lastWake;
  bool stopping = false;  // Stop has begun: end once nothing is busy
  bool aborted = false;   // everything left was dropped: handlers do nothing

  std::thread thread;  // last: started once the rest is in place
};

void TIndicationDelivery::TImpl::WakeAll() {
  const auto now = std::chrono::steady_clock::now();
  if (now < lastWake + config.gatherWindow) {
    // `wakePosted` stays set: the window's Sends only add to `toWake`.
    gather.expires_at(lastWake + config.gatherWindow);
    gather.async_wait([this](const TErrorCode&) { WakeGathered(); });
    return;
  }
  WakeGathered();
}

void TIndicationDelivery::TImpl::WakeGathered() {
  lastWake = std::chrono::steady_clock::now();
  std::vector<std::string> keys;
  {
    std::lock_guard<std::mutex> lock(mu);
    keys.swap(toWake);
    wakePosted = false;
  }
  for (const std::string& key : keys) Wake(key);
}

void TIndicationDelivery::TImpl::Wake(const std::string& key) {
  if (aborted) return;
  std::unique_ptr<TWorker>& worker = workers[key];
  if (!worker) worker = std::make_unique<TWorker>(key, ioc, tls, config.verifyListenerCertificate);
  Pump(*worker);
}

bool TIndicationDelivery::TImpl::MayPump(TWorker& worker) {
  if (worker.gathering) return false;
  const auto now = std::chrono::steady_clock::now();
  if (config.gatherWindow.count() <= 0 || now >= worker.lastSent + config.gatherWindow) return true;
  size_t queued = 0;
  {
    std::lock_guard<std::mutex> lock(mu);
    queued = ledger.Queued(worker.key);
  }
  const size_t inFlight = worker.inFlight.size();
  if (queued <= inFlight) return true;  // nothing waits: Pump makes the destination idle
  const size_t waiting = queued - inFlight;
  const size_t depth = worker.oneAtATime ? 1 : std::max(1u, config.pipelineDepth);
  const size_t room = depth - std::min(depth, inFlight);
  if (waiting >= room) {
    // A backlog: it goes as the listener answers, half a pipeline per
    // write; until there is that much room, the answers due call again.
    if (room >= (depth + 1) / 2) return true;
    if (inFlight > 0) return false;
  }
  worker.gathering = true;
  worker.gather.expires_at(worker.lastSent + config.gatherWindow);
  worker.gather.async_wait([this, &worker](const TErrorCode&) {
    worker.gathering = false;
    Pump(worker);
  });
  return false;
}

void TIndicationDelivery::TImpl::Pump(TWorker& worker) {
  if (aborted || worker.waiting || !MayPump(worker)) return;
  const size_t depth = worker.oneAtATime ? 1 : std::max(1u, config.pipelineDepth);
  while (!aborted && !worker.waiting && worker.inFlight.size() < depth) {
    std::optional<TDeliveryLedger::TNext> next;
    bool idle = false;
    {
      std::lock_guard<std::mutex> lock(mu);
      next = ledger.Next(worker.key, worker.inFlight.size());
      idle = !next && ledger.Idle();
    }
    if (!next) {
      if (stopping && idle) Abort();
      return;
    }
    if (!worker.inFlight.empty() && (next->generation != worker.inFlight.front()->next.generation ||
                                     next->destination != worker.inFlight.back()->next.destination)) {
      // The queue was forgotten, or the destination changed (its URL or
      // credentials): what is in flight ends first.
      return;
    }
    const TDestination& destination = *next->destination;
    if (destination.url != worker.urlText || (!worker.url && worker.urlProblem.empty())) {
      worker.urlText = destination.url;
      worker.urlProblem.clear();
      worker.url = ParseListenerUrl(destination.url, &worker.urlProblem);
    }
    if (!worker.url) {
      // Trying again cannot help: the URL stays what it is. (Nothing is in
      // flight: it would have gone to the same URL.)
      std::lock_guard<std::mutex> lock(mu);
      ledger.GiveUp(worker.key, next->generation, EDeliveryFailure::kUnusableUrl,
                    "its URL cannot be used: " + worker.urlProblem);
      continue;
    }
    auto outgoing = std::make_shared<TOutgoing>();
    outgoing->request = MakeExportPost(*worker.url, destination.user, destination.password, next->body);
    outgoing->next = std::move(*next);
    worker.inFlight.push_back(outgoing);
    worker.lastSent = std::chrono::steady_clock::now();
    worker.connection->Exchange(*worker.url, std::shared_ptr<const TExportPost>(outgoing, &outgoing->request),
                                config.requestTimeout,
                                [this, &worker](std::string problem) { Answered(worker, problem); });
  }
}

void TIndicationDelivery::TImpl::Answered(TWorker& worker, const std::string& problem) {
  if (aborted) return;
  const uint64_t generation = worker.inFlight.front()->next.generation;
  worker.inFlight.pop_front();
  if (problem.empty()) {
    {
      std::lock_guard<std::mutex> lock(mu);
      ledger.Delivered(worker.key, generation);
    }
    worker.failures = 0;
    worker.oneAtATime = false;
    return Pump(worker);
  }
  // The head failed: it goes again after the retry interval, alone until
  // the listener takes it, and what is behind it goes again after it.
  ++worker.failures;
  worker.oneAtATime = true;
  if (!worker.inFlight.empty()) {
    worker.connection->Close();
    worker.inFlight.clear();
  }
  bool retry = false;
  {
    std::lock_guard<std::mutex> lock(mu);
    if (worker.failures > config.retryAttempts) {
      ledger.GiveUp(worker.key, generation, EDeliveryFailure::kRetriesSpent,
                    problem + " (" + std::to_string(worker.failures) + " tries)");
    } else {
      retry = ledger.Current(worker.key, generation);  // not when forgotten meanwhile
    }
  }
  if (!retry) {
    worker.failures = 0;
    return Pump(worker);
  }
  worker.waiting = true;
  worker.waitingFor = generation;
  worker.retry.expires_after(config.retryInterval);
  worker.retry.async_wait([this, &worker, generation](const TErrorCode&) {
    // Also when cancelled: Forget cancels the wait, and the queue goes on.
    worker.waiting = false;
    if (aborted) return;
    bool current = false;
    {
      std::lock_guard<std::mutex> lock(mu);
      current = ledger.Retried(worker.key, generation);
    }
    if (!current) worker.failures = 0;
    Pump(worker);
  });
}

void TIndicationDelivery::TImpl::Abandon(TWorker& worker) {
  if (aborted) return;
  bool current = true;
  {
    std::lock_guard<std::mutex> lock(mu);
    if (!worker.inFlight.empty()) {
      current = ledger.Current(worker.key, worker.inFlight.front()->next.generation);
    } else if (worker.waiting) {
      current = ledger.Current(worker.key, worker.waitingFor);
    }
  }
  if (current) return;  // it already works on what came after Forget
  worker.connection->Close();
  worker.inFlight.clear();
  worker.failures = 0;
  worker.oneAtATime = false;
  if (worker.waiting) {
    worker.retry.cancel();  // its handler goes on
    return;
  }
  Pump(worker);
}

void TIndicationDelivery::TImpl::BeginStop() {
  stopping = true;
  grace.expires_after(config.shutdownGrace);
  grace.async_wait([this](const TErrorCode& ec) {
    if (!ec) Abort();
  });
  bool idle = false;
  {
    std::lock_guard<std::mutex> lock(mu);
    idle = ledger.Idle();
  }
  if (idle) Abort();
}

void TIndicationDelivery::TImpl::Abort() {
  if (aborted) return;
  aborted = true;
  {
    std::lock_guard<std::mutex> lock(mu);
    ledger.DropAll();
  }
  // Every pending operation ends now, its handler finds `aborted` and does
  // nothing, and the thread's run ends with the last of them.
  for (auto& [key, worker] : workers) {
    worker->connection->Close();
    worker->retry.cancel();
    worker->gather.cancel();
  }
  grace.cancel();
  gather.cancel();
  work.reset();
}

TIndicationDelivery::TIndicationDelivery(TDeliveryConfig config, std::ostream& log)
    : impl_(std::make_unique<TImpl>(std::move(config), log)) {
  TImpl* impl = impl_.get();
  impl->thread = std::thread([impl] {
    LowerPriority(impl->config.niceness);
    while (true) {
      try {
        impl->ioc.run();
        return;
      } catch (const std::exception& e) {
        std::lock_guard<std::mutex> lock(impl->mu);
        impl->ledger.Note(std::string("indication delivery went on after an error: ") + e.what());
      }
    }
  });
}

TIndicationDelivery::~TIndicationDelivery() { Stop(); }

void TIndicationDelivery::Send(const TDestination& destination, std::shared_ptr<const TExportBody> body,
                               const std::string& subscriptionKey) {
  SendAll({TIndicationToSend{destination, std::move(body), subscriptionKey}});
}

void TIndicationDelivery::SendAll(const std::vector<TIndicationToSend>& indications) {
  bool post = false;
  {
    std::lock_guard<std::mutex> lock(impl_->mu);
    for (const TIndicationToSend& one : indications) {
      if (impl_->ledger.Add(one.destination, one.body, one.subscriptionKey) != TDeliveryLedger::EAdded::kWake) continue;
      impl_->toWake.push_back(one.destination.key);
      post = post || !impl_->wakePosted;
      impl_->wakePosted = true;
    }
  }
  if (post) net::post(impl_->ioc, [impl = impl_.get()] { impl->WakeAll(); });
}

std::vector<TDeliveryFailure> TIndicationDelivery::TakeFailures() {
  std::lock_guard<std::mutex> lock(impl_->mu);
  return impl_->ledger.TakeFailures();
}

TDeliveryCounts TIndicationDelivery::Counts(const std::string& destinationKey) const {
  std::lock_guard<std::mutex> lock(impl_->mu);
  return impl_->ledger.Counts(destinationKey);
}

void TIndicationDelivery::Forget(const std::string& destinationKey) {
  {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->ledger.Forget(destinationKey);
  }
  // What is in flight is abandoned; its worker then finds the queue as
  // Forget left it.
  net::post(impl_->ioc, [impl = impl_.get(), key = destinationKey] {
    auto found = impl->workers.find(key);
    if (found != impl->workers.end()) impl->Abandon(*found->second);
  });
}

void TIndicationDelivery::Stop() {
  if (!impl_->thread.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(impl_->mu);
    impl_->ledger.Close();
  }
  net::post(impl_->ioc, [impl = impl_.get()] { impl->BeginStop(); });
  impl_->thread.join();
}
