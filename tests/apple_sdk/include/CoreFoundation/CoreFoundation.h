/// @file
/// The part of CoreFoundation that the adapters call.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

// Types.

using Boolean = unsigned char;
using UInt8 = std::uint8_t;
using SInt32 = std::int32_t;
using UInt32 = std::uint32_t;

using CFIndex = long;
using CFTypeID = unsigned long;
using CFHashCode = unsigned long;
using CFTimeInterval = double;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFNumberRef = const struct __CFNumber*;
using CFBooleanRef = const struct __CFBoolean*;
using CFArrayRef = const struct __CFArray*;
using CFMutableArrayRef = struct __CFArray*;
using CFDictionaryRef = const struct __CFDictionary*;
using CFSetRef = const struct __CFSet*;
using CFRunLoopRef = struct __CFRunLoop*;
using CFRunLoopSourceRef = struct __CFRunLoopSource*;

struct CFRange {
  CFIndex location;
  CFIndex length;
};

inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
  return {location, length};
}

// All objects.

extern const CFAllocatorRef kCFAllocatorDefault;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
Boolean CFEqual(CFTypeRef first, CFTypeRef second);
CFHashCode CFHash(CFTypeRef object);

// Strings.

using CFStringEncoding = UInt32;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

/// A string that lives as long as the process; not to be released.
CFStringRef __CFStringMakeConstantString(const char* text);
#define CFSTR(text) __CFStringMakeConstantString("" text "")

CFTypeID CFStringGetTypeID();
/// Null for bytes that are no text in the encoding.
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
/// In units of UTF-16.
CFIndex CFStringGetLength(CFStringRef string);
/// How many units of `range` were converted: all, or those before one that cannot be (if `lossByte`
/// is 0) or that does not fit. Without a buffer it only counts.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferSize, CFIndex* usedSize);

// Numbers and truth values.

using CFNumberType = CFIndex;
enum : CFNumberType {
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat64Type = 6,
};

CFTypeID CFNumberGetTypeID();
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);
/// Whether the number could be given exactly; the nearest one is given all the same.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
Boolean CFNumberIsFloatType(CFNumberRef number);

CFTypeID CFBooleanGetTypeID();
Boolean CFBooleanGetValue(CFBooleanRef truth);

// Collections. Those made with the tables below retain what they hold.

using CFRetainCallBack = const void* (*)(CFAllocatorRef allocator, const void* value);
using CFReleaseCallBack = void (*)(CFAllocatorRef allocator, const void* value);
using CFCopyDescriptionCallBack = CFStringRef (*)(const void* value);
using CFEqualCallBack = Boolean (*)(const void* first, const void* second);
using CFHashCallBack = CFHashCode (*)(const void* value);

struct CFArrayCallBacks {
  CFIndex version;
  CFRetainCallBack retain;
  CFReleaseCallBack release;
  CFCopyDescriptionCallBack copyDescription;
  CFEqualCallBack equal;
};
struct CFDictionaryKeyCallBacks {
  CFIndex version;
  CFRetainCallBack retain;
  CFReleaseCallBack release;
  CFCopyDescriptionCallBack copyDescription;
  CFEqualCallBack equal;
  CFHashCallBack hash;
};
struct CFDictionaryValueCallBacks {
  CFIndex version;
  CFRetainCallBack retain;
  CFReleaseCallBack release;
  CFCopyDescriptionCallBack copyDescription;
  CFEqualCallBack equal;
};

extern const CFArrayCallBacks kCFTypeArrayCallBacks;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFArrayGetTypeID();
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks);
CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID();
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);

CFTypeID CFSetGetTypeID();
CFIndex CFSetGetCount(CFSetRef set);
void CFSetGetValues(CFSetRef set, const void** values);

// Run loops.

using CFRunLoopMode = CFStringRef;
extern const CFRunLoopMode kCFRunLoopDefaultMode;
/// Not a mode, but all those that are common.
extern const CFRunLoopMode kCFRunLoopCommonModes;

using CFRunLoopRunResult = SInt32;
enum : CFRunLoopRunResult {
  kCFRunLoopRunFinished = 1,
  kCFRunLoopRunStopped = 2,
  kCFRunLoopRunTimedOut = 3,
  kCFRunLoopRunHandledSource = 4,
};

CFRunLoopRef CFRunLoopGetMain();
CFRunLoopRef CFRunLoopGetCurrent();
/// The innermost mode that the loop runs in; null if it does not run.
CFRunLoopMode CFRunLoopCopyCurrentMode(CFRunLoopRef loop);
void CFRunLoopRun();
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);
void CFRunLoopStop(CFRunLoopRef loop);
void CFRunLoopWakeUp(CFRunLoopRef loop);
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

/// What a source of one's own does. Its `info` is what `retain` returns, until `release`.
struct CFRunLoopSourceContext {
  CFIndex version;
  void* info;
  const void* (*retain)(const void* info);
  void (*release)(const void* info);
  CFStringRef (*copyDescription)(const void* info);
  Boolean (*equal)(const void* first, const void* second);
  CFHashCode (*hash)(const void* info);
  void (*schedule)(void* info, CFRunLoopRef loop, CFRunLoopMode mode);
  void (*cancel)(void* info, CFRunLoopRef loop, CFRunLoopMode mode);
  void (*perform)(void* info);
};

CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef allocator, CFIndex order,
                                         CFRunLoopSourceContext* context);
void CFRunLoopSourceSignal(CFRunLoopSourceRef source);
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);
}
