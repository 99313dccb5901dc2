// Values and collections of the stand-in. All are immutable but for the one that says otherwise.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <Foundation/Foundation.h>

namespace {

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "Foundation stand-in: %s\n", what.c_str());
  std::abort();
}

/// How many bytes follow the first one of a character; -1 if none begins with it.
int followers(unsigned char first) {
  if (first < 0x80) return 0;
  if (first >= 0xC2 && first < 0xE0) return 1;
  if (first >= 0xE0 && first < 0xF0) return 2;
  return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

/// In units of UTF-16; -1 for what is no UTF-8.
long lengthOf(std::string_view text) {
  long length = 0;
  for (std::size_t place = 0; place < text.size(); ++length) {
    const int more = followers(static_cast<unsigned char>(text[place]));
    if (more < 0 || text.size() - place <= static_cast<std::size_t>(more)) return -1;
    for (int each = 1; each <= more; ++each) {
      if ((static_cast<unsigned char>(text[place + static_cast<std::size_t>(each)]) & 0xC0) !=
          0x80) {
        return -1;
      }
    }
    if (more == 3) ++length;
    place += static_cast<std::size_t>(more) + 1;
  }
  return length;
}

std::string textOf(NSString* text) {
  return {text.UTF8String, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding]};
}

}  // namespace

// A text that was made, not written into the program.
@interface StandinString : NSString {
 @public
  std::string text_;
}
@end

@implementation NSString

+ (instancetype)stringWithUTF8String:(const char*)text {
  if (text == nullptr) fail("stringWithUTF8String: of NULL");
  return [[self alloc] initWithBytes:text length:std::strlen(text) encoding:NSUTF8StringEncoding];
}

- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding {
  if (encoding != NSUTF8StringEncoding) fail("text in another encoding");
  const std::string_view text(static_cast<const char*>(bytes), length);
  if (lengthOf(text) < 0) return nil;
  StandinString* made = [[StandinString alloc] init];
  made->text_ = text;
  return made;
}

- (NSUInteger)length {
  return static_cast<NSUInteger>(lengthOf(textOf(self)));
}

- (const char*)UTF8String {
  fail("NSString of no kind");
}

- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)encoding {
  fail("NSString of no kind");
}

- (BOOL)isEqualToString:(NSString*)other {
  return textOf(self) == textOf(other);
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSString class]] && [self isEqualToString:object];
}

- (NSUInteger)hash {
  return std::hash<std::string>()(textOf(self));
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

@implementation StandinString

- (const char*)UTF8String {
  return text_.c_str();
}

- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)encoding {
  return encoding == NSUTF8StringEncoding ? text_.size() : 0;
}

@end

@implementation NSNumber {
  double number_;
  NSInteger whole_;
}

+ (NSNumber*)numberWithBool:(BOOL)value {
  return [self numberWithInteger:value ? 1 : 0];
}

+ (NSNumber*)numberWithInt:(int)value {
  return [self numberWithInteger:value];
}

+ (NSNumber*)numberWithLong:(long)value {
  return [self numberWithInteger:value];
}

+ (NSNumber*)numberWithInteger:(NSInteger)value {
  NSNumber* made = [[NSNumber alloc] init];
  made->whole_ = value;
  made->number_ = static_cast<double>(value);
  return made;
}

+ (NSNumber*)numberWithDouble:(double)value {
  NSNumber* made = [[NSNumber alloc] init];
  made->whole_ = static_cast<NSInteger>(value);
  made->number_ = value;
  return made;
}

- (BOOL)boolValue {
  return number_ != 0;
}

- (int)intValue {
  return static_cast<int>(whole_);
}

- (NSInteger)integerValue {
  return whole_;
}

- (double)doubleValue {
  return number_;
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSNumber class]]) return NO;
  const NSNumber* other = object;
  return other->whole_ == whole_ && other->number_ == number_;
}

