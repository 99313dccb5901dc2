#include "benchmarks/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> allocations{0};
std::atomic<std::int64_t> bytes{0};

// In front of every block, which stays aligned behind it.
struct alignas(std::max_align_t) Header {
  std::size_t size;
};

}  // namespace

namespace tessline::benchmarks {

std::uint64_t allocationCount() {
  return allocations.load(std::memory_order_relaxed);
}

std::int64_t allocatedBytes() {
  return bytes.load(std::memory_order_relaxed);
}

}  // namespace tessline::benchmarks

void* operator new(std::size_t size) {
  auto* const header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
  if (header == nullptr) throw std::bad_alloc();
  allocations.fetch_add(1, std::memory_order_relaxed);
  bytes.fetch_add(static_cast<std::int64_t>(size), std::memory_order_relaxed);
  header->size = size;
  return header + 1;
}

void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  Header* const header = static_cast<Header*>(block) - 1;
  bytes.fetch_sub(static_cast<std::int64_t>(header->size), std::memory_order_relaxed);
  std::free(header);
}

void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}
