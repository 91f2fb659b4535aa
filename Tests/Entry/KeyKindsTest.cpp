// The kinds of unlock that take files of keys and raw keys, through the library's entry.
#include "Maker/MadeUpBytes.h"
#include "Maker/VolumeMaker.h"
#include "TestVolume.h"

#include "OpenFailureText.h"
#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"
#include "VolumeOpeningOptions.h"

#include <gtest/gtest.h>

#include <future>

namespace vx::bitlocker {
namespace {

class KeyKindsTest : public testing::Test {
protected:
    // With one recovery password, kRecovery; plain: what the volume holds.
    void Make(const std::vector<uint8_t> &plain)
    {
        maker::VolumeRecipe recipe;
        recipe.protectors = {maker::ProtectorRecipe::Recovery(kRecovery)};
        recipe.protectors[0].identifier = Guid{{0x4d, 0x3c, 0x2b, 0x1a}};
        maker::MemorySink sink;
        plan = maker::VolumeMaker(recipe).Make(MemoryByteSource(plain), sink);
        const std::vector<uint8_t> &image = sink.Bytes();
        path =
            folder.WriteFile("image", {reinterpret_cast<const char *>(image.data()), image.size()});
    }

    VolumeLibraryStatus Open(const char *kind, const std::string &secret)
    {
        IVolume *volume = nullptr;
        const int32_t status = open_bitlocker_device(path.c_str(), kind, secret.c_str(), &volume);
        detail = volume_library_last_error();
        return static_cast<VolumeLibraryStatus>(status);
    }

    static std::string SectorKey()
    {
        const auto key = maker::MadeUpBytes(maker::VolumeRecipe().seed).Bytes("sector key", 32);
        std::string text;
        for (const uint8_t byte : key) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", byte);
            text += digits;
        }
        return text;
    }

