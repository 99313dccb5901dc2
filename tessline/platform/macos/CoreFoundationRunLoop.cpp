#include "tessline/platform/macos/CoreFoundationRunLoop.h"

#include "tessline/platform/Mutex.h"
#include "tessline/platform/macos/CFReference.h"

#include <atomic>
#include <deque>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>

namespace tessline::platform {

namespace {

// What the loop's source works on; the source keeps it for as long as it lives.
struct Pending {
  Mutex mutex;
  std::deque<Work> works TESSLINE_GUARDED_BY(mutex);
  // Not owned; null once the loop is gone.
  CFRunLoopSourceRef source TESSLINE_GUARDED_BY(mutex) = nullptr;
  std::atomic<bool> isStopped{false};
  // Whether `run` is between pieces of work; within one others may run the loop. Main thread.
  bool isRunning = false;

  void signal() TESSLINE_REQUIRES(mutex) {
    if (source == nullptr) return;
    CFRunLoopSourceSignal(source);
    CFRunLoopWakeUp(CFRunLoopGetMain());
  }
};

using SharedPending = std::shared_ptr<Pending>;

const SharedPending& pendingOf(const void* info) {
  return *static_cast<const SharedPending*>(info);
}

const void* retainPending(const void* info) {
  return new SharedPending(pendingOf(info));
}

void releasePending(const void* info) {
  delete static_cast<const SharedPending*>(info);
}

// One piece at a time: `stop` holds behind each, other sources get their turn between them, and a
// loop that runs within a piece delivers the rest.
void perform(void* info) noexcept {
  const SharedPending pending = pendingOf(info);
  Work work;
  {
    const MutexLock lock(pending->mutex);
    if (pending->works.empty() || (pending->isRunning && pending->isStopped)) return;
    work = std::move(pending->works.front());
    pending->works.pop_front();
    // A signal is spent by now.
    if (!pending->works.empty()) pending->signal();
  }
  const bool wasRunning = std::exchange(pending->isRunning, false);
  work();
  pending->isRunning = wasRunning;
}

void runUntilASourceWasHandled() {
  constexpr CFTimeInterval years = 1e9;
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, years, true);
}

// Of each source one piece: the one that was handled may always be the first to be ready.
void handleWhatIsReady() {
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
}

class CoreFoundationRunLoop : public MainRunLoop {
 public:
  CoreFoundationRunLoop() {
    SharedPending pending = pending_;
    CFRunLoopSourceContext context = {};
    // Copied by `retain`.
    context.info = &pending;
    context.retain = retainPending;
    context.release = releasePending;
    context.perform = perform;
    source_ = CFReference<CFRunLoopSourceRef>::created(
        CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    {
      const MutexLock lock(pending_->mutex);
      pending_->source = source_.get();
    }
    CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
  }
  CoreFoundationRunLoop(const CoreFoundationRunLoop&) = delete;
  CoreFoundationRunLoop& operator=(const CoreFoundationRunLoop&) = delete;
  ~CoreFoundationRunLoop() override {
    {
      const MutexLock lock(pending_->mutex);
      pending_->source = nullptr;
    }
    CFRunLoopSourceInvalidate(source_.get());
    // Nobody else can stop a `run` that is under way.
    pending_->isStopped = true;
  }

  void async(Work work) override {
    const MutexLock lock(pending_->mutex);
    pending_->works.push_back(std::move(work));
    pending_->signal();
  }

  void run() override {
    // Held, as work may let go of the loop that it runs on.
    const SharedPending pending = pending_;
    const bool wasRunning = std::exchange(pending->isRunning, true);
    // To stop the system's loop instead would end whatever loop is the innermost at the time, which
    // may be the application's.
    while (!pending->isStopped.exchange(false)) {
      runUntilASourceWasHandled();
      if (!pending->isStopped) handleWhatIsReady();
    }
    pending->isRunning = wasRunning;
    const MutexLock lock(pending->mutex);
    if (!pending->works.empty()) pending->signal();
  }

  void stop() override {
    pending_->isStopped = true;
    // Lets the loop return; one that does not run yet sees what is signalled once it does.
    const MutexLock lock(pending_->mutex);
    pending_->signal();
  }

  bool isCurrent() const override {
    const CFRunLoopRef main = CFRunLoopGetMain();
    if (CFRunLoopGetCurrent() != main) return false;
    return static_cast<bool>(CFReference<CFRunLoopMode>::created(CFRunLoopCopyCurrentMode(main)));
  }

 private:
  const SharedPending pending_ = std::make_shared<Pending>();
  CFReference<CFRunLoopSourceRef> source_;
};

}  // namespace

std::shared_ptr<MainRunLoop> makeCoreFoundationRunLoop() {
  return std::make_shared<CoreFoundationRunLoop>();
}

}  // namespace tessline::platform
