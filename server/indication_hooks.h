// What the CIM operations (and the inventory's collections) tell whoever
// produces indications, and ask of whoever keeps subscriptions. The server
// knows these interfaces only; indication/ implements them, so the server
// runs as it did without them.
//
// Both are called with the operations' lock (TRepositoryLock) held alone,
// on whichever of the server's threads made the change, and must not
// block: what they send goes out on another thread.

#ifndef INMEM_SERVER_INDICATION_HOOKS_H_
#define INMEM_SERVER_INDICATION_HOOKS_H_

#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_value.h"

class ICIMClass;
class ICIMInstance;

// Instance changes, each told after it succeeded. Watches is asked first,
// so that nothing is copied or made for a change nobody subscribed to: a
// server without subscriptions pays one call per change.
//
// What a change causes may wait until Settle: the server calls it once
// the answer to the request that made the changes is on its way (so that
// a client does not wait for indications being made), and an inventory
// refresh calls it at its end, the lock held alone. No other write runs
// in between, so the instances told of are still as they were told.
class IInstanceChanges {
 public:
  virtual ~IInstanceChanges() = default;

  // Whether a change to an instance of `cls` in `namespaceName` may
  // interest a subscriber.
  virtual bool Watches(const std::string& namespaceName, ICIMClass& cls) = 0;
  virtual void Created(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) = 0;
  // `previous` is a copy of the instance as it was, filed nowhere.
  virtual void Modified(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& previous,
                        const boost::shared_ptr<ICIMInstance>& current) = 0;
  // `instance` has left its namespace, its values still readable.
  virtual void Deleted(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) = 0;
  // Does what the changes told since the last call cause. Never throws.
  virtual void Settle() = 0;
};

// The Interop namespace's subscription classes (filters, listener
// destinations, subscriptions): their instances are made, changed and
// deleted by the usual operations, and checked here first. Each check
// throws TCimError to refuse.
class ISubscriptionGuard {
 public:
  typedef std::vector<std::pair<std::string, TCIMValue>> TValues;

  virtual ~ISubscriptionGuard() = default;

  // Whether instances of `cls` (in the Interop namespace) are checked here.
  virtual bool Guards(ICIMClass& cls) = 0;
  // Checks a new instance's values, and fills in what the server chooses
  // (the keys a client leaves out).
  virtual void PrepareCreate(ICIMClass& cls, TValues* values) = 0;
  // Checks a change of the values `changed` (names as declared).
  virtual void PrepareModify(ICIMInstance& instance, const TValues& changed) = 0;
  virtual void PrepareDelete(ICIMInstance& instance) = 0;
  // After a guarded instance was made, changed or deleted.
  virtual void Changed() = 0;
};

#endif  // INMEM_SERVER_INDICATION_HOOKS_H_
