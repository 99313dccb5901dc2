#include "tessline/text/Graphemes.h"

#include <utf8proc.h>

namespace tessline {

namespace {

char32_t lowerAscii(char32_t letter) {
  return letter >= U'A' && letter <= U'Z' ? letter - U'A' + U'a' : letter;
}

// How many bytes at the front of `text` are `word`, scalar by scalar; none if it does not stand
// there.
std::optional<std::size_t> frontSize(std::string_view text, std::string_view word,
                                     LetterCase letterCase) {
  std::size_t size = 0;
  while (!word.empty()) {
    const Utf8Scalar wanted = firstScalar(word);
    const Utf8Scalar found = firstScalar(text.substr(size));
    const bool isSame =
        found.value == wanted.value || (letterCase == LetterCase::ignoredInAscii &&
                                        lowerAscii(found.value) == lowerAscii(wanted.value));
    if (found.size == 0 || !isSame) return std::nullopt;
    size += found.size;
    word.remove_prefix(wanted.size);
  }
  return size;
}

}  // namespace

std::string_view GraphemeWalk::next() {
  std::size_t size = 0;
  while (next_.size > 0) {
    const Utf8Scalar scalar = next_;
    size += scalar.size;
    next_ = firstScalar(rest_.substr(size));
    if (next_.size == 0 || utf8proc_grapheme_break_stateful(
                               static_cast<utf8proc_int32_t>(scalar.value),
                               static_cast<utf8proc_int32_t>(next_.value), &breakState_)) {
      break;
    }
  }
  const std::string_view cluster = rest_.substr(0, size);
  rest_.remove_prefix(size);
  return cluster;
}

std::optional<std::string_view> dropCharacters(std::string_view text, std::size_t count) {
  GraphemeWalk walk(text);
  while (count > 0 && !walk.rest().empty()) {
    walk.next();
    --count;
  }
  if (walk.rest().empty()) return std::nullopt;
  return walk.rest();
}

CharacterRange findCharacters(std::string_view text, std::string_view word, LetterCase letterCase) {
  for (GraphemeWalk walk(text); !walk.rest().empty(); walk.next()) {
    const auto size = frontSize(walk.rest(), word, letterCase);
    if (!size) continue;
    const std::size_t restBehindWord = walk.rest().size() - *size;
    GraphemeWalk end = walk;
    while (end.rest().size() > restBehindWord) end.next();
    if (end.rest().size() == restBehindWord) return {text.size() - walk.rest().size(), *size};
  }
  return {};
}

}  // namespace tessline
