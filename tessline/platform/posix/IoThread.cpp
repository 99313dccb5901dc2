#include "tessline/platform/posix/IoThread.h"

#include "tessline/platform/posix/ThreadName.h"

namespace tessline::platform {

IoThread& IoThread::shared() {
  static IoThread* const thread = new IoThread();
  // Stops before any static object goes that was there before the first pipe. What is made later
  // goes while handlers may still be called, and must not be used by them.
  struct StopAtExit {
    ~StopAtExit() { thread->stop(); }
  };
  static const StopAtExit stopAtExit;
  return *thread;
}

IoThread::IoThread()
    : keepsRunning_(asio::make_work_guard(context_)), thread_([this] {
        nameThisThread("tessline-io");
        context_.run();
      }) {}

void IoThread::stop() {
  context_.stop();
  // The process may be ending from within a handler.
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

}  // namespace tessline::platform
