#include "Maker/ByteWriter.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;

maker::VolumeRecipe RecipeWith(std::vector<ProtectorRecipe> protectors)
{
    maker::VolumeRecipe recipe;
    recipe.protectors = std::move(protectors);
    return recipe;
}

const Guid kStartupProtector = maker::MadeUpBytes(1).GuidOf("startup");
const Guid kOtherProtector = maker::MadeUpBytes(1).GuidOf("other");

Secret StartupKey(const Guid &protector)
{
    return std::move(*Secret::FromStartupKey(maker::MakeStartupKeyFile(protector)));
}

TEST(UnlockTest, APasswordOpens)
{
    const TestVolume volume(RecipeWithPassword());
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(UnlockTest, ANonAsciiPasswordOpensAndItsLatin1ReadingDoesNot)
{
    const TestVolume volume(RecipeWith({ProtectorRecipe::Password("na\u00efve\u00a3\U0001F600")}));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword("na\u00efve\u00a3\U0001F600"), volume));
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("na\u00c3\u00afve\u00c2\u00a3")),
              Status::kWrongSecret);
}

TEST(UnlockTest, ARecoveryPasswordOpens)
{
    const TestVolume volume(RecipeWith({ProtectorRecipe::Recovery(kRecovery)}));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithRecovery(kRecovery), volume));
}

TEST(UnlockTest, AStartupKeyOpens)
{
    const TestVolume volume(RecipeWith({ProtectorRecipe::StartupKey(kStartupProtector)}));
    EXPECT_TRUE(HoldsPlain(volume.Open(StartupKey(kStartupProtector)), volume));
}

TEST(UnlockTest, AStartupKeyWhoseProtectorHasAnotherIdentifierIsTriedToo)
{
    std::vector<uint8_t> file = maker::MakeStartupKeyFile(kStartupProtector);
    maker::PutBytes(file, 56, {kOtherProtector.bytes.data(), 16});
    const TestVolume volume(RecipeWith({ProtectorRecipe::StartupKey(kStartupProtector)}));
    EXPECT_TRUE(HoldsPlain(volume.Open(*Secret::FromStartupKey(file)), volume));
}

TEST(UnlockTest, AClearKeyOpensWithoutASecret)
{
    const TestVolume volume(RecipeWith({ProtectorRecipe::ClearKey()}));
    EXPECT_TRUE(HoldsPlain(volume.Open(Secret::None()), volume));
}

TEST(UnlockTest, ASecretChangesNothingOnASuspendedVolume)
{
    const TestVolume volume(RecipeWith({ProtectorRecipe::ClearKey()}));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword("anything"), volume));
}

TEST(UnlockTest, ADamagedClearKeyLeavesThePasswordToOpen)
{
    maker::VolumeRecipe recipe =
        RecipeWith({ProtectorRecipe::ClearKey(), ProtectorRecipe::Password(kPassword)});
    recipe.protectors[0].damaged = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
    EXPECT_EQ(StatusOf(volume.Open(Secret::None())), Status::kWrongSecret);
}

TEST(UnlockTest, EveryProtectorOfTheKindIsTried)
{
    const TestVolume volume(RecipeWith(
        {ProtectorRecipe::Recovery(kRecovery), ProtectorRecipe::Password("first"),
         ProtectorRecipe::Recovery(kOtherRecovery), ProtectorRecipe::Password("second")}));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithRecovery(kRecovery), volume));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithRecovery(kOtherRecovery), volume));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword("second"), volume));
}

TEST(UnlockTest, TheSectorKeyMayStandBeforeTheProtectors)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.sectorKeyFirst = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(UnlockTest, AnUnknownPropertyIsSkipped)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.protectors[0].withUnknownProperty = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(UnlockTest, MetadataLongerThan8KiBIsRead)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.padding = 25000;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(UnlockTest, AWrongSecretIsToldFromAMissingProtector)
{
    const TestVolume volume(RecipeWith(
        {ProtectorRecipe::Password(kPassword), ProtectorRecipe::StartupKey(kStartupProtector)}));
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("correct hors")), Status::kWrongSecret);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("")), Status::kWrongSecret);
    EXPECT_EQ(StatusOf(volume.Open(StartupKey(kOtherProtector))), Status::kWrongSecret);
    EXPECT_EQ(StatusOf(volume.OpenWithRecovery(kRecovery)), Status::kNoProtectorOfKind);
    EXPECT_EQ(StatusOf(volume.Open(Secret::None())), Status::kNoProtectorOfKind);
}

