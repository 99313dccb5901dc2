#include "tessline/text/Unicode.h"

#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(Lowercased, MapsLettersOfEveryScript) {
  EXPECT_EQ(lowercased("SIRI Remote"), "siri remote");
  EXPECT_EQ(lowercased("ÄÉŽ"), "äéž");
  EXPECT_EQ(lowercased("ΑΒΓ"), "αβγ");
  EXPECT_EQ(lowercased("ПУЛЬТ"), "пульт");
}

TEST(Lowercased, MakesTwoScalarsOfTheCapitalIWithDot) {
  EXPECT_EQ(lowercased("\u0130"), "i\u0307");
}

TEST(Lowercased, KnowsNoFinalSigma) {
  EXPECT_EQ(lowercased("ΟΔΟΣ"), "οδοσ");
}

TEST(Lowercased, PutsTheReplacementCharacterForBrokenBytes) {
  EXPECT_EQ(lowercased("A\xFF\xE2\x80z"), "a\uFFFD\uFFFDz");
}

TEST(StartsWithIgnoringCase, IsAnchoredAtTheFront) {
  EXPECT_TRUE(startsWithIgnoringCase("acme pointer", "Acme"));
  EXPECT_TRUE(startsWithIgnoringCase("ACME", "acme"));
  EXPECT_FALSE(startsWithIgnoringCase("My acme", "Acme"));
  EXPECT_FALSE(startsWithIgnoringCase("Acm", "Acme"));
  EXPECT_FALSE(startsWithIgnoringCase("", "A"));
}

TEST(StartsWithIgnoringCase, EveryTextBeginsWithTheEmptyPrefix) {
  EXPECT_TRUE(startsWithIgnoringCase("Keyboard", ""));
  EXPECT_TRUE(startsWithIgnoringCase("", ""));
}

TEST(StartsWithIgnoringCase, ComposedAndDecomposedCharactersAreTheSame) {
  EXPECT_TRUE(startsWithIgnoringCase("\u00C9lan remote", "e\u0301LAN"));
  EXPECT_TRUE(startsWithIgnoringCase("E\u0301lan remote", "\u00E9lan"));
}

TEST(StartsWithIgnoringCase, FoldsWhereLengthsDiffer) {
  EXPECT_TRUE(startsWithIgnoringCase("STRASSE 1", "straße"));
  EXPECT_TRUE(startsWithIgnoringCase("straße 1", "STRASSE"));
}

TEST(StartsWithIgnoringCase, DoesNotEndInsideACharacter) {
  EXPECT_FALSE(startsWithIgnoringCase("e\u0301lan", "e"));
  EXPECT_FALSE(startsWithIgnoringCase("straße", "stras"));
}

TEST(CompareCanonically, OrdersByComposedScalars) {
  EXPECT_TRUE(compareCanonically("Apple", "Banana") < 0);
  EXPECT_TRUE(compareCanonically("Zebra", "apple") < 0);
  EXPECT_TRUE(compareCanonically("Siri Remote", "Siri Remote 2") < 0);
  // Composed, é stands behind every ASCII letter; decomposed, it would stand before f.
  EXPECT_TRUE(compareCanonically("fa", "e\u0301a") < 0);
  EXPECT_TRUE(compareCanonically("e\u0301a", "fa") > 0);
}

TEST(CompareCanonically, ComposedAndDecomposedTextsAreEqual) {
  EXPECT_TRUE(compareCanonically("\u00E9", "e\u0301") == 0);
  EXPECT_TRUE(compareCanonically("\u1E9B\u0323", "\u017F\u0323\u0307") == 0);
}

TEST(CompareCanonically, OrdersScalarsBeyondTheBasicPlaneLast) {
  EXPECT_TRUE(compareCanonically("\uFFFD", "\U0001F600") < 0);
}

}  // namespace
}  // namespace tessline::test
