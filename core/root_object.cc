#include "core/root_object.h"

#include <atomic>

#include "core/namespace_provider_manager.h"

namespace {

// Neither default object is ever destroyed: plug-ins may log or reach the
// manager from their own static destructors, after ours would have run.
ILogger* DefaultLogger() {
  static ILogger* const logger = new TStderrLogger();
  return logger;
}

std::atomic<ILogger*> g_installedLogger{nullptr};
thread_local ILogger* t_threadLogger = nullptr;

boost::shared_ptr<INamespaceProviderManager>& CoreManager() {
  static auto* const manager = new boost::shared_ptr<INamespaceProviderManager>(
      new TNamespaceProviderManager());
  return *manager;
}

boost::shared_ptr<INamespaceProviderManager>& InstalledManager() {
  static auto* const manager = new boost::shared_ptr<INamespaceProviderManager>();
  return *manager;
}

}  // namespace

ILogger* TRootObject::GetCoreLogger() {
  if (t_threadLogger != nullptr) return t_threadLogger;
  ILogger* logger = g_installedLogger.load();
  return logger != nullptr ? logger : DefaultLogger();
}

void TRootObject::SetCoreLogger(ILogger* logger) { g_installedLogger.store(logger); }

ILogger* TRootObject::SetThreadLogger(ILogger* logger) {
  ILogger* previous = t_threadLogger;
  t_threadLogger = logger;
  return previous;
}

boost::shared_ptr<INamespaceProviderManager> TRootObject::GetNamespaceProviderManager() {
  const boost::shared_ptr<INamespaceProviderManager>& installed = InstalledManager();
  return installed ? installed : CoreManager();
}

void TRootObject::SetNamespaceProviderManager(
    boost::shared_ptr<INamespaceProviderManager> manager) {
  InstalledManager() = manager;
}
