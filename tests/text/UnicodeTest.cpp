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

TEST(UnicodeCategory, EveryKindOfLetterIsALetter) {
  // Upper, lower, title case, modifier, other, and one beyond the basic plane.
  for (const char32_t scalar :
       {U'A', U'\u00DF', U'z', U'\u01C5', U'\u02B0', U'\u9065', U'\u0130', U'\U0001D400'}) {
    EXPECT_EQ(unicodeCategory(scalar), UnicodeCategory::letter) << +scalar;
  }
}

TEST(UnicodeCategory, EveryKindOfMarkIsAMark) {
  // Nonspacing, spacing and enclosing ones.
  for (const char32_t scalar : {U'\u0301', U'\u0903', U'\u20DD', U'\uFE0F', U'\U000E0100'}) {
    EXPECT_EQ(unicodeCategory(scalar), UnicodeCategory::mark) << +scalar;
  }
}

TEST(UnicodeCategory, EveryKindOfNumberIsANumber) {
  // Digits of several scripts, a Roman number, a fraction, a digit in a circle.
  for (const char32_t scalar :
       {U'0', U'9', U'\u0661', U'\uFF11', U'\u2160', U'\u00BD', U'\u2460', U'\U0001D7D8'}) {
    EXPECT_EQ(unicodeCategory(scalar), UnicodeCategory::number) << +scalar;
  }
}

TEST(UnicodeCategory, NothingElseIsAnyOfThem) {
  // Separators, punctuation, symbols, controls, formats, private use, unassigned, surrogates.
  for (const char32_t scalar : {U' ',      U'\u2028', U'-',      U'_',          U'(',
                                U'+',      U'$',      U'^',      U'\u00A9',     U'\u24B6',
                                U'\0',     U'\n',     U'\u200D', U'\u0600',     U'\uE000',
                                U'\u0378', U'\uFFFD', U'\uFFFF', U'\U0001F600', char32_t{0xD800}}) {
    EXPECT_EQ(unicodeCategory(scalar), UnicodeCategory::other) << +scalar;
  }
}

TEST(UnicodeCategory, NumbersThatAreNoScalarsAreOther) {
  for (const char32_t number : {char32_t{0x110000}, char32_t{0x7FFFFFFF}, char32_t{0xFFFFFFFF}}) {
    EXPECT_EQ(unicodeCategory(number), UnicodeCategory::other) << +number;
  }
}

}  // namespace
}  // namespace tessline::test
