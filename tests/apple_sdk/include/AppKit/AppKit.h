/// @file
/// Stand-in for the system's header: screens, and where the mouse is on them.
#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// For the main thread alone.
@interface NSScreen : NSObject
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(class, nullable, readonly, strong) NSScreen* mainScreen;
@property(readonly) NSRect frame;
@end

@interface NSEvent : NSObject
@property(class, readonly) NSPoint mouseLocation;
@end

FOUNDATION_EXPORT NSNotificationName const NSApplicationDidChangeScreenParametersNotification;

NS_ASSUME_NONNULL_END
