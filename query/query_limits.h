// The bounds every query is held to before it is read any further.
//
// Query text comes from clients over the network, so nothing in it may make
// the engine recurse, allocate or loop without a bound: a query past one of
// these is refused with TQueryError (kind kLimit), never half-read. The
// values are generous for what management tools send (a few conditions on a
// few properties) and small enough that the worst query costs microseconds
// to read and a few kilobytes of stack to evaluate.

#ifndef INMEM_QUERY_QUERY_LIMITS_H_
#define INMEM_QUERY_QUERY_LIMITS_H_

#include <cstddef>

// Bytes of query text.
constexpr size_t kMaxQueryLength = 32 * 1024;
// Levels of parentheses and NOT, counted together, around any condition; the
// parser's recursion and the evaluator's stack are bounded by it.
constexpr size_t kMaxQueryNesting = 32;
// Conditions (comparisons, IS NULL, LIKE, ISA) in one query.
constexpr size_t kMaxQueryTerms = 256;
// Property names in a SELECT list.
constexpr size_t kMaxSelectedProperties = 256;
// Bytes of one string literal, after its escapes are resolved.
constexpr size_t kMaxLiteralLength = 4096;
// Bytes of one name (class, property, alias).
constexpr size_t kMaxNameLength = 256;
// Bytes of one LIKE pattern, and the states its matcher may have; the
// matcher keeps its working sets on the stack, sized by the latter.
constexpr size_t kMaxPatternLength = 512;
constexpr size_t kMaxPatternStates = 1024;
// The largest array index a query may name.
constexpr size_t kMaxArrayIndex = 1u << 20;

#endif  // INMEM_QUERY_QUERY_LIMITS_H_
