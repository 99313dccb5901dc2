#include "CFObjects.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include <standin/corefoundation.h>
#include <unistd.h>

namespace standin {

namespace {

class Source;

// Guards all loops and sources. Nothing is called back under it.
std::mutex& loopMutex() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

class Loop : public CFObject {
 public:
  static constexpr CFType classType = CFType::runLoop;

  Loop() : CFObject(classType) { makeImmortal(); }

  // By name; those of a mode in their order. Each holds a reference.
  std::map<std::string, std::vector<Source*>> sources;
  // The modes that it runs in, the innermost last.
  std::vector<std::string> running;
  bool isStopped = false;
  bool isWoken = false;
  // How often it has run in a row without a source.
  int emptyRuns = 0;
  std::condition_variable wake;
};

class Source : public CFObject {
 public:
  static constexpr CFType classType = CFType::runLoopSource;

  Source(CFIndex order, const CFRunLoopSourceContext& given)
      : CFObject(classType), order(order), context(given) {
    if (context.retain != nullptr) context.info = const_cast<void*>(context.retain(context.info));
  }
  ~Source() override {
    if (context.release != nullptr) context.release(context.info);
  }

  const CFIndex order;
  CFRunLoopSourceContext context;
  bool isSignalled = false;
  bool isValid = true;
};

// Sources that are taken from loops; released when nobody holds the mutex any more.
using Dropped = std::vector<Source*>;

void release(const Dropped& dropped) {
  for (Source* source : dropped) source->release();
}

// In seconds; a clock can count so many of them.
constexpr CFTimeInterval forEver = 1e9;

constexpr auto defaultMode = "kCFRunLoopDefaultMode";
constexpr auto commonModes = "kCFRunLoopCommonModes";
constexpr auto trackingMode = "NSEventTrackingRunLoopMode";

std::vector<std::string> modesOf(const std::string& mode) {
  if (mode == commonModes) return {defaultMode, trackingMode};
  return {mode};
}

void drop(Loop& loop, const std::string& mode, Source& source, Dropped& dropped) {
  if (std::erase(loop.sources[mode], &source) != 0) dropped.push_back(&source);
}

Loop& mainLoop() {
  static auto& loop = *new Loop;
  return loop;
}

Loop& currentLoop() {
  if (isMainThread()) return mainLoop();
  thread_local Loop loop;
  return loop;
}

// Retains the next source that has been signalled; null if there is none.
Source* nextSource(Loop& loop, const std::string& mode, const std::vector<Source*>& done) {
  for (Source* source : loop.sources[mode]) {
    if (!source->isSignalled || std::ranges::find(done, source) != done.end()) continue;
    source->isSignalled = false;
    source->retain();
    return source;
  }
  return nullptr;
}

// Lets each source that has been signalled perform once, or only the first.
bool performSources(Loop& loop, const std::string& mode, bool onlyOne,
                    std::unique_lock<std::mutex>& lock) {
  std::vector<Source*> done;
  while (Source* const source = nextSource(loop, mode, done)) {
    lock.unlock();
    source->context.perform(source->context.info);
    done.push_back(source);
    lock.lock();
    if (onlyOne) break;
  }
  lock.unlock();
  release(done);
  lock.lock();
  return !done.empty();
}

// By whoever signals a source or stops the loop, or by the end of its time.
void waitUntilWoken(Loop& loop, const std::string& mode, std::chrono::steady_clock::time_point end,
                    std::unique_lock<std::mutex>& lock) {
  // Longer than any test leaves the loop alone.
  constexpr auto patience = std::chrono::seconds(10);
  const auto isWanted = [&] { return loop.isWoken || loop.isStopped; };
  const auto until = std::min(end, std::chrono::steady_clock::now() + patience);
  if (!loop.wake.wait_until(lock, until, isWanted) && until < end) {
    const bool isForgotten = std::ranges::any_of(loop.sources[mode], &Source::isSignalled);
    fail("CFRunLoopRun", isForgotten
                             ? "sleeps although a source was signalled: nobody woke the loop"
                             : "sleeps and sleeps: nobody gives it work or stops it");
  }
  loop.isWoken = false;
}

// Whoever runs a loop that nothing can wake, over and over, never ends.
void checkThatItIsOfUse(Loop& loop, bool hasSources) {
  constexpr int patience = 1000;
  loop.emptyRuns = hasSources ? 0 : loop.emptyRuns + 1;
  if (loop.emptyRuns == patience) fail("CFRunLoopRunInMode", "runs over and over without a source");
}

CFRunLoopRunResult runIn(Loop& loop, const std::string& mode,
                         std::chrono::steady_clock::time_point end, bool returnAfterSource) {
  std::unique_lock lock(loopMutex());
  while (true) {
    const bool hasSources = !loop.sources[mode].empty();
    checkThatItIsOfUse(loop, hasSources);
    if (!hasSources) return kCFRunLoopRunFinished;
    const bool hasHandled = performSources(loop, mode, returnAfterSource, lock);
    if (std::exchange(loop.isStopped, false)) return kCFRunLoopRunStopped;
    if (hasHandled && returnAfterSource) return kCFRunLoopRunHandledSource;
    if (std::chrono::steady_clock::now() >= end) return kCFRunLoopRunTimedOut;
    if (!hasHandled) waitUntilWoken(loop, mode, end, lock);
  }
}

}  // namespace

bool isMainThread() {
  return ::getpid() == ::gettid();
}

CFRunLoopMode eventTrackingMode() {
  return __CFStringMakeConstantString(trackingMode);
}

CFRunLoopMode uncommonMode() {
  return CFSTR("NSConnectionReplyMode");
}

void runLoopUntilIdle(CFRunLoopMode mode) {
  while (CFRunLoopRunInMode(mode, 0, true) == kCFRunLoopRunHandledSource) {
  }
}

}  // namespace standin

