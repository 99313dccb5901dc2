#include "CFObjects.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <mutex>

namespace standin {

namespace {

bool isSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xE000;
}

// The character at the front of `units` and how many of them it takes; none for half a pair.
std::optional<std::pair<std::string, std::size_t>> firstCharacter(std::u16string_view units) {
  char32_t scalar = units[0];
  std::size_t size = 1;
  if (isSurrogate(scalar)) {
    const bool isPair =
        scalar < 0xDC00 && units.size() > 1 && units[1] >= 0xDC00 && units[1] < 0xE000;
    if (!isPair) return std::nullopt;
    scalar = ((scalar - 0xD7C0) << 10) + (units[1] - 0xDC00U);
    size = 2;
  }
  std::string bytes;
  const auto add = [&](char32_t byte) { bytes += static_cast<char>(byte); };
  if (scalar < 0x80) {
    add(scalar);
  } else if (scalar < 0x800) {
    add(0xC0 | scalar >> 6);
    add(0x80 | (scalar & 0x3F));
  } else if (scalar < 0x10000) {
    add(0xE0 | scalar >> 12);
    add(0x80 | (scalar >> 6 & 0x3F));
    add(0x80 | (scalar & 0x3F));
  } else {
    add(0xF0 | scalar >> 18);
    add(0x80 | (scalar >> 12 & 0x3F));
    add(0x80 | (scalar >> 6 & 0x3F));
    add(0x80 | (scalar & 0x3F));
  }
  return std::pair(std::move(bytes), size);
}

CFStringRef makeConstant(std::string_view text) {
  auto& made = *new CFText(utf16(text).value());
  made.makeImmortal();
  return referenceTo<CFStringRef>(made);
}

}  // namespace

bool CFText::isEqual(const CFObject& other) const {
  return units == static_cast<const CFText&>(other).units;
}

CFHashCode CFText::hash() const {
  return std::hash<std::u16string>()(units);
}

std::optional<std::u16string> utf16(std::string_view bytes) {
  std::u16string units;
  for (std::size_t at = 0; at < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[at]);
    const std::size_t size = lead < 0x80                    ? 1
                             : lead >= 0xC2 && lead < 0xE0  ? 2
                             : lead >= 0xE0 && lead < 0xF0  ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 0;
    if (size == 0 || at + size > bytes.size()) return std::nullopt;
    char32_t scalar = size == 1 ? lead : lead & (0x7FU >> size);
    for (std::size_t next = 1; next < size; ++next) {
      const auto trail = static_cast<unsigned char>(bytes[at + next]);
      if ((trail & 0xC0) != 0x80) return std::nullopt;
      scalar = scalar << 6 | (trail & 0x3F);
    }
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    if (scalar < least[size] || scalar > 0x10FFFF || isSurrogate(scalar)) return std::nullopt;
    if (scalar < 0x10000) {
      units += static_cast<char16_t>(scalar);
    } else {
      units += static_cast<char16_t>(0xD7C0 + (scalar >> 10));
      units += static_cast<char16_t>(0xDC00 + (scalar & 0x3FF));
    }
    at += size;
  }
  return units;
}

std::string utf8(CFStringRef string, std::string_view function) {
  std::u16string_view units = objectOf<CFText>(string, function).units;
  std::string text;
  while (!units.empty()) {
    const auto character = firstCharacter(units);
    if (!character) fail(function, "was given broken text");
    text += character->first;
    units.remove_prefix(character->second);
  }
  return text;
}

}  // namespace standin

using namespace standin;

extern "C" {

const CFRunLoopMode kCFRunLoopDefaultMode = makeConstant("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = makeConstant("kCFRunLoopCommonModes");

CFTypeID CFStringGetTypeID() {
  return static_cast<CFTypeID>(CFType::string);
}

CFStringRef __CFStringMakeConstantString(const char* text) {
  static std::mutex mutex;
  static auto& constants = *new std::map<std::string, CFStringRef, std::less<>>;
  const std::lock_guard lock(mutex);
  const auto found = constants.find(text);
  if (found != constants.end()) return found->second;
  return constants.emplace(text, makeConstant(text)).first->second;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean) {
  if (encoding != kCFStringEncodingUTF8) {
    fail("CFStringCreateWithBytes", "was asked for an encoding that it does not know");
  }
  auto units = utf16({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count)});
  return units ? referenceTo<CFStringRef>(*new CFText(std::move(*units))) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
  return static_cast<CFIndex>(objectOf<CFText>(string, "CFStringGetLength").units.size());
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean, UInt8* buffer, CFIndex bufferSize,
                         CFIndex* usedSize) {
  const std::u16string& all = objectOf<CFText>(string, "CFStringGetBytes").units;
  if (encoding != kCFStringEncodingUTF8) {
    fail("CFStringGetBytes", "was asked for an encoding that it does not know");
  }
  const auto size = static_cast<CFIndex>(all.size());
  if (range.location < 0 || range.length < 0 || range.location + range.length > size) {
    fail("CFStringGetBytes", "was given a range beyond the string");
  }
  const auto units = std::u16string_view(all).substr(static_cast<std::size_t>(range.location),
                                                     static_cast<std::size_t>(range.length));
  CFIndex used = 0;
  std::size_t at = 0;
  while (at < units.size()) {
    auto character = firstCharacter(units.substr(at));
    if (!character) {
      if (lossByte == 0) break;
      character.emplace(std::string(1, static_cast<char>(lossByte)), 1);
    }
    const auto added = static_cast<CFIndex>(character->first.size());
    if (buffer != nullptr) {
      if (used + added > bufferSize) break;
      std::ranges::copy(character->first, buffer + used);
    }
    used += added;
    at += character->second;
  }
  if (usedSize != nullptr) *usedSize = used;
  return static_cast<CFIndex>(at);
}
}
