// How an encrypted volume was unlocked, its recovery passwords and its master key, through the
// library's functions.
#include "Maker/VolumeMaker.h"
#include "TestVolume.h"

#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;
using Found = std::vector<std::pair<std::string, std::string>>;

void TakePassword(void *context, const char *identifier, const char *password)
{
    static_cast<Found *>(context)->emplace_back(identifier, password);
}

void TakeKey(void *context, const uint8_t *key, uint64_t length)
{
    constexpr char kDigits[] = "0123456789abcdef";
    for (uint64_t i = 0; i < length; ++i)
        (*static_cast<std::string *>(context) += kDigits[key[i] >> 4]) += kDigits[key[i] & 15];
}

class UnlockingReports : public testing::Test {
protected:
    void TearDown() override { volume_library_set_opening_options(nullptr); }

    // A plain volume without a file system does not open, so one of FAT12 that is empty.
    std::string Make(const maker::VolumeRecipe &recipe) const
    {
        std::vector<uint8_t> plain(size_t{1} << 20);
        const uint8_t boot[] = {0xEB, 0x3C, 0x90, 'M', 'S', 'D', 'O', 'S', '5', '.',  '0', 0,
                                2,    1,    1,    0,   2,   16,  0,   0,   8,   0xF8, 6,   0};
        std::copy(std::begin(boot), std::end(boot), plain.begin());
        plain[510] = 0x55;
        plain[511] = 0xAA;
        for (const size_t table : {size_t{512}, size_t{7 * 512}})
            plain[table] = 0xF8, plain[table + 1] = plain[table + 2] = 0xFF;
        maker::MemorySink sink;
        maker::VolumeMaker(recipe).Make(MemoryByteSource(plain), sink);
        const std::vector<uint8_t> &bytes = sink.Bytes();
        return folder.WriteFile("image",
                                {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    }

    static IVolume *Open(const std::string &path, const char *kind, const char *secret)
    {
        IVolume *volume = nullptr;
        EXPECT_EQ(open_bitlocker_device(path.c_str(), kind, secret, &volume), 0)
            << volume_library_last_error();
        return volume;
    }

    static void KeepRecoveryPasswords()
    {
        VolumeOpeningOptions options;
        options.keepsRecoveryPasswords = 1;
        ASSERT_TRUE(volume_library_set_opening_options(&options));
    }

    static std::string MasterKeyOf(const std::string &path, const char *kind, const char *secret)
    {
        VolumeOpeningOptions options;
        options.keepsMasterKey = 1;
        EXPECT_TRUE(volume_library_set_opening_options(&options));
        std::string key;
        const bool isThere =
            volume_library_visit_master_key(Open(path, kind, secret), TakeKey, &key);
        EXPECT_EQ(isThere, !key.empty());
        EXPECT_TRUE(volume_library_set_opening_options(nullptr));
        return key;
    }

    static VolumeUnlockingReport ReportOf(IVolume *volume)
    {
        VolumeUnlockingReport report;
        EXPECT_TRUE(volume_library_describe_unlocking(volume, &report));
        return report;
    }

    static maker::VolumeRecipe Recipe()
    {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.protectors.push_back(ProtectorRecipe::Recovery(kRecovery));
        recipe.protectors[0].identifier = Guid{{0x78, 0x56, 0x34, 0x12}};
        recipe.protectors[1].identifier = Guid{{0xF0, 0xDE, 0xBC, 0x9A}};
        return recipe;
    }

    static maker::VolumeRecipe Converting()
    {
        maker::VolumeRecipe recipe = Recipe();
        recipe.conversion.emplace();
        recipe.conversion->isEncrypted = [](uint64_t offset) { return offset < 0x80000; };
        return recipe;
    }

    const TemporaryFolder folder;
};

constexpr char kOfPassword[] = "12345678-0000-0000-0000-000000000000";
constexpr char kOfRecovery[] = "9ABCDEF0-0000-0000-0000-000000000000";

TEST_F(UnlockingReports, TheProtectorThatWasOpenedIsNamed)
{
    const std::string path = Make(Recipe());
    const VolumeUnlockingReport byPassword = ReportOf(Open(path, "password", kPassword));
    EXPECT_STREQ(byPassword.kind, "password");
    EXPECT_STREQ(byPassword.identifier, kOfPassword);
    EXPECT_STREQ(byPassword.method, "AES-128-XTS");
    const VolumeUnlockingReport byRecovery = ReportOf(Open(path, "recovery", kRecovery));
    EXPECT_STREQ(byRecovery.kind, "recovery-password");
    EXPECT_STREQ(byRecovery.identifier, kOfRecovery);
}

TEST_F(UnlockingReports, ASuspendedVolumeOpensByItsClearKey)
{
    maker::VolumeRecipe recipe = Recipe();
    recipe.protectors.push_back(ProtectorRecipe::ClearKey());
    EXPECT_STREQ(ReportOf(Open(Make(recipe), "none", "")).kind, "clear-key");
}

TEST_F(UnlockingReports, ADecryptedVolumeNeededNothing)
{
    maker::VolumeRecipe recipe = Recipe();
    recipe.encryptedSize = 0;
    recipe.state = recipe.nextState = 1;
    const VolumeUnlockingReport report = ReportOf(Open(Make(recipe), "none", ""));
    EXPECT_STREQ(report.kind, "");
    EXPECT_STREQ(report.identifier, "");
}

TEST_F(UnlockingReports, RecoveryPasswordsAreVisitedIfTheyWereKept)
{
    const std::string path = Make(Recipe());
    Found found;
    EXPECT_FALSE(volume_library_visit_recovery_passwords(Open(path, "password", kPassword),
                                                         TakePassword, &found));
    KeepRecoveryPasswords();
    IVolume *volume = Open(path, "password", kPassword);
    EXPECT_TRUE(volume_library_visit_recovery_passwords(volume, TakePassword, &found));
    EXPECT_EQ(found, (Found{{kOfRecovery, kRecovery}}));
    EXPECT_FALSE(volume_library_visit_recovery_passwords(volume, nullptr, nullptr));
}

TEST_F(UnlockingReports, TheMasterKeyIsTheSameWithEverySecretThatLeadsToIt)
{
    maker::VolumeRecipe recipe = Recipe();
    const std::string path = Make(recipe);
    const std::string key = MasterKeyOf(path, "password", kPassword);
    EXPECT_EQ(key.size(), 64u);
    EXPECT_EQ(MasterKeyOf(path, "recovery", kRecovery), key);
    EXPECT_EQ(MasterKeyOf(path, "vmk", key.c_str()), key);
    recipe.protectors.push_back(ProtectorRecipe::ClearKey());
    EXPECT_EQ(MasterKeyOf(Make(recipe), "none", ""), key);
}

TEST_F(UnlockingReports, TheMasterKeyOpensTheVolumeWithoutAnyOfItsSecrets)
{
    const std::string key = MasterKeyOf(Make(Recipe()), "password", kPassword);
    maker::VolumeRecipe recipe = Recipe();
    recipe.protectors = {ProtectorRecipe::Password("another one")};
    const std::string path = Make(recipe);
    IVolume *refused = nullptr;
    EXPECT_NE(open_bitlocker_device(path.c_str(), "password", kPassword, &refused), 0);
    EXPECT_STREQ(ReportOf(Open(path, "vmk", key.c_str())).kind, "vmk");
}

TEST_F(UnlockingReports, TheMasterKeyIsVisitedOnlyIfItWasKept)
{
    std::string key;
    IVolume *volume = Open(Make(Recipe()), "password", kPassword);
    EXPECT_FALSE(volume_library_visit_master_key(volume, TakeKey, &key));
    EXPECT_EQ(key, "");
    EXPECT_FALSE(volume_library_visit_master_key(volume, nullptr, nullptr));
    EXPECT_FALSE(volume_library_visit_master_key(nullptr, TakeKey, &key));
}

TEST_F(UnlockingReports, WhatNeededNoMasterKeyHasNone)
{
    maker::VolumeRecipe recipe = Recipe();
    recipe.encryptedSize = 0;
    recipe.state = recipe.nextState = 1;
    EXPECT_EQ(MasterKeyOf(Make(recipe), "none", ""), "");
    EXPECT_EQ(MasterKeyOf(folder.Path(), "none", ""), "");
}

TEST_F(UnlockingReports, AVolumeThatIsOnlyUnlockedNeedsNoRecordOfItsConversion)
{
    maker::MemorySink sink;
    const maker::VolumePlan plan =
        maker::VolumeMaker(Converting()).Make(MemoryByteSource(MakePlainImage(1 << 20)), sink);
    std::vector<uint8_t> &image = sink.Bytes();
    for (const uint64_t offset : plan.conversionOffsets)
        image[offset + 24] ^= 1;
    const std::string path =
        folder.WriteFile("image", {reinterpret_cast<const char *>(image.data()), image.size()});
    VolumeOpeningOptions options;
    options.keepsRecoveryPasswords = 1;
    for (const uint32_t unlocksOnly : {0, 1}) {
        options.unlocksOnly = unlocksOnly;
        options.opensContents = 1 - unlocksOnly;
        ASSERT_TRUE(volume_library_set_opening_options(&options));
        IVolume *refused = nullptr;
        EXPECT_EQ(open_bitlocker_device(path.c_str(), "password", "wrong", &refused),
                  static_cast<int32_t>(VolumeLibraryStatus::kWrongSecret));
        // A key that nothing proves shows nothing about the volume.
        EXPECT_EQ(
            open_bitlocker_device(path.c_str(), "fvek", std::string(64, '0').c_str(), &refused),
            static_cast<int32_t>(VolumeLibraryStatus::kConversionMapDamaged));
        const bool isOpened =
            open_bitlocker_device(path.c_str(), "password", kPassword, &refused) == 0;
        EXPECT_EQ(isOpened, unlocksOnly == 1) << volume_library_last_error();
    }
    IVolume *opened = Open(path, "password", kPassword);
    Found found;
    EXPECT_TRUE(volume_library_visit_recovery_passwords(opened, TakePassword, &found));
    EXPECT_EQ(found, (Found{{kOfRecovery, kRecovery}}));
    EXPECT_STREQ(ReportOf(opened).kind, "password");
    EXPECT_EQ(opened->OpenFile(kVolumeContentsPath, 0, 0, 0), nullptr);
}

TEST_F(UnlockingReports, WhatIsNotEncryptedHasNeither)
{
    KeepRecoveryPasswords();
    IVolume *volume = Open(folder.Path(), "none", "");
    VolumeUnlockingReport report;
    EXPECT_FALSE(volume_library_describe_unlocking(volume, &report));
    EXPECT_FALSE(volume_library_describe_unlocking(nullptr, &report));
    EXPECT_FALSE(volume_library_visit_recovery_passwords(volume, TakePassword, nullptr));
    EXPECT_FALSE(volume_library_visit_recovery_passwords(nullptr, TakePassword, nullptr));
}

TEST_F(UnlockingReports, AnotherVersionOfTheStructureIsRefused)
{
    IVolume *volume = Open(Make(Recipe()), "password", kPassword);
    VolumeUnlockingReport report;
    report.bytes += 8;
    EXPECT_FALSE(volume_library_describe_unlocking(volume, &report));
    EXPECT_FALSE(volume_library_describe_unlocking(volume, nullptr));
}

// --- A disk, through the library's functions

TEST_F(UnlockingReports, ADiskIsDescribedUntilItsReportIsReleased)
{
    const std::string path = Make(Recipe());
    const DiskReport *report = nullptr;
    ASSERT_EQ(volume_library_describe_disk(path.c_str(), &report), 0);
    ASSERT_NE(report, nullptr);
    ASSERT_EQ(report->volumeCount, 1u);
    ASSERT_NE(report->volumes[0].encryption, nullptr);
    const DiskEncryptionReport &encryption = *report->volumes[0].encryption;
    ASSERT_EQ(encryption.protectorCount, 2u);
    EXPECT_STREQ(encryption.protectors[0].identifier, kOfPassword);
    EXPECT_STREQ(encryption.protectors[1].identifier, kOfRecovery);
    EXPECT_STREQ(encryption.protectors[1].unlockKinds, "recovery recovery-file key-ring");
    volume_library_release_disk_report(report);
    volume_library_release_disk_report(nullptr);
}

TEST_F(UnlockingReports, ADescriptionThatFailsLeavesNoReportAndSaysWhy)
{
    char something = 0;
    const auto *report = reinterpret_cast<const DiskReport *>(&something);
    EXPECT_EQ(volume_library_describe_disk(folder.Path().c_str(), &report),
              static_cast<int32_t>(VolumeLibraryStatus::kNotEncrypted));
    EXPECT_EQ(report, nullptr);
    EXPECT_TRUE(Contains(volume_library_last_error(), "it is a folder"));
    EXPECT_EQ(volume_library_describe_disk(nullptr, &report),
              static_cast<int32_t>(VolumeLibraryStatus::kArgumentMissing));
    EXPECT_STREQ(volume_library_last_error(), "");
    EXPECT_EQ(volume_library_describe_disk("x", nullptr),
              static_cast<int32_t>(VolumeLibraryStatus::kArgumentMissing));
}

}  // namespace
}  // namespace vx::bitlocker
