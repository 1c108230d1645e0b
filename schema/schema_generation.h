// The schema generation: a process-wide count of changes to what decides
// which declarations of a class are keys (the qualifier sets of elements,
// qualifier values, and the declaration maps of classes) and which are
// references (the default values of declarations, which carry their type).
//
// An answer worked out from those things and kept with the count it was
// made at is still right while the count has not moved. A class keeps its
// key names this way, so that building an instance's path does not look up
// the KEY qualifier of every declaration again, and the property layout of
// its instances, so that a new instance does not enumerate and name its
// declarations again.

#ifndef INMEM_SCHEMA_SCHEMA_GENERATION_H_
#define INMEM_SCHEMA_SCHEMA_GENERATION_H_

#include <cstdint>

uint64_t SchemaGeneration();
// Called before any such change.
void NoteSchemaChange();

#endif  // INMEM_SCHEMA_SCHEMA_GENERATION_H_
