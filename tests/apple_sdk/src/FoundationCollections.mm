// What holds others, immutable but for the one that says otherwise.
#include "FoundationString.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

using standin::foundation::fail;

namespace {

// The next ones, in pieces as large as the buffer, as no user may count on all at once.
template <class Elements, class ToObject>
NSUInteger enumerate(const Elements& elements, ToObject toObject, NSFastEnumerationState& state,
                     std::span<id __unsafe_unretained> buffer) {
  state.itemsPtr = buffer.data();
  NSUInteger given = 0;
  while (given < buffer.size() && state.state < elements.size()) {
    buffer[given++] = toObject(elements[state.state++]);
  }
  return given;
}

}  // namespace

@interface NSArray () {
 @public
  std::vector<id> objects_;
  unsigned long changes_;
}
@end

@implementation NSArray

+ (instancetype)array {
  return [[self alloc] init];
}

+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count {
  NSArray* made = [[self alloc] init];
  for (NSUInteger index = 0; index < count; ++index) {
    if (objects[index] == nil) fail("nil in an array");
    made->objects_.push_back(objects[index]);
  }
  return made;
}

- (NSUInteger)count {
  return objects_.size();
}

- (id)firstObject {
  return objects_.empty() ? nil : objects_.front();
}

- (id)objectAtIndex:(NSUInteger)index {
  if (index >= objects_.size()) fail("index beyond the end of an array");
  return objects_[index];
}

- (id)objectAtIndexedSubscript:(NSUInteger)index {
  return [self objectAtIndex:index];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length {
  state->mutationsPtr = &changes_;
  return enumerate(objects_, [](id object) { return object; }, *state, {buffer, length});
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSArray class]]) return NO;
  const NSArray* other = object;
  return std::equal(objects_.begin(), objects_.end(), other->objects_.begin(),
                    other->objects_.end(), [](id left, id right) { return [left isEqual:right]; });
}

- (NSUInteger)hash {
  return objects_.size();
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

@implementation NSMutableArray

- (void)addObject:(id)object {
  if (object == nil) fail("nil in an array");
  objects_.push_back(object);
  ++changes_;
}

- (id)copyWithZone:(NSZone*)zone {
  return [NSArray arrayWithObjects:objects_.data() count:objects_.size()];
}

@end

@implementation NSDictionary {
  std::vector<std::pair<id, id>> entries_;
  unsigned long changes_;
}

+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id<NSCopying>[])keys
                                count:(NSUInteger)count {
  NSDictionary* made = [[self alloc] init];
  for (NSUInteger index = 0; index < count; ++index) {
    if (keys[index] == nil || objects[index] == nil) fail("nil in a dictionary");
    if ([made objectForKey:keys[index]] != nil) continue;
    made->entries_.emplace_back([keys[index] copyWithZone:nullptr], objects[index]);
  }
  return made;
}

- (NSUInteger)count {
  return entries_.size();
}

- (id)objectForKey:(id)key {
  for (const auto& [each, object] : entries_) {
    if ([each isEqual:key]) return object;
  }
  return nil;
}

- (id)objectForKeyedSubscript:(id)key {
  return [self objectForKey:key];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length {
  state->mutationsPtr = &changes_;
  return enumerate(entries_, [](const auto& entry) { return entry.first; }, *state,
                   {buffer, length});
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

// What @[] and @{} are.
extern "C" {
NSArray* __NSArray0__;
NSDictionary* __NSDictionary0__;
}

__attribute__((constructor(102))) static void makeEmptyCollections() {
  __NSArray0__ = [[NSArray alloc] init];
  __NSDictionary0__ = [[NSDictionary alloc] init];
}
