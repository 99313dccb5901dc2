// The root class, and constant texts: what has to do with counting by hand.
#include <cstring>

#include <Foundation/Foundation.h>

extern "C" {
id objc_alloc(Class made);
id objc_autorelease(id object);
Class objc_opt_class(id object);
bool standin_isKindOf(id object, Class wanted);
bool standin_responds(id object, SEL selector);
bool standin_conforms(id object, Protocol* wanted);
const char* standin_nameOf(Class named);
void standin_retain(id object);
void standin_release(id object);
void standin_dispose(id object);
}

@implementation NSObject

+ (instancetype)alloc {
  return objc_alloc(self);
}

+ (instancetype)new {
  return [[self alloc] init];
}

+ (Class)class {
  return self;
}

- (instancetype)init {
  return self;
}

- (void)dealloc {
  standin_dispose(self);
}

- (id)copy {
  return [static_cast<id<NSCopying>>(self) copyWithZone:nullptr];
}

- (BOOL)isEqual:(id)object {
  return self == object;
}

- (NSUInteger)hash {
  return reinterpret_cast<NSUInteger>(self);
}

- (Class)class {
  return objc_opt_class(self);
}

- (instancetype)self {
  return self;
}

- (BOOL)isKindOfClass:(Class)aClass {
  return standin_isKindOf(self, aClass);
}

- (BOOL)conformsToProtocol:(Protocol*)aProtocol {
  return standin_conforms(self, aProtocol);
}

- (BOOL)respondsToSelector:(SEL)aSelector {
  return standin_responds(self, aSelector);
}

- (instancetype)retain {
  standin_retain(self);
  return self;
}

- (oneway void)release {
  standin_release(self);
}

- (instancetype)autorelease {
  return objc_autorelease(self);
}

- (NSString*)description {
  return [NSString stringWithUTF8String:standin_nameOf(objc_opt_class(self))];
}

// A class is an object too, and lives for ever.

+ (BOOL)isEqual:(id)object {
  return self == object;
}

+ (NSUInteger)hash {
  return reinterpret_cast<NSUInteger>(self);
}

+ (id)self {
  return self;
}

+ (BOOL)isKindOfClass:(Class)aClass {
  return standin_isKindOf(self, aClass);
}

+ (BOOL)respondsToSelector:(SEL)aSelector {
  return standin_responds(self, aSelector);
}

+ (id)retain {
  return self;
}

+ (oneway void)release {
}

+ (id)autorelease {
  return self;
}

@end

// What the compiler makes of @"": after the class, this.
@interface StandinConstantString : NSString {
  int flags_;
  const char* text_;
  long length_;
}
@end

asm(".globl __CFConstantStringClassReference\n"
    ".set __CFConstantStringClassReference, OBJC_CLASS_$_StandinConstantString\n");

@implementation StandinConstantString

- (instancetype)retain {
  return self;
}

- (oneway void)release {
}

- (instancetype)autorelease {
  return self;
}

// Those that are not ASCII are laid out differently, and not used.
- (const char*)UTF8String {
  return text_;
}

- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)encoding {
  return encoding == NSUTF8StringEncoding ? static_cast<NSUInteger>(length_) : 0;
}

@end
