// Volumes whose conversion has stopped half-way, and decrypted ones.
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include "Bitlocker/Crc32.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

constexpr uint64_t kBoundary = 0x54200;

// --- A boundary (Windows 7)

maker::VolumeRecipe withBoundary(uint64_t boundary, Method method = Method::Aes128Elephant)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.method = method;
    recipe.encryptedSize = boundary;
    recipe.state = 3;
    recipe.nextState = 1;
    return recipe;
}

TEST(BoundaryTest, WhatLiesBeforeItIsDecryptedAndTheRestIsPassedOn)
{
    maker::VolumeRecipe recipe = withBoundary(kBoundary);
    recipe.copyOffsets = {0x10000, 0x20000, 0x30000};
    recipe.relocationOffset = 0x40000;
    const TestVolume volume(recipe);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened) << describe(opened.error());
    EXPECT_EQ(readBytes(*opened->volume, 0, 0x10000), ByteView(volume.plain).first(0x10000).copy());
    EXPECT_EQ(readBytes(*opened->volume, 0x50000, 0x20000),
              ByteView(volume.plain).from(0x50000).first(0x20000).copy());
    EXPECT_NE(volume.image[kBoundary - 512], volume.plain[kBoundary - 512]);
    EXPECT_EQ(volume.image[kBoundary], volume.plain[kBoundary]);
    EXPECT_EQ(opened->facts.encryptedSize, kBoundary);
}

TEST(BoundaryTest, RelocatedSectorsBehindItArePlain)
{
    const TestVolume volume(withBoundary(kBoundary));
    EXPECT_GT(volume.plan.relocationOffset, kBoundary);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(BoundaryTest, RelocatedSectorsOfTheOtherStateAreRecognisedByTheFirstOne)
{
    for (Method method : {Method::Aes128Cbc, Method::Aes128Xts}) {
        maker::VolumeRecipe behind = withBoundary(kBoundary, method);
        behind.relocatedOtherwise = true;
        const TestVolume encrypted(behind);
        EXPECT_TRUE(holdsPlain(encrypted.openWithPassword(), encrypted));
        maker::VolumeRecipe before = behind;
        before.relocationOffset = 0x40000;
        const TestVolume plain(before);
        const Result<OpenedVolume> opened = plain.openWithPassword();
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened->facts.looksLikeFileSystem);
        EXPECT_EQ(readBytes(*opened->volume, 0, 8192), ByteView(plain.plain).first(8192).copy());
    }
}

TEST(BoundaryTest, ADecryptedVolumeNeedsNoSecret)
{
    maker::VolumeRecipe recipe;
    recipe.method = Method::None;
    recipe.encryptedSize = 0;
    recipe.state = 1;
    recipe.nextState = 1;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.open(Secret::none()), volume));
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

// --- A map (later Windows)

maker::VolumeRecipe converting(Method method = Method::Aes128Xts)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.method = method;
    recipe.conversion.emplace();
    // Every third chunk of 64 KiB, and the one with the relocated sectors.
    recipe.conversion->isEncrypted = [](uint64_t offset) {
        return offset / 0x10000 % 3 == 0 || offset >= 0x100000;
    };
    return recipe;
}

TEST(ConversionMapTest, EncryptedChunksAreDecryptedAndPlainOnesPassedOn)
{
    for (Method method : {Method::Aes128Xts, Method::Aes256Cbc}) {
        const TestVolume volume(converting(method));
        EXPECT_NE(volume.image[0x33000], volume.plain[0x33000]);
        EXPECT_EQ(volume.image[0x20000], volume.plain[0x20000]);
        const Result<OpenedVolume> opened = volume.openWithPassword();
        EXPECT_TRUE(holdsPlain(opened, volume));
        EXPECT_TRUE(opened->facts.converting);
    }
}

