// TScalar: one non-null CIM value as conditions compare it.
//
// Values of different CIM types compare when they mean comparable things:
//   - every integer type and both reals are one family, compared by their
//     numbers exactly (uint64 18446744073709551615 is above sint64 -1, and
//     above real64 1.8e19), whatever their widths and signs; a NaN is
//     unordered against everything;
//   - strings by their bytes (so by code point, UTF-8 being what it is),
//     letter case counting;
//   - char16 values by their code unit;
//   - booleans with booleans (FALSE before TRUE; conditions use = and <>);
//   - datetimes as time: a timestamp is the point in time it names (its UTC
//     offset applied), an interval its length; a timestamp and an interval
//     are unordered;
//   - references by their canonical path text (TCIMReference::PathText).
// Anything else is unordered. Building a scalar allocates nothing: a string
// or a path is viewed where the value holds it, so a scalar lives no longer
// than the value it was made from. Scalars are plain values; the functions
// keep no state.

#ifndef INMEM_QUERY_SCALAR_H_
#define INMEM_QUERY_SCALAR_H_

#include <cstdint>
#include <string_view>

#include "core/cim_date_time.h"
#include "core/cim_value.h"

struct TScalar {
  enum class EKind : uint8_t { kUnsigned, kSigned, kReal, kBoolean, kChar, kText, kTimestamp, kInterval, kPath };
  EKind kind = EKind::kUnsigned;
  // kUnsigned, kBoolean (0 or 1), kChar.
  uint64_t u = 0;
  // kSigned; kTimestamp (microseconds since 1970-01-01 UTC), kInterval
  // (microseconds).
  int64_t s = 0;
  // kReal.
  double r = 0;
  // kText, kPath.
  std::string_view text;
};

enum class EOrder { kLess, kEqual, kGreater, kUnordered };

EOrder CompareScalars(const TScalar& a, const TScalar& b);

// The scalar of `value`; false for a null, an array or an untyped value.
bool ScalarOf(const TCIMValue& value, TScalar* scalar);

// A datetime as a scalar: kTimestamp or kInterval.
TScalar DateTimeScalar(const TCIMDateTime& dateTime);

#endif  // INMEM_QUERY_SCALAR_H_
