#include "Maker/ByteWriter.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "TestVolume.h"

#include "KeyStretcher.h"
#include "PasswordText.h"
#include "RecoveryPassword.h"
#include "Sha256.h"
#include "StartupKeyFile.h"
#include "Wtf8.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vx::bitlocker {
namespace {

// --- Recovery password

std::vector<uint8_t> RecoveryBytes(const std::string &text)
{
    const Result<KeyMaterial> key = ParseRecoveryPassword(text);
    return key ? key->View().Copy() : std::vector<uint8_t>();
}

std::string RecoveryError(const std::string &text)
{
    const Result<KeyMaterial> key = ParseRecoveryPassword(text);
    if (key)
        return "accepted";
    EXPECT_EQ(key.Failure().status, Status::kMalformedSecret);
    return key.Failure().detail;
}

TEST(RecoveryPasswordTest, EachGroupGivesAQuotientInOrder)
{
    const std::vector<uint8_t> expected = {1,    0,    2,    0,    3,    0,    0xff, 0xff,
                                           0x75, 0x27, 0xea, 0x4e, 0x5f, 0x76, 0xd4, 0x9d};
    EXPECT_EQ(RecoveryBytes(kRecovery), expected);
}

TEST(RecoveryPasswordTest, DashesSpacesOrNothingStandBetweenTheGroups)
{
    std::string spaces = kRecovery;
    std::string nothing;
    for (char &c : spaces) {
        if (c != '-')
            nothing += c;
        else
            c = ' ';
    }
    EXPECT_EQ(RecoveryBytes(spaces), RecoveryBytes(kRecovery));
    EXPECT_EQ(RecoveryBytes(nothing), RecoveryBytes(kRecovery));
    EXPECT_EQ(RecoveryBytes(" " + spaces + "\n"), RecoveryBytes(kRecovery));
}

// kRecovery with something else between its groups.
std::string RecoveryWith(const std::string &separator)
{
    std::string text;
    for (const char *c = kRecovery; *c != 0; ++c)
        text += *c == '-' ? separator : std::string(1, *c);
    return text;
}

TEST(RecoveryPasswordTest, DashesAndBlanksOfWordProcessorsStandBetweenTheGroups)
{
    for (const char *separator :
         {"\u2013", "\u2014", "\u2011",   "\u2010", "\u2212", "\u00a0", "\u202f",
          "\u00ad", "\uff0d", " \u2013 ", " - ",    "-\r\n",  "\u3000", "\u2003",
          "\u200e", "\u301c", "\u30fc",   "\ufe63", "\u2e3a", "\u2028"})
        EXPECT_EQ(RecoveryBytes(RecoveryWith(separator)), RecoveryBytes(kRecovery)) << separator;
    EXPECT_EQ(RecoveryBytes(std::string("\ufeff") + kRecovery + "\u00a0"),
              RecoveryBytes(kRecovery));
}

TEST(RecoveryPasswordTest, FullWidthDigitsAreDigits)
{
    std::string wide;
    for (const char *c = kRecovery; *c != 0; ++c)
        wide += *c == '-' ? std::string("\uff0d")
                          : std::string("\xef\xbc") + static_cast<char>(0x90 + (*c - '0'));
    EXPECT_EQ(RecoveryBytes(wide), RecoveryBytes(kRecovery));
}

TEST(RecoveryPasswordTest, OtherCharactersBetweenTheGroupsAreNoDigits)
{
    for (const char *other : {".", "\u2022", "\xe2\x80", "\xff"})
        EXPECT_EQ(RecoveryError(RecoveryWith(other)),
                  "group 2 contains a character that is not a digit")
            << other;
}

TEST(RecoveryPasswordTest, WithoutDashesTheNumberOfDigitsIsTold)
{
    const std::string digits = RecoveryWith("");
    EXPECT_EQ(RecoveryError(digits.substr(1)), "there are 47 digits instead of 48");
    EXPECT_EQ(RecoveryError(digits.substr(0, 47)), "there are 47 digits instead of 48");
    EXPECT_EQ(RecoveryError(digits + "1"), "there are 49 digits instead of 48");
    EXPECT_EQ(RecoveryError(digits.substr(0, 24) + " " + digits.substr(25)),
              "there are 47 digits instead of 48");
    EXPECT_EQ(RecoveryError("12345"), "there are 5 digits instead of 48");
}

TEST(RecoveryPasswordTest, AGroupThatIsNoMultipleOfElevenIsNamed)
{
    EXPECT_EQ(RecoveryError("000011-000022-000034-720885-111111-222222-333333-444444"),
              "group 3 is mistyped");
    EXPECT_EQ(RecoveryError("000011-000022-000033-720885-111111-222222-333333-444445"),
              "group 8 is mistyped");
    EXPECT_EQ(RecoveryError("000012000022000033720885111111222222333333444444"),
              "group 1 is mistyped");
}

TEST(RecoveryPasswordTest, EveryGroupThatIsMistypedIsNamed)
{
    EXPECT_EQ(RecoveryError("000011-000022-000034-720885-111111-222222-333334-444444"),
              "groups 3 and 7 are mistyped");
    EXPECT_EQ(RecoveryError("000012 000023 000033 720885 111111 222222 333334 444444"),
              "groups 1, 2 and 7 are mistyped");
    EXPECT_EQ(RecoveryError("000012000022000033720885111111222222333333444445"),
              "groups 1 and 8 are mistyped");
}

TEST(RecoveryPasswordTest, AGroupOfMoreThanSixteenBitsIsNamed)
{
    EXPECT_EQ(RecoveryError("720896-000022-000033-720885-111111-222222-333333-444444"),
              "group 1 is mistyped");
}

TEST(RecoveryPasswordTest, AGroupOfFiveOrSevenDigitsIsNamed)
{
    EXPECT_EQ(RecoveryError("000011-00022-000033-720885-111111-222222-333333-444444"),
              "group 2 does not have six digits");
    EXPECT_EQ(RecoveryError("000011-000022-0000330-720885-11111-222222-333333-444444"),
              "groups 3 and 5 do not have six digits");
}

TEST(RecoveryPasswordTest, AGroupWithALetterIsNamed)
{
    EXPECT_EQ(RecoveryError("000011-000022-000033-720885-11111l-222222-333333-444444"),
              "group 5 contains a character that is not a digit");
    EXPECT_EQ(RecoveryError("OOOO11-000022-000033-720885-11111l-222222-333333-444444"),
              "groups 1 and 5 contain a character that is not a digit");
}

TEST(RecoveryPasswordTest, DifferentMistakesAreNamedTogether)
{
    EXPECT_EQ(RecoveryError("000012-00022-000033-72088x-111111-222222-333333-444444"),
              "group 1 is mistyped; group 2 does not have six digits; "
              "group 4 contains a character that is not a digit");
}

TEST(RecoveryPasswordTest, OneSevenOrNineGroupsAreRefused)
{
    EXPECT_EQ(RecoveryError("000011"), "there is 1 group of digits instead of 8");
    EXPECT_EQ(RecoveryError("1"), "there is 1 digit instead of 48");
    EXPECT_EQ(RecoveryError("000011-000022-000034-720885-111111-222222-333333"),
              "there are 7 groups of digits instead of 8; group 3 is mistyped");
    EXPECT_EQ(RecoveryError(std::string(kRecovery) + "-000011"),
              "there are more than 8 groups of digits");
    EXPECT_EQ(RecoveryError(""), "there are 0 groups of digits instead of 8");
}

TEST(RecoveryPasswordTest, OfAnEndlessTextNoMoreThanEightGroupsAreNamed)
{
    std::string text;
    for (int i = 0; i < 10000; ++i)
        text += "000012-1-x-";
    EXPECT_LT(RecoveryError(text).size(), 250U);
}

// --- Password

std::vector<uint8_t> Utf16(const std::string &text)
{
    const std::optional<KeyMaterial> units = Utf16FromUtf8(text);
    return units ? units->View().Copy() : std::vector<uint8_t>{0xbd};
}

TEST(PasswordTest, ANonAsciiCharacterBecomesOneUnit)
{
    EXPECT_EQ(Utf16("a\u00a3"), (std::vector<uint8_t>{'a', 0, 0xa3, 0}));
    EXPECT_EQ(Utf16("\u0416\u65e5"), (std::vector<uint8_t>{0x16, 0x04, 0xe5, 0x65}));
}

TEST(PasswordTest, ACharacterOutsideTheBasicPlaneBecomesASurrogatePair)
{
    EXPECT_EQ(Utf16("\U0001F600"), (std::vector<uint8_t>{0x3d, 0xd8, 0x00, 0xde}));
}

TEST(PasswordTest, NothingIsTrimmedOrNormalised)
{
    EXPECT_EQ(Utf16(" e\u0301 "), (std::vector<uint8_t>{' ', 0, 'e', 0, 0x01, 0x03, ' ', 0}));
}

TEST(PasswordTest, TextThatIsNotUtf8IsMalformed)
{
    for (const char *text :
         {"\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\x80"}) {
        const Result<Secret> secret = Secret::FromPassword(text);
        ASSERT_FALSE(secret) << text;
        EXPECT_EQ(secret.Failure().status, Status::kMalformedSecret);
    }
}

TEST(Utf16Test, ADescriptionIsReadUpToItsZeroAndALoneSurrogateIsReplaced)
{
    const std::vector<uint8_t> bytes = {0x3d, 0xd8, 0x00, 0xde, 0x3d, 0xd8, 'x', 0, 0, 0, 'y', 0};
    EXPECT_EQ(Utf8FromUtf16(bytes), "\U0001F600\ufffdx");
}

// --- Stretching

TEST(KeyStretcherTest, EachRoundHashesTheLastHashTheFirstTheSaltAndTheCount)
{
    const Sha256Digest first = Sha256({});
    Salt salt;
    salt.fill(0x42);
    std::vector<uint8_t> message(88);
    maker::PutBytes(message, 32, {first.data(), first.size()});
    maker::PutBytes(message, 64, {salt.data(), salt.size()});
    for (uint64_t count = 0; count < 1000; ++count) {
        maker::PutU64(message, 80, count);
        const Sha256Digest last = Sha256(message);
        maker::PutBytes(message, 0, {last.data(), last.size()});
    }
    const Result<KeyMaterial> key =
        KeyStretcher(1000).Stretch({first.data(), first.size()}, salt, nullptr);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->View().Copy(), ByteView(message).First(32).Copy());
}

