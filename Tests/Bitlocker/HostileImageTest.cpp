// Images that were cut or damaged anywhere end in a status.
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vx::bitlocker {
namespace {

maker::VolumeRecipe ConvertingRecipe()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.conversion.emplace();
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset > 0x8000; };
    return recipe;
}

// Reads the whole volume.
void ReadThrough(const Result<UnlockedVolume> &opened)
{
    if (!opened)
        return;
    std::vector<uint8_t> piece(64 * 1024);
    const uint64_t end = std::min<uint64_t>(opened->volume->Size(), 1024 * 1024);
    for (uint64_t offset = 0; offset + piece.size() <= end; offset += piece.size())
        (void)opened->volume->ReadAt(offset, piece.data(), piece.size());
}

TEST(HostileImageTest, AnImageThatIsCutAnywhereOpensOrSaysWhy)
{
    for (const maker::VolumeRecipe &recipe : {RecipeWithPassword(), ConvertingRecipe()}) {
        TestVolume volume(recipe, 64 * 1024);
        while (volume.image.size() > 8192) {
            volume.image.resize(volume.image.size() - 7919);
            const Result<UnlockedVolume> opened = volume.OpenWithPassword();
            if (!opened)
                EXPECT_TRUE(opened.Failure().status == Status::kTruncatedImage ||
                            opened.Failure().status == Status::kDamagedMetadata ||
                            opened.Failure().status == Status::kDamagedConversionMap)
                    << opened.Failure().detail;
            ReadThrough(opened);
        }
    }
}

TEST(HostileImageTest, EveryByteOfTheHeadersMayBeAnyExtreme)
{
    const TestVolume sound(RecipeWithPassword(), 64 * 1024);
    for (size_t at = 0; at < 112; ++at) {
        for (uint8_t value : {0x00, 0x7f, 0xff}) {
            TestVolume volume = sound;
            for (uint64_t copy : volume.plan.copies) {
                const uint16_t units =
                    static_cast<uint16_t>(volume.image[copy + 8] + 256 * volume.image[copy + 9]);
                volume.image[copy + at] = value;
                if (units * 16U + 8 < MetadataBlock::kAreaSize && (at < 8 || at > 11))
                    maker::RenewChecksum(volume.image, copy);
            }
            ReadThrough(volume.OpenWithPassword());
        }
    }
}

// Whoever makes an image has its keys, so that every checksum and digest can be right.
TEST(HostileImageTest, AnEncryptedSizeOfEverythingIsATruncatedImage)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.encryptedSize = UINT64_MAX;
    const TestVolume volume(recipe, 64 * 1024);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->facts.truncated);
    EXPECT_EQ(opened->volume->Size() % 512, 0U);
    uint8_t sector[512];
    const uint64_t last = opened->volume->Size() - 512;
    EXPECT_EQ(opened->volume->ReadAt(last, sector, 512).status, Status::kTruncatedImage);
}

TEST(HostileImageTest, RelocatedSectorsWhoseEndOverflowsAreDamagedMetadata)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.headerEntry = maker::VolumeRecipe::HeaderEntry::kNone;
    for (uint64_t offset : {UINT64_MAX - 511, UINT64_MAX - 8191}) {
        TestVolume volume(recipe, 64 * 1024);
        for (uint64_t copy : volume.plan.copies) {
            maker::PutU64(volume.image, copy + 56, offset);
            maker::RenewChecksum(volume.image, copy);
        }
        EXPECT_EQ(StatusOf(volume.OpenWithPassword("wrong")), Status::kDamagedMetadata);
    }
}

TEST(HostileImageTest, RelocatedSectorsBehindTheEndAreMissingAndNothingElseIs)
{
    MetadataBlock block;
    block.version = 2;
    block.encryptedSize = 1 << 20;
    block.relocatedSectors = 16;
    block.relocationOffset = uint64_t{1} << 62;
    block.copies.fill(UINT64_MAX);
    const DecryptedVolume volume(
        std::make_shared<MemoryByteSource>(std::vector<uint8_t>(1 << 20)),
        VolumeLayout(block, 512, 1 << 20, std::nullopt),
        MakeSectorCipher(Method::kAes128Cbc, std::vector<uint8_t>(16), 512), {});
    uint8_t sector[512];
    EXPECT_EQ(volume.ReadAt(0, sector, 512).status, Status::kTruncatedImage);
    EXPECT_FALSE(volume.ReadAt(8192, sector, 512));
}

TEST(HostileImageTest, ManyRelocatedSectorsAreOnlyASizeToCompareWith)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    TestVolume volume(recipe, 64 * 1024);
    for (uint64_t copy : volume.plan.copies) {
        maker::PutU32(volume.image, copy + 28, UINT32_MAX);
        maker::RenewChecksum(volume.image, copy);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

TEST(HostileImageTest, CopiesThatNameEachOtherForEverAreVisitedOnce)
{
    TestVolume volume(RecipeWithPassword(), 64 * 1024);
    volume.image.resize(64 * 1024 * 64);
    const ByteView copy = ByteView(volume.image).From(volume.plan.copies[0]).First(512);
    const std::vector<uint8_t> block = copy.Copy();
    for (uint64_t at = 512 * 1024; at + 65536 < volume.image.size(); at += 65536) {
        maker::PutBytes(volume.image, at, block);
        for (uint64_t next = 0; next < 3; ++next)
            maker::PutU64(volume.image, at + 32 + 8 * next, at + 65536 * (next + 1));
    }
    maker::PutU64(volume.image, 176, 512 * 1024);
    maker::PutU64(volume.image, 184, 512 * 1024);
    maker::PutU64(volume.image, 192, volume.plan.copies[2]);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    EXPECT_TRUE(opened);
    EXPECT_LE(opened->facts.warnings.size(), 40U);
}

TEST(HostileImageTest, AVolumeFullOfSignaturesIsSearchedToItsEnd)
{
    TestVolume volume(RecipeWithPassword(), 64 * 1024);
    const std::vector<uint8_t> block =
        ByteView(volume.image).From(volume.plan.copies[0]).First(64).Copy();
    volume.image.resize(8 * 1024 * 1024);
    for (size_t at = 512; at + 512 < volume.image.size(); at += 512) {
        maker::PutBytes(volume.image, at, block);
        maker::PutU64(volume.image, at + 32, at);
    }
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
}

}  // namespace
}  // namespace vx::bitlocker
