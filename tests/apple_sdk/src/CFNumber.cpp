// Numbers and truth values.
#include "CFObjects.h"

#include <bit>
#include <cmath>

namespace standin {

bool CFNumeral::isEqual(const CFObject& other) const {
  return value == static_cast<const CFNumeral&>(other).value;
}

}  // namespace standin

using namespace standin;

extern "C" {

CFTypeID CFNumberGetTypeID() {
  return static_cast<CFTypeID>(CFType::number);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
  switch (type) {
    case kCFNumberSInt32Type:
      return referenceTo<CFNumberRef>(
          *new CFNumeral(std::int64_t{*static_cast<const std::int32_t*>(value)}));
    case kCFNumberSInt64Type:
      return referenceTo<CFNumberRef>(*new CFNumeral(*static_cast<const std::int64_t*>(value)));
    case kCFNumberFloat64Type:
      return referenceTo<CFNumberRef>(*new CFNumeral(*static_cast<const double*>(value)));
    default:
      fail("CFNumberCreate", "was given a type that it does not know");
  }
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
  const CFNumeral::Value held = objectOf<CFNumeral>(number, "CFNumberGetValue").value;
  if (type == kCFNumberFloat64Type) {
    *static_cast<double*>(value) =
        std::visit([](auto each) { return static_cast<double>(each); }, held);
    return true;
  }
  // The lower bits of what is too large; of fractions nothing.
  std::int64_t whole = 0;
  bool isExact = false;
  if (const auto* const wide = std::get_if<std::uint64_t>(&held)) {
    whole = std::bit_cast<std::int64_t>(*wide);
    isExact = whole >= 0;
  } else if (const auto* const real = std::get_if<double>(&held)) {
    constexpr double limit = 0x1p63;
    if (std::abs(*real) < limit) whole = static_cast<std::int64_t>(*real);
    isExact = static_cast<double>(whole) == *real;
  } else {
    whole = std::get<std::int64_t>(held);
    isExact = true;
  }
  if (type == kCFNumberSInt64Type) {
    *static_cast<std::int64_t*>(value) = whole;
    return isExact;
  }
  if (type != kCFNumberSInt32Type) {
    fail("CFNumberGetValue", "was asked for a type that it does not know");
  }
  *static_cast<std::int32_t*>(value) = static_cast<std::int32_t>(whole);
  return isExact && static_cast<std::int32_t>(whole) == whole;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  return std::holds_alternative<double>(objectOf<CFNumeral>(number, "CFNumberIsFloatType").value);
}

CFTypeID CFBooleanGetTypeID() {
  return static_cast<CFTypeID>(CFType::boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef truth) {
  return objectOf<CFTruth>(truth, "CFBooleanGetValue").value;
}
}
