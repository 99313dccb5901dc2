#include "tessline/platform/macos/CoreFoundationRunLoop.h"

#include "tessline/platform/macos/CFReference.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

#include <CoreFoundation/CoreFoundation.h>

namespace tessline::platform {

namespace {

// What the loop's source works on; the source keeps it for as long as it lives.
struct Pending {
  std::mutex mutex;
  std::deque<Work> works;
  std::atomic<bool> isStopped{false};
  // Not owned: the source performs only while it lives.
  CFRunLoopSourceRef source = nullptr;
  // How many calls of `run` are under way. Main thread.
  int runs = 0;

  void signal() {
    CFRunLoopSourceSignal(source);
    CFRunLoopWakeUp(CFRunLoopGetMain());
  }
  bool endsRun() const { return runs > 0 && isStopped; }
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
    const std::lock_guard lock(pending->mutex);
    if (!pending->works.empty() && !pending->endsRun()) {
      work = std::move(pending->works.front());
      pending->works.pop_front();
    }
    // A signal is spent by now.
    if (!pending->works.empty()) pending->signal();
  }
  if (work) work();
  if (pending->endsRun()) CFRunLoopStop(CFRunLoopGetMain());
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
    pending_->source = source_.get();
    CFRunLoopAddSource(CFRunLoopGetMain(), source_.get(), kCFRunLoopCommonModes);
  }
  CoreFoundationRunLoop(const CoreFoundationRunLoop&) = delete;
  CoreFoundationRunLoop& operator=(const CoreFoundationRunLoop&) = delete;
  ~CoreFoundationRunLoop() override { CFRunLoopSourceInvalidate(source_.get()); }

  void async(Work work) override {
    {
      const std::lock_guard lock(pending_->mutex);
      pending_->works.push_back(std::move(work));
    }
    pending_->signal();
  }

  void run() override {
    // Held, as work may let go of the loop that it runs on.
    const SharedPending pending = pending_;
    ++pending->runs;
    // Others, too, may make the loop return.
    while (!pending->isStopped.exchange(false)) CFRunLoopRun();
    --pending->runs;
  }

  void stop() override {
    pending_->isStopped = true;
    // The loop may not run yet: what is signalled is seen once it does.
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
