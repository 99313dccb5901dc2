#include "tessline/text/Graphemes.h"

#include <algorithm>

#include <utf8proc.h>

namespace tessline {

namespace {

char lowerAscii(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// As bytes: where the word does not stand so, it does not stand as whole characters either.
bool contains(std::string_view text, std::string_view word, LetterCase letterCase) {
  if (letterCase == LetterCase::matters) return text.find(word) != std::string_view::npos;
  const auto isSame = [](char left, char right) { return lowerAscii(left) == lowerAscii(right); };
  return std::search(text.begin(), text.end(), word.begin(), word.end(), isSame) != text.end();
}

bool startsWith(std::string_view text, std::string_view word, LetterCase letterCase) {
  if (letterCase == LetterCase::matters || text.size() < word.size()) return text.starts_with(word);
  return std::ranges::equal(text.substr(0, word.size()), word, {}, lowerAscii, lowerAscii);
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

std::size_t findCharacters(std::string_view text, std::string_view word, LetterCase letterCase) {
  if (!contains(text, word, letterCase)) return std::string_view::npos;
  for (GraphemeWalk walk(text); !walk.rest().empty(); walk.next()) {
    if (!startsWith(walk.rest(), word, letterCase)) continue;
    const std::size_t restBehindWord = walk.rest().size() - word.size();
    GraphemeWalk end = walk;
    while (end.rest().size() > restBehindWord) end.next();
    if (end.rest().size() == restBehindWord) return text.size() - walk.rest().size();
  }
  return std::string_view::npos;
}

}  // namespace tessline
