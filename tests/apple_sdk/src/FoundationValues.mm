// What is a value, and immutable.
#include "FoundationString.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

using standin::foundation::textOf;

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
