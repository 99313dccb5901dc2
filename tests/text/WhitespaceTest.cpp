#include "tessline/text/Whitespace.h"
#include "tests/support/NastyText.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Pieces = std::vector<std::string_view>;

constexpr std::string_view blanks[] = {" ",      "\t",     "\u00A0", "\u1680", "\u2000",
                                       "\u2001", "\u2002", "\u2003", "\u2004", "\u2005",
                                       "\u2006", "\u2007", "\u2008", "\u2009", "\u200A",
                                       "\u200B", "\u202F", "\u205F", "\u3000"};
constexpr std::string_view lineEnds[] = {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"};
// Look like blanks, or stand beside them.
constexpr std::string_view letters[] = {
    "a",      "_",      "\x01",   "\x08",   "\x0E",   "\x1F",   "\x7F",   "\u0084", "\u0086",
    "\u180E", "\u200C", "\u200D", "\u2027", "\u202A", "\u2060", "\uFEFF", "\u00E4", "\U0001F600"};
constexpr std::string_view nul("\0", 1);
constexpr std::string_view broken[] = {"\xFF",
                                       "\x80",
                                       "\xC0\x80",
                                       "\xC2",
                                       "\xE2\x80",
                                       "\xF0\x9F",
                                       "\xED\xA0\x80",
                                       "\xE0\x80\xA0",
                                       "\xF4\x90\x80\x80",
                                       "\xF8\x88\x80\x80\x80"};

std::string between(std::string_view outer, std::string_view inner) {
  return std::string(outer) + std::string(inner) + std::string(outer);
}

TEST(TrimmedOfWhitespace, RemovesEveryBlankAtBothEnds) {
  for (const auto blank : blanks) {
    EXPECT_EQ(trimmedOfWhitespace(between(blank, "a b")), "a b") << blank;
    EXPECT_EQ(trimmedOfWhitespace(between(blank, between(blank, "a"))), "a") << blank;
  }
}

TEST(TrimmedOfWhitespace, LeavesBlanksWithin) {
  for (const auto blank : blanks) {
    const std::string text = between("a", blank);
    EXPECT_EQ(trimmedOfWhitespace(text), text) << blank;
  }
}

TEST(TrimmedOfWhitespace, LeavesLineEnds) {
  for (const auto end : lineEnds) {
    const std::string text = between(end, "a");
    EXPECT_EQ(trimmedOfWhitespace(text), text) << text;
    EXPECT_EQ(trimmedOfWhitespace(between(" ", text)), text) << text;
  }
}

TEST(TrimmedOfWhitespace, LeavesEverythingElse) {
  for (const auto letter : letters) EXPECT_EQ(trimmedOfWhitespace(letter), letter);
  for (const auto bytes : broken) EXPECT_EQ(trimmedOfWhitespace(between(" ", bytes)), bytes);
  EXPECT_EQ(trimmedOfWhitespace(nul), nul);
}

TEST(TrimmedOfWhitespace, LeavesNothingOfBlanksAlone) {
  EXPECT_EQ(trimmedOfWhitespace(""), "");
  EXPECT_EQ(trimmedOfWhitespace(" \t\u3000 "), "");
}

TEST(TrimmedOfWhitespace, IsAPartOfTheText) {
  const std::string_view text = "\u2003ab ";
  EXPECT_EQ(trimmedOfWhitespace(text).data(), text.data() + 3);
}

TEST(TrimmedOfWhitespaceAndNewlines, RemovesBlanksAndLineEnds) {
  for (const auto blank : blanks) {
    for (const auto end : lineEnds) {
      const std::string outer = std::string(blank) + std::string(end) + std::string(blank);
      EXPECT_EQ(trimmedOfWhitespaceAndNewlines(between(outer, "a")), "a");
      EXPECT_EQ(trimmedOfWhitespaceAndNewlines(outer), "");
    }
  }
}

TEST(TrimmedOfWhitespaceAndNewlines, LeavesEverythingElse) {
  for (const auto letter : letters) EXPECT_EQ(trimmedOfWhitespaceAndNewlines(letter), letter);
  for (const auto bytes : broken) {
    EXPECT_EQ(trimmedOfWhitespaceAndNewlines(between("\n", bytes)), bytes);
  }
  EXPECT_EQ(trimmedOfWhitespaceAndNewlines("a\n b"), "a\n b");
  EXPECT_EQ(trimmedOfWhitespaceAndNewlines(nul), nul);
}

TEST(SplitAtNewlines, SplitsAtEveryLineEnd) {
  for (const auto end : lineEnds) {
    EXPECT_EQ(splitAtNewlines(between("a", end)), (Pieces{"a", "a"}));
  }
}

TEST(SplitAtNewlines, KeepsEmptyPieces) {
  EXPECT_EQ(splitAtNewlines(""), Pieces{""});
  EXPECT_EQ(splitAtNewlines("\n"), (Pieces{"", ""}));
  EXPECT_EQ(splitAtNewlines("a\n\nb\n"), (Pieces{"a", "", "b", ""}));
  EXPECT_EQ(splitAtNewlines("a\r\nb"), (Pieces{"a", "", "b"}));
}

TEST(SplitAtNewlines, SplitsAtNothingElse) {
  for (const auto blank : blanks) EXPECT_EQ(splitAtNewlines(blank), Pieces{blank});
  for (const auto letter : letters) EXPECT_EQ(splitAtNewlines(letter), Pieces{letter});
  for (const auto bytes : broken) EXPECT_EQ(splitAtNewlines(bytes), Pieces{bytes});
}

TEST(SplitAtNewlines, LosesNothingOfNastyTexts) {
  NastyTextGenerator generator(5);
  for (int count = 0; count < 1000; ++count) {
    const std::string text = generator.anything();
    const auto pieces = splitAtNewlines(text);
    // Each piece goes on where the one before it ended, one line end further.
    const char* at = text.data();
    for (const auto piece : pieces) {
      if (piece.data() != text.data()) {
        const std::string_view end(at, static_cast<std::size_t>(piece.data() - at));
        ASSERT_EQ(splitAtNewlines(end), (Pieces{"", ""}));
      }
      ASSERT_EQ(splitAtNewlines(piece), Pieces{piece});
      at = piece.data() + piece.size();
    }
    ASSERT_EQ(at, text.data() + text.size());
  }
}

TEST(IsValidUtf8, TakesWhatIsWellFormed) {
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_TRUE(isValidUtf8("plain ASCII, of more than a word\x7F"));
  EXPECT_TRUE(isValidUtf8(nul));
  for (const auto blank : blanks) EXPECT_TRUE(isValidUtf8(blank));
  for (const auto letter : letters) EXPECT_TRUE(isValidUtf8(letter));
  for (const auto limit :
       {"\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\uFFFF", "\U00010000", "\U0010FFFF"}) {
    EXPECT_TRUE(isValidUtf8(limit)) << limit;
  }
}

TEST(IsValidUtf8, TakesTheReplacementCharacterItself) {
  EXPECT_TRUE(isValidUtf8("a\uFFFD\uFFFDz"));
}

TEST(IsValidUtf8, RefusesEveryBrokenSequenceAnywhere) {
  for (const auto bytes : broken) {
    const std::string text(bytes);
    EXPECT_FALSE(isValidUtf8(text));
    EXPECT_FALSE(isValidUtf8("a" + text));
    EXPECT_FALSE(isValidUtf8(text + "a"));
    EXPECT_FALSE(isValidUtf8("\uFFFD" + text));
    EXPECT_FALSE(isValidUtf8(text + "\uFFFD"));
  }
}

}  // namespace
}  // namespace tessline::test
