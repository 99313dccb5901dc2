// Objects from allocation to the end: counts, weak references, autorelease pools, properties.
#include "Runtime.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

using standin::objc::Class;
using standin::objc::fail;
using standin::objc::Object;
using standin::objc::Selector;
using standin::objc::send;
using standin::objc::uniqueSelector;

extern "C" {
Object* objc_retain(Object* object);
void objc_release(Object* object);
}

namespace {

// Stands before each object.
struct Header {
  std::atomic<std::int64_t> owners;
  Class* was;
};

Header* headerOf(const Object* object) {
  return reinterpret_cast<Header*>(const_cast<Object*>(object)) - 1;
}

std::atomic<long> liveObjects{0};

// What a dead object is an instance of.
standin::objc::ClassData deadData = {};
Class dead = {&dead, nullptr, nullptr, nullptr, &deadData};

// The dead stay for a while, so that whoever still talks to one is found out.
class Graveyard {
 public:
  void bury(Object* object) {
    const std::lock_guard lock(mutex_);
    object->isa = &dead;
    buried_.push_back(object);
    if (buried_.size() <= capacity) return;
    std::free(headerOf(buried_.front()));
    buried_.pop_front();
  }

 private:
  static constexpr std::size_t capacity = 4096;
  std::mutex mutex_;
  std::deque<Object*> buried_;
};

Graveyard& graveyard() {
  static auto& all = *new Graveyard;
  return all;
}

// Where each object's weak references are.
class WeakReferences {
 public:
  Object* store(Object** place, Object* object) {
    const std::lock_guard lock(mutex_);
    if (*place != nullptr) forget(*place, place);
    if (object != nullptr && headerOf(object)->owners.load() <= 0) object = nullptr;
    *place = object;
    if (object != nullptr) places_[object].push_back(place);
    return object;
  }

  Object* loadRetained(Object** place) {
    const std::lock_guard lock(mutex_);
    if (*place == nullptr) return nullptr;
    auto& owners = headerOf(*place)->owners;
    for (std::int64_t seen = owners.load(); seen > 0;) {
      if (owners.compare_exchange_weak(seen, seen + 1)) return *place;
    }
    return nullptr;
  }

  void clear(Object* object) {
    const std::lock_guard lock(mutex_);
    const auto found = places_.find(object);
    if (found == places_.end()) return;
    for (Object** place : found->second) *place = nullptr;
    places_.erase(found);
  }

 private:
  void forget(Object* object, Object** place) {
    const auto found = places_.find(object);
    if (found == places_.end()) return;
    std::erase(found->second, place);
    if (found->second.empty()) places_.erase(found);
  }

  std::mutex mutex_;
  std::unordered_map<Object*, std::vector<Object**>> places_;
};

WeakReferences& weakReferences() {
  static auto& all = *new WeakReferences;
  return all;
}

// What is to be let go of when a thread's innermost pools end, all in one row.
class Pools {
 public:
  Pools() = default;
  Pools(const Pools&) = delete;
  Pools& operator=(const Pools&) = delete;
  ~Pools() { shrinkTo(0); }

  void add(Object* object) { objects_.push_back(object); }
  std::size_t size() const { return objects_.size(); }
  void shrinkTo(std::size_t size) {
    while (objects_.size() > size) {
      Object* const last = objects_.back();
      objects_.pop_back();
      objc_release(last);
    }
  }

 private:
  std::vector<Object*> objects_;
};

thread_local Pools pools;

Object** fieldAt(Object* object, std::ptrdiff_t offset) {
  return reinterpret_cast<Object**>(reinterpret_cast<char*>(object) + offset);
}

void setField(Object* object, std::ptrdiff_t offset, Object* value, bool copies) {
  static const Selector copy = uniqueSelector("copy");
  if (value != nullptr) value = copies ? send<Object*>(value, copy) : objc_retain(value);
  objc_release(std::exchange(*fieldAt(object, offset), value));
}

// Fields of C++ types are made from the root class on, and end the other way round.
void constructFields(Object* object, const Class* of) {
  static const Selector construct = uniqueSelector(".cxx_construct");
  if (of == nullptr) return;
  constructFields(object, of->superclass);
  if (const auto method = standin::objc::findOwn(of, construct)) {
    reinterpret_cast<Object* (*)(Object*, Selector)>(method)(object, construct);
  }
}

}  // namespace

void standin::objc::expectAlive(const Object* object) {
  if (object->isa == &dead) fail("message to a dead", headerOf(object)->was->data->name);
}

