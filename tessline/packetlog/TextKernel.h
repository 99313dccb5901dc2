/// @file
/// The two inner loops of reading capture text, in one version for each kind of processor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tessline {

/// What a glance over the front of a text finds.
struct LineScan {
  /// Stands for no place.
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  /// Where the first byte stands that ends a line (LF, VT, FF, CR) or is not ASCII; the text's size
  /// when there is none.
  std::size_t length = 0;
  /// Where "RECV", its letters in either case, first stands whole in front of `length`, or `none`.
  std::size_t received = none;
};

/// One implementation of the inner loops. All give the same results.
struct TextKernel {
  /// For people, for example "AVX2".
  std::string_view name;

  /// Looks at the first line of `text`.
  LineScan (*scanLine)(std::string_view text);

  /// Reads ASCII `text` as `HexByteParser` does. `bytes` has room for
  /// `hexByteCapacity(text.size())` bytes, all of which may be written to. Returns how many bytes
  /// the text named.
  std::size_t (*parseHexBytes)(std::string_view text, std::uint8_t* bytes);
};

/// The bytes that ASCII `text` names, appended to `bytes`, by the fastest kernel.
void appendHexBytes(std::string_view text, std::vector<std::uint8_t>& bytes);

/// The room that `parseHexBytes` needs for a text of that many bytes.
constexpr std::size_t hexByteCapacity(std::size_t textSize) {
  return (textSize + 1) / 3 + 64;
}

/// The kernels that this processor can run, the portable one first and the fastest one last.
std::span<const TextKernel> textKernels();

/// The fastest of them, chosen once.
const TextKernel& textKernel();

}  // namespace tessline
