// The plug-in's entry: registration of the provider "inmem" with the core.
//
// The library registers exactly once, when it is attached to a process.
// DllMain is the entry point in the shape of the attach notification: on
// Linux a load-time constructor calls it with kProcessAttach; every other
// reason does nothing. There is no unregistration.

#ifndef INMEM_PROVIDER_LIBRARY_ENTRY_H_
#define INMEM_PROVIDER_LIBRARY_ENTRY_H_

#include <boost/shared_ptr.hpp>

#include "core/status_code.h"

class TInmemNamespaceProvider;

enum EAttachReason {
  kProcessDetach = 0,
  kProcessAttach = 1,
  kThreadAttach = 2,
  kThreadDetach = 3,
};

// Registers on kProcessAttach; returns 1 (true) unless registration reports
// a status other than 0 (it never does). Exceptions of the manager pass
// through. Exported under its plain name so that a host can find it.
extern "C" int DllMain(void* module, unsigned long reason, void* reserved);

// Hands the provider to the core's namespace provider manager; always status 0.
TTYLStatusCode RegisterWithCore();

// The one provider of the process, made on the first call and released when
// the library is unloaded.
boost::shared_ptr<TInmemNamespaceProvider> GetProviderInstance();

#endif  // INMEM_PROVIDER_LIBRARY_ENTRY_H_
