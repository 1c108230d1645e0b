// TInmemProperty: the value map built from "ValueMap" and "Values", and the
// mapping of one integer through it.

#include <cstdlib>
#include <sstream>

#include "core/root_object.h"
#include "namespace/refusal.h"
#include "property/inmem_property.h"

namespace {

const ECIMType kStringArray = ArrayTypeOf(kCIMTypeString);

bool IsStringArray(const boost::shared_ptr<const ICIMQualifier>& qualifier) {
  if (!qualifier) return false;
  const TCIMValue& value = qualifier->GetValue(TContext());
  return !value.IsNull() && value.GetType() == kStringArray;
}

const std::string& TextOf(const TCIMValue& element) {
  static const std::string kEmpty;
  return element.IsNull() ? kEmpty : element.GetString();
}

// Reads a number the way a stream with its base flags cleared does: "0x"
// hexadecimal, a leading "0" octal, else decimal.
void ReadNumber(std::istream& in, uint64_t* number) {
  in.unsetf(std::ios::basefield);
  unsigned long long read = 0;
  in >> read;
  *number = read;
}

}  // namespace

bool TInmemProperty::BuildValueMap(TValueMapEntries& entries, std::string& defaultText) const {
  entries.clear();
  boost::shared_ptr<const ICIMQualifier> valuesQualifier = Qualifier("Values");
  if (!IsStringArray(valuesQualifier)) return false;
  const std::vector<TCIMValue>& values = valuesQualifier->GetValue(TContext()).GetElements();

  boost::shared_ptr<const ICIMQualifier> mapQualifier = Qualifier("ValueMap");
  if (!IsStringArray(mapQualifier)) {
    for (size_t i = 0; i < values.size(); ++i) entries.push_back({i, i, TextOf(values[i])});
    return true;
  }
  const std::vector<TCIMValue>& valueMap = mapQualifier->GetValue(TContext()).GetElements();
  if (valueMap.size() != values.size()) return false;

  uint64_t next = 0;
  // The two characters read after each number. They live for the whole
  // build: an entry that ends after its number leaves them as the entry
  // before it left them, so a plain number after "lo.." is again an open
  // range. The carry-over is intended.
  char c1 = ' ', c2 = ' ';
  for (size_t i = 0; i < valueMap.size(); ++i) {
    const std::string& s = TextOf(valueMap[i]);
    const std::string& text = TextOf(values[i]);
    if (s.compare(0, 2, "..") == 0) {
      if (entries.empty()) {
        TRootObject::GetCoreLogger()->Log(
            kValidationLogLevel, "Inmem: ValueMap of property " + Decl()->GetName(TContext()) +
                                     " begins with '" + s +
                                     "', which needs an entry before it; cannot go on");
        std::abort();
      }
      if (entries.back().upper == kOpenUpperBound) return false;
      if (s == "..") {
        defaultText = text;
        continue;
      }
      std::istringstream in(s.substr(2));
      uint64_t hi = 0;
      ReadNumber(in, &hi);
      entries.push_back({next, hi, text});
      next = hi + 1;
      continue;
    }
    std::istringstream in(s);
    uint64_t lo = 0;
    ReadNumber(in, &lo);
    if (!entries.empty() && entries.back().upper == kOpenUpperBound) {
      entries.back().upper = lo - 1;
    }
    in >> c1 >> c2;  // a character that is not there leaves its slot alone
    entries.push_back({lo, c1 == '.' && c2 == '.' ? kOpenUpperBound : lo, text});
    next = lo + 1;
  }
  return true;
}

std::string TInmemProperty::MapValue(const TCIMValue& mapped, const TValueMapEntries& entries,
                                     const std::string& defaultText) const {
  uint64_t number = 0;
  switch (mapped.GetType()) {
    case kCIMTypeBoolean:
      number = static_cast<bool>(mapped) ? 1 : 0;
      break;
    case kCIMTypeUint8:
    case kCIMTypeUint16:
    case kCIMTypeUint32:
    case kCIMTypeUint64:
      number = static_cast<unsigned long long>(mapped);
      break;
    default:
      throw TTYLException(kStatusNotSupported);
  }
  for (const TValueMapEntry& entry : entries) {
    if (entry.lower <= number && number <= entry.upper) return entry.text;
  }
  return defaultText.empty() ? mapped.ToString(10) : defaultText;
}
