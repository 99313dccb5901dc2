#include "tessline/platform/macos/CFConversion.h"

#include <cstddef>

namespace tessline::platform {

namespace {

// Appends the front of `range` up to the first unit that is no text; returns how many units it
// took.
CFIndex appendText(CFStringRef string, CFRange range, std::string& text) {
  constexpr UInt8 noSubstitute = 0;
  CFIndex size = 0;
  CFStringGetBytes(string, range, kCFStringEncodingUTF8, noSubstitute, false, nullptr, 0, &size);
  const std::size_t before = text.size();
  text.resize(before + static_cast<std::size_t>(size));
  return CFStringGetBytes(string, range, kCFStringEncodingUTF8, noSubstitute, false,
                          reinterpret_cast<UInt8*>(text.data() + before), size, nullptr);
}

}  // namespace

CFReference<CFStringRef> makeCFString(std::string_view text) {
  return CFReference<CFStringRef>::created(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

CFReference<CFNumberRef> makeCFNumber(std::int64_t number) {
  return CFReference<CFNumberRef>::created(
      CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number));
}

std::string textOf(CFStringRef string) {
  constexpr std::string_view replacement = "\uFFFD";
  const CFIndex length = CFStringGetLength(string);
  std::string text;
  CFIndex at = 0;
  while (at < length) {
    at += appendText(string, CFRangeMake(at, length - at), text);
    if (at == length) break;
    text += replacement;
    ++at;
  }
  return text;
}

std::variant<std::int64_t, double> numberOf(CFNumberRef number) {
  if (CFNumberIsFloatType(number)) {
    double value = 0;
    CFNumberGetValue(number, kCFNumberFloat64Type, &value);
    return value;
  }
  std::int64_t value = 0;
  // Inexact for what has no sign and is large: what is given then are the bits.
  CFNumberGetValue(number, kCFNumberSInt64Type, &value);
  return value;
}

}  // namespace tessline::platform