- (NSUInteger)hash {
  return static_cast<NSUInteger>(whole_);
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

@implementation NSData {
  std::vector<uint8_t> bytes_;
}

+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length {
  NSData* made = [[NSData alloc] init];
  const auto* first = static_cast<const uint8_t*>(bytes);
  if (length > 0) made->bytes_.assign(first, first + length);
  return made;
}

- (NSUInteger)length {
  return bytes_.size();
}

- (const void*)bytes {
  return bytes_.data();
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSData class]]) return NO;
  const NSData* other = object;
  return other->bytes_ == bytes_;
}

- (NSUInteger)hash {
  return bytes_.size();
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

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
  // In pieces as large as the buffer, as no user may count on all at once.
  state->mutationsPtr = &changes_;
  state->itemsPtr = buffer;
  NSUInteger given = 0;
  while (given < length && state->state < objects_.size()) {
    buffer[given++] = objects_[state->state++];
  }
  return given;
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
  state->itemsPtr = buffer;
  NSUInteger given = 0;
  while (given < length && state->state < entries_.size()) {
    buffer[given++] = entries_[state->state++].first;
  }
  return given;
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

@implementation NSUUID {
  std::array<uint8_t, 16> bytes_;
}

- (instancetype)initWithUUIDString:(NSString*)text {
  if ((self = [super init]) == nil) return nil;
  const std::string all = textOf(text);
  constexpr std::size_t length = 36;
  if (all.size() != length) return nil;
  std::size_t place = 0;
  for (std::size_t index = 0; index < bytes_.size(); ++index) {
    if ((index == 4 || index == 6 || index == 8 || index == 10) && all[place++] != '-') return nil;
    const std::string digits = all.substr(place, 2);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return nil;
    bytes_[index] = static_cast<uint8_t>(std::strtoul(digits.c_str(), nullptr, 16));
    place += 2;
  }
  return self;
}

- (instancetype)initWithUUIDBytes:(const uint8_t[16])bytes {
  if ((self = [super init]) == nil) return nil;
  std::copy_n(bytes, bytes_.size(), bytes_.begin());
  return self;
}

- (void)getUUIDBytes:(uint8_t[16])bytes {
  std::copy(bytes_.begin(), bytes_.end(), bytes);
}

- (NSString*)UUIDString {
  std::string text;
  for (std::size_t index = 0; index < bytes_.size(); ++index) {
    if (index == 4 || index == 6 || index == 8 || index == 10) text += '-';
    text += "0123456789ABCDEF"[bytes_[index] >> 4];
    text += "0123456789ABCDEF"[bytes_[index] & 0xF];
  }
  return [NSString stringWithUTF8String:text.c_str()];
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSUUID class]]) return NO;
  const NSUUID* other = object;
  return other->bytes_ == bytes_;
}

- (NSUInteger)hash {
  return bytes_[0];
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end

NSErrorUserInfoKey const NSLocalizedDescriptionKey = @"NSLocalizedDescription";

@implementation NSError {
  NSString* domain_;
  NSInteger code_;
  NSDictionary* userInfo_;
}

+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary*)userInfo {
  NSError* made = [[NSError alloc] init];
  made->domain_ = [domain copy];
  made->code_ = code;
  made->userInfo_ = [userInfo copy];
  return made;
}

- (NSErrorDomain)domain {
  return domain_;
}

- (NSInteger)code {
  return code_;
}

// An error always says something.
- (NSString*)localizedDescription {
  NSString* told = userInfo_[NSLocalizedDescriptionKey];
  if (told != nil) return told;
  const std::string text = "The operation couldn't be completed. (" + textOf(domain_) + " error " +
                           std::to_string(code_) + ".)";
  return [NSString stringWithUTF8String:text.c_str()];
}

@end

@implementation NSURL {
  NSString* path_;
}

+ (NSURL*)fileURLWithPath:(NSString*)path {
  NSURL* made = [[NSURL alloc] init];
  made->path_ = [path copy];
  return made;
}

- (NSString*)path {
  return path_;
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
