// What a volume can be unlocked with, and how that and the volume are worded.
#include "UnlockChoices.h"
#include "EnglishWording.h"
#include "OpeningReason.h"
#include "StandIns.h"
#include "VolumeLibraryStatus.h"
#include "VolumeTexts.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using vx::SecretKind;
using vxtest::EncryptedVolume;
using vxtest::PlainVolume;

std::vector<SecretKind> Kinds(const vx::VolumeFacts &volume)
{
    std::vector<SecretKind> kinds;
    for (const vx::UnlockChoice &choice : vx::UnlockChoices(volume))
        kinds.push_back(choice.kind);
    return kinds;
}

TEST(UnlockChoices, ThePasswordComesBeforeKeysInWhateverOrderTheDiskHasThem)
{
    EXPECT_EQ(
        Kinds(EncryptedVolume("/dev/sdb1", {"external-key", "recovery-password", "password"})),
        (std::vector<SecretKind>{SecretKind::kPassword, SecretKind::kRecoveryKey,
                                 SecretKind::kStartupKey, SecretKind::kRecoveryFile}));
}

TEST(UnlockChoices, OnlyWhatTheVolumeTakesIsOffered)
{
    EXPECT_EQ(Kinds(EncryptedVolume("/dev/sdb1", {"recovery-password", "tpm"})),
              (std::vector<SecretKind>{SecretKind::kRecoveryKey, SecretKind::kRecoveryFile}));
    EXPECT_TRUE(Kinds(EncryptedVolume("/dev/sdb1", {"tpm"})).empty());
}

TEST(UnlockChoices, ASuspendedVolumeNeedsNothingFirst)
{
    vx::VolumeFacts volume = EncryptedVolume("/dev/sdb1", {"recovery-password"});
    volume.hasClearKey = true;
    EXPECT_EQ(Kinds(volume).front(), SecretKind::kNone);
    EXPECT_EQ(Kinds(volume).size(), 3u);
}

TEST(UnlockChoices, IfTheMetadataDoesNotSayEveryKindIsOffered)
{
    EXPECT_EQ(Kinds(EncryptedVolume("/dev/sdb1", {})).size(), 4u);
}

TEST(UnlockChoices, AVolumeThatIsNotEncryptedNeedsNothingAndAnUnknownOneDoesNotOpen)
{
    EXPECT_EQ(Kinds(PlainVolume("/dev/sdb1", "DATA")), std::vector<SecretKind>{SecretKind::kNone});
    vx::VolumeFacts other;
    other.kind = "other";
    other.kindText = "a LUKS volume";
    other.nextStep = "open it with cryptsetup";
    EXPECT_TRUE(Kinds(other).empty());
    EXPECT_EQ(vx::ClosedReason(other, EnglishWording()), "This volume cannot be opened here.");
    EXPECT_EQ(vx::ClosedDetail(other), "a LUKS volume\nopen it with cryptsetup");
    EXPECT_EQ(vx::VolumeSummary(other, EnglishWording()), "Other contents");
    EXPECT_EQ(vx::VolumeTitle(other, EnglishWording()), "a LUKS volume");
}

TEST(UnlockChoices, WhatIsNotRecognisedMayBeAnEncryptedVolumeThatLostItsFirstSector)
{
    vx::VolumeFacts lost = PlainVolume("/dev/sdb1", "");
    for (const char *kind : {"other", "unreadable"}) {
        lost.kind = kind;
        EXPECT_EQ(vx::UnlockChoices(lost).size(), 4u);
        EXPECT_EQ(vx::UnlockChoices(lost)[0].kind, SecretKind::kPassword);
        EXPECT_EQ(vx::ClosedReason(lost, EnglishWording()).find("Nothing is recognised here."), 0u);
        EXPECT_EQ(vx::ClosedDetail(lost).empty(), lost.kind == "other") << "the reason says it";
    }
}

TEST(UnlockChoices, EachRecoveryProtectorGivesItsFirstEightDigits)
{
    vx::VolumeFacts volume =
        EncryptedVolume("/dev/sdb1", {"recovery-password", "recovery-password"});
    volume.protectors[1].identifier = "FFFFFFFF-0000-1111-2222-333344445555";
    const vx::UnlockChoice choice = vx::UnlockChoices(volume).front();
    EXPECT_EQ(choice.identifiers, (std::vector<std::string>{"1A2B3C4D", "FFFFFFFF"}));
    EXPECT_EQ(vx::ChoiceTitle(choice, EnglishWording()), "Recovery key (1A2B3C4D, FFFFFFFF)");
}

TEST(UnlockChoices, TheKindsOfUnlockAreThoseOfTheLibrary)
{
    EXPECT_STREQ(vx::UnlockKindOf(SecretKind::kNone), "none");
    EXPECT_STREQ(vx::UnlockKindOf(SecretKind::kPassword), "password");
    EXPECT_STREQ(vx::UnlockKindOf(SecretKind::kRecoveryKey), "recovery");
    EXPECT_STREQ(vx::UnlockKindOf(SecretKind::kStartupKey), "startup-key");
    EXPECT_STREQ(vx::UnlockKindOf(SecretKind::kRecoveryFile), "recovery-file");
}

TEST(VolumeTexts, AnEncryptedVolumeIsDescribedByMethodSizeAndWhatWindowsNoted)
{
    vx::VolumeFacts volume = EncryptedVolume("/dev/sdb1", {"password"});
    EXPECT_EQ(vx::VolumeSummary(volume, EnglishWording()),
              "Encrypted with BitLocker, AES-128-XTS, 64.0 GiB\nLAPTOP C: 1/2/2026");
    volume.state = "encrypting";
    EXPECT_NE(vx::VolumeSummary(volume, EnglishWording()).find("\nEncrypting it was not finished."),
              std::string::npos);
}

TEST(VolumeTexts, AVolumeOfAListHasItsNumberLabelAndSize)
{
    vx::VolumeFacts volume = PlainVolume("/dev/sdb1", "SYSTEM");
    EXPECT_EQ(vx::VolumeTitle(volume, EnglishWording()), "FAT \"SYSTEM\", 100.0 MiB");
    volume.number = 3;
    EXPECT_EQ(vx::VolumeTitle(volume, EnglishWording()), "3: FAT \"SYSTEM\", 100.0 MiB");
}

TEST(OpeningReason, EveryStatusHasASentence)
{
    for (const VolumeLibraryStatusMeaning &meaning : kVolumeLibraryStatusMeanings) {
        const auto status = static_cast<int32_t>(meaning.status);
        const std::string sentence = vx::OpeningReason(status, SecretKind::kPassword);
        EXPECT_EQ(sentence.back(), '.') << status;
    }
    EXPECT_EQ(std::string(vx::OpeningReason(12345, SecretKind::kNone)).back(), '.');
}

TEST(OpeningReason, AWrongSecretIsNamedByItsKind)
{
    const auto wrong = static_cast<int32_t>(VolumeLibraryStatus::kWrongSecret);
    std::set<std::string> sentences;
    for (const SecretKind kind :
         {SecretKind::kPassword, SecretKind::kRecoveryKey, SecretKind::kStartupKey})
        sentences.insert(vx::OpeningReason(wrong, kind));
    EXPECT_EQ(sentences.size(), 3u);
}

TEST(Wording, PlacesAreFilledInTheOrderOfTheTranslation)
{
    const vx::Wording turned = {[](const std::string &) { return "{2} von {1}{3}{"; }, nullptr};
    EXPECT_EQ(turned.Text("", {"1", "{1}"}), "{1} von 1{3}{");
}

}  // namespace
