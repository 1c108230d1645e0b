// The processor cache correction: enumerating the instances of the processor
// classes logs each processor's status and, for a processor whose status is
// 1, sets its cache-enable properties from the states the host reported.
// A property that already holds its state is left as it is, so that an
// enumeration with nothing to correct writes nothing.

#include "include/processor_cache_state.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "namespace/refusal.h"
#include "schema/inmem_class.h"

extern "C" {
int32_t g_L1Enabled = -1;
int32_t g_L2Enabled = -1;
int32_t g_L3Enabled = -1;
}

namespace {

// Whether `processor` has the property `name` and it holds `value`.
bool Holds(ICIMInstance& processor, const char* name, const TCIMValue& value) {
  const TContext none;
  try {
    return processor.GetProperty(name, none)->GetValue(none) == value;
  } catch (const TTYLException&) {
    return false;  // setting it says why
  }
}

void CorrectCacheStates(ICIMInstance& processor) {
  const TContext none;
  try {
    std::string status =
        processor.GetProperty("CPUStatus", none)->GetValue(none).ToString(10);
    LogRefusal("cpuStatus is " + status);
    if (status != "1") return;
    const std::pair<const char*, int32_t> caches[] = {
        {"L1Enabled", g_L1Enabled}, {"L2Enabled", g_L2Enabled}, {"L3Enabled", g_L3Enabled}};
    for (const auto& cache : caches) {
      if (cache.second != 0 && cache.second != 1) continue;
      const TCIMValue state(cache.second == 1);
      if (!Holds(processor, cache.first, state)) processor.SetPropertyValue(cache.first, state, none);
    }
  } catch (const TTYLException&) {
    // A processor without these properties is passed on uncorrected.
  }
}

}  // namespace

// By each class's own exact name: subclasses are not processors here.
bool TInmemClass::CorrectsProcessors() const { return CorrectsProcessorCaches(name); }

void TInmemClass::EnumerateInstances(const TInstanceCallback& callback, bool deep,
                                     TContext context) {
  const bool processors = CorrectsProcessors();
  for (const auto& entry : instances) {
    if (processors) CorrectCacheStates(*entry.second);
    callback(entry.second);  // the result does not stop the walk
  }
  if (!deep) return;
  for (const boost::shared_ptr<TInmemClass>& subclass : subclasses) {
    subclass->EnumerateInstances(callback, deep, context);
  }
}
