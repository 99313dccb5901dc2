#include "cli/decode/DecodePipeline.h"

#include "tessline/packetlog/PacketLogBatch.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
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
  // One thread's loop: take the next stretch, find its packets, wait for its turn, decode them.
  void work() {
    try {
      CaptureBlock block;
      PacketLogBatch batch;
      while (const auto ticket = take(block)) {
        find(block, batch);
        if (!awaitTurn(*ticket)) return;
        deliver(block, batch);
        passTurn();
      }
    } catch (...) {
      fail(std::current_exception());
    }
  }

  std::optional<std::uint64_t> take(CaptureBlock& block) {
    const std::lock_guard lock(readMutex_);
    if (inputEnded_ || !reader_.read(block)) {
      inputEnded_ = true;
      return std::nullopt;
    }
    return nextTicket_++;
  }

  void find(const CaptureBlock& block, PacketLogBatch& batch) const {
    switch (kind_) {
      case InputKind::packetLog:
        return batch.read(block.text, decoder_.lineParser());
      case InputKind::payloads:
        return batch.readPayloads(block.text);
    }
  }

  bool awaitTurn(std::uint64_t ticket) {
    std::unique_lock lock(turnMutex_);
    turnChanged_.wait(lock, [&] { return turn_ == ticket || failure_; });
    return !failure_;
  }

  void passTurn() {
    {
      const std::lock_guard lock(turnMutex_);
      ++turn_;
    }
    turnChanged_.notify_all();
  }

  void fail(std::exception_ptr failure) {
    {
      const std::scoped_lock lock(readMutex_, turnMutex_);
      inputEnded_ = true;
      if (!failure_) failure_ = std::move(failure);
    }
    turnChanged_.notify_all();
  }

  // Runs on the thread whose turn it is, so that it alone touches the decoder and the sink.
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

  std::mutex turnMutex_;  // Guards the next two.
  std::uint64_t turn_ = 0;
  std::exception_ptr failure_;
  std::condition_variable turnChanged_;

  DecodeProgress progress_;  // Belongs to the thread whose turn it is.
};

}  // namespace

DecodeProgress decodeCapture(CaptureReader& reader, InputKind kind, unsigned threadCount,
                             RecordedRemoteCaptureDecoder& decoder, const DecodeSink& sink) {
  return Pipeline(reader, kind, decoder, sink).run(threadCount);
}

}  // namespace tessline::cli
