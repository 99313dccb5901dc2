/// @file
/// What all fuzz targets share: input as text, and the way to report a finding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tessline::fuzz {

/// The input as text.
inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process with a message unless `difference` is empty.
void expectNoDifference(const std::string& difference);

}  // namespace tessline::fuzz

/// What a fuzz target defines: tries one input. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
