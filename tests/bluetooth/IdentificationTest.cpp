#include "tests/bluetooth/BluetoothFixture.h"

#include <array>
#include <cctype>

namespace tessline::test {
namespace {

class BluetoothIdentificationTest : public BluetoothServiceTest {
 protected:
  // Whether a peripheral that advertises this name is taken for a remote.
  bool isRemote(std::optional<std::string> name, std::vector<BluetoothUUID> services = {}) {
    startScanning();
    const Remote remote = add(outOfReach(std::nullopt));
    hear(remote, saying(std::move(name), std::move(services)));
    return !host->bluetooth().isScanning();
  }
};

constexpr std::array<std::string_view, 14> exclusionWords = {
    "airpods",        "iphone",      "ipad",           "watch",  "macbook", "imac",   "mac ",
    "magic keyboard", "magic mouse", "magic trackpad", "pencil", "homepod", "airtag", "beats"};

class ExclusionWord : public BluetoothIdentificationTest,
                      public testing::WithParamInterface<std::string_view> {
 protected:
  // What would be a remote but for `part`.
  static std::string nameWith(std::string_view part) { return "Siri-" + std::string(part) + "-"; }

  const std::string_view word = GetParam();
};

TEST_P(ExclusionWord, MakesNoRemote) {
  EXPECT_FALSE(isRemote(nameWith(word)));
  EXPECT_FALSE(isRemote(std::string(word) + "Siri"));
}

TEST_P(ExclusionWord, CountsInCapitals) {
  std::string capitals(word);
  for (char& letter : capitals) letter = static_cast<char>(std::toupper(letter));
  EXPECT_FALSE(isRemote(nameWith(capitals)));
}

TEST_P(ExclusionWord, CountsWithinOtherWords) {
  EXPECT_FALSE(isRemote(nameWith("x" + std::string(word) + "x")));
}

TEST_P(ExclusionWord, CountsOnlyAsAWhole) {
  EXPECT_TRUE(isRemote(nameWith(word.substr(1))));
  EXPECT_TRUE(isRemote(nameWith(word.substr(0, word.size() - 1))));
  std::string split(word);
  split.insert(split.size() / 2, "-");
  EXPECT_TRUE(isRemote(nameWith(split)));
}

INSTANTIATE_TEST_SUITE_P(Each, ExclusionWord, testing::ValuesIn(exclusionWords));

TEST_F(BluetoothIdentificationTest, ExcludedWordsWinOverAllOthers) {
  EXPECT_FALSE(isRemote("Siri Remote Pencil"));
  EXPECT_FALSE(isRemote("Apple TV Remote of John's iPhone"));
  EXPECT_FALSE(isRemote("Apple TV HomePod"));
  EXPECT_FALSE(isRemote("iPad12345678"));
  EXPECT_FALSE(isRemote("Beats1234567"));
  EXPECT_FALSE(isRemote("Stopwatch123"));
  EXPECT_FALSE(isRemote("John's iPhone"));
}

TEST_F(BluetoothIdentificationTest, MacExcludesOnlyBeforeASpace) {
  EXPECT_FALSE(isRemote("Mac Siri"));
  EXPECT_FALSE(isRemote("Tarmac Siri Remote"));
  EXPECT_TRUE(isRemote("Macsiri"));
  EXPECT_TRUE(isRemote("Siri Mac"));
  EXPECT_TRUE(isRemote("Mac\tSiri"));
  EXPECT_TRUE(isRemote("Mac\u00A0Siri"));
}

TEST_F(BluetoothIdentificationTest, WordsOfRemotesCountInAnyCaseAndPlace) {
  for (const char* name : {"Siri Remote", "SIRI REMOTE", "My Siri Remote (2)", "Apple TV Remote",
                           "Apple TV", "aPPLE tv 4K", "Siri", "Macsiri", "Desirings"}) {
    EXPECT_TRUE(isRemote(name)) << name;
  }
}

TEST_F(BluetoothIdentificationTest, WordsOfRemotesMustStandAsTheyAre) {
  for (const char* name : {"AppleTV", "Apple  TV", "Apple T V", "Sir i", "TV", "Apple", "Sir\u0131",
                           "Apple\u00A0TV Remotes"}) {
    EXPECT_FALSE(isRemote(name)) << name;
  }
}

TEST_F(BluetoothIdentificationTest, BareRemoteIsOneOnlyAsTheWholeName) {
  EXPECT_TRUE(isRemote("Remote"));
  EXPECT_TRUE(isRemote("remote"));
  EXPECT_TRUE(isRemote("REMOTE"));
  for (const char* name : {"TV Remote", "Remotes", " Remote", "Remote ", "Remote 2", "remot"}) {
    EXPECT_FALSE(isRemote(name)) << name;
  }
}

TEST_F(BluetoothIdentificationTest, NamesAreLowerCasedAsUnicodeSays) {
  // The capital I with a dot becomes two scalars, so neither word is in it any more.
  EXPECT_FALSE(isRemote("S\u0130RI"));
  EXPECT_TRUE(isRemote("Siri \u0130PAD"));
  // The Kelvin sign is a k.
  EXPECT_FALSE(isRemote("Siri Magic \u212Aeyboard"));
}

TEST_F(BluetoothIdentificationTest, AdvertisedServicesDecideNothing) {
  const std::vector all = {uuid("180F"), uuid("1812"), uuid(voiceService)};
  for (const std::vector<BluetoothUUID>& services :
       {{}, {uuid("180F")}, {uuid("1812")}, {uuid(voiceService)}, all}) {
    EXPECT_FALSE(isRemote(std::nullopt, services));
    EXPECT_FALSE(isRemote("", services));
    EXPECT_FALSE(isRemote("Wireless Keyboard", services));
    EXPECT_TRUE(isRemote("Siri Remote", services));
  }
}

TEST_F(BluetoothIdentificationTest, TwelveLettersAndDigitsAreARemote) {
  EXPECT_TRUE(isRemote("A1B2C3D4E5F6"));
  EXPECT_TRUE(isRemote("ABCDEFGHIJK1"));
  EXPECT_TRUE(isRemote("1ABCDEFGHIJK"));
  EXPECT_TRUE(isRemote("12345678901z"));
}

TEST_F(BluetoothIdentificationTest, ElevenAndThirteenAreNot) {
  EXPECT_FALSE(isRemote("A1B2C3D4E5F"));
  EXPECT_FALSE(isRemote("A1B2C3D4E5F6A"));
  EXPECT_FALSE(isRemote("A1B2C3D4E5F6A1B2C3D4E5F6"));
}

TEST_F(BluetoothIdentificationTest, TwelveNeedALetterAndADigit) {
  EXPECT_FALSE(isRemote("ABCDEFGHIJKL"));
  EXPECT_FALSE(isRemote("123456789012"));
}

TEST_F(BluetoothIdentificationTest, TwelveHoldNothingElse) {
  for (const char* name :
       {"A1B2-C3D4E5F", "A1B2 C3D4E5F", "A1B2_C3D4E5F", "A1B2+C3D4E5F", "A1B2:C3D4E5F",
        "-A1B2C3D4E5F", "A1B2C3D4E5F-", "A1B2\u20ACC3D4E5F", "A1B2\u00A9C3D4E5F",
        "A1B2\U0001F600C3D4E5F", "A1B2\uE000C3D4E5F", "A1B2\u0378C3D4E5F", "A1B2\nC3D4E5F"}) {
    EXPECT_FALSE(isRemote(name)) << name;
  }
  EXPECT_FALSE(isRemote(std::string("A1B2\0C3D4E5F", 12)));
}

TEST_F(BluetoothIdentificationTest, TwelveAreCountedAsCharacters) {
  EXPECT_TRUE(isRemote("\u00C4\u00D6\u00DCDEFGHIJK1"));
  EXPECT_TRUE(isRemote("A\u0308BCDEFGHIJK1"));
  EXPECT_TRUE(isRemote("A\u0308\u0323BCDEFGHIJK1\u0301"));
  EXPECT_FALSE(isRemote("A\u0308BCDEFGHIJ1"));
  EXPECT_FALSE(isRemote("\u00C4\u00D6\u00DC\u00C4\u00D61"));
  // Twelve Hangul syllables in their parts, and eleven.
  EXPECT_TRUE(isRemote("\u1112\u1161\u11ABBCDEFGHIJK1"));
  EXPECT_FALSE(isRemote("\u1112\u1161\u11ABBCDEFGHIJ"));
}

TEST_F(BluetoothIdentificationTest, EveryScalarOfACharacterMustBeALetterAMarkOrANumber) {
  EXPECT_TRUE(isRemote("ABCDEFGHIJK1\uFE0F\u20E3"));
  // A joiner belongs to the character before it, but is of another kind.
  EXPECT_FALSE(isRemote("A1B2C3D4E5F6\u200D"));
  EXPECT_FALSE(isRemote("A\u200D1B2C3D4E5F6"));
}

TEST_F(BluetoothIdentificationTest, LettersAndDigitsOfEveryScriptCount) {
  EXPECT_TRUE(isRemote("\u041F\u0423\u041B\u042C\u0422\u0410\u0661\u0662\u0663\u0664\u0665\u0666"));
  EXPECT_TRUE(isRemote("ABCDEFGHIJK\u00BD"));
  EXPECT_TRUE(isRemote("ABCDEFGHIJK\uFF11"));
  EXPECT_TRUE(isRemote("12345678901\u05D0"));
  EXPECT_TRUE(isRemote("\u0130234567890\u0130\u0130"));
  EXPECT_TRUE(isRemote("A\U0001D7D82345678901"));
}

TEST_F(BluetoothIdentificationTest, CharacterIsWhatItsFirstScalarIs) {
  // At the front of a name a mark has nothing to belong to.
  EXPECT_TRUE(isRemote("\u0301ABCDEFGHIJ1"));
  EXPECT_FALSE(isRemote("\u0301ABCDEFGHIJK"));
  EXPECT_FALSE(isRemote("\u030112345678901"));
  // This letter takes what follows it into its character.
  EXPECT_FALSE(isRemote("ABCDEFGHIJK\u0D4E1"));
  EXPECT_TRUE(isRemote("ABCDEFGHIJ1\u0D4E1"));
}

TEST_F(BluetoothIdentificationTest, BrokenTextIsNoLetter) {
  EXPECT_FALSE(isRemote("A1B2C3D4E5F\xFF"));
  EXPECT_FALSE(isRemote("A1B2C3D4E5\xE2\x82"));
  EXPECT_FALSE(isRemote("A1B2C3D4E5F\uFFFD"));
  EXPECT_TRUE(isRemote("Siri Remote \xFF"));
  EXPECT_FALSE(isRemote("Si\xFFri"));
}

TEST_F(BluetoothIdentificationTest, RetrievedRemotesAreKnownByNameAloneToo) {
  for (const char* name : {"Magic Mouse", "Living Room", "", "Siri iPad"}) add(heldBySystem(name));
  add(heldBySystem(std::nullopt));
  startScanning();
  EXPECT_TRUE(devices().empty());
  for (const char* name : {"A1B2C3D4E5F6", "Remote", "SIRI REMOTE"}) add(heldBySystem(name));
  startScanning();
  host->advance(1s);
  EXPECT_EQ(devices().size(), 3U);
}

TEST_F(BluetoothIdentificationTest, PeripheralWithoutANameIsShownAsUnnamed) {
  const Remote remote = add(named(std::nullopt));
  startScanning();
  hear(remote, saying("Siri Remote"));
  EXPECT_EQ(status(), "Connected to Unnamed Device");
  remote->plan.name = "";
  drop(remote);
  EXPECT_EQ(status(), "Disconnected from Unnamed Device");
  remote->plan.name = " ";
  service->connect(remote->identifier());
  host->runReady();
  EXPECT_EQ(status(), "Connected to  ");
}

}  // namespace
}  // namespace tessline::test
