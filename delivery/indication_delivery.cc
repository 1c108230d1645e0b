// TIndicationDelivery: the delivery thread, and each destination's tries.

#include "delivery/indication_delivery.h"

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

// What the delivery thread keeps of one destination: its connection, the
// indication it is delivering and how many times it has tried it.
struct TWorker {
  TWorker(std::string key, net::io_context& ioc, ssl::context& tls, bool verifyPeer)
      : key(std::move(key)), connection(std::make_shared<TListenerConnection>(ioc, tls, verifyPeer)), retry(ioc) {}

  const std::string key;
  std::shared_ptr<TListenerConnection> connection;
  net::steady_timer retry;
  std::optional<TDeliveryLedger::TNext> current;
  // The URL as last read, kept while the destination's URL text is the same.
  std::string urlText;
  std::optional<TListenerUrl> url;
  std::string urlProblem;
  TExportRequest request;
  unsigned tries = 0;  // of the current indication
};

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

  // Delivery thread: the destination has something queued.
  void Wake(const std::string& key);
  // Delivery thread: takes the next indication of `worker`, if any.
  void Pump(TWorker& worker);
  void Try(TWorker& worker);
  void Answered(TWorker& worker, const std::string& problem);
  void BeginStop();
  void Abort();

  const TDeliveryConfig config;
  // Declared before everything that holds a socket or timer, so that it
  // outlives them.
  net::io_context ioc{1};
  net::executor_work_guard<net::io_context::executor_type> work = net::make_work_guard(ioc);
  ssl::context tls;

  // Guards the ledger (and through it the log stream).
  mutable std::mutex mu;
  TDeliveryLedger ledger;

  // The delivery thread's own.
  std::unordered_map<std::string, std::unique_ptr<TWorker>> workers;
  net::steady_timer grace{ioc};
  bool stopping = false;  // Stop has begun: end once nothing is busy
  bool aborted = false;   // everything left was dropped: handlers do nothing

  std::thread thread;  // last: started once the rest is in place
};

void TIndicationDelivery::TImpl::Wake(const std::string& key) {
  if (aborted) return;
  std::unique_ptr<TWorker>& worker = workers[key];
  if (!worker) worker = std::make_unique<TWorker>(key, ioc, tls, config.verifyListenerCertificate);
  Pump(*worker);
}

void TIndicationDelivery::TImpl::Pump(TWorker& worker) {
  while (!aborted) {
    bool idle = false;
    {
      std::lock_guard<std::mutex> lock(mu);
      worker.current = ledger.Next(worker.key);
      idle = !worker.current && ledger.Idle();
    }
    if (!worker.current) {
      if (stopping && idle) Abort();
      return;
    }
    const TDestination& destination = *worker.current->destination;
    if (destination.url != worker.urlText || (!worker.url && worker.urlProblem.empty())) {
      worker.urlText = destination.url;
      worker.urlProblem.clear();
      worker.url = ParseListenerUrl(destination.url, &worker.urlProblem);
    }
    if (!worker.url) {
      // Trying again cannot help: the URL stays what it is.
      std::lock_guard<std::mutex> lock(mu);
      ledger.GiveUp(worker.key, worker.current->generation, EDeliveryFailure::kUnusableUrl,
                    "its URL cannot be used: " + worker.urlProblem);
      continue;
    }
    worker.request =
        MakeExportRequest(*worker.url, destination.user, destination.password, *worker.current->body);
    worker.tries = 0;
    return Try(worker);
  }
}

void TIndicationDelivery::TImpl::Try(TWorker& worker) {
  ++worker.tries;
  worker.connection->Exchange(*worker.url, worker.request, config.requestTimeout,
                              [this, &worker](std::string problem) { Answered(worker, problem); });
}

void TIndicationDelivery::TImpl::Answered(TWorker& worker, const std::string& problem) {
  if (aborted) return;
  const uint64_t generation = worker.current->generation;
  bool retry = false;
  {
    std::lock_guard<std::mutex> lock(mu);
    if (problem.empty()) {
      ledger.Delivered(worker.key, generation);
    } else if (worker.tries > config.retryAttempts) {
      ledger.GiveUp(worker.key, generation, EDeliveryFailure::kRetriesSpent,
                    problem + " (" + std::to_string(worker.tries) + " tries)");
    } else {
      retry = ledger.Current(worker.key, generation);  // not when forgotten meanwhile
    }
  }
  if (!retry) return Pump(worker);
  worker.retry.expires_after(config.retryInterval);
  worker.retry.async_wait([this, &worker, generation](const TErrorCode&) {
    // Also when cancelled: Forget cancels the wait, and the queue goes on.
    if (aborted) return;
    bool current = false;
    {
      std::lock_guard<std::mutex> lock(mu);
      current = ledger.Retried(worker.key, generation);
    }
    if (current) return Try(worker);
    Pump(worker);
  });
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
  }
  grace.cancel();
  work.reset();
}

TIndicationDelivery::TIndicationDelivery(TDeliveryConfig config, std::ostream& log)
    : impl_(std::make_unique<TImpl>(std::move(config), log)) {
  TImpl* impl = impl_.get();
  impl->thread = std::thread([impl] {
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

void TIndicationDelivery::Send(const TDestination& destination, std::shared_ptr<const std::string> body,
                               std::string subscriptionKey) {
  TDeliveryLedger::EAdded added;
  {
    std::lock_guard<std::mutex> lock(impl_->mu);
    added = impl_->ledger.Add(destination, std::move(body), std::move(subscriptionKey));
  }
  if (added == TDeliveryLedger::EAdded::kWake) {
    net::post(impl_->ioc, [impl = impl_.get(), key = destination.key] { impl->Wake(key); });
  }
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
  // The try under way is abandoned; its worker then finds the queue as
  // Forget left it.
  net::post(impl_->ioc, [impl = impl_.get(), key = destinationKey] {
    auto found = impl->workers.find(key);
    if (found == impl->workers.end()) return;
    found->second->connection->Close();
    found->second->retry.cancel();
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