extern "C" {

// What Foundation asks.

void standin_retain(Object* object) {
  headerOf(object)->owners.fetch_add(1);
}

void standin_release(Object* object) {
  static const Selector dealloc = uniqueSelector("dealloc");
  const std::int64_t left = headerOf(object)->owners.fetch_sub(1) - 1;
  if (left < 0) fail("over-release of", object->isa->data->name);
  if (left > 0) return;
  weakReferences().clear(object);
  send<void>(object, dealloc);
}

// The end of -[NSObject dealloc].
void standin_dispose(Object* object) {
  static const Selector destruct = uniqueSelector(".cxx_destruct");
  headerOf(object)->was = object->isa;
  for (const Class* each = object->isa; each != nullptr; each = each->superclass) {
    if (const auto method = standin::objc::findOwn(each, destruct)) {
      reinterpret_cast<void (*)(Object*, Selector)>(method)(object, destruct);
    }
  }
  --liveObjects;
  graveyard().bury(object);
}

long standin_liveObjects() {
  return liveObjects;
}

// What the compiler calls.

Object* objc_alloc(Class* made) {
  void* const memory = std::calloc(1, sizeof(Header) + made->data->instanceSize);
  if (memory == nullptr) fail("no memory for", made->data->name);
  auto* const header = new (memory) Header{1, nullptr};
  auto* const object = reinterpret_cast<Object*>(header + 1);
  object->isa = made;
  ++liveObjects;
  constructFields(object, made);
  return object;
}

Object* objc_allocWithZone(Class* made) {
  return objc_alloc(made);
}

Object* objc_alloc_init(Class* made) {
  static const Selector init = uniqueSelector("init");
  static const Selector alloc = uniqueSelector("alloc");
  return send<Object*>(send<Object*>(reinterpret_cast<Object*>(made), alloc), init);
}

Object* objc_opt_new(Class* made) {
  return objc_alloc_init(made);
}

Object* objc_retain(Object* object) {
  static const Selector retain = uniqueSelector("retain");
  return object == nullptr ? nullptr : send<Object*>(object, retain);
}

void objc_release(Object* object) {
  static const Selector release = uniqueSelector("release");
  if (object != nullptr) send<void>(object, release);
}

Object* objc_autorelease(Object* object) {
  if (object != nullptr) pools.add(object);
  return object;
}

Object* objc_retainAutorelease(Object* object) {
  return objc_autorelease(objc_retain(object));
}

// Results go through the pool always: nothing is handed from the callee to the caller directly.

Object* objc_autoreleaseReturnValue(Object* object) {
  return objc_autorelease(object);
}

Object* objc_retainAutoreleaseReturnValue(Object* object) {
  return objc_retainAutorelease(object);
}

Object* objc_retainAutoreleasedReturnValue(Object* object) {
  return objc_retain(object);
}

Object* objc_claimAutoreleasedReturnValue(Object* object) {
  return objc_retain(object);
}

Object* objc_unsafeClaimAutoreleasedReturnValue(Object* object) {
  return object;
}

void objc_storeStrong(Object** place, Object* value) {
  objc_retain(value);
  objc_release(std::exchange(*place, value));
}

// A pool is the number of objects below it, and not null.
void* objc_autoreleasePoolPush() {
  return reinterpret_cast<void*>(pools.size() + 1);
}

void objc_autoreleasePoolPop(void* pool) {
  pools.shrinkTo(reinterpret_cast<std::size_t>(pool) - 1);
}

Object* objc_storeWeak(Object** place, Object* object) {
  return weakReferences().store(place, object);
}

Object* objc_initWeak(Object** place, Object* object) {
  *place = nullptr;
  return objc_storeWeak(place, object);
}

void objc_destroyWeak(Object** place) {
  objc_storeWeak(place, nullptr);
}

Object* objc_loadWeakRetained(Object** place) {
  return weakReferences().loadRetained(place);
}

Object* objc_loadWeak(Object** place) {
  return objc_autorelease(objc_loadWeakRetained(place));
}

void objc_copyWeak(Object** to, Object** from) {
  Object* const object = objc_loadWeakRetained(from);
  objc_initWeak(to, object);
  objc_release(object);
}

void objc_moveWeak(Object** to, Object** from) {
  objc_copyWeak(to, from);
  objc_destroyWeak(from);
}

Object* objc_getProperty(Object* self, Selector, std::ptrdiff_t offset, bool) {
  return objc_retainAutorelease(*fieldAt(self, offset));
}

void objc_setProperty_nonatomic(Object* self, Selector, Object* value, std::ptrdiff_t offset) {
  setField(self, offset, value, false);
}

void objc_setProperty_nonatomic_copy(Object* self, Selector, Object* value, std::ptrdiff_t offset) {
  setField(self, offset, value, true);
}

void objc_setProperty_atomic(Object* self, Selector, Object* value, std::ptrdiff_t offset) {
  setField(self, offset, value, false);
}

void objc_setProperty_atomic_copy(Object* self, Selector, Object* value, std::ptrdiff_t offset) {
  setField(self, offset, value, true);
}

void objc_copyStruct(void* to, const void* from, std::ptrdiff_t size, bool, bool) {
  std::memcpy(to, from, static_cast<std::size_t>(size));
}

void objc_enumerationMutation(Object*) {
  fail("collection changed while enumerated");
}
}
