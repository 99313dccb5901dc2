#include "FoundationString.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

using standin::foundation::fail;
using standin::foundation::textOf;

namespace standin::foundation {

void fail(const std::string& what) {
  std::fprintf(stderr, "Foundation stand-in: %s\n", what.c_str());
  std::abort();
}

std::string textOf(NSString* text) {
  return {text.UTF8String, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding]};
}

}  // namespace standin::foundation

namespace {

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
