#include "tools/strict_number.h"

std::optional<uint64_t> ReadDecimal(std::string_view text) {
  if (text.empty()) return std::nullopt;
  uint64_t n = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    uint64_t digit = static_cast<uint64_t>(c - '0');
    if (n > (std::numeric_limits<uint64_t>::max() - digit) / 10) return std::nullopt;
    n = n * 10 + digit;
  }
  return n;
}

std::optional<uint64_t> ReadWholePart(std::string_view text) {
  size_t point = text.find('.');
  if (point != std::string_view::npos && !ReadDecimal(text.substr(point + 1))) return std::nullopt;
  return ReadDecimal(text.substr(0, point));
}

std::optional<uint64_t> ReadByteSize(std::string_view text) {
  if (text.empty()) return std::nullopt;
  uint64_t factor = 1;
  switch (text.back()) {
    case 'K': factor = uint64_t{1} << 10; break;
    case 'M': factor = uint64_t{1} << 20; break;
    case 'G': factor = uint64_t{1} << 30; break;
    default: return ReadDecimal(text);
  }
  return CheckedProduct(ReadDecimal(text.substr(0, text.size() - 1)), factor);
}

std::optional<uint64_t> CheckedProduct(std::optional<uint64_t> n, uint64_t factor) {
  uint64_t product = 0;
  if (!n || __builtin_mul_overflow(*n, factor, &product)) return std::nullopt;
  return product;
}
