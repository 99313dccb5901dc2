#include "tessline/platform/posix/IoThread.h"

namespace tessline::platform {

IoThread& IoThread::shared() {
  static IoThread* const thread = new IoThread();
  // Destroyed with the process's other static objects, before anything that handlers might use.
  struct StopAtExit {
    ~StopAtExit() { thread->stop(); }
  };
  static const StopAtExit stopAtExit;
  return *thread;
}

IoThread::IoThread()
    : keepsRunning_(asio::make_work_guard(context_)), thread_([this] { context_.run(); }) {}

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
