#include "query/scalar.h"

#include <cmath>

#include "core/cim_reference.h"

namespace {

bool IsNumber(TScalar::EKind kind) {
  return kind == TScalar::EKind::kUnsigned || kind == TScalar::EKind::kSigned || kind == TScalar::EKind::kReal;
}

template <typename T>
EOrder Order(const T& a, const T& b) {
  return a < b ? EOrder::kLess : b < a ? EOrder::kGreater : EOrder::kEqual;
}

// Numbers of any two kinds. An extended-precision long double holds every
// 64-bit integer and every double exactly, so integers meet reals there.
EOrder CompareNumbers(const TScalar& a, const TScalar& b) {
  using K = TScalar::EKind;
  if (a.kind == K::kUnsigned && b.kind == K::kUnsigned) return Order(a.u, b.u);
  if (a.kind == K::kSigned && b.kind == K::kSigned) return Order(a.s, b.s);
  if (a.kind != K::kReal && b.kind != K::kReal) {
    // One signed, one unsigned: a negative is below every unsigned.
    if (a.kind == K::kSigned) return a.s < 0 ? EOrder::kLess : Order(static_cast<uint64_t>(a.s), b.u);
    return b.s < 0 ? EOrder::kGreater : Order(a.u, static_cast<uint64_t>(b.s));
  }
  auto extended = [](const TScalar& x) -> long double {
    return x.kind == K::kReal ? static_cast<long double>(x.r)
           : x.kind == K::kSigned ? static_cast<long double>(x.s)
                                  : static_cast<long double>(x.u);
  };
  const bool nan = (a.kind == K::kReal && std::isnan(a.r)) || (b.kind == K::kReal && std::isnan(b.r));
  if (nan) return EOrder::kUnordered;
  return Order(extended(a), extended(b));
}

// Days from 1970-01-01 to the given day of the proleptic Gregorian calendar.
int64_t DaysSinceEpoch(int64_t year, int64_t month, int64_t day) {
  // Years counted from March, so that the leap day ends the year.
  year -= month <= 2 ? 1 : 0;
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const int64_t yearOfEra = year - era * 400;
  const int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

}  // namespace

TScalar DateTimeScalar(const TCIMDateTime& dateTime) {
  constexpr int64_t kSecond = 1000000;
  TScalar scalar;
  const int64_t timeOfDay = (static_cast<int64_t>(dateTime.GetHours()) * 3600 +
                             static_cast<int64_t>(dateTime.GetMinutes()) * 60 + dateTime.GetSeconds()) *
                                kSecond +
                            dateTime.GetMicroseconds();
  if (dateTime.IsInterval()) {
    scalar.kind = TScalar::EKind::kInterval;
    scalar.s = static_cast<int64_t>(dateTime.GetDays()) * 86400 * kSecond + timeOfDay;
  } else {
    scalar.kind = TScalar::EKind::kTimestamp;
    // The fields are local to the offset: UTC is that much earlier.
    scalar.s = DaysSinceEpoch(dateTime.GetYear(), dateTime.GetMonth(), dateTime.GetDay()) * 86400 * kSecond +
               timeOfDay - static_cast<int64_t>(dateTime.GetUtcOffsetMinutes()) * 60 * kSecond;
  }
  return scalar;
}

EOrder CompareScalars(const TScalar& a, const TScalar& b) {
  using K = TScalar::EKind;
  if (IsNumber(a.kind) && IsNumber(b.kind)) return CompareNumbers(a, b);
  if (a.kind != b.kind) return EOrder::kUnordered;
  switch (a.kind) {
    case K::kBoolean:
    case K::kChar:
      return Order(a.u, b.u);
    case K::kTimestamp:
    case K::kInterval:
      return Order(a.s, b.s);
    case K::kText:
    case K::kPath:
      return Order(a.text, b.text);
    default:
      return EOrder::kUnordered;
  }
}

bool ScalarOf(const TCIMValue& value, TScalar* scalar) {
  if (value.IsNull()) return false;
  const ECIMType type = value.GetType();
  if (IsUnsignedIntegerType(type)) {
    scalar->kind = TScalar::EKind::kUnsigned;
    scalar->u = static_cast<unsigned long long>(value);
  } else if (IsSignedIntegerType(type)) {
    scalar->kind = TScalar::EKind::kSigned;
    scalar->s = static_cast<long long>(value);
  } else if (IsRealType(type)) {
    scalar->kind = TScalar::EKind::kReal;
    scalar->r = static_cast<double>(value);
  } else {
    switch (type) {
      case kCIMTypeBoolean:
        scalar->kind = TScalar::EKind::kBoolean;
        scalar->u = static_cast<bool>(value) ? 1 : 0;
        break;
      case kCIMTypeChar16:
        scalar->kind = TScalar::EKind::kChar;
        scalar->u = static_cast<char16_t>(value);
        break;
      case kCIMTypeString:
        scalar->kind = TScalar::EKind::kText;
        scalar->text = value.GetString();
        break;
      case kCIMTypeDateTime:
        *scalar = DateTimeScalar(static_cast<TCIMDateTime>(value));
        break;
      case kCIMTypeReference:
        scalar->kind = TScalar::EKind::kPath;
        scalar->text = value.GetReference().PathText();
        break;
      default:
        return false;
    }
  }
  return true;
}
