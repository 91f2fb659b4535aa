// Reading the plaintext of an opened volume.
#include "FaultySource.h"
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <thread>

namespace vx::bitlocker {
namespace {

struct VolumeCase {
    const char *name;
    Layout layout;
    Method method;
    uint32_t sectorSize;
    uint32_t relocatedSectors;
};

void PrintTo(const VolumeCase &value, std::ostream *out)
{
    *out << value.name;
}

class EveryVolumeTest : public testing::TestWithParam<VolumeCase> {
protected:
    static maker::VolumeRecipe recipe()
    {
        maker::VolumeRecipe recipe = recipeWithPassword();
        recipe.layout = GetParam().layout;
        recipe.method = GetParam().method;
        recipe.sectorSize = GetParam().sectorSize;
        recipe.relocatedSectors = GetParam().relocatedSectors;
        return recipe;
    }
};

TEST_P(EveryVolumeTest, TheWholeVolumeIsThePlainImageAndZerosBehindIt)
{
    const TestVolume volume(recipe());
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened) << describe(opened.error());
    EXPECT_EQ(opened->volume->size(), volume.image.size());
    EXPECT_EQ(opened->facts.method, GetParam().method);
    std::vector<uint8_t> expected = volume.plain;
    expected.resize(volume.image.size());
    EXPECT_TRUE(readBytes(*opened->volume, 0, volume.image.size()) == expected);
}

TEST_P(EveryVolumeTest, AnyRangeIsReadWhetherOrNotItBeginsWithASector)
{
    const TestVolume volume(recipe());
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened) << describe(opened.error());
    uint32_t state = 1;
    for (int round = 0; round < 200; ++round) {
        state = state * 1664525 + 1013904223;
        const size_t offset = state % volume.plain.size();
        state = state * 1664525 + 1013904223;
        const size_t count = std::min<size_t>(state >> 14, volume.plain.size() - offset);
        EXPECT_TRUE(readBytes(*opened->volume, offset, count) ==
                    ByteView(volume.plain).from(offset).first(count).copy())
            << offset << " " << count;
    }
}

const VolumeCase kVolumes[] = {
    {"Vista", Layout::Vista, Method::Aes128Elephant, 512, 0},
    {"VistaLongKeys", Layout::Vista, Method::Aes256Elephant, 512, 0},
    {"Windows7", Layout::Windows7, Method::Aes128Elephant, 512, 16},
    {"Cbc128", Layout::Windows7, Method::Aes128Cbc, 512, 16},
    {"Cbc256", Layout::Windows7, Method::Aes256Cbc, 512, 16},
    {"Cbc128LargeSectors", Layout::Windows7, Method::Aes128Cbc, 4096, 2},
    {"Xts128", Layout::Windows7, Method::Aes128Xts, 512, 16},
    {"Xts256", Layout::Windows7, Method::Aes256Xts, 512, 16},
    {"Xts128LargeSectors", Layout::Windows7, Method::Aes128Xts, 4096, 2},
    {"Xts256LargeSectors", Layout::Windows7, Method::Aes256Xts, 4096, 2},
    {"ElephantLargeSectors", Layout::Windows7, Method::Aes256Elephant, 4096, 2},
    {"ToGo", Layout::ToGo, Method::Aes128Cbc, 512, 1027},
    {"ToGoXts", Layout::ToGo, Method::Aes128Xts, 512, 1027},
};

INSTANTIATE_TEST_SUITE_P(Volumes, EveryVolumeTest, testing::ValuesIn(kVolumes),
                         [](const auto &info) { return info.param.name; });

TEST(DecryptedVolumeTest, MetadataAndRelocationInTheMiddleReadAsZeros)
{
    constexpr size_t kArea = 64 * 1024;
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.copyOffsets = {0x20000, 0x60000, 0xb0000};
    recipe.relocationOffset = 0x48000;
    const TestVolume volume(recipe);
    std::vector<uint8_t> expected = volume.plain;
    for (uint64_t copy : recipe.copyOffsets)
        maker::putBytes(expected, copy, std::vector<uint8_t>(kArea));
    maker::putBytes(expected, recipe.relocationOffset, std::vector<uint8_t>(8192));
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(readBytes(*opened->volume, 0, expected.size()) == expected);
}

TEST(DecryptedVolumeTest, WhatPhysicallyLiesInFrontIsNeverHandedOut)
{
    TestVolume volume(recipeWithPassword());
    for (size_t at = 512; at < 8192; ++at)
        volume.image[at] = 0xee;
    EXPECT_TRUE(holdsPlain(volume.openWithPassword(), volume));
}

TEST(DecryptedVolumeTest, AReadBehindTheEndOfTheVolumeFails)
{
    const TestVolume volume(recipeWithPassword());
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    uint8_t byte;
    const uint64_t size = opened->volume->size();
    EXPECT_FALSE(opened->volume->readAt(size - 1, &byte, 1));
    EXPECT_EQ(opened->volume->readAt(size, &byte, 1).status, Status::TruncatedImage);
    EXPECT_EQ(opened->volume->readAt(UINT64_MAX, &byte, 1).status, Status::TruncatedImage);
    EXPECT_FALSE(opened->volume->readAt(size, &byte, 0));
}