TEST(UnlockTest, TheProtectorThatWasOpenedIsReported)
{
    const TestVolume volume(RecipeWith(
        {ProtectorRecipe::Password(kPassword), ProtectorRecipe::StartupKey(kStartupProtector)}));
    const Result<UnlockedVolume> opened = volume.Open(StartupKey(kStartupProtector));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.unlockedBy, UnlockedBy::kProtector);
    EXPECT_EQ(opened->facts.protectorKind, ProtectorKind::kExternalKey);
    EXPECT_EQ(opened->facts.protectorIdentifier, kStartupProtector);
}

const Guid kFirstKey{{0x4d, 0x3c, 0x2b, 0x1a, 0x22, 0x11, 0x44, 0x33, 0x55, 0x66, 0x77}};
const Guid kSecondKey{{0x8b, 0x7a, 0x6f, 0x5e}};
const Guid kThirdKey{{0x04, 0x03, 0x02, 0x01}};

maker::VolumeRecipe WithKeyIds(std::vector<ProtectorRecipe> protectors)
{
    const Guid identifiers[] = {kFirstKey, kSecondKey, kThirdKey};
    for (size_t i = 0; i < protectors.size(); ++i)
        protectors[i].identifier = identifiers[i];
    return RecipeWith(std::move(protectors));
}

// The identifiers are those that Windows shows and that stand on the printed page.
TEST(UnlockTest, ASecretThatFailsOrIsMissingNamesEveryProtectorByItsKeyId)
{
    const TestVolume volume(
        WithKeyIds({ProtectorRecipe::Recovery(kRecovery), ProtectorRecipe::Recovery(kOtherRecovery),
                    ProtectorRecipe::OfKind(ProtectorKind::kTpmAndPin)}));
    const std::string list = "the volume has: recovery password (Key ID 1A2B3C4D), "
                             "recovery password (Key ID 5E6F7A8B), TPM and PIN (Key ID 01020304)";
    const Result<UnlockedVolume> missing = volume.Open(Secret::None());
    ASSERT_EQ(StatusOf(missing), Status::kNoProtectorOfKind);
    EXPECT_EQ(missing.Failure().detail, list);
    EXPECT_EQ(volume.OpenWithPassword().Failure().detail, list);
    const Result<UnlockedVolume> wrong =
        volume.OpenWithRecovery("000022-000022-000033-720885-111111-222222-333333-444444");
    ASSERT_EQ(StatusOf(wrong), Status::kWrongSecret);
    EXPECT_EQ(
        wrong.Failure().detail,
        "it was tried on recovery password (Key ID 1A2B3C4D), recovery "
        "password (Key ID 5E6F7A8B); the volume also has TPM and PIN (Key ID 01020304), which "
        "cannot be used here");
}

TEST(UnlockTest, OnlyTpmSmartCardOrUnknownProtectorsAreUnsupportedAndNamed)
{
    const TestVolume volume(
        WithKeyIds({ProtectorRecipe::OfKind(ProtectorKind::kTpm),
                    ProtectorRecipe::OfKind(ProtectorKind::kSmartCard),
                    ProtectorRecipe::OfKind(static_cast<ProtectorKind>(0x4000))}));
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_EQ(StatusOf(opened), Status::kUnsupportedProtector);
    EXPECT_EQ(opened.Failure().detail, "the volume has: TPM (Key ID 1A2B3C4D), "
                                       "smart card (Key ID 5E6F7A8B), "
                                       "unknown kind 0x4000 (Key ID 01020304)");
}

TEST(UnlockTest, AStartupKeyOfAnotherVolumeIsToldFromTheOneThatIsWanted)
{
    const TestVolume volume(
        WithKeyIds({ProtectorRecipe::StartupKey(kFirstKey), ProtectorRecipe::Password(kPassword),
                    ProtectorRecipe::StartupKey(kThirdKey)}));
    const Result<UnlockedVolume> opened = volume.Open(StartupKey(Guid{{0xaa, 0xbb, 0xcc, 0xdd}}));
    ASSERT_EQ(StatusOf(opened), Status::kWrongSecret);
    EXPECT_EQ(
        opened.Failure().detail,
        "the key file is DDCCBBAA-0000-0000-0000-000000000000.BEK, but this volume needs "
        "1A2B3C4D-1122-3344-5566-770000000000.BEK or "
        "01020304-0000-0000-0000-000000000000.BEK; it was tried on startup key (Key ID "
        "1A2B3C4D), startup key (Key ID 01020304); the volume also opens with password (Key ID "
        "5E6F7A8B)");
}

