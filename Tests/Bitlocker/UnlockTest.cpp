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

TEST(UnlockTest, AMissingProtectorNamesTheKindsThatArePresent)
{
    const TestVolume volume(recipeWith(
        {ProtectorRecipe::recovery(kRecovery), ProtectorRecipe::ofKind(ProtectorKind::TpmAndPin)}));
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_EQ(statusOf(opened), Status::NoProtectorOfKind);
    EXPECT_TRUE(contains(opened.error().detail, "recovery password, TPM and PIN"))
        << opened.error().detail;
}

TEST(UnlockTest, OnlyTpmSmartCardOrUnknownProtectorsAreUnsupportedAndNamed)
{
    const TestVolume volume(
        recipeWith({ProtectorRecipe::ofKind(ProtectorKind::Tpm),
                    ProtectorRecipe::ofKind(ProtectorKind::SmartCard),
                    ProtectorRecipe::ofKind(static_cast<ProtectorKind>(0x4000))}));
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_EQ(statusOf(opened), Status::UnsupportedProtector);
    EXPECT_TRUE(contains(opened.error().detail, "TPM, smart card, unknown kind 0x4000"))
        << opened.error().detail;
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
