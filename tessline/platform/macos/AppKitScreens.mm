#include "tessline/platform/macos/AppKitScreens.h"

#include "tessline/platform/Mutex.h"

#include <atomic>
#include <utility>

#include <AppKit/AppKit.h>

namespace tessline::platform {
namespace {
class ScreenLayout;
}
}  // namespace tessline::platform

// Told by the system when the screens have changed. Lets the layout go when it likes.
@interface TesslineScreenObserver : NSObject
- (instancetype)initWithLayout:(std::weak_ptr<tessline::platform::ScreenLayout>)layout;
- (void)screensDidChange:(NSNotification*)notification;
@end

namespace tessline::platform {

namespace {

Rect rectOf(NSRect rect) {
  return {{rect.origin.x, rect.origin.y}, {rect.size.width, rect.size.height}};
}

// What AppKit said last. It is asked on the main thread, one time after the other, so that the
// latest answer is the one that stays.
class ScreenLayout : public std::enable_shared_from_this<ScreenLayout> {
 public:
  explicit ScreenLayout(std::shared_ptr<MainRunLoop> mainRunLoop)
      : mainRunLoop_(std::move(mainRunLoop)) {}

  // At once on the main thread, and as soon as that has time otherwise: a thread that waited for it
  // might be one that it waits for.
  void update() TESSLINE_EXCLUDES(mutex_) {
    if (NSThread.isMainThread) return read();
    if (isUpdateUnderWay_.exchange(true)) return;
    mainRunLoop_->async([weak = weak_from_this()] {
      const auto self = weak.lock();
      if (!self) return;
      // Whoever asks from now on may have seen something newer.
      self->isUpdateUnderWay_ = false;
      self->read();
    });
  }
  void updateOnMainThread() {
    if (NSThread.isMainThread) read();
  }

  std::shared_ptr<const ScreenFrames> frames() TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    return frames_;
  }
  std::optional<Rect> mainFrame() TESSLINE_EXCLUDES(mutex_) {
    const MutexLock lock(mutex_);
    return mainFrame_;
  }

 private:
  void read() TESSLINE_EXCLUDES(mutex_) {
    ScreenFrames frames;
    std::optional<Rect> mainFrame;
    @autoreleasepool {
      for (NSScreen* screen in NSScreen.screens) frames.push_back(rectOf(screen.frame));
      if (NSScreen* screen = NSScreen.mainScreen) mainFrame = rectOf(screen.frame);
    }
    const MutexLock lock(mutex_);
    // What was handed out goes on to be shared while it holds.
    if (*frames_ != frames) frames_ = std::make_shared<const ScreenFrames>(std::move(frames));
    mainFrame_ = mainFrame;
  }

  const std::shared_ptr<MainRunLoop> mainRunLoop_;
  std::atomic<bool> isUpdateUnderWay_ = false;
  Mutex mutex_;
  std::shared_ptr<const ScreenFrames> frames_ TESSLINE_GUARDED_BY(mutex_) =
      std::make_shared<const ScreenFrames>();
  std::optional<Rect> mainFrame_ TESSLINE_GUARDED_BY(mutex_);
};

class AppKitScreens : public Screens {
 public:
  explicit AppKitScreens(std::shared_ptr<MainRunLoop> mainRunLoop)
      : layout_(std::make_shared<ScreenLayout>(std::move(mainRunLoop))),
        observer_([[TesslineScreenObserver alloc] initWithLayout:layout_]) {
    @autoreleasepool {
      // In front of the first question: what changes behind it is told.
      [NSNotificationCenter.defaultCenter
          addObserver:observer_
             selector:@selector(screensDidChange:)
                 name:NSApplicationDidChangeScreenParametersNotification
               object:nil];
    }
    layout_->update();
  }
  AppKitScreens(const AppKitScreens&) = delete;
  AppKitScreens& operator=(const AppKitScreens&) = delete;
  ~AppKitScreens() override {
    @autoreleasepool {
      [NSNotificationCenter.defaultCenter removeObserver:observer_];
    }
  }

  std::shared_ptr<const ScreenFrames> frames() override {
    layout_->updateOnMainThread();
    return layout_->frames();
  }
  std::optional<Rect> mainFrame() override {
    layout_->update();
    return layout_->mainFrame();
  }
  Point mouseLocation() override {
    const NSPoint location = NSEvent.mouseLocation;
    return {location.x, location.y};
  }

 private:
  const std::shared_ptr<ScreenLayout> layout_;
  TesslineScreenObserver* const observer_;
};

}  // namespace

std::shared_ptr<Screens> makeAppKitScreens(std::shared_ptr<MainRunLoop> mainRunLoop) {
  return std::make_shared<AppKitScreens>(std::move(mainRunLoop));
}

}  // namespace tessline::platform

@implementation TesslineScreenObserver {
  std::weak_ptr<tessline::platform::ScreenLayout> layout_;
}

- (instancetype)initWithLayout:(std::weak_ptr<tessline::platform::ScreenLayout>)layout {
  if ((self = [super init]) != nil) layout_ = std::move(layout);
  return self;
}

- (void)screensDidChange:(NSNotification*)notification {
  if (const auto layout = layout_.lock()) layout->update();
}

@end
