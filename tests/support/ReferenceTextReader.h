/// @file
/// A second reading of PacketLogger text, slow and plain, to compare the library with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

/// One character of a text: the scalars of a grapheme cluster, and the bytes they were read from.
struct ReferenceCharacter {
  std::u32string scalars;
  std::string source;
};

using ReferenceCharacters = std::vector<ReferenceCharacter>;

/// What a line is, by the same names as the library's kinds.
enum class ReferenceLineKind { packet, notReceived, otherRemote, withoutPayload };

/// One line that is a packet.
struct ReferencePacket {
  std::size_t lineNumber;  ///< 1-based; empty lines count.
  std::string line;
  std::vector<std::uint8_t> payload;
};

/// All that is to be found in a text.
struct ReferenceReading {
  std::size_t lines = 0;
  std::size_t empty = 0;
  std::size_t notReceived = 0;
  std::size_t otherRemote = 0;
  std::size_t withoutPayload = 0;
  std::vector<ReferencePacket> packets;
};

/// Reads text as a vector of characters and applies the rules to that, one after the other, with no
/// regard to speed. Shares no code with the library.
class ReferenceTextReader {
 public:
  explicit ReferenceTextReader(std::optional<std::string> acceptedRemoteAddress = std::nullopt)
      : acceptedRemoteAddress_(std::move(acceptedRemoteAddress)) {}

  /// The characters of a text; each maximal ill-formed sequence is read as U+FFFD.
  static ReferenceCharacters characters(std::string_view text);
  /// The bytes that `text` names in two-digit hex numbers.
  static std::vector<std::uint8_t> hexBytes(const ReferenceCharacters& text);
  /// The lines of a text, empty ones included; a last one only if it is not empty.
  static std::vector<ReferenceCharacters> lines(const ReferenceCharacters& text);
  static ReferenceCharacters payloadRegion(const ReferenceCharacters& line);
  /// The source bytes of all characters.
  static std::string sourceText(const ReferenceCharacters& characters);

  bool addressMatches(const ReferenceCharacters& line) const;
  /// What the line is; its bytes go to `payload` when it is a packet.
  ReferenceLineKind readLine(const ReferenceCharacters& line,
                             std::vector<std::uint8_t>& payload) const;
  ReferenceReading read(std::string_view text) const;

 private:
  std::optional<std::string> acceptedRemoteAddress_;
};

}  // namespace tessline::test
