#include "CFObjects.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <unordered_set>

#include <standin/corefoundation.h>

namespace standin {

namespace {

// All objects. Never destroyed, as objects may outlive everything else.
struct Registry {
  std::mutex mutex;
  std::unordered_set<const void*> objects;
  long live = 0;
};

Registry& registry() {
  static auto& all = *new Registry;
  return all;
}

bool isSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xE000;
}

// None for bytes that are no UTF-8.
std::optional<std::u16string> fromUTF8(std::string_view bytes) {
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

std::vector<const void*> copied(const void** values, CFIndex count) {
  return std::vector<const void*>(values, values + count);
}

CFStringRef makeConstant(std::string_view text) {
  auto& made = *new CFText(fromUTF8(text).value());
  made.makeImmortal();
  return referenceTo<CFStringRef>(made);
}

const void* retainValue(CFAllocatorRef, const void* value) {
  return CFRetain(value);
}
void releaseValue(CFAllocatorRef, const void* value) {
  CFRelease(value);
}

}  // namespace

void fail(std::string_view function, std::string_view what) {
  std::fprintf(stderr, "stand-in: %.*s %.*s\n", static_cast<int>(function.size()), function.data(),
               static_cast<int>(what.size()), what.data());
  std::abort();
}

CFObject::CFObject(CFType type) : type_(type) {
  const std::lock_guard lock(registry().mutex);
  registry().objects.insert(this);
  ++registry().live;
}

CFObject::~CFObject() {
  const std::lock_guard lock(registry().mutex);
  registry().objects.erase(this);
  if (!isImmortal_) --registry().live;
}

void CFObject::makeImmortal() {
  const std::lock_guard lock(registry().mutex);
  isImmortal_ = true;
  --registry().live;
}

void CFObject::retain() {
  ++references_;
}

void CFObject::release() {
  if (!isImmortal_ && --references_ == 0) delete this;
}

CFObject& object(CFTypeRef reference, std::string_view function) {
  if (reference == nullptr) fail(function, "was given NULL");
  const std::lock_guard lock(registry().mutex);
  if (!registry().objects.contains(reference)) fail(function, "was given an object that is gone");
  return *const_cast<CFObject*>(static_cast<const CFObject*>(reference));
}

bool CFText::isEqual(const CFObject& other) const {
  return units == static_cast<const CFText&>(other).units;
}

CFHashCode CFText::hash() const {
  return std::hash<std::u16string>()(units);
}

bool CFNumeral::isEqual(const CFObject& other) const {
  return value == static_cast<const CFNumeral&>(other).value;
}

CFCollection::CFCollection(CFType type, std::vector<const void*> held, bool retains)
    : CFObject(type), values(std::move(held)), retains_(retains) {
  if (!retains_) return;
  for (const void* value : values) CFRetain(value);
}

CFCollection::~CFCollection() {
  if (!retains_) return;
  for (const void* value : values) CFRelease(value);
}

CFTable::CFTable(Entries held) : CFObject(classType), entries(std::move(held)) {
  for (const auto& [key, value] : entries) {
    CFRetain(key);
    CFRetain(value);
  }
}

CFTable::~CFTable() {
  for (const auto& [key, value] : entries) {
    CFRelease(key);
    CFRelease(value);
  }
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

long liveCFObjects() {
  const std::lock_guard lock(registry().mutex);
  return registry().live;
}

CFTypeRef makeCFObject(const CFValue& value) {
  struct Maker {
    const CFObject* operator()(const std::string& text) const {
      return new CFText(fromUTF8(text).value());
    }
    const CFObject* operator()(const std::u16string& units) const { return new CFText(units); }
    const CFObject* operator()(std::int64_t number) const { return new CFNumeral(number); }
    const CFObject* operator()(std::uint64_t number) const { return new CFNumeral(number); }
    const CFObject* operator()(double number) const { return new CFNumeral(number); }
    const CFObject* operator()(bool truth) const { return new CFTruth(truth); }
    const CFObject* operator()(const CFBytes& data) const { return new CFByteString(data.bytes); }
  };
  return std::visit(Maker(), value)->reference();
}

}  // namespace standin

using namespace standin;

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retainValue, releaseValue, nullptr, CFEqual};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       retainValue, releaseValue,
                                                                nullptr, CFEqual,     CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, retainValue, releaseValue,
                                                                    nullptr, CFEqual};
const CFRunLoopMode kCFRunLoopDefaultMode = makeConstant("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = makeConstant("kCFRunLoopCommonModes");

CFTypeRef CFRetain(CFTypeRef reference) {
  object(reference, "CFRetain").retain();
  return reference;
}

void CFRelease(CFTypeRef reference) {
  object(reference, "CFRelease").release();
}

CFTypeID CFGetTypeID(CFTypeRef reference) {
  return static_cast<CFTypeID>(object(reference, "CFGetTypeID").type());
}

Boolean CFEqual(CFTypeRef first, CFTypeRef second) {
  const CFObject& one = object(first, "CFEqual");
  const CFObject& other = object(second, "CFEqual");
  return one.type() == other.type() && one.isEqual(other);
}

CFHashCode CFHash(CFTypeRef reference) {
  return object(reference, "CFHash").hash();
}

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
  auto units = fromUTF8({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count)});
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

CFTypeID CFArrayGetTypeID() {
  return static_cast<CFTypeID>(CFType::array);
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
  return referenceTo<CFArrayRef>(*new CFList(copied(values, count), callBacks != nullptr));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  return static_cast<CFIndex>(objectOf<CFList>(array, "CFArrayGetCount").values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  const auto& values = objectOf<CFList>(array, "CFArrayGetValueAtIndex").values;
  if (index < 0 || static_cast<std::size_t>(index) >= values.size()) {
    fail("CFArrayGetValueAtIndex", "was given an index beyond the array");
  }
  return values[static_cast<std::size_t>(index)];
}

CFTypeID CFDictionaryGetTypeID() {
  return static_cast<CFTypeID>(CFType::dictionary);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks ||
      valueCallBacks != &kCFTypeDictionaryValueCallBacks) {
    fail("CFDictionaryCreate", "was given other functions than those of objects");
  }
  CFTable::Entries entries;
  for (CFIndex index = 0; index < count; ++index) entries.emplace_back(keys[index], values[index]);
  return referenceTo<CFDictionaryRef>(*new CFTable(std::move(entries)));
}

CFTypeID CFSetGetTypeID() {
  return static_cast<CFTypeID>(CFType::set);
}

CFIndex CFSetGetCount(CFSetRef set) {
  return static_cast<CFIndex>(objectOf<CFGroup>(set, "CFSetGetCount").values.size());
}

void CFSetGetValues(CFSetRef set, const void** values) {
  std::ranges::copy(objectOf<CFGroup>(set, "CFSetGetValues").values, values);
}
}
