// Numbers in what a machine reports (/proc and /sys), read strictly: the
// whole text must be the number and the number must fit. Anything else reads
// as no number, so that the inventory shows the value as unknown (null)
// rather than a guess: strtoull and stream extraction stop quietly at the
// first stray character ("1.5e3" reads as 1), wrap around on overflow, and
// take "-1" as the largest number; an unchecked product wraps too.

#ifndef INMEM_TOOLS_STRICT_NUMBER_H_
#define INMEM_TOOLS_STRICT_NUMBER_H_

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

#include "core/cim_value.h"

// Decimal digits only ("0", "1953525168"), within 64 bits.
std::optional<uint64_t> ReadDecimal(std::string_view text);

// The whole part of a decimal number with an optional fraction ("2999.998"
// gives 2999, "90061" gives 90061). Digits must stand on both sides of the
// point; no sign, no exponent.
std::optional<uint64_t> ReadWholePart(std::string_view text);

// A size in bytes as sysfs writes cache sizes: a decimal number with an
// optional suffix K, M or G (powers of 1024).
std::optional<uint64_t> ReadByteSize(std::string_view text);

// n * factor, or no number when n is none or the product does not fit.
std::optional<uint64_t> CheckedProduct(std::optional<uint64_t> n, uint64_t factor);

// `n` as a value of the unsigned integer type T, or a null of that type when
// there is no number or it does not fit in T.
template <typename T>
TCIMValue UnsignedValue(std::optional<uint64_t> n) {
  static_assert(std::is_unsigned<T>::value, "an unsigned integer type");
  if (n && *n <= std::numeric_limits<T>::max()) return TCIMValue(static_cast<T>(*n));
  return TCIMValue::Null(TCIMValue(T()).GetType());
}

#endif  // INMEM_TOOLS_STRICT_NUMBER_H_
