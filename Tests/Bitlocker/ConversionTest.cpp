// Volumes whose conversion has stopped half-way, and decrypted ones.
#include "BitlockerMark.h"
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include "Crc32.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

constexpr uint64_t kBoundary = 0x54200;

// --- A boundary (Windows 7)

maker::VolumeRecipe WithBoundary(uint64_t boundary, Method method = Method::kAes128Elephant)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.method = method;
    recipe.encryptedSize = boundary;
    recipe.state = 3;
    recipe.nextState = 1;
    return recipe;
}

TEST(BoundaryTest, WhatLiesBeforeItIsDecryptedAndTheRestIsPassedOn)
{
    maker::VolumeRecipe recipe = WithBoundary(kBoundary);
    recipe.copyOffsets = {0x10000, 0x20000, 0x30000};
    recipe.relocationOffset = 0x40000;
    const TestVolume volume(recipe);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_EQ(ReadBytes(*opened->volume, 0, 0x10000), ByteView(volume.plain).First(0x10000).Copy());
    EXPECT_EQ(ReadBytes(*opened->volume, 0x50000, 0x20000),
              ByteView(volume.plain).From(0x50000).First(0x20000).Copy());
    EXPECT_NE(volume.image[kBoundary - 512], volume.plain[kBoundary - 512]);
    EXPECT_EQ(volume.image[kBoundary], volume.plain[kBoundary]);
    EXPECT_EQ(opened->facts.encryptedSize, kBoundary);
}

TEST(BoundaryTest, RelocatedSectorsBehindItArePlain)
{
    const TestVolume volume(WithBoundary(kBoundary));
    EXPECT_GT(volume.plan.relocationOffset, kBoundary);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(BoundaryTest, RelocatedSectorsOfTheOtherStateAreRecognisedByTheFirstOne)
{
    for (Method method : {Method::kAes128Cbc, Method::kAes128Xts}) {
        maker::VolumeRecipe behind = WithBoundary(kBoundary, method);
        behind.relocatedOtherwise = true;
        const TestVolume encrypted(behind);
        EXPECT_TRUE(HoldsPlain(encrypted.OpenWithPassword(), encrypted));
        maker::VolumeRecipe before = behind;
        before.relocationOffset = 0x40000;
        const TestVolume plain(before);
        const Result<UnlockedVolume> opened = plain.OpenWithPassword();
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened->facts.looksLikeFileSystem);
        EXPECT_EQ(ReadBytes(*opened->volume, 0, 8192), ByteView(plain.plain).First(8192).Copy());
    }
}

TEST(BoundaryTest, ADecryptedVolumeNeedsNoSecret)
{
    maker::VolumeRecipe recipe;
    recipe.method = Method::kNone;
    recipe.encryptedSize = 0;
    recipe.state = 1;
    recipe.nextState = 1;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.Open(Secret::None()), volume));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

// --- A map (later Windows)

maker::VolumeRecipe Converting(Method method = Method::kAes128Xts)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
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
    for (Method method : {Method::kAes128Xts, Method::kAes256Cbc}) {
        const TestVolume volume(Converting(method));
        EXPECT_NE(volume.image[0x33000], volume.plain[0x33000]);
        EXPECT_EQ(volume.image[0x20000], volume.plain[0x20000]);
        const Result<UnlockedVolume> opened = volume.OpenWithPassword();
        EXPECT_TRUE(HoldsPlain(opened, volume));
        EXPECT_TRUE(opened->facts.converting);
    }
}

TEST(ConversionMapTest, SectorsOf4096BytesAreConvertedToo)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.sectorSize = 4096;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(ConversionMapTest, AWrongSecretIsWrongWhateverTheMapSays)
{
    const TestVolume volume(Converting());
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("wrong")), Status::kWrongSecret);
}

TEST(ConversionMapTest, TheSecondCopyOfTheInformationIsUsed)
{
    TestVolume volume(Converting());
    volume.image[volume.plan.conversionOffsets[0] + 24] ^= 1;
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(ConversionMapTest, ADamagedMapUnlocksButIsNotRead)
{
    TestVolume volume(Converting());
    for (uint64_t offset : volume.plan.conversionOffsets)
        volume.image[offset + 24] ^= 1;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword("wrong")), Status::kWrongSecret);
}

