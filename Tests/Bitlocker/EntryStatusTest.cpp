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
    void make(const maker::VolumeRecipe &recipe)
    {
        maker::MemorySink sink;
        plan = maker::VolumeMaker(recipe).make(MemoryByteSource(makePlainImage(64 * 1024)), sink);
        image = std::move(sink.bytes());
    }

    VolumeLibraryStatus openWithPassword(const char *password = kPassword)
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
    recipe.protectors = {ProtectorRecipe::ofKind(ProtectorKind::TpmAndPin),
                         ProtectorRecipe::ofKind(ProtectorKind::SmartCard)};
    recipe.protectors[0].identifier = Guid{{0x4d, 0x3c, 0x2b, 0x1a}};
    recipe.protectors[1].identifier = Guid{{0x8b, 0x7a, 0x6f, 0x5e}};
    make(recipe);
    EXPECT_EQ(openWithPassword(), VolumeLibraryStatus::kProtectorNotSupported);
    EXPECT_EQ(detail,
              "the volume has: TPM and PIN (Key ID 1A2B3C4D), smart card (Key ID 5E6F7A8B)");
}

TEST_F(EntryStatusTest, AnUnknownMethodIsNotSupportedOnceTheSecretIsRight)
{
    make(recipeWithPassword());
    for (const uint64_t copy : plan.copies) {
        maker::putU16(image, copy + 64 + 36, 0x8006);
        maker::renewChecksum(image, copy);
    }
    EXPECT_EQ(openWithPassword(), VolumeLibraryStatus::kMethodNotSupported);
    EXPECT_EQ(openWithPassword("wrong"), VolumeLibraryStatus::kWrongSecret);
}

TEST_F(EntryStatusTest, AConversionThatStoppedWithoutABoundaryIsNotSupported)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.layout = Layout::Vista;
    recipe.method = Method::Aes128Cbc;
    recipe.nextState = 1;
    make(recipe);
    EXPECT_EQ(openWithPassword(), VolumeLibraryStatus::kConversionNotSupported);
}

TEST_F(EntryStatusTest, ADamagedMapOfAConversionIsAStatusOfItsOwnOnceTheSecretIsRight)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.conversion.emplace();
    make(recipe);
    for (const uint64_t offset : plan.conversionOffsets)
        image[offset + 24] ^= 1;
    EXPECT_EQ(openWithPassword(), VolumeLibraryStatus::kConversionMapDamaged);
    EXPECT_EQ(openWithPassword("wrong"), VolumeLibraryStatus::kWrongSecret);
}

}  // namespace
}  // namespace vx::bitlocker
