// Arrays, dictionaries and sets.
#include "CFObjects.h"

#include <algorithm>

namespace standin {

namespace {

std::vector<const void*> copied(const void** values, CFIndex count) {
  return std::vector<const void*>(values, values + count);
}

const void* retainValue(CFAllocatorRef, const void* value) {
  return CFRetain(value);
}
void releaseValue(CFAllocatorRef, const void* value) {
  CFRelease(value);
}

}  // namespace

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

}  // namespace standin

using namespace standin;

extern "C" {

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retainValue, releaseValue, nullptr, CFEqual};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       retainValue, releaseValue,
                                                                nullptr, CFEqual,     CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, retainValue, releaseValue,
                                                                    nullptr, CFEqual};
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