TEST(UnlockTest, AStartupKeyWhoseKeyIsAnotherOneIsNotTakenForOneOfAnotherVolume)
{
    std::vector<uint8_t> file = maker::MakeStartupKeyFile(kFirstKey);
    file.back() ^= 1;
    const TestVolume volume(WithKeyIds({ProtectorRecipe::StartupKey(kFirstKey)}));
    const Result<UnlockedVolume> opened = volume.Open(*Secret::FromStartupKey(file));
    ASSERT_EQ(StatusOf(opened), Status::kWrongSecret);
    EXPECT_EQ(opened.Failure().detail,
              "the key file is the one of this volume, 1A2B3C4D-1122-3344-5566-770000000000.BEK, "
              "but the key in it is another one; it was tried on startup key (Key ID 1A2B3C4D)");
}

TEST(UnlockTest, AStartupKeyThatOpensOnlyTogetherWithTheTpmIsNamedAsSuch)
{
    const TestVolume volume(
        WithKeyIds({ProtectorRecipe::StartupKey(kFirstKey),
                    ProtectorRecipe::OfKind(ProtectorKind::kTpmAndStartupKey)}));
    const std::string detail = volume.Open(StartupKey(kSecondKey)).Failure().detail;
    EXPECT_TRUE(Contains(detail, "the key file is the one for TPM and startup key together; "))
        << detail;
}

TEST(UnlockTest, OfAVolumeThatClaimsHundredsOfProtectorsTheRestIsCounted)
{
    const TestVolume volume(RecipeWith(
        std::vector<ProtectorRecipe>(200, ProtectorRecipe::OfKind(ProtectorKind::kTpm))));
    const std::string detail = volume.OpenWithPassword().Failure().detail;
    EXPECT_TRUE(Contains(detail, ") and 176 more")) << detail;
}

TEST(UnlockTest, AnyKindWithTheTpmBitNeedsTheTpm)
{
    EXPECT_EQ(ProtectorKindName(ProtectorKind::kTpm), "TPM");
    EXPECT_EQ(ProtectorKindName(ProtectorKind::kTpmAndStartupKey), "TPM and startup key");
    EXPECT_EQ(ProtectorKindName(ProtectorKind::kTpmPinAndStartupKey), "TPM, PIN and startup key");
    EXPECT_EQ(ProtectorKindName(static_cast<ProtectorKind>(0x4100)), "TPM and others");
}

TEST(UnlockTest, AnUnknownMethodIsUnsupportedOnceTheSecretIsRight)
{
    TestVolume volume(RecipeWithPassword());
    for (uint64_t copy : volume.plan.copies) {
        maker::PutU16(volume.image, copy + 64 + 36, 0x8006);
        maker::RenewChecksum(volume.image, copy);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kUnsupportedMethod);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("wrong")), Status::kWrongSecret);
}

// Otherwise a volume that claims hundreds of protectors would keep its reader for minutes.
TEST(UnlockTest, ASecretIsStretchedForThirtyTwoSaltsAndNoMore)
{
    std::vector<ProtectorRecipe> protectors(31, ProtectorRecipe::Password("other"));
    protectors.push_back(ProtectorRecipe::Password(kPassword));
    const TestVolume last(RecipeWith(protectors));
    EXPECT_TRUE(HoldsPlain(last.OpenWithPassword(), last));
    protectors.insert(protectors.begin(), ProtectorRecipe::Password("other"));
    const TestVolume tooMany(RecipeWith(protectors));
    EXPECT_EQ(StatusOf(tooMany.OpenWithPassword()), Status::kWrongSecret);
}

TEST(UnlockTest, AnotherThreadCancelsIt)
{
    const TestVolume volume(RecipeWithPassword());
    const auto source = std::make_shared<MemoryByteSource>(volume.image);
    const CancelFlag cancel;
    std::future<Status> status = std::async(std::launch::async, [&] {
        return StatusOf(VolumeOpener(source, &cancel, KeyStretcher(UINT64_MAX))
                            .Open(*Secret::FromPassword(kPassword)));
    });
    CancelFlag::RaiseAll();
    ASSERT_EQ(status.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(status.get(), Status::kCancelled);
}

}  // namespace
}  // namespace vx::bitlocker