TEST(ConversionMapTest, SectorsOf4096BytesAreConvertedToo)
{
    maker::VolumeRecipe recipe = converting();
    recipe.sectorSize = 4096;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(ConversionMapTest, AWrongSecretIsWrongWhateverTheMapSays)
{
    const TestVolume volume(converting());
    EXPECT_EQ(statusOf(volume.openWithPassword("wrong")), Status::WrongSecret);
}

TEST(ConversionMapTest, TheSecondCopyOfTheInformationIsUsed)
{
    TestVolume volume(converting());
    volume.image[volume.plan.conversionOffsets[0] + 24] ^= 1;
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(ConversionMapTest, ADamagedMapUnlocksButIsNotRead)
{
    TestVolume volume(converting());
    for (uint64_t offset : volume.plan.conversionOffsets)
        volume.image[offset + 24] ^= 1;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
    EXPECT_EQ(statusOf(volume.openWithPassword("wrong")), Status::WrongSecret);
}

TEST(ConversionMapTest, AnErasedMapIsDamaged)
{
    TestVolume volume(converting());
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::putBytes(volume.image, offset, std::vector<uint8_t>(4096));
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

TEST(ConversionMapTest, ADamagedBlockOfARegionIsADamagedMap)
{
    TestVolume volume(converting());
    volume.image[volume.plan.bitmapsOffset + maker::kBitmapBlockLength + 30] ^= 1;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

TEST(ConversionMapTest, TheOlderRecordServesWhenTheNewerIsDamagedAndNoneIsADamagedMap)
{
    TestVolume volume(converting());
    const uint64_t block = volume.plan.bitmapsOffset;
    volume.image[block + maker::kRecordLength + 40] ^= 1;  // the newer one of region 0
    EXPECT_TRUE(volume.openWithPassword());
    EXPECT_FALSE(holdsPlain(volume.openWithPassword(), volume));  // its bits are older ones
    volume.image[block + 2 * maker::kRecordLength + 40] ^= 1;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

TEST(ConversionMapTest, RegionsThatOverlapAreADamagedMap)
{
    TestVolume volume(converting());
    const size_t block = volume.plan.bitmapsOffset + maker::kBitmapBlockLength;
    volume.image[block + 20] = 0;
    volume.image[block + 21] -= 2;  // 512 bytes nearer to the front
    maker::putU32(volume.image, block + 56,
                  crc32WithoutField(ByteView(volume.image).from(block).first(512), 56));
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

TEST(ConversionMapTest, APlaceThatNoRegionCoversIsNotGuessed)
{
    TestVolume volume(converting());
    const size_t block = volume.plan.bitmapsOffset;
    maker::putU64(volume.image, block + 28, 0x80000 - 0x200);  // the length of region 0
    maker::putU32(volume.image, block + 56,
                  crc32WithoutField(ByteView(volume.image).from(block).first(512), 56));
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened) << describe(opened.error());
    uint8_t sector[512];
    EXPECT_FALSE(opened->volume->readAt(0x81e00 - 512, sector, 512));
    EXPECT_EQ(opened->volume->readAt(0x81e00, sector, 512).status, Status::DamagedConversionMap);
    EXPECT_FALSE(opened->volume->readAt(0x82000, sector, 512));
}

TEST(ConversionMapTest, AMapWithoutAnyEncryptedChunkNeedsNoSecret)
{
    maker::VolumeRecipe recipe = converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return false; };
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.open(Secret::none()), volume));
}

TEST(ConversionMapTest, ADecryptedVolumeIsPlainEvenIfItsMapIsDamaged)
{
    maker::VolumeRecipe recipe = converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return false; };
    recipe.method = Method::None;
    recipe.protectors.clear();
    recipe.encryptedSize = 0;
    recipe.state = 1;
    recipe.nextState = 1;
    TestVolume volume(recipe);
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::putBytes(volume.image, offset, std::vector<uint8_t>(512));
    EXPECT_TRUE(holdsPlain(volume.open(Secret::none()), volume));
}

TEST(ConversionMapTest, AnOrdinaryIdentifierMakesALeftoverMapMeaningless)
{
    maker::VolumeRecipe recipe = converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return true; };
    TestVolume volume(recipe);
    maker::putBytes(volume.image, 160, {kOrdinaryVolume.bytes.data(), 16});
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::putBytes(volume.image, offset, std::vector<uint8_t>(4096));
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(ConversionMapTest, ToGoVolumesInConversionAreNotGuessed)
{
    maker::VolumeRecipe recipe = converting();
    recipe.layout = Layout::ToGo;
    const TestVolume volume(recipe);
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

// --- The log of a conversion that was interrupted

maker::VolumeRecipe interrupted(uint64_t sectors)
{
    maker::VolumeRecipe recipe = converting();
    recipe.conversion->interruptedChunk = 0x30000 + 0x2000;  // a chunk of region 0
    recipe.conversion->interruptedSectors = sectors;
    return recipe;
}

TEST(ConversionLogTest, AnInterruptedChunkIsReadSectorBySector)
{
    for (uint64_t sectors : {0U, 1U, 57U, 127U, 128U}) {
        const TestVolume volume(interrupted(sectors));
        EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume)) << sectors;
    }
}

TEST(ConversionLogTest, AnUnwrittenSlotLeavesTheOlderOne)
{
    TestVolume volume(converting());
    const size_t newer = volume.plan.logsOffset + 512 + 512 + 2048 + 512;
    ASSERT_EQ(volume.image[newer], 0x20);
    volume.image[newer + 5] ^= 1;
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(ConversionLogTest, ALogWithoutAValidRecordIsADamagedMap)
{
    TestVolume volume(converting());
    for (size_t at = volume.plan.logsOffset + 512; at < volume.plan.logsOffset + 0x1a00; ++at)
        volume.image[at] = 0x77;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedConversionMap);
}

TEST(ConversionLogTest, WithoutALogNothingWasInterrupted)
{
    maker::VolumeRecipe recipe = converting();
    recipe.conversion->withLog = false;
    const TestVolume volume(recipe);
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(ConversionLogTest, SavedDataThatAreDamagedWereNotWrittenToTheirEnd)
{
    // The slot does not count, so neither does its chunk: the bitmap says what it is.
    TestVolume volume(interrupted(128));
    const size_t newer = volume.plan.logsOffset + 512 + 512 + 2048 + 512;
    volume.image[newer + 512] ^= 1;
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
    TestVolume plain(interrupted(0));
    plain.image[newer + 512] ^= 1;
    EXPECT_FALSE(holdsPlain(plain.openWithPassword(), plain));
}

}  // namespace
}  // namespace vx::bitlocker
