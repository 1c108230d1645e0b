// TRootObject: the core's process-wide accessors.
//
// The core owns one logger and one namespace provider manager per process.
// Hosts and tests may put their own in place: SetCoreLogger with a logger
// that they keep alive for as long as it is installed (nullptr puts the
// default standard-error logger back), SetNamespaceProviderManager with a
// manager of their own (an empty pointer puts the core's manager back).
// None of this is locked beyond the pointer swap itself: install replacements
// before other threads use the core.
//
// A thread may also put a logger of its own in front of the process's
// (SetThreadLogger, what TLogCapture does): while set, what that thread logs
// goes there alone, and other threads are not affected. This is how
// requests answered on several threads at once each keep their own lines.

#ifndef INMEM_CORE_ROOT_OBJECT_H_
#define INMEM_CORE_ROOT_OBJECT_H_

#include <boost/shared_ptr.hpp>

#include "core/logger.h"

class INamespaceProviderManager;

class TRootObject {
 public:
  static ILogger* GetCoreLogger();
  static void SetCoreLogger(ILogger* logger);
  // Sets the calling thread's own logger (nullptr: none, the process's
  // applies) and returns the one it replaces.
  static ILogger* SetThreadLogger(ILogger* logger);

  static boost::shared_ptr<INamespaceProviderManager> GetNamespaceProviderManager();
  static void SetNamespaceProviderManager(
      boost::shared_ptr<INamespaceProviderManager> manager);
};

#endif  // INMEM_CORE_ROOT_OBJECT_H_