TEST(DecryptedVolumeTest, ATruncatedImageOpensAndFailsOnlyBehindItsEnd)
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.copyOffsets = {0x20000, 0x60000, 0xb0000};
    recipe.relocationOffset = 0x40000;
    TestVolume volume(recipe);
    const uint64_t size = volume.image.size();
    volume.image.resize(0x50000);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened) << describe(opened.error());
    EXPECT_TRUE(opened->facts.truncated);
    EXPECT_EQ(opened->volume->size(), size);
    EXPECT_EQ(readBytes(*opened->volume, 0, 1000), ByteView(volume.plain).first(1000).copy());
    uint8_t sector[513];
    EXPECT_FALSE(opened->volume->readAt(0x50000 - 512, sector, 512));
    EXPECT_EQ(opened->volume->readAt(0x50000, sector, 1).status, Status::TruncatedImage);
    EXPECT_EQ(opened->volume->readAt(0x50000 - 512, sector, 513).status, Status::TruncatedImage);
}

TEST(DecryptedVolumeTest, AReadErrorFailsThatReadAndNothingElse)
{
    const TestVolume volume(recipeWithPassword());
    const auto source = std::make_shared<FaultySource>(volume.image, 0x70123);
    const Result<OpenedVolume> opened =
        VolumeOpener(KeyStretcher(kFewRounds)).open(source, *Secret::password(kPassword));
    ASSERT_TRUE(opened);
    uint8_t sector[1024];
    const Error error = opened->volume->readAt(0x70000, sector, 512);
    EXPECT_EQ(error.status, Status::SystemError);
    EXPECT_EQ(error.systemError, EIO);
    EXPECT_FALSE(opened->volume->readAt(0x70200, sector, 512));
    EXPECT_FALSE(opened->volume->readAt(0x70000 - 512, sector, 512));
}

TEST(DecryptedVolumeTest, AReadErrorInTheBootSectorIsPassedOn)
{
    const TestVolume volume(recipeWithPassword());
    const Result<OpenedVolume> opened =
        VolumeOpener(KeyStretcher(kFewRounds))
            .open(std::make_shared<FaultySource>(volume.image, 3), *Secret::password(kPassword));
    ASSERT_EQ(statusOf(opened), Status::SystemError);
    EXPECT_EQ(opened.error().systemError, EIO);
}

TEST(DecryptedVolumeTest, AReadErrorInOneCopyOfTheMetadataLeavesTheOthers)
{
    const TestVolume volume(recipeWithPassword());
    const auto source = std::make_shared<FaultySource>(volume.image, volume.plan.copies[0] + 5000);
    const Result<OpenedVolume> opened =
        VolumeOpener(KeyStretcher(kFewRounds)).open(source, *Secret::password(kPassword));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

TEST(DecryptedVolumeTest, ThreadsReadAtTheSameTime)
{
    const TestVolume volume(recipeWithPassword());
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    std::vector<std::thread> readers;
    std::atomic<int> right{0};
    for (size_t reader = 0; reader < 12; ++reader)
        readers.emplace_back([&, reader] {
            for (size_t round = 0; round < 8; ++round) {
                const size_t offset = reader * 1000 + round * 120'000;
                right += readBytes(*opened->volume, offset, 50'000) ==
                         ByteView(volume.plain).from(offset).first(50'000).copy();
            }
        });
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(right, 12 * 8);
}

TEST(DecryptedVolumeTest, AnotherFileSystemThanAKnownOneIsReportedAndReadable)
{
    TestVolume volume(recipeWithPassword());
    volume.image[volume.plan.relocationOffset] ^= 1;        // noise in the name
    volume.image[volume.plan.relocationOffset + 496] ^= 1;  // and in the last block
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_FALSE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(readBytes(*opened->volume, 512, 512),
              ByteView(volume.plain).from(512).first(512).copy());
}

// --- Windows Vista

maker::VolumeRecipe vistaRecipe()
{
    maker::VolumeRecipe recipe = recipeWithPassword();
    recipe.layout = Layout::Vista;
    recipe.method = Method::Aes128Elephant;
    return recipe;
}

TEST(VistaTest, TheFirstSixteenSectorsAreStoredPlainAndTheFirstOneIsPutRight)
{
    const TestVolume volume(vistaRecipe());
    EXPECT_TRUE(std::equal(volume.plain.begin() + 512, volume.plain.begin() + 8192,
                           volume.image.begin() + 512));
    EXPECT_NE(volume.plain[8192], volume.image[8192]);
    const Result<OpenedVolume> opened = volume.openWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(readBytes(*opened->volume, 0, 512), ByteView(volume.plain).first(512).copy());
    EXPECT_EQ(readBytes(*opened->volume, 5, 2), ByteView(volume.plain).from(5).first(2).copy());
    EXPECT_EQ(readBytes(*opened->volume, 60, 100),
              ByteView(volume.plain).from(60).first(100).copy());
}

TEST(VistaTest, AnUnfinishedConversionIsNotRead)
{
    maker::VolumeRecipe recipe = vistaRecipe();
    recipe.nextState = 1;
    const TestVolume volume(recipe);
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::UnfinishedConversion);
}

TEST(VistaTest, APointerWithoutAClusterSizeIsDamagedMetadata)
{
    TestVolume volume(vistaRecipe());
    volume.image[13] = 0;
    EXPECT_EQ(statusOf(volume.openWithPassword()), Status::DamagedMetadata);
    EXPECT_TRUE(VolumeOpener::recognises(MemoryByteSource(volume.image)));
}

}  // namespace
}  // namespace vx::bitlocker
