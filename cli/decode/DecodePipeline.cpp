#include "cli/decode/DecodePipeline.h"

#include "tessline/packetlog/PacketLogBatch.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace tessline::cli {

namespace {

class Pipeline {
 public:
  Pipeline(CaptureReader& reader, InputKind kind, RecordedRemoteCaptureDecoder& decoder,
           const DecodeSink& sink)
      : reader_(reader), kind_(kind), decoder_(decoder), sink_(sink) {}

  DecodeProgress run(unsigned threadCount) {
    // Enough that a thread seldom waits for another, few enough to keep memory small.
    mostJobs_ = std::size_t{2} * threadCount + 1;
    std::vector<std::thread> helpers;
    try {
      while (helpers.size() + 1 < threadCount) helpers.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
      // The system gives no more threads; those there are do the work.
    }
    work();
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
    return progress_;
  }

 private:
  // A stretch of the input on its way: read, then searched for packets, then decoded in its turn.
  struct Job {
    std::uint64_t ticket = 0;
    CaptureBlock block;
    PacketLogBatch batch;
  };

  // One thread's loop: take the next stretch, find its packets, see that it is decoded in its turn.
  void work() {
    try {
      while (auto job = take()) {
        find(*job);
        if (!deliverInTurn(std::move(job))) return;
      }
    } catch (...) {
      fail(std::current_exception());
    }
  }

  std::unique_ptr<Job> take() {
    auto job = freeJob();
    if (!job) return nullptr;
    const std::lock_guard lock(readMutex_);
    if (inputEnded_ || !reader_.read(job->block)) {
      inputEnded_ = true;
      return nullptr;
    }
    job->ticket = nextTicket_++;
    return job;
  }

  // A job to use again, or a new one while there are few; null after a failure.
  std::unique_ptr<Job> freeJob() {
    std::unique_lock lock(turnMutex_);
    jobFreed_.wait(lock, [this] { return !free_.empty() || jobCount_ < mostJobs_ || failure_; });
    if (failure_) return nullptr;
    if (free_.empty()) {
      ++jobCount_;
      return std::make_unique<Job>();
    }
    auto job = std::move(free_.back());
    free_.pop_back();
    return job;
  }

  void find(Job& job) const {
    switch (kind_) {
      case InputKind::packetLog:
        return job.batch.read(job.block.text, decoder_.lineParser());
      case InputKind::payloads:
        return job.batch.readPayloads(job.block.text);
    }
  }

  // Decodes the job and those behind it that are ready, unless its turn has not come or another
  // thread is at it, which then sees to this one, too. False after a failure.
  bool deliverInTurn(std::unique_ptr<Job> job) {
    std::unique_lock lock(turnMutex_);
    ready_.emplace(job->ticket, std::move(job));
    if (isDelivering_) return !failure_;
    isDelivering_ = true;
    while (!failure_ && !ready_.empty() && ready_.begin()->first == turn_) {
      auto next = std::move(ready_.extract(ready_.begin()).mapped());
      lock.unlock();
      deliver(next->block, next->batch);
      lock.lock();
      ++turn_;
      free_.push_back(std::move(next));
      jobFreed_.notify_one();
    }
    isDelivering_ = false;
    return !failure_;
  }

  void fail(std::exception_ptr failure) {
    {
      const std::scoped_lock lock(readMutex_, turnMutex_);
      inputEnded_ = true;
      if (!failure_) failure_ = std::move(failure);
    }
    jobFreed_.notify_all();
  }

  // Runs on one thread at a time, which alone touches the decoder and the sink.
  void deliver(const CaptureBlock& block, const PacketLogBatch& batch) {
    const std::uint64_t firstLine = progress_.counts.lines + 1;
    decoder_.decodeBatch(
        batch, [&](const PacketLogBatch::Packet& packet, std::span<const TesslineEvent> events) {
          sink_.onEvents(firstLine + packet.line, events);
        });
    progress_.counts += batch.counts();
    progress_.bytes += block.text.size();
    if (block.isOverlongLine) {
      ++progress_.counts.lines;
      ++progress_.overlongLines;
    }
    sink_.onProgress(progress_);
  }

  CaptureReader& reader_;
  const InputKind kind_;
  RecordedRemoteCaptureDecoder& decoder_;
  const DecodeSink& sink_;

  std::mutex readMutex_;  // Guards the reader and the next two.
  bool inputEnded_ = false;
  std::uint64_t nextTicket_ = 0;

  std::mutex turnMutex_;  // Guards all of the following but the last.
  std::map<std::uint64_t, std::unique_ptr<Job>> ready_;  // By ticket, waiting for their turn.
  std::vector<std::unique_ptr<Job>> free_;
  std::size_t jobCount_ = 0;
  std::size_t mostJobs_ = 0;
  std::uint64_t turn_ = 0;
  bool isDelivering_ = false;
  std::exception_ptr failure_;
  std::condition_variable jobFreed_;

  DecodeProgress progress_;  // Belongs to the thread that delivers.
};

}  // namespace

DecodeProgress decodeCapture(CaptureReader& reader, InputKind kind, unsigned threadCount,
                             RecordedRemoteCaptureDecoder& decoder, const DecodeSink& sink) {
  return Pipeline(reader, kind, decoder, sink).run(threadCount);
}

}  // namespace tessline::cli