TEST(ConversionMapTest, AnErasedMapIsDamaged)
{
    TestVolume volume(Converting());
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::PutBytes(volume.image, offset, std::vector<uint8_t>(4096));
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

TEST(ConversionMapTest, ADamagedBlockOfARegionIsADamagedMap)
{
    TestVolume volume(Converting());
    volume.image[volume.plan.bitmapsOffset + maker::kBitmapBlockLength + 30] ^= 1;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

TEST(ConversionMapTest, TheOlderRecordServesWhenTheNewerIsDamagedAndNoneIsADamagedMap)
{
    TestVolume volume(Converting());
    const uint64_t block = volume.plan.bitmapsOffset;
    volume.image[block + maker::kRecordLength + 40] ^= 1;  // the newer one of region 0
    EXPECT_TRUE(volume.OpenWithPassword());
    EXPECT_FALSE(HoldsPlain(volume.OpenWithPassword(), volume));  // its bits are older ones
    volume.image[block + 2 * maker::kRecordLength + 40] ^= 1;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

TEST(ConversionMapTest, RegionsThatOverlapAreADamagedMap)
{
    TestVolume volume(Converting());
    const size_t block = volume.plan.bitmapsOffset + maker::kBitmapBlockLength;
    volume.image[block + 20] = 0;
    volume.image[block + 21] -= 2;  // 512 bytes nearer to the front
    maker::PutU32(volume.image, block + 56,
                  Crc32WithoutField(ByteView(volume.image).From(block).First(512), 56));
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

TEST(ConversionMapTest, APlaceThatNoRegionCoversIsNotGuessed)
{
    TestVolume volume(Converting());
    const size_t block = volume.plan.bitmapsOffset;
    maker::PutU64(volume.image, block + 28, 0x80000 - 0x200);  // the length of region 0
    maker::PutU32(volume.image, block + 56,
                  Crc32WithoutField(ByteView(volume.image).From(block).First(512), 56));
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    uint8_t sector[512];
    EXPECT_FALSE(opened->volume->ReadAt(0x81e00 - 512, sector, 512));
    EXPECT_EQ(opened->volume->ReadAt(0x81e00, sector, 512).status, Status::kDamagedConversionMap);
    EXPECT_FALSE(opened->volume->ReadAt(0x82000, sector, 512));
}

TEST(ConversionMapTest, AMapWithoutAnyEncryptedChunkNeedsNoSecret)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return false; };
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.Open(Secret::None()), volume));
}

TEST(ConversionMapTest, ADecryptedVolumeIsPlainEvenIfItsMapIsDamaged)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return false; };
    recipe.method = Method::kNone;
    recipe.protectors.clear();
    recipe.encryptedSize = 0;
    recipe.state = 1;
    recipe.nextState = 1;
    TestVolume volume(recipe);
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::PutBytes(volume.image, offset, std::vector<uint8_t>(512));
    EXPECT_TRUE(HoldsPlain(volume.Open(Secret::None()), volume));
}

TEST(ConversionMapTest, AnOrdinaryIdentifierMakesALeftoverMapMeaningless)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.conversion->isEncrypted = [](uint64_t) { return true; };
    TestVolume volume(recipe);
    maker::PutBytes(volume.image, 160, {kOrdinaryVolume.bytes.data(), 16});
    for (uint64_t offset : volume.plan.conversionOffsets)
        maker::PutBytes(volume.image, offset, std::vector<uint8_t>(4096));
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(ConversionMapTest, ToGoVolumesInConversionAreNotGuessed)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.layout = Layout::kToGo;
    const TestVolume volume(recipe);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

// --- The log of a conversion that was interrupted

maker::VolumeRecipe Interrupted(uint64_t sectors)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.conversion->interruptedChunk = 0x30000 + 0x2000;  // a chunk of region 0
    recipe.conversion->interruptedSectors = sectors;
    return recipe;
}

TEST(ConversionLogTest, AnInterruptedChunkIsReadSectorBySector)
{
    for (uint64_t sectors : {0U, 1U, 57U, 127U, 128U}) {
        const TestVolume volume(Interrupted(sectors));
        EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume)) << sectors;
    }
}

TEST(ConversionLogTest, AnUnwrittenSlotLeavesTheOlderOne)
{
    TestVolume volume(Converting());
    const size_t newer = volume.plan.logsOffset + 512 + 512 + 2048 + 512;
    ASSERT_EQ(volume.image[newer], 0x20);
    volume.image[newer + 5] ^= 1;
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(ConversionLogTest, ALogWithoutAValidRecordIsADamagedMap)
{
    TestVolume volume(Converting());
    for (size_t at = volume.plan.logsOffset + 512; at < volume.plan.logsOffset + 0x1a00; ++at)
        volume.image[at] = 0x77;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedConversionMap);
}

TEST(ConversionLogTest, WithoutALogNothingWasInterrupted)
{
    maker::VolumeRecipe recipe = Converting();
    recipe.conversion->withLog = false;
    const TestVolume volume(recipe);
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(ConversionLogTest, SavedDataThatAreDamagedWereNotWrittenToTheirEnd)
{
    // The slot does not count, so neither does its chunk: the bitmap says what it is.
    TestVolume volume(Interrupted(128));
    const size_t newer = volume.plan.logsOffset + 512 + 512 + 2048 + 512;
    volume.image[newer + 512] ^= 1;
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
    TestVolume plain(Interrupted(0));
    plain.image[newer + 512] ^= 1;
    EXPECT_FALSE(HoldsPlain(plain.OpenWithPassword(), plain));
}

}  // namespace
}  // namespace vx::bitlocker
