#include "KeyTexts.h"
#include "TestVolume.h"

#include "PlainKeyText.h"
#include "RecoveryKeyText.h"
#include "Secret.h"

#include <gtest/gtest.h>

#include <regex>

namespace vx::bitlocker {
namespace {

std::vector<uint8_t> HashOf(const char *password)
{
    return Secret::FromRecoveryPassword(password)->Keys().Key(0).Copy();
}

struct Found {
    KeyList keys;
    RecoveryKeyText text;

    explicit Found(const std::string &file) { text = RecoveryKeyText::Find(BytesOf(file), &keys); }

    bool HasOnly(const char *password) const
    {
        return keys.Size() == 1 && keys.Key(0).Copy() == HashOf(password);
    }
};

std::string WithoutGroups(std::string password)
{
    password.erase(std::remove(password.begin(), password.end(), '-'), password.end());
    return password;
}

TEST(RecoveryKeyTextTest, ThePasswordAndItsIdentifierAreFoundInEveryLanguageAndEncoding)
{
    for (const std::string &saved : SavedKeys(kKeyId, kRecovery)) {
        for (const TextEncoding encoding : kAllEncodings) {
            const Found found(Encoded(saved, encoding));
            ASSERT_TRUE(found.HasOnly(kRecovery)) << saved << static_cast<int>(encoding);
            EXPECT_EQ(found.keys.At(0).identifiers, std::vector<Guid>{kKeyGuid});
            EXPECT_EQ(found.text.found, 1U);
            EXPECT_EQ(found.text.mistyped, 0U);
        }
    }
}

TEST(RecoveryKeyTextTest, ATextInACodePageIsRead)
{
    const Found found("Schl\xfcssel: \x96 {" + std::string(kKeyId) + "}\r\n" + kRecovery + "\r\n");
    ASSERT_TRUE(found.HasOnly(kRecovery));
    EXPECT_EQ(found.keys.At(0).identifiers, std::vector<Guid>{kKeyGuid});
}

TEST(RecoveryKeyTextTest, SmallLettersAndBracesMakeTheSameIdentifier)
{
    const Found found("{1a2b3c4d-1122-3344-5566-778899aabbcc}," + std::string(kRecovery));
    ASSERT_TRUE(found.HasOnly(kRecovery));
    EXPECT_EQ(found.keys.At(0).identifiers, std::vector<Guid>{kKeyGuid});
}

TEST(RecoveryKeyTextTest, TheGroupsMayBeJoinedByBlanksOrByNothing)
{
    const std::string blanks = std::regex_replace(std::string(kRecovery), std::regex("-"), " ");
    const std::string dashes =
        std::regex_replace(std::string(kRecovery), std::regex("-"), "\u2013");
    for (const std::string &text :
         {blanks, dashes, WithoutGroups(kRecovery), "key=" + WithoutGroups(kRecovery) + ";",
          "\"" + std::string(kRecovery) + "\"", "(" + blanks + ")"})
        EXPECT_TRUE(Found(text).HasOnly(kRecovery)) << text;
}

TEST(RecoveryKeyTextTest, APasswordThatIsWrappedIsFoundIfThereIsNoOther)
{
    std::string wrapped = kRecovery;
    wrapped.replace(27, 1, "-\r\n");
    EXPECT_TRUE(Found(wrapped).HasOnly(kRecovery));
    const Found both(wrapped + "\n" + kOtherRecovery + "\n");
    EXPECT_TRUE(both.HasOnly(kOtherRecovery));
}

TEST(RecoveryKeyTextTest, DigitsThatBelongToLongerNumbersAreNoPassword)
{
    const std::string run = WithoutGroups(kRecovery);
    for (const std::string &text :
         {"1" + run, run + "1", "a" + run, run + "a", "1" + std::string(kRecovery),
          std::string(kRecovery) + "1", std::string(kRecovery, 48), std::string(kRecovery, 54)}) {
        const Found found(text);
        EXPECT_EQ(found.keys.Size(), 0U) << text;
        EXPECT_EQ(found.text.found, 0U);
    }
}

TEST(RecoveryKeyTextTest, NumbersOfSixDigitsBesideAPasswordAreNotPartOfIt)
{
    const Found found("000022 " + std::string(kRecovery) + " 123456");
    ASSERT_GE(found.keys.Size(), 1U);
    bool isThere = false;
    for (size_t i = 0; i < found.keys.Size(); ++i)
        isThere = isThere || found.keys.Key(i).Copy() == HashOf(kRecovery);
    EXPECT_TRUE(isThere);
    EXPECT_EQ(found.text.mistyped, 0U);
}

TEST(RecoveryKeyTextTest, EachLineOfAListHasItsOwnIdentifiers)
{
    const Found found("name,volume,key id,password\r\n"
                      "PC1,{00000000-0000-0000-0000-000000000001}," +
                      std::string(kKeyId) + "," + kRecovery + "\r\n" + "PC2," + kOtherRecovery +
                      "\r\nPC3," + kOtherKeyId +
                      ",111111-222222-333333-444444-555555-666666-000011-000033\r\n");
    ASSERT_EQ(found.keys.Size(), 3U);
    ASSERT_EQ(found.keys.At(0).identifiers.size(), 2U);
    EXPECT_TRUE(found.keys.At(0).Names(kKeyGuid));
    EXPECT_TRUE(found.keys.At(1).identifiers.empty());
    EXPECT_EQ(found.keys.At(2).identifiers, std::vector<Guid>{kOtherKeyGuid});
}

TEST(RecoveryKeyTextTest, AnIdentifierInALineOfItsOwnBelongsToThePasswordsAroundIt)
{
    const Found above(std::string(kKeyId) + "\n" + kRecovery + "\n" + kOtherKeyId + "\n" +
                      kOtherRecovery + "\n");
    ASSERT_EQ(above.keys.Size(), 2U);
    EXPECT_TRUE(above.keys.At(0).Names(kKeyGuid));
    EXPECT_TRUE(above.keys.At(1).Names(kOtherKeyGuid));
    EXPECT_FALSE(above.keys.At(1).Names(kKeyGuid));
    const Found below(std::string(kRecovery) + "\n" + kKeyId + "\n" + kOtherRecovery + "\n" +
                      kOtherKeyId + "\n");
    ASSERT_EQ(below.keys.Size(), 2U);
    EXPECT_TRUE(below.keys.At(0).Names(kKeyGuid));
    EXPECT_FALSE(below.keys.At(0).Names(kOtherKeyGuid));
    EXPECT_TRUE(below.keys.At(1).Names(kOtherKeyGuid));
}

TEST(RecoveryKeyTextTest, WhatIsMistypedIsCountedAndItsPlaceIsSaidWithoutItsDigits)
{
    const Found found(std::string(kRecovery) +
                      "\n\n000011-000022-000034-720885-111111-222222-333333-444444\n"
                      "000011-000022-000033-720896-111111-222222-333333-444445\n");
    EXPECT_EQ(found.keys.Size(), 1U);
    EXPECT_EQ(found.text.mistyped, 2U);
    EXPECT_EQ(found.text.firstMistake, "line 3: group 3 is mistyped");
}

TEST(RecoveryKeyTextTest, TheIdentifierIsReadFromTheNameOfAFile)
{
    const std::string name = "/keys/00000000-0000-0000-0000-000000000001/BitLocker Recovery Key " +
                             std::string(kKeyId) + ".TXT";
    EXPECT_EQ(IdentifiersInName(name), std::vector<Guid>{kKeyGuid});
    EXPECT_TRUE(IdentifiersInName("keys.txt").empty());
}

TEST(RecoveryKeyTextTest, HalfAUnitAtTheEndAndAnEmptyFileAreNoTrouble)
{
    std::string text = Encoded(kRecovery, TextEncoding::kLittleEndianWithMark);
    EXPECT_TRUE(Found(text + "\r").HasOnly(kRecovery));
    for (const char *file : {"", "\xff\xfe", "\xfe\xff", "\xef\xbb\xbf", "\n", "-", "1"})
        EXPECT_EQ(Found(file).keys.Size(), 0U);
}

// --- The list of keys

TEST(KeyListTest, EqualKeysBecomeOneWithTheIdentifiersOfAll)
{
    KeyList keys;
    const std::vector<uint8_t> one(32, 1);
    const std::vector<uint8_t> two(32, 2);
    keys.Add(ProtectorKind::kRecoveryPassword, two, {kKeyGuid});
    keys.Add(ProtectorKind::kRecoveryPassword, one);
    keys.Add(ProtectorKind::kRecoveryPassword, two, {kOtherKeyGuid, kKeyGuid});
    keys.Add(ProtectorKind::kExternalKey, two);
    keys.Add(ProtectorKind::kRecoveryPassword, one);
    keys.MergeEqual();
    ASSERT_EQ(keys.Size(), 3U);
    EXPECT_EQ(keys.Key(0).Copy(), two);
    EXPECT_EQ(keys.At(0).identifiers, (std::vector<Guid>{kKeyGuid, kOtherKeyGuid}));
    EXPECT_EQ(keys.Key(1).Copy(), one);
    EXPECT_EQ(keys.Key(2).Copy(), two);
    EXPECT_EQ(keys.CountOf(ProtectorKind::kExternalKey), 1U);
}

TEST(KeyListTest, AFullListTakesNoMore)
{
    KeyList keys;
    std::vector<uint8_t> key(32);
    for (size_t i = 0; i < KeyList::kMost + 2; ++i) {
        key[0] = static_cast<uint8_t>(i);
        key[1] = static_cast<uint8_t>(i >> 8);
        key[2] = static_cast<uint8_t>(i >> 16);
        keys.Add(ProtectorKind::kRecoveryPassword, key);
    }
    EXPECT_TRUE(keys.IsFull());
    EXPECT_EQ(keys.Size(), KeyList::kMost);
    keys.MergeEqual();
    EXPECT_EQ(keys.Size(), KeyList::kMost);
    EXPECT_EQ(keys.Key(KeyList::kMost - 1).data[0], 0xff);
}

}  // namespace
}  // namespace vx::bitlocker
