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

maker::VolumeRecipe recipeWith(std::vector<ProtectorRecipe> protectors)
{
    maker::VolumeRecipe recipe;
    recipe.protectors = std::move(protectors);
    return recipe;
}

const Guid kStartupProtector = maker::MadeUpBytes(1).guid("startup");
const Guid kOtherProtector = maker::MadeUpBytes(1).guid("other");

Secret startupKey(const Guid &protector)
{
    return std::move(*Secret::startupKey(maker::makeStartupKeyFile(protector)));
}

TEST(UnlockTest, APasswordOpens)
{
    const TestVolume volume(recipeWithPassword());
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(UnlockTest, ANonAsciiPasswordOpensAndItsLatin1ReadingDoesNot)
{
    const TestVolume volume(recipeWith({ProtectorRecipe::password("na\u00efve\u00a3\U0001F600")}));
    EXPECT_TRUE(holdsPlain(volume.openWithPassword("na\u00efve\u00a3\U0001F600"), volume));
    EXPECT_EQ(statusOf(volume.openWithPassword("na\u00c3\u00afve\u00c2\u00a3")),
              Status::WrongSecret);
}

TEST(UnlockTest, ARecoveryPasswordOpens)
{
    const TestVolume volume(recipeWith({ProtectorRecipe::recovery(kRecovery)}));
    EXPECT_TRUE(holdsPlain(volume.openWithRecovery(kRecovery), volume));
}

TEST(UnlockTest, AStartupKeyOpens)
{
    const TestVolume volume(recipeWith({ProtectorRecipe::startupKey(kStartupProtector)}));
    EXPECT_TRUE(holdsPlain(volume.open(startupKey(kStartupProtector)), volume));
}

TEST(UnlockTest, AStartupKeyWhoseProtectorHasAnotherIdentifierIsTriedToo)
{
    std::vector<uint8_t> file = maker::makeStartupKeyFile(kStartupProtector);
    maker::putBytes(file, 56, {kOtherProtector.bytes.data(), 16});
    const TestVolume volume(recipeWith({ProtectorRecipe::startupKey(kStartupProtector)}));
    EXPECT_TRUE(holdsPlain(volume.open(*Secret::startupKey(file)), volume));
}

TEST(UnlockTest, AClearKeyOpensWithoutASecret)
{
    const TestVolume volume(recipeWith({ProtectorRecipe::clearKey()}));
    EXPECT_TRUE(holdsPlain(volume.open(Secret::none()), volume));
}

TEST(UnlockTest, ASecretChangesNothingOnASuspendedVolume)
{
    const TestVolume volume(recipeWith({ProtectorRecipe::clearKey()}));
    EXPECT_TRUE(holdsPlain(volume.openWithPassword("anything"), volume));
}

TEST(UnlockTest, ADamagedClearKeyLeavesThePasswordToOpen)
{
    maker::VolumeRecipe recipe =
        recipeWith({ProtectorRecipe::clearKey(), ProtectorRecipe::password(kPassword)});
    recipe.protectors[0].damaged = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
    EXPECT_EQ(statusOf(volume.open(Secret::none())), Status::WrongSecret);
}

TEST(UnlockTest, EveryProtectorOfTheKindIsTried)
{
    const TestVolume volume(recipeWith(
        {ProtectorRecipe::recovery(kRecovery), ProtectorRecipe::password("first"),
         ProtectorRecipe::recovery(kOtherRecovery), ProtectorRecipe::password("second")}));
    EXPECT_TRUE(holdsPlain(volume.openWithRecovery(kRecovery), volume));
    EXPECT_TRUE(holdsPlain(volume.openWithRecovery(kOtherRecovery), volume));
    EXPECT_TRUE(holdsPlain(volume.openWithPassword("second"), volume));
}

TEST(UnlockTest, TheSectorKeyMayStandBeforeTheProtectors)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.sectorKeyFirst = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(UnlockTest, AnUnknownPropertyIsSkipped)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.protectors[0].withUnknownProperty = true;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(UnlockTest, MetadataLongerThan8KiBIsRead)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.padding = 25000;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(UnlockTest, AWrongSecretIsToldFromAMissingProtector)
{
    const TestVolume volume(recipeWith(
        {ProtectorRecipe::password(kPassword), ProtectorRecipe::startupKey(kStartupProtector)}));
    EXPECT_EQ(statusOf(volume.openWithPassword("correct hors")), Status::WrongSecret);
    EXPECT_EQ(statusOf(volume.openWithPassword("")), Status::WrongSecret);
    EXPECT_EQ(statusOf(volume.open(startupKey(kOtherProtector))), Status::WrongSecret);
    EXPECT_EQ(statusOf(volume.openWithRecovery(kRecovery)), Status::NoProtectorOfKind);
    EXPECT_EQ(statusOf(volume.open(Secret::none())), Status::NoProtectorOfKind);
}

const Guid kFirstKey{{0x4d, 0x3c, 0x2b, 0x1a, 0x22, 0x11, 0x44, 0x33, 0x55, 0x66, 0x77}};
const Guid kSecondKey{{0x8b, 0x7a, 0x6f, 0x5e}};
const Guid kThirdKey{{0x04, 0x03, 0x02, 0x01}};

maker::VolumeRecipe withKeyIds(std::vector<ProtectorRecipe> protectors)
{
    const Guid identifiers[] = {kFirstKey, kSecondKey, kThirdKey};
    for (size_t i = 0; i < protectors.size(); ++i)
        protectors[i].identifier = identifiers[i];
    return recipeWith(std::move(protectors));
}

// The identifiers are those that Windows shows and that stand on the printed page.
TEST(UnlockTest, ASecretThatFailsOrIsMissingNamesEveryProtectorByItsKeyId)
{
    const TestVolume volume(
        withKeyIds({ProtectorRecipe::recovery(kRecovery), ProtectorRecipe::recovery(kOtherRecovery),
                    ProtectorRecipe::ofKind(ProtectorKind::TpmAndPin)}));
    const std::string list = "the volume has: recovery password (Key ID 1A2B3C4D), "
                             "recovery password (Key ID 5E6F7A8B), TPM and PIN (Key ID 01020304)";
    const Result<OpenedVolume> missing = volume.open(Secret::none());
    ASSERT_EQ(statusOf(missing), Status::NoProtectorOfKind);
    EXPECT_EQ(missing.error().detail, list);
    EXPECT_EQ(volume.openWithPassword().error().detail, list);
    const Result<OpenedVolume> wrong =
        volume.openWithRecovery("000022-000022-000033-720885-111111-222222-333333-444444");
    ASSERT_EQ(statusOf(wrong), Status::WrongSecret);
    EXPECT_EQ(wrong.error().detail, list);
}

TEST(UnlockTest, OnlyTpmSmartCardOrUnknownProtectorsAreUnsupportedAndNamed)
{
    const TestVolume volume(
        withKeyIds({ProtectorRecipe::ofKind(ProtectorKind::Tpm),
                    ProtectorRecipe::ofKind(ProtectorKind::SmartCard),
                    ProtectorRecipe::ofKind(static_cast<ProtectorKind>(0x4000))}));
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_EQ(statusOf(opened), Status::UnsupportedProtector);
    EXPECT_EQ(opened.error().detail, "the volume has: TPM (Key ID 1A2B3C4D), "
                                     "smart card (Key ID 5E6F7A8B), "
                                     "unknown kind 0x4000 (Key ID 01020304)");
}

TEST(UnlockTest, AStartupKeyOfAnotherVolumeIsToldFromTheOneThatIsWanted)
{
    const TestVolume volume(
        withKeyIds({ProtectorRecipe::startupKey(kFirstKey), ProtectorRecipe::password(kPassword),
                    ProtectorRecipe::startupKey(kThirdKey)}));
    const Result<OpenedVolume> opened = volume.open(startupKey(Guid{{0xaa, 0xbb, 0xcc, 0xdd}}));
    ASSERT_EQ(statusOf(opened), Status::WrongSecret);
    EXPECT_EQ(opened.error().detail,
              "the key file is DDCCBBAA-0000-0000-0000-000000000000.BEK, and this volume wants "
              "1A2B3C4D-1122-3344-5566-770000000000.BEK or "
              "01020304-0000-0000-0000-000000000000.BEK; the volume has: startup key (Key ID "
              "1A2B3C4D), password (Key ID 5E6F7A8B), startup key (Key ID 01020304)");
}

TEST(UnlockTest, AStartupKeyWhoseKeyIsAnotherOneIsNotTakenForOneOfAnotherVolume)
{
    std::vector<uint8_t> file = maker::makeStartupKeyFile(kFirstKey);
    file.back() ^= 1;
    const TestVolume volume(withKeyIds({ProtectorRecipe::startupKey(kFirstKey)}));
    const Result<OpenedVolume> opened = volume.open(*Secret::startupKey(file));
    ASSERT_EQ(statusOf(opened), Status::WrongSecret);
    EXPECT_EQ(opened.error().detail,
              "the key file is the one of this volume, 1A2B3C4D-1122-3344-5566-770000000000.BEK, "
              "but the key in it is another one; the volume has: startup key (Key ID 1A2B3C4D)");
}

TEST(UnlockTest, AStartupKeyThatOpensOnlyTogetherWithTheTpmIsNamedAsSuch)
{
    const TestVolume volume(withKeyIds({ProtectorRecipe::startupKey(kFirstKey),
                                        ProtectorRecipe::ofKind(ProtectorKind::TpmAndStartupKey)}));
    const std::string detail = volume.open(startupKey(kSecondKey)).error().detail;
    EXPECT_TRUE(contains(detail, "the key file is the one for TPM and startup key together; "))
        << detail;
}

TEST(UnlockTest, OfAVolumeThatClaimsHundredsOfProtectorsTheRestIsCounted)
{
    const TestVolume volume(
        recipeWith(std::vector<ProtectorRecipe>(200, ProtectorRecipe::ofKind(ProtectorKind::Tpm))));
    const std::string detail = volume.openWithPassword().error().detail;
    EXPECT_TRUE(contains(detail, ") and 176 more")) << detail;
}

TEST(UnlockTest, AnyKindWithTheTpmBitNeedsTheTpm)
{
    EXPECT_EQ(protectorKindName(ProtectorKind::Tpm), "TPM");
    EXPECT_EQ(protectorKindName(ProtectorKind::TpmAndStartupKey), "TPM and startup key");
    EXPECT_EQ(protectorKindName(ProtectorKind::TpmPinAndStartupKey), "TPM, PIN and startup key");
    EXPECT_EQ(protectorKindName(static_cast<ProtectorKind>(0x4100)), "TPM and others");
}

TEST(UnlockTest, AnUnknownMethodIsUnsupportedOnceTheSecretIsRight)
{
    TestVolume volume(recipeWithPassword());
    for (uint64_t copy : volume.plan.copies) {
        maker::putU16(volume.image, copy + 64 + 36, 0x8006);
        maker::renewChecksum(volume.image, copy);
    }
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::UnsupportedMethod);
    EXPECT_EQ(statusOf(volume.openWithPassword("wrong")), Status::WrongSecret);
}

