#include "tessline/text/Graphemes.h"
#include "tests/support/NastyText.h"
#include "tests/support/ReferenceTextReader.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Clusters = std::vector<std::string>;

Clusters clustersOf(std::string_view text) {
  Clusters clusters;
  GraphemeWalk walk(text);
  for (auto cluster = walk.next(); !cluster.empty(); cluster = walk.next()) {
    clusters.emplace_back(cluster);
  }
  return clusters;
}

Clusters referenceClustersOf(std::string_view text) {
  Clusters clusters;
  for (const auto& character : ReferenceTextReader::characters(text)) {
    clusters.push_back(character.source);
  }
  return clusters;
}

TEST(GraphemeWalk, FindsNothingInNothing) {
  GraphemeWalk walk("");
  EXPECT_EQ(walk.next(), "");
  EXPECT_EQ(walk.next(), "");
}

TEST(GraphemeWalk, TakesAsciiLetterByLetter) {
  EXPECT_EQ(clustersOf("a1 "), (Clusters{"a", "1", " "}));
}

TEST(GraphemeWalk, KeepsAMarkWithItsLetter) {
  EXPECT_EQ(clustersOf("e\xCC\x81x"), (Clusters{"e\xCC\x81", "x"}));
  EXPECT_EQ(clustersOf("\xCC\x81x"), (Clusters{"\xCC\x81", "x"}));
}

TEST(GraphemeWalk, KeepsCarriageReturnAndLineFeedTogether) {
  EXPECT_EQ(clustersOf("a\r\nb\n\r"), (Clusters{"a", "\r\n", "b", "\n", "\r"}));
}

TEST(GraphemeWalk, BreaksAroundLineEnds) {
  EXPECT_EQ(clustersOf("a\xE2\x80\xA8\xCC\x81"), (Clusters{"a", "\xE2\x80\xA8", "\xCC\x81"}));
}

TEST(GraphemeWalk, KeepsJoinedEmojiTogether) {
  const std::string joined = "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB";
  EXPECT_EQ(clustersOf(joined + "x"), (Clusters{joined, "x"}));
}

TEST(GraphemeWalk, PairsRegionalIndicators) {
  const std::string half = "\xF0\x9F\x87\xA9";
  EXPECT_EQ(clustersOf(half + half + half), (Clusters{half + half, half}));
}

TEST(GraphemeWalk, ComposesHangulSyllables) {
  EXPECT_EQ(clustersOf("\xE1\x84\x80\xE1\x85\xA1\xE1\x86\xA8\xE1\x84\x80"),
            (Clusters{"\xE1\x84\x80\xE1\x85\xA1\xE1\x86\xA8", "\xE1\x84\x80"}));
}

TEST(GraphemeWalk, TakesBrokenBytesAsCharacters) {
  EXPECT_EQ(clustersOf("a\xE2\x80z\xFF"), (Clusters{"a", "\xE2\x80", "z", "\xFF"}));
  EXPECT_EQ(clustersOf("\xFF\xCC\x81"), (Clusters{"\xFF\xCC\x81"}));
}

TEST(GraphemeWalk, KnowsWhatIsLeft) {
  GraphemeWalk walk("e\xCC\x81xy");
  walk.next();
  EXPECT_EQ(walk.rest(), "xy");
}

TEST(GraphemeWalk, AgreesWithTheReferenceOnNastyTexts) {
  NastyTextGenerator generator(2);
  for (int count = 0; count < 2000; ++count) {
    const std::string text = generator.anything();
    ASSERT_EQ(clustersOf(text), referenceClustersOf(text)) << text;
  }
}

TEST(GraphemeWalk, AgreesWithTheReferenceOnEveryPairOfNastyPieces) {
  for (const auto left : nastyPieces()) {
    for (const auto right : nastyPieces()) {
      const std::string text = "a" + std::string(left) + std::string(right) + "a";
      ASSERT_EQ(clustersOf(text), referenceClustersOf(text)) << text;
    }
  }
}

TEST(DropCharacters, LeavesWhatFollows) {
  EXPECT_EQ(dropCharacters("abc", 0), "abc");
  EXPECT_EQ(dropCharacters("abc", 1), "bc");
  EXPECT_EQ(dropCharacters("abc", 2), "c");
}

TEST(DropCharacters, LeavesNoneWhenNothingFollows) {
  EXPECT_EQ(dropCharacters("abc", 3), std::nullopt);
  EXPECT_EQ(dropCharacters("abc", 4), std::nullopt);
  EXPECT_EQ(dropCharacters("", 0), std::nullopt);
  EXPECT_EQ(dropCharacters("", 1), std::nullopt);
}

TEST(DropCharacters, CountsAMarkWithItsLetter) {
  EXPECT_EQ(dropCharacters("e\xCC\x81x", 1), "x");
  EXPECT_EQ(dropCharacters("e\xCC\x81", 1), std::nullopt);
  EXPECT_EQ(dropCharacters("abe\xCC\x81xy", 3), "xy");
}

std::size_t find(std::string_view text, std::string_view word) {
  return findCharacters(text, word, LetterCase::matters);
}

std::size_t findIgnoringCase(std::string_view text, std::string_view word) {
  return findCharacters(text, word, LetterCase::ignoredInAscii);
}

constexpr auto nowhere = std::string_view::npos;

TEST(FindCharacters, FindsTheFirstPlace) {
  EXPECT_EQ(find("abcabc", "abc"), 0u);
  EXPECT_EQ(find("xabcabc", "abc"), 1u);
  EXPECT_EQ(find("aaab", "aab"), 1u);
  EXPECT_EQ(find("ab", "abc"), nowhere);
  EXPECT_EQ(find("", "abc"), nowhere);
}

TEST(FindCharacters, LooksAtLetterCaseOrNot) {
  EXPECT_EQ(find("xAbc", "abc"), nowhere);
  EXPECT_EQ(findIgnoringCase("xAbC", "aBc"), 1u);
  EXPECT_EQ(findIgnoringCase("x[bc", "{bc"), nowhere);
  EXPECT_EQ(findIgnoringCase("x@bc", "`bc"), nowhere);
}

TEST(FindCharacters, PassesOverPlacesThatGoOnWithAMark) {
  EXPECT_EQ(find("abc\xCC\x81 abc", "abc"), 6u);
  EXPECT_EQ(find("abc\xCC\x81", "abc"), nowhere);
  EXPECT_EQ(find("a\xCC\x81"
                 "bc",
                 "abc"),
            nowhere);
}

TEST(FindCharacters, PassesOverPlacesThatAMarkInFrontTakes) {
  EXPECT_EQ(find("\xD8\x80"
                 "abc abc",
                 "abc"),
            6u);
}

TEST(FindCharacters, FindsCharactersBeyondAscii) {
  EXPECT_EQ(find("xe\xCC\x81y", "e\xCC\x81"), 1u);
  EXPECT_EQ(find("xe\xCC\x81y", "e"), nowhere);
  EXPECT_EQ(find("x\xC3\xA9y", "e\xCC\x81"), nowhere);
}

}  // namespace
}  // namespace tessline::test
