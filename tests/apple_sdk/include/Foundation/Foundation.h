/// @file
/// Stand-in for the system's header: values, collections, and what surrounds the process.
#pragma once

#include <CoreGraphics/CGGeometry.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define FOUNDATION_EXPORT extern "C"
#else
#define FOUNDATION_EXPORT extern
#endif

#define NS_ENUM(type, name) \
  enum name : type name;    \
  enum name : type
// In C++ an integer, so that bits can be joined.
#define NS_OPTIONS(type, name) \
  type name;                   \
  enum : type
#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#if __has_feature(objc_arc)
#define STANDIN_WITHOUT_ARC __attribute__((unavailable("not with automatic reference counting")))
#else
#define STANDIN_WITHOUT_ARC
#endif

#define YES __objc_yes
#define NO __objc_no
#define nil nullptr
#define Nil nullptr

// As on the 64-bit ARM. The system's own for Intel processors is older than the language's.
#if defined(__MACH__) && defined(__x86_64__)
typedef signed char BOOL;
#else
typedef bool BOOL;
#endif
typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef struct _NSZone NSZone;
typedef CGPoint NSPoint;
typedef CGRect NSRect;

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSDictionary<KeyType, ObjectType>, NSString;

@protocol NSObject
- (BOOL)isEqual:(nullable id)object;
@property(readonly) NSUInteger hash;
- (Class)class;
- (instancetype)self;
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)conformsToProtocol:(Protocol*)aProtocol;
- (BOOL)respondsToSelector:(SEL)aSelector;
- (instancetype)retain STANDIN_WITHOUT_ARC;
- (oneway void)release STANDIN_WITHOUT_ARC;
- (instancetype)autorelease STANDIN_WITHOUT_ARC;
@property(readonly, copy) NSString* description;
@end

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
- (instancetype)init;
- (void)dealloc;
- (id)copy;
@end

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

@interface NSString : NSObject <NSCopying>
+ (nullable instancetype)stringWithUTF8String:(const char*)text;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)length
                              encoding:(NSStringEncoding)encoding;
@property(readonly) NSUInteger length;
@property(nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)encoding;
- (BOOL)isEqualToString:(NSString*)other;
@end

@interface NSNumber : NSObject <NSCopying>
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
+ (NSNumber*)numberWithLong:(long)value;
+ (NSNumber*)numberWithDouble:(double)value;
@property(readonly) BOOL boolValue;
@property(readonly) int intValue;
@property(readonly) NSInteger integerValue;
@property(readonly) double doubleValue;
@end

@interface NSData : NSObject <NSCopying>
+ (instancetype)dataWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)array;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                           count:(NSUInteger)count;
@property(readonly) NSUInteger count;
@property(nullable, nonatomic, readonly) ObjectType firstObject;
- (ObjectType)objectAtIndex:(NSUInteger)index;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
- (void)addObject:(ObjectType)object;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;
@property(readonly) NSUInteger count;
- (nullable ObjectType)objectForKey:(KeyType)key;
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

@interface NSUUID : NSObject <NSCopying>
- (nullable instancetype)initWithUUIDString:(NSString*)text;
- (instancetype)initWithUUIDBytes:(const uint8_t[_Nonnull 16])bytes;
- (void)getUUIDBytes:(uint8_t[_Nonnull 16])bytes;
@property(readonly, copy) NSString* UUIDString;
@end

typedef NSString* NSErrorDomain;
typedef NSString* NSErrorUserInfoKey;
FOUNDATION_EXPORT NSErrorUserInfoKey const NSLocalizedDescriptionKey;

@interface NSError : NSObject
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(nullable NSDictionary<NSErrorUserInfoKey, id>*)userInfo;
@property(readonly, copy) NSErrorDomain domain;
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedDescription;
@end

@interface NSURL : NSObject <NSCopying>
+ (NSURL*)fileURLWithPath:(NSString*)path;
@property(nullable, readonly, copy) NSString* path;
@end

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) {
  NSApplicationSupportDirectory = 14,
};
typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) {
  NSUserDomainMask = 1,
};

@interface NSFileManager : NSObject
@property(class, readonly) NSFileManager* defaultManager;
- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory
                           inDomains:(NSSearchPathDomainMask)domainMask;
@end

@interface NSBundle : NSObject
@property(class, readonly) NSBundle* mainBundle;
+ (NSBundle*)bundleForClass:(Class)aClass;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
- (nullable NSString*)pathForResource:(nullable NSString*)name ofType:(nullable NSString*)extension;
@end

@interface NSProcessInfo : NSObject
@property(class, readonly) NSProcessInfo* processInfo;
@property(readonly, copy) NSDictionary<NSString*, NSString*>* environment;
@end

FOUNDATION_EXPORT NSString* NSHomeDirectory(void);

@interface NSThread : NSObject
@property(class, readonly) BOOL isMainThread;
@end

typedef NSString* NSNotificationName;

@interface NSNotification : NSObject
@property(readonly, copy) NSNotificationName name;
@property(nullable, readonly, strong) id object;
@end

/// Holds observers weakly, and tells them on the thread that posts.
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer
           selector:(SEL)aSelector
               name:(nullable NSNotificationName)aName
             object:(nullable id)anObject;
- (void)removeObserver:(id)observer;
- (void)postNotificationName:(NSNotificationName)aName object:(nullable id)anObject;
@end

NS_ASSUME_NONNULL_END
