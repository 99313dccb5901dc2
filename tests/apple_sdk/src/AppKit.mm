// Screens. An object stands for a screen of the layout that it was asked for, on the main thread.
#include "CFObjects.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include <AppKit/AppKit.h>
#include <standin/appkit.h>

NSNotificationName const NSApplicationDidChangeScreenParametersNotification =
    @"NSApplicationDidChangeScreenParametersNotification";

namespace standin::appkit {

namespace {

struct World {
  std::mutex mutex;
  std::vector<CGRect> frames;
  std::optional<CGRect> mainFrame;
  CGPoint mouseLocation = {};
  // Counts layouts.
  std::size_t layout = 0;
  std::size_t questions = 0;
};

using Lock = std::lock_guard<std::mutex>;

World& world() {
  static auto& all = *new World;
  return all;
}

void expectMainThread(std::string_view method) {
  if (!isMainThread()) fail(method, "was called off the main thread");
}

}  // namespace

void reset() {
  constexpr CGRect screen = {{0, 0}, {1440, 900}};
  const Lock lock(world().mutex);
  world().frames = {screen};
  world().mainFrame = screen;
  world().mouseLocation = {};
  ++world().layout;
  world().questions = 0;
}

void setScreens(std::vector<CGRect> frames) {
  const Lock lock(world().mutex);
  world().frames = std::move(frames);
  world().mainFrame.reset();
  if (!world().frames.empty()) world().mainFrame = world().frames.front();
  ++world().layout;
}

void setMainScreen(std::optional<CGRect> frame) {
  const Lock lock(world().mutex);
  world().mainFrame = frame;
}

void setMouseLocation(CGPoint location) {
  const Lock lock(world().mutex);
  world().mouseLocation = location;
}

void tellOfScreens() {
  @autoreleasepool {
    [NSNotificationCenter.defaultCenter
        postNotificationName:NSApplicationDidChangeScreenParametersNotification
                      object:nil];
  }
}

std::size_t questions() {
  const Lock lock(world().mutex);
  return world().questions;
}

}  // namespace standin::appkit

using standin::appkit::expectMainThread;
using standin::appkit::Lock;
using standin::appkit::world;

@implementation NSScreen {
  CGRect frame_;
  std::size_t layout_;
}

// The lock is held.
+ (NSScreen*)made:(CGRect)frame {
  NSScreen* screen = [[NSScreen alloc] init];
  screen->frame_ = frame;
  screen->layout_ = world().layout;
  return screen;
}

+ (NSArray<NSScreen*>*)screens {
  expectMainThread("+[NSScreen screens]");
  const Lock lock(world().mutex);
  ++world().questions;
  NSMutableArray<NSScreen*>* all = [[NSMutableArray alloc] init];
  for (const CGRect& frame : world().frames) [all addObject:[NSScreen made:frame]];
  return all;
}

+ (NSScreen*)mainScreen {
  expectMainThread("+[NSScreen mainScreen]");
  const Lock lock(world().mutex);
  ++world().questions;
  return world().mainFrame ? [NSScreen made:*world().mainFrame] : nil;
}

- (NSRect)frame {
  expectMainThread("-[NSScreen frame]");
  const Lock lock(world().mutex);
  if (layout_ != world().layout) {
    standin::fail("-[NSScreen frame]", "was asked of a screen of an earlier layout");
  }
  return frame_;
}

@end

@implementation NSEvent

+ (NSPoint)mouseLocation {
  const Lock lock(world().mutex);
  return world().mouseLocation;
}

@end
