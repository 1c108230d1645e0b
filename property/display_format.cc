// TInmemProperty::FormatDisplayValue: the text a person sees for a value
// that no value map turns into words.

#include <iomanip>
#include <sstream>

#include "property/inmem_property.h"

namespace {

// Unit prefixes from the largest down; index 5 is the plain unit.
const char* const kPrefixNames[] = {"Peta", "Tera", "Giga", "Mega", "Kilo",
                                    "",     "Milli", "Micro", "Nano"};
const char* const kPrefixLetters[] = {"P", "T", "G", "M", "K", "", "m", "u", "n"};
constexpr int kNoPrefix = 5;

struct TUnit {
  const char* name;
  float divisor;
  const char* abbreviation;
};

// Only bits per second scale by 1000. "Bits" keeps its full word when
// abbreviated: the short form "b" is never chosen.
const TUnit kUnits[] = {
    {"Bytes", 1024.0f, "B"},
    {"Bits", 1024.0f, "Bits"},
    {"Bytes per Second", 1024.0f, "B/s"},
    {"Bits per Second", 1000.0f, "bps"},
};

// "DISPLAYFIXEDUNITS": the largest prefix the scaling may reach.
int FixedUnitCap(const std::string& prefix) {
  if (prefix == "Kilo") return 4;
  if (prefix == "Mega") return 3;
  if (prefix == "Giga") return 2;
  if (prefix == "Tera") return 1;
  return 0;  // no cap (Peta included)
}

bool IsText(const boost::shared_ptr<const ICIMQualifier>& qualifier) {
  if (!qualifier) return false;
  const TCIMValue& value = qualifier->GetValue(TContext());
  return !value.IsNull() && value.GetType() == kCIMTypeString;
}

const std::string& TextOf(const boost::shared_ptr<const ICIMQualifier>& qualifier) {
  return qualifier->GetValue(TContext()).GetString();
}

constexpr uint64_t kMaxIntervalDays = 99999999;

// A count of `prefixIndex` units of time as a CIM interval's words;
// prefixes above the plain second set nothing (zero). False for a count of
// more days than an interval holds.
bool IntervalText(uint64_t n, int prefixIndex, std::string* text) {
  uint64_t seconds = 0, micros = 0;
  switch (prefixIndex) {
    case kNoPrefix:
      seconds = n;
      break;
    case 6:  // milliseconds
      seconds = n * 1000 / 1000000;
      micros = n * 1000 % 1000000;
      break;
    case 7:  // microseconds
      seconds = n / 1000000;
      micros = n % 1000000;
      break;
    case 8:  // nanoseconds
      seconds = n / 1000 / 1000000;
      micros = n / 1000 % 1000000;
      break;
    default:
      break;
  }
  uint64_t minutes = seconds / 60, hours = minutes / 60;
  if (hours / 24 > kMaxIntervalDays) return false;
  TCIMDateTime interval;
  interval.Set(static_cast<uint32_t>(hours / 24), static_cast<uint16_t>(hours % 24),
               static_cast<uint16_t>(minutes % 60), static_cast<uint16_t>(seconds % 60),
               static_cast<uint32_t>(micros));
  *text = interval.ToUIString();
  return true;
}

}  // namespace

std::string TInmemProperty::FormatDisplayValue(const TCIMValue& shown) const {
  if (shown.IsNull()) {
    boost::shared_ptr<const ICIMQualifier> nullDisplay = Qualifier("NULLDISPLAY");
    return IsText(nullDisplay) ? TextOf(nullDisplay) : std::string();
  }
  ECIMType type = shown.GetType();
  if (!IsUnsignedIntegerType(type)) return ToStringWithBase(shown);
  uint64_t n = static_cast<unsigned long long>(shown);
  boost::shared_ptr<const ICIMQualifier> units = Qualifier("UNITS");
  if (!IsText(units)) return ToStringWithBase(shown);

  std::string unit = TextOf(units);
  int prefix = kNoPrefix;
  for (int i = 0; i < 9; ++i) {
    if (i == kNoPrefix) continue;
    if (unit.compare(0, std::char_traits<char>::length(kPrefixNames[i]), kPrefixNames[i]) == 0) {
      unit.erase(0, std::char_traits<char>::length(kPrefixNames[i]));
      prefix = i;
      break;
    }
  }
  if (unit == "Seconds") {
    std::string interval;
    return IntervalText(n, prefix, &interval) ? interval : ToStringWithBase(shown);
  }
  const TUnit* known = nullptr;
  for (const TUnit& candidate : kUnits) {
    if (unit == candidate.name) known = &candidate;
  }
  if (known == nullptr) return ToStringWithBase(shown);

  // Single precision, converted as a signed number and corrected for the top bit.
  float f = static_cast<float>(static_cast<int64_t>(n));
  if (static_cast<int64_t>(n) < 0) f += 18446744073709551616.0f;
  boost::shared_ptr<const ICIMQualifier> fixed = Qualifier("DISPLAYFIXEDUNITS");
  int cap = IsText(fixed) ? FixedUnitCap(TextOf(fixed)) : 0;
  // A value equal to the divisor is not scaled.
  while (known->divisor < f && cap < prefix) {
    f = f / known->divisor;
    --prefix;
  }
  std::ostringstream number;
  number << std::fixed << std::setprecision(1) << f;
  std::string text = number.str();
  if (text.size() >= 2 && text.compare(text.size() - 2, 2, ".0") == 0) text.resize(text.size() - 2);

  boost::shared_ptr<const ICIMQualifier> abbreviate = Qualifier("ABBREVIATEUNITS");
  std::string unitText;
  if (abbreviate && !abbreviate->GetValue(TContext()).IsNull()) {
    // Its value is not looked at: FALSE abbreviates too.
    unitText = std::string(kPrefixLetters[prefix]) + known->abbreviation;
  } else {
    unitText = std::string(kPrefixNames[prefix]) + known->name;
    for (size_t i = 1; i < unitText.size(); ++i) {
      unitText[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(unitText[i])));
    }
  }
  return text + " " + unitText;
}