TEST(KeyStretcherTest, TheFormatsNumberOfRoundsIsTheDefault)
{
    const Sha256Digest hash = Sha256({});
    const auto stretched = [&](const KeyStretcher &stretcher) {
        return stretcher.Stretch({hash.data(), hash.size()}, Salt{}, nullptr)->View().Copy();
    };
    EXPECT_EQ(stretched(KeyStretcher()), stretched(KeyStretcher(1048576)));
}

TEST(KeyStretcherTest, ARaisedFlagEndsIt)
{
    const CancelFlag cancel;
    CancelFlag::RaiseAll();
    const Sha256Digest hash{};
    const Result<KeyMaterial> key =
        KeyStretcher(UINT64_MAX).Stretch({hash.data(), hash.size()}, Salt{}, &cancel);
    ASSERT_FALSE(key);
    EXPECT_EQ(key.Failure().status, Status::kCancelled);
}

// --- Startup key file

const Guid kProtector = maker::MadeUpBytes(5).GuidOf("a protector");

TEST(StartupKeyFileTest, TheKeyAndItsProtectorAreFoundInBothForms)
{
    for (bool windows11 : {false, true}) {
        const Result<StartupKeyFile> file =
            StartupKeyFile::Parse(maker::MakeStartupKeyFile(kProtector, windows11));
        ASSERT_TRUE(file) << file.Failure().detail;
        EXPECT_EQ(file->identifier, kProtector);
        EXPECT_EQ(file->key.View().Copy(), maker::StartupKeyOf(kProtector));
    }
}

