/// @file
/// Text that packet logs should not hold but may: for comparing two readings of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace tessline::test {

/// The address that the generated lines name most often.
inline constexpr std::string_view nastyTextAddress = "AA:BB:CC:DD:EE:FF";

/// Pieces of text that are easily misread: marks that join the letter before them, joined emoji,
/// flags, full-width digits, Hangul jamo, every line end, broken UTF-8.
std::span<const std::string_view> nastyPieces();

/// Makes pseudo-random texts of those pieces and of ordinary parts of packet lines. The same seed
/// gives the same texts everywhere.
class NastyTextGenerator {
 public:
  explicit NastyTextGenerator(std::uint32_t seed) : random_(seed) {}

  /// Up to a few dozen pieces of any kind, line ends among them.
  std::string anything();
  /// One that looks like a packet's line, often close to 55 characters long.
  std::string line();
  /// Several lines with every kind of line end between them.
  std::string text();

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  std::string_view oneOf(std::span<const std::string_view> pieces);
  std::string hexNumbers(std::size_t count);

  std::mt19937 random_;
};

}  // namespace tessline::test
