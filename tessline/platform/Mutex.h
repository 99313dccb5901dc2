/// @file
/// A mutex that clang's thread-safety analysis follows.
#pragma once

#include <mutex>

/// One of clang's thread-safety attributes; nothing for other compilers.
#if defined(__clang__)
#define TESSLINE_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define TESSLINE_THREAD_ANNOTATION(annotation)
#endif

/// Only to be read and written while that mutex is held.
#define TESSLINE_GUARDED_BY(mutex) TESSLINE_THREAD_ANNOTATION(guarded_by(mutex))
/// Only to be called while that mutex is held.
#define TESSLINE_REQUIRES(mutex) TESSLINE_THREAD_ANNOTATION(requires_capability(mutex))
/// Takes that mutex, so must not be called while it is held.
#define TESSLINE_EXCLUDES(mutex) TESSLINE_THREAD_ANNOTATION(locks_excluded(mutex))

namespace tessline::platform {

/// A `std::mutex` whose use is checked when clang compiles it.
class TESSLINE_THREAD_ANNOTATION(capability("mutex")) Mutex {
 public:
  /// Waits until it is free and takes it.
  void lock() TESSLINE_THREAD_ANNOTATION(acquire_capability()) { mutex_.lock(); }
  /// Gives it back.
  void unlock() TESSLINE_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

/// Holds a mutex for a scope.
class TESSLINE_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  /// Takes the mutex.
  explicit MutexLock(Mutex& mutex) TESSLINE_THREAD_ANNOTATION(acquire_capability(mutex))
      : mutex_(mutex) {
    mutex_.lock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  /// Gives it back.
  ~MutexLock() TESSLINE_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }

 private:
  Mutex& mutex_;
};

}  // namespace tessline::platform