    const TemporaryFolder folder;
    std::string path;
    maker::VolumePlan plan;
    std::string detail;
};

// Of a wrong key there is nothing but garbage; with another status it would be taken for damage.
TEST_F(KeyKindsTest, AKeyOfSectorsThatGivesNoFileSystemIsAWrongSecretAndNotSilentGarbage)
{
    Make(MakePlainImage(64 * 1024));
    EXPECT_EQ(Open("fvek", SectorKey()), VolumeLibraryStatus::kFileSystemDamaged) << detail;
    std::string wrong = SectorKey();
    wrong[5] = wrong[5] == '0' ? '1' : '0';
    const std::string refusal =
        "what the key of the sectors gives is no file system that can be read: it is not the key of "
        "this volume, or the file system is damaged; the volume has: recovery password (Key ID "
        "1A2B3C4D)";
    EXPECT_EQ(Open("fvek", wrong), VolumeLibraryStatus::kWrongSecret);
    EXPECT_EQ(detail, refusal);
    VolumeOpeningOptions options;
    options.opensContents = 1;
    ASSERT_TRUE(volume_library_set_opening_options(&options));
    EXPECT_EQ(Open("fvek", SectorKey()), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "");
    EXPECT_EQ(Open("fvek", wrong), VolumeLibraryStatus::kWrongSecret);
    EXPECT_EQ(detail, refusal);
    EXPECT_EQ(Open("fvek", "aes-cbc-256:" + SectorKey()), VolumeLibraryStatus::kWrongSecret);
    EXPECT_NE(detail.find("encrypted with AES-128-XTS"), std::string::npos) << detail;
    volume_library_set_opening_options(nullptr);
}

// Of what could not be read nobody knows whether another key would give more.
TEST_F(KeyKindsTest, WhereNothingCouldBeReadAKeyOfSectorsIsInDoubtBesideTheDamage)
{
    Make(MakePlainImage(64 * 1024));
    const uint64_t front = plan.relocatedSectors * uint64_t{512};
    ByteRanges bad = {{512, plan.plainSize - 512}, {plan.relocationOffset, front}};
    VolumeOpeningOptions options;
    options.unread = bad.data();
    options.unreadCount = bad.size();
    for (const uint8_t contents : {0, 1}) {
        options.opensContents = contents;
        ASSERT_TRUE(volume_library_set_opening_options(&options));
        EXPECT_EQ(Open("fvek", SectorKey()), VolumeLibraryStatus::kReadFailed) << detail;
        EXPECT_EQ(detail.find("it was unlocked"), std::string::npos) << detail;
        EXPECT_NE(detail.find("nothing that could be read shows that the key of the sectors is the "
                              "one of this volume; the volume has: recovery password"),
                  std::string::npos)
            << detail;
    }
    volume_library_set_opening_options(nullptr);
}

TEST_F(KeyKindsTest, WhatCannotBeReadIsNamedBeforeTheReason)
{
    Make(MakePlainImage(64 * 1024));
    const std::string missing = folder.At("missing");
    EXPECT_EQ(Open("recovery-file", missing), VolumeLibraryStatus::kNotFound);
    EXPECT_EQ(OpenFailureWords(3, detail),
              "the recovery file at " + missing + ": there is nothing at this path");
    EXPECT_EQ(Open("key-ring", missing), VolumeLibraryStatus::kNotFound);
    EXPECT_EQ(OpenFailureWords(3, detail),
              "the key ring at " + missing + ": there is nothing at this path");
    for (const char *kind : {"vmk", "fvek"}) {
        EXPECT_EQ(Open(kind, missing), VolumeLibraryStatus::kNotFound);
        EXPECT_EQ(OpenFailureWords(3, detail),
                  "the file with the key: there is nothing at this path");
    }
}

struct Heard {
    std::promise<uint64_t> total;
    bool isFirst = true;
};

void Hear(void *context, VolumeOpeningStep, uint64_t, uint64_t total, uint32_t)
{
    auto *heard = static_cast<Heard *>(context);
    if (heard->isFirst)
        heard->total.set_value(total);
    heard->isFirst = false;
}

TEST_F(KeyKindsTest, ASearchInARingReportsItsCostAndIsCancelledAtOnce)
{
    Make(MakePlainImage(64 * 1024));
    std::string keys;
    for (unsigned i = 0; i < 1000; ++i)
        keys += std::to_string(1000000 + i * 11).substr(1) +
                "-000011-000022-000033-000044-000055-000066-000077\n";
    const std::string ring = folder.WriteFile("ring.txt", keys);
    Heard heard;
    std::future<VolumeLibraryStatus> status = std::async(std::launch::async, [&] {
        VolumeOpeningOptions options;
        options.progress = Hear;
        options.progressContext = &heard;
        EXPECT_TRUE(volume_library_set_opening_options(&options));
        return Open("key-ring", ring);
    });
    std::future<uint64_t> total = heard.total.get_future();
    ASSERT_EQ(total.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_EQ(total.get(), 1000U);
    volume_library_cancel_opening();
    ASSERT_EQ(status.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(status.get(), VolumeLibraryStatus::kCancelled);
}

// The volume's protectors are read before the ring is.
TEST_F(KeyKindsTest, TheFittingKeyOfARingThatIsTooLongIsFoundByItsIdentifier)
{
    Make(MakePlainImage(64 * 1024));
    std::string keys;
    for (unsigned i = 0; i < 65600; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "%06u-%06u-000022-000033-000044-000055-000066-000077\n",
                      i % 60000 * 11, i / 60000 * 11);
        keys += line;
    }
    keys += std::string("1A2B3C4D-0000-0000-0000-000000000000 ") + kRecovery + "\n";
    // What it unlocks has no files.
    EXPECT_EQ(Open("key-ring", folder.WriteFile("ring.txt", keys)),
              VolumeLibraryStatus::kFileSystemDamaged)
        << detail;
}

}  // namespace
}  // namespace vx::bitlocker