TEST(StartupKeyFileTest, BytesBehindTheStatedSizeAreLeftAlone)
{
    std::vector<uint8_t> bytes = maker::MakeStartupKeyFile(kProtector);
    bytes.resize(bytes.size() + 100, 0xff);
    EXPECT_TRUE(StartupKeyFile::Parse(bytes));
}

TEST(StartupKeyFileTest, AFileThatIsCutAnywhereIsMalformed)
{
    const std::vector<uint8_t> bytes = maker::MakeStartupKeyFile(kProtector, true);
    for (size_t size = 0; size < bytes.size(); ++size) {
        const Result<StartupKeyFile> file = StartupKeyFile::Parse(ByteView(bytes).First(size));
        ASSERT_FALSE(file) << size;
        EXPECT_EQ(file.Failure().status, Status::kMalformedSecret);
    }
}

TEST(StartupKeyFileTest, AnotherVersionOrHeaderSizeIsMalformed)
{
    for (size_t field : {4, 8}) {
        std::vector<uint8_t> bytes = maker::MakeStartupKeyFile(kProtector);
        bytes[field] += 1;
        EXPECT_FALSE(StartupKeyFile::Parse(bytes)) << field;
    }
}

TEST(StartupKeyFileTest, AFileWithoutAKeyOf32BytesIsMalformed)
{
    std::vector<uint8_t> bytes = maker::MakeStartupKeyFile(kProtector);
    bytes[bytes.size() - 40] = 2;  // the value type of the key: now a text
    const Result<StartupKeyFile> file = StartupKeyFile::Parse(bytes);
    ASSERT_FALSE(file);
    EXPECT_TRUE(Contains(file.Failure().detail, "no key"));
}

TEST(StartupKeyFileTest, AMissingFileIsAnErrorOfTheSystem)
{
    const Result<Secret> secret = Secret::FromStartupKeyFile("/nonexistent/key.BEK");
    ASSERT_FALSE(secret);
    EXPECT_EQ(secret.Failure().status, Status::kSystemError);
    EXPECT_EQ(secret.Failure().systemError, ENOENT);
}

}  // namespace
}  // namespace vx::bitlocker
