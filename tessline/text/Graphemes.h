/// @file
/// Characters as people see them: grapheme clusters.
#pragma once

#include "tessline/text/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tessline {

/// Whether upper-case and lower-case letters are the same when comparing.
enum class LetterCase : std::uint8_t { matters, ignoredInAscii };

/// Walks over the extended grapheme clusters of a text, Unicode's default rules. Ill-formed UTF-8
/// counts as `firstScalar` says. The text must outlive the walk.
class GraphemeWalk {
 public:
  /// Begins at the front of `text`.
  explicit GraphemeWalk(std::string_view text) : rest_(text), next_(firstScalar(text)) {}

  /// The next cluster; empty at the end of the text.
  std::string_view next();
  /// What has not been walked over yet.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;  // From the next cluster on.
  Utf8Scalar next_;        // The scalar at the front of `rest_`.
  std::int32_t breakState_ = 0;
};

/// The part of `text` behind its first `count` characters; none when it has no more than these.
std::optional<std::string_view> dropCharacters(std::string_view text, std::size_t count);

/// Where `word` (not empty) first stands in `text` as whole characters: a letter that carries a
/// combining mark is not the bare letter. `npos` when it does not.
std::size_t findCharacters(std::string_view text, std::string_view word, LetterCase letterCase);

}  // namespace tessline