// Otherwise a volume that claims hundreds of protectors would keep its reader for minutes.
TEST(UnlockTest, ASecretIsStretchedForThirtyTwoSaltsAndNoMore)
{
    std::vector<ProtectorRecipe> protectors(31, ProtectorRecipe::password("other"));
    protectors.push_back(ProtectorRecipe::password(kPassword));
    const TestVolume last(recipeWith(protectors));
    EXPECT_TRUE(holdsPlain(last.openWithPassword(), last));
    protectors.insert(protectors.begin(), ProtectorRecipe::password("other"));
    const TestVolume tooMany(recipeWith(protectors));
    EXPECT_EQ(statusOf(tooMany.openWithPassword()), Status::WrongSecret);
}

TEST(UnlockTest, AnotherThreadCancelsIt)
{
    const TestVolume volume(recipeWithPassword());
    const auto source = std::make_shared<MemoryByteSource>(volume.image);
    CancelFlag cancel(false);
    std::future<Status> status = std::async(std::launch::async, [&] {
        return statusOf(VolumeOpener(KeyStretcher(UINT64_MAX))
                            .open(source, *Secret::password(kPassword), &cancel));
    });
    cancel = true;
    ASSERT_EQ(status.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(status.get(), Status::Cancelled);
}

}  // namespace
}  // namespace vx::bitlocker
