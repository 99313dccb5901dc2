// The decoders inside one process. "allocations" is per payload or line; bytes_per_second of the
// text benchmarks compares with that of memcpy over the same text, the first of them.
#include "benchmarks/AllocationCounter.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/packetlog/PacketLogBatch.h"
#include "tessline/packetlog/TextKernel.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using tessline::benchmarks::allocationCount;
using Payload = std::vector<std::uint8_t>;

// What makes up most of a capture: an ACL packet that means nothing to the parser.
Payload unrelatedPacket() {
  Payload payload = {0x40, 0x00, 0x1B, 0x00, 0x17, 0x00, 0x04, 0x00, 0x1B, 0x2A, 0x00};
  for (std::uint8_t byte = 1; payload.size() < 31; ++byte) payload.push_back(byte);
  return payload;
}

// The fragments of one voice frame of 80 Opus bytes.
std::vector<Payload> voiceFragments() {
  Payload first = {0x40, 0x20, 0x1B, 0x00, 0x57, 0x00, 0x04, 0x00, 0x1B,
                   0x36, 0x00, 0x01, 0x02, 0x03, 0x04, 80,   0xB8};
  for (std::uint8_t byte = 1; first.size() < 31; ++byte) first.push_back(byte);
  std::vector<Payload> fragments = {first};
  for (std::size_t left = 80 - 15; left > 0;) {
    const std::size_t size = left < 27 ? left : 27;
    Payload next = {0x40, 0x10, static_cast<std::uint8_t>(size), 0x00};
    next.resize(4 + size, 0x5A);
    fragments.push_back(next);
    left -= size;
  }
  return fragments;
}

std::string captureText() {
  constexpr const char* prefix = "Nov 21 10:15:30.123  ACL RECV  AA:BB:CC:DD:EE:FF      ";
  std::string text;
  char byteText[4];
  for (int packet = 0; packet < 500; ++packet) {
    for (const Payload& payload : voiceFragments()) {
      text += prefix;
      for (const std::uint8_t byte : payload) {
        std::snprintf(byteText, sizeof byteText, "%02X ", byte);
        text += byteText;
      }
      text.back() = '\n';
    }
  }
  return text;
}

void BM_IngestPayloadWithoutEvent(benchmark::State& state) {
  tessline::SiriRemoteReportParser parser;
  const Payload payload = unrelatedPacket();
  const std::uint64_t before = allocationCount();
  for (auto _ : state) benchmark::DoNotOptimize(parser.ingestPayload(payload));
  state.counters["allocations"] = benchmark::Counter(
      static_cast<double>(allocationCount() - before), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_IngestPayloadWithoutEvent);

void BM_IngestButtonMask(benchmark::State& state) {
  tessline::SiriRemoteReportParser parser;
  const std::vector<Payload> payloads = {{0x08, 0x00}, {0x00, 0x00}};
  std::vector<tessline::TesslineEvent> events;
  std::size_t next = 0;
  for (auto _ : state) {
    events.clear();
    parser.ingestPayload(payloads[next], events);
    next = 1 - next;
    benchmark::DoNotOptimize(events.data());
  }
}
BENCHMARK(BM_IngestButtonMask);

void BM_IngestVoiceFrame(benchmark::State& state) {
  tessline::SiriRemoteReportParser parser;
  const std::vector<Payload> fragments = voiceFragments();
  std::vector<tessline::TesslineEvent> events;
  const std::uint64_t before = allocationCount();
  for (auto _ : state) {
    events.clear();
    for (const Payload& payload : fragments) parser.ingestPayload(payload, events);
    benchmark::DoNotOptimize(events.data());
  }
  state.counters["allocations"] = benchmark::Counter(
      static_cast<double>(allocationCount() - before), benchmark::Counter::kAvgIterations);
  state.counters["payloads"] = static_cast<double>(fragments.size());
}
BENCHMARK(BM_IngestVoiceFrame);

void BM_CopyText(benchmark::State& state) {
  const std::string text = captureText();
  std::vector<char> copy(text.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_CopyText);

// Each kernel that this processor can run, over the same lines.
void BM_TextKernel(benchmark::State& state) {
  const tessline::TextKernel& kernel =
      tessline::textKernels()[static_cast<std::size_t>(state.range(0))];
  const std::string text = captureText();
  std::vector<std::uint8_t> bytes(tessline::hexByteCapacity(text.size()));
  for (auto _ : state) {
    std::string_view rest = text;
    while (!rest.empty()) {
      const tessline::LineScan scan = kernel.scanLine(rest);
      benchmark::DoNotOptimize(
          kernel.parseHexBytes(rest.substr(54, scan.length - 54), bytes.data()));
      rest.remove_prefix(scan.length + 1);
    }
  }
  state.SetLabel(std::string(kernel.name));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_TextKernel)->Apply([](auto* benchmark) {
  const auto count = static_cast<std::int64_t>(tessline::textKernels().size());
  for (std::int64_t index = 0; index < count; ++index) benchmark->Arg(index);
});

void BM_ReadBatch(benchmark::State& state) {
  const std::string text = captureText();
  const tessline::PacketLoggerLineParser lineParser;
  tessline::PacketLogBatch batch;
  for (auto _ : state) {
    batch.read(text, lineParser);
    benchmark::DoNotOptimize(batch.size());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ReadBatch);

}  // namespace
