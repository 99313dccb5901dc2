#include "CFObjects.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
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

long liveCFObjects() {
  const std::lock_guard lock(registry().mutex);
  return registry().live;
}

CFTypeRef makeCFObject(const CFValue& value) {
  struct Maker {
    const CFObject* operator()(const std::string& text) const {
      return new CFText(utf16(text).value());
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
}
