// The schema generation count.

#include "schema/schema_generation.h"

#include <atomic>

namespace {

// Starts above zero, so that a cache made with 0 is never current.
std::atomic<uint64_t> generation{1};

}  // namespace

uint64_t SchemaGeneration() { return generation.load(std::memory_order_relaxed); }

void NoteSchemaChange() { generation.fetch_add(1, std::memory_order_relaxed); }
