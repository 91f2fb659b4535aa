// Statuses of the library's entry that only volumes of a special make bring about.
#include "Maker/ByteWriter.h"
#include "Maker/VolumeMaker.h"
#include "TestVolume.h"

#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::ProtectorRecipe;

class EntryStatusTest : public testing::Test {
protected:
    // With as many rounds of stretching as the entry makes.
    void Make(const maker::VolumeRecipe &recipe)
    {
        maker::MemorySink sink;
        plan = maker::VolumeMaker(recipe).Make(MemoryByteSource(MakePlainImage(64 * 1024)), sink);
        image = std::move(sink.Bytes());
    }

    VolumeLibraryStatus OpenWithPassword(const char *password = kPassword)
    {
        const std::string path =
            folder.WriteFile("image", {reinterpret_cast<const char *>(image.data()), image.size()});
        char something = 0;
        IVolume *volume = reinterpret_cast<IVolume *>(&something);
        const int32_t status = open_bitlocker_device(path.c_str(), "password", password, &volume);
        EXPECT_EQ(volume == nullptr, status != 0);
        detail = volume_library_last_error();
        return static_cast<VolumeLibraryStatus>(status);
    }

    const TemporaryFolder folder;
    maker::VolumePlan plan;
    std::vector<uint8_t> image;
    std::string detail;
};

TEST_F(EntryStatusTest, OnlyAChipAndASmartCardAreNotSupportedAndNamed)
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {ProtectorRecipe::OfKind(ProtectorKind::kTpmAndPin),
                         ProtectorRecipe::OfKind(ProtectorKind::kSmartCard)};
    recipe.protectors[0].identifier = Guid{{0x4d, 0x3c, 0x2b, 0x1a}};
    recipe.protectors[1].identifier = Guid{{0x8b, 0x7a, 0x6f, 0x5e}};
    Make(recipe);
    EXPECT_EQ(OpenWithPassword(), VolumeLibraryStatus::kProtectorNotSupported);
    EXPECT_EQ(detail,
              "the volume has: TPM and PIN (Key ID 1A2B3C4D), smart card (Key ID 5E6F7A8B)");
}

TEST_F(EntryStatusTest, AnUnknownMethodIsNotSupportedOnceTheSecretIsRight)
{
    Make(RecipeWithPassword());
    for (const uint64_t copy : plan.copies) {
        maker::PutU16(image, copy + 64 + 36, 0x8006);
        maker::RenewChecksum(image, copy);
    }
    EXPECT_EQ(OpenWithPassword(), VolumeLibraryStatus::kMethodNotSupported);
    EXPECT_EQ(OpenWithPassword("wrong"), VolumeLibraryStatus::kWrongSecret);
}

TEST_F(EntryStatusTest, AConversionThatStoppedWithoutABoundaryIsNotSupported)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.layout = Layout::kVista;
    recipe.method = Method::kAes128Cbc;
    recipe.nextState = 1;
    Make(recipe);
    EXPECT_EQ(OpenWithPassword(), VolumeLibraryStatus::kConversionNotSupported);
}

TEST_F(EntryStatusTest, ADamagedMapOfAConversionIsAStatusOfItsOwnOnceTheSecretIsRight)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.conversion.emplace();
    Make(recipe);
    for (const uint64_t offset : plan.conversionOffsets)
        image[offset + 24] ^= 1;
    EXPECT_EQ(OpenWithPassword(), VolumeLibraryStatus::kConversionMapDamaged);
    EXPECT_EQ(OpenWithPassword("wrong"), VolumeLibraryStatus::kWrongSecret);
}

}  // namespace
}  // namespace vx::bitlocker