using namespace standin;

extern "C" {

CFRunLoopRef CFRunLoopGetMain() {
  return static_cast<CFRunLoopRef>(const_cast<void*>(mainLoop().reference()));
}

CFRunLoopRef CFRunLoopGetCurrent() {
  return static_cast<CFRunLoopRef>(const_cast<void*>(currentLoop().reference()));
}

CFRunLoopMode CFRunLoopCopyCurrentMode(CFRunLoopRef reference) {
  Loop& loop = objectOf<Loop>(reference, "CFRunLoopCopyCurrentMode");
  std::string mode;
  {
    const std::lock_guard lock(loopMutex());
    if (loop.running.empty()) return nullptr;
    mode = loop.running.back();
  }
  return static_cast<CFRunLoopMode>(makeCFObject(mode));
}

void CFRunLoopRun() {
  while (true) {
    const auto result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, forEver, false);
    if (result == kCFRunLoopRunStopped || result == kCFRunLoopRunFinished) return;
  }
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode reference, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  const std::string mode = utf8(reference, "CFRunLoopRunInMode");
  if (mode == commonModes) fail("CFRunLoopRunInMode", "was given what is no mode to run in");
  Loop& loop = currentLoop();
  bool wasStopped = false;
  {
    // What stopped an outer run, or none at all, does not stop this one.
    const std::lock_guard lock(loopMutex());
    wasStopped = std::exchange(loop.isStopped, false);
    loop.running.push_back(mode);
  }
  const std::chrono::duration<CFTimeInterval> duration(std::min(seconds, forEver));
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
  const CFRunLoopRunResult result = runIn(loop, mode, end, returnAfterSourceHandled);
  const std::lock_guard lock(loopMutex());
  loop.running.pop_back();
  loop.isStopped = wasStopped && !loop.running.empty();
  return result;
}

void CFRunLoopStop(CFRunLoopRef reference) {
  Loop& loop = objectOf<Loop>(reference, "CFRunLoopStop");
  const std::lock_guard lock(loopMutex());
  if (!loop.running.empty()) loop.isStopped = true;
  loop.wake.notify_all();
}

void CFRunLoopWakeUp(CFRunLoopRef reference) {
  Loop& loop = objectOf<Loop>(reference, "CFRunLoopWakeUp");
  const std::lock_guard lock(loopMutex());
  loop.isWoken = true;
  loop.wake.notify_all();
}

void CFRunLoopAddSource(CFRunLoopRef loopReference, CFRunLoopSourceRef sourceReference,
                        CFRunLoopMode mode) {
  Loop& loop = objectOf<Loop>(loopReference, "CFRunLoopAddSource");
  Source& source = objectOf<Source>(sourceReference, "CFRunLoopAddSource");
  const std::string wanted = utf8(mode, "CFRunLoopAddSource");
  if (&loop != &mainLoop()) fail("CFRunLoopAddSource", "was given another loop than the main one");
  const std::lock_guard lock(loopMutex());
  if (!source.isValid) return;
  for (const std::string& each : modesOf(wanted)) {
    auto& sources = loop.sources[each];
    if (std::ranges::find(sources, &source) != sources.end()) continue;
    source.retain();
    sources.insert(std::ranges::upper_bound(sources, source.order, {}, &Source::order), &source);
  }
}

void CFRunLoopRemoveSource(CFRunLoopRef loopReference, CFRunLoopSourceRef sourceReference,
                           CFRunLoopMode mode) {
  Loop& loop = objectOf<Loop>(loopReference, "CFRunLoopRemoveSource");
  Source& source = objectOf<Source>(sourceReference, "CFRunLoopRemoveSource");
  const std::string wanted = utf8(mode, "CFRunLoopRemoveSource");
  Dropped dropped;
  {
    const std::lock_guard lock(loopMutex());
    for (const std::string& each : modesOf(wanted)) drop(loop, each, source, dropped);
  }
  release(dropped);
}

CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef, CFIndex order,
                                         CFRunLoopSourceContext* context) {
  if (context->version != 0 || context->perform == nullptr) {
    fail("CFRunLoopSourceCreate",
         "was given a context of another version, or one that does nothing");
  }
  const auto& made = *new Source(order, *context);
  return static_cast<CFRunLoopSourceRef>(const_cast<void*>(made.reference()));
}

void CFRunLoopSourceSignal(CFRunLoopSourceRef reference) {
  Source& source = objectOf<Source>(reference, "CFRunLoopSourceSignal");
  const std::lock_guard lock(loopMutex());
  if (source.isValid) source.isSignalled = true;
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef reference) {
  Source& source = objectOf<Source>(reference, "CFRunLoopSourceInvalidate");
  Dropped dropped;
  {
    const std::lock_guard lock(loopMutex());
    source.isValid = false;
    source.isSignalled = false;
    for (auto& [mode, sources] : mainLoop().sources) drop(mainLoop(), mode, source, dropped);
  }
  release(dropped);
}
}
