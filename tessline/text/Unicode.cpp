#include "tessline/text/Unicode.h"

#include "tessline/text/Graphemes.h"
#include "tessline/text/Utf8.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include <utf8proc.h>

namespace tessline {

namespace {

constexpr char32_t capitalIWithDot = U'\u0130';
constexpr std::string_view smallIWithDot = "i\xCC\x87";

void appendScalar(char32_t scalar, std::string& text) {
  std::array<utf8proc_uint8_t, 4> bytes;
  const auto size = utf8proc_encode_char(static_cast<utf8proc_int32_t>(scalar), bytes.data());
  text.append(bytes.begin(), bytes.begin() + size);
}

// Calls `handle` with every scalar of `text`.
template <class Handle>
void forEachScalar(std::string_view text, Handle handle) {
  while (!text.empty()) {
    const Utf8Scalar scalar = firstScalar(text);
    handle(scalar.value);
    text.remove_prefix(scalar.size);
  }
}

// `text` as valid UTF-8, brought into the form that `options` name.
std::string normalized(std::string_view text, int options) {
  std::string valid;
  valid.reserve(text.size());
  forEachScalar(text, [&](char32_t scalar) { appendScalar(scalar, valid); });
  utf8proc_uint8_t* result = nullptr;
  const auto size = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(valid.data()),
                                 static_cast<utf8proc_ssize_t>(valid.size()), &result,
                                 static_cast<utf8proc_option_t>(options));
  const std::unique_ptr<utf8proc_uint8_t, void (*)(void*)> owned(result, std::free);
  if (size < 0) return valid;
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(size)};
}

std::string folded(std::string_view text) {
  return normalized(text, UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD);
}

std::string composed(std::string_view text) {
  if (isAscii(text)) return std::string(text);
  return normalized(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE);
}

}  // namespace

std::string lowercased(std::string_view text) {
  std::string lower;
  lower.reserve(text.size());
  forEachScalar(text, [&](char32_t scalar) {
    if (scalar == capitalIWithDot) {
      lower += smallIWithDot;
    } else {
      const auto mapped = utf8proc_tolower(static_cast<utf8proc_int32_t>(scalar));
      appendScalar(static_cast<char32_t>(mapped), lower);
    }
  });
  return lower;
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  const std::string wanted = folded(prefix);
  std::string front;
  for (GraphemeWalk walk(text); front.size() < wanted.size();) {
    const std::string_view character = walk.next();
    if (character.empty()) return false;
    front += folded(character);
  }
  return front == wanted;
}

UnicodeCategory unicodeCategory(char32_t scalar) {
  switch (*utf8proc_category_string(static_cast<utf8proc_int32_t>(scalar))) {
    case 'L':
      return UnicodeCategory::letter;
    case 'M':
      return UnicodeCategory::mark;
    case 'N':
      return UnicodeCategory::number;
    default:
      return UnicodeCategory::other;
  }
}

std::strong_ordering compareCanonically(std::string_view left, std::string_view right) {
  return composed(left).compare(composed(right)) <=> 0;
}

}  // namespace tessline
