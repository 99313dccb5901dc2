// Notifications of the process, and its threads.
#include "CFObjects.h"

#include <mutex>
#include <string>
#include <vector>

#include <Foundation/Foundation.h>
#include <standin/foundation.h>

extern "C" void objc_msgSend();

using standin::fail;

namespace {

struct Observation {
  // What it is known by once it is gone.
  const void* identity;
  __weak id observer;
  SEL selector;
  std::string name;
};

struct Center {
  std::mutex mutex;
  std::vector<Observation> observations;
};

using Lock = std::lock_guard<std::mutex>;

Center& center() {
  static auto& all = *new Center;
  return all;
}

const void* identityOf(id object) {
  return (__bridge const void*)object;
}

void tell(id observer, SEL selector, NSNotification* notification) {
  using Method = void (*)(id, SEL, NSNotification*);
  reinterpret_cast<Method> (&objc_msgSend)(observer, selector, notification);
}

}  // namespace

namespace standin::foundation {

std::size_t observers() {
  const Lock lock(center().mutex);
  return center().observations.size();
}

}  // namespace standin::foundation

@implementation NSThread

+ (BOOL)isMainThread {
  return standin::isMainThread();
}

@end

@implementation NSNotification {
  NSNotificationName name_;
  id object_;
}

+ (NSNotification*)named:(NSNotificationName)name object:(id)object {
  NSNotification* made = [[NSNotification alloc] init];
  made->name_ = [name copy];
  made->object_ = object;
  return made;
}

- (NSNotificationName)name {
  return name_;
}

- (id)object {
  return object_;
}

@end

@implementation NSNotificationCenter

+ (NSNotificationCenter*)defaultCenter {
  return [[NSNotificationCenter alloc] init];
}

- (void)addObserver:(id)observer
           selector:(SEL)aSelector
               name:(NSNotificationName)aName
             object:(id)anObject {
  if (observer == nil) fail("addObserver", "was given no observer");
  if (aName == nil) fail("addObserver", "was asked for every notification there is");
  if (anObject != nil) fail("addObserver", "was asked for notifications of one object");
  if (![observer respondsToSelector:aSelector]) {
    fail("addObserver", "was given a selector that the observer does not have");
  }
  const Lock lock(center().mutex);
  center().observations.push_back({identityOf(observer), observer, aSelector, aName.UTF8String});
}

- (void)removeObserver:(id)observer {
  const Lock lock(center().mutex);
  std::erase_if(center().observations,
                [&](const auto& each) { return each.identity == identityOf(observer); });
}

// Whoever is told lives meanwhile.
- (void)postNotificationName:(NSNotificationName)aName object:(id)anObject {
  struct Call {
    id observer;
    SEL selector;
  };
  std::vector<Call> calls;
  {
    const Lock lock(center().mutex);
    for (const Observation& each : center().observations) {
      if (each.name == aName.UTF8String) calls.push_back({each.observer, each.selector});
    }
  }
  NSNotification* notification = [NSNotification named:aName object:anObject];
  for (const Call& call : calls) {
    if (call.observer != nil) tell(call.observer, call.selector, notification);
  }
}

@end
