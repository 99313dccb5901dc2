/// @file
/// Looking for a run of bytes in a payload.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace tessline {

/// The lowest index at which `subsequence` stands in `bytes` as a contiguous run. None when it does
/// not, and none for an empty subsequence.
inline std::optional<std::size_t> firstIndex(std::span<const std::uint8_t> bytes,
                                             std::span<const std::uint8_t> subsequence) {
  if (subsequence.empty() || subsequence.size() > bytes.size()) return std::nullopt;
  const std::size_t starts = bytes.size() - subsequence.size() + 1;
  for (std::size_t index = 0; index < starts; ++index) {
    const void* const found =
        std::memchr(bytes.data() + index, subsequence.front(), starts - index);
    if (found == nullptr) return std::nullopt;
    index = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
    if (std::memcmp(found, subsequence.data(), subsequence.size()) == 0) return index;
  }
  return std::nullopt;
}

}  // namespace tessline
