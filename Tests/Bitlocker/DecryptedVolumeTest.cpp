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

using Ranges = std::vector<std::pair<uint64_t, uint64_t>>;

// Keeps what is read of it.
class WatchedSource final : public MemoryByteSource {
public:
    using MemoryByteSource::MemoryByteSource;

    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        reads.emplace_back(offset, count);
        return MemoryByteSource::ReadAt(offset, buffer, count);
    }

    mutable Ranges reads;
};

class EveryVolumeTest : public testing::TestWithParam<VolumeCase> {
protected:
    static maker::VolumeRecipe Recipe()
    {
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.layout = GetParam().layout;
        recipe.method = GetParam().method;
        recipe.sectorSize = GetParam().sectorSize;
        recipe.relocatedSectors = GetParam().relocatedSectors;
        return recipe;
    }
};

TEST_P(EveryVolumeTest, TheWholeVolumeIsThePlainImageAndZerosBehindIt)
{
    const TestVolume volume(Recipe());
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_EQ(opened->volume->Size(), volume.image.size());
    EXPECT_EQ(opened->facts.method, GetParam().method);
    std::vector<uint8_t> expected = volume.plain;
    expected.resize(volume.image.size());
    EXPECT_TRUE(ReadBytes(*opened->volume, 0, volume.image.size()) == expected);
}

TEST_P(EveryVolumeTest, APlaceIsLocatedWhereItIsRead)
{
    const TestVolume volume(Recipe());
    const auto image = std::make_shared<WatchedSource>(volume.image);
    const Result<UnlockedVolume> opened = OpenQuickly(image, *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened) << opened.Failure().detail;
    char bytes[64];
    uint64_t elsewhere = 0;
    for (uint64_t offset = 0; offset + 10 <= opened->volume->Size(); offset += 500) {
        image->reads.clear();
        ASSERT_FALSE(opened->volume->ReadAt(offset, bytes, 10));
        Ranges located;
        opened->volume->Locate(offset, 10, [&](const StoredPlace &place) {
            EXPECT_GE(place.position, offset);
            located.emplace_back(place.offset, place.length);
            elsewhere += place.offset > offset + GetParam().sectorSize ? 1 : 0;
        });
        uint64_t read = 0;
        uint64_t found = 0;
        for (const auto &range : image->reads)
            read += range.second;
        for (const auto &range : located) {
            found += range.second;
            EXPECT_EQ(image->reads.front().first, located.front().first) << offset;
        }
        ASSERT_EQ(read, found) << offset;
    }
    EXPECT_EQ(elsewhere > 0, GetParam().layout != Layout::kVista) << elsewhere;
}

TEST_P(EveryVolumeTest, AnyRangeIsReadWhetherOrNotItBeginsWithASector)
{
    const TestVolume volume(Recipe());
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    uint32_t state = 1;
    for (int round = 0; round < 200; ++round) {
        state = state * 1664525 + 1013904223;
        const size_t offset = state % volume.plain.size();
        state = state * 1664525 + 1013904223;
        const size_t count = std::min<size_t>(state >> 14, volume.plain.size() - offset);
        EXPECT_TRUE(ReadBytes(*opened->volume, offset, count) ==
                    ByteView(volume.plain).From(offset).First(count).Copy())
            << offset << " " << count;
    }
}

const VolumeCase kVolumes[] = {
    {"Vista", Layout::kVista, Method::kAes128Elephant, 512, 0},
    {"VistaLongKeys", Layout::kVista, Method::kAes256Elephant, 512, 0},
    {"Windows7", Layout::kWindows7, Method::kAes128Elephant, 512, 16},
    {"Cbc128", Layout::kWindows7, Method::kAes128Cbc, 512, 16},
    {"Cbc256", Layout::kWindows7, Method::kAes256Cbc, 512, 16},
    {"Cbc128LargeSectors", Layout::kWindows7, Method::kAes128Cbc, 4096, 2},
    {"Xts128", Layout::kWindows7, Method::kAes128Xts, 512, 16},
    {"Xts256", Layout::kWindows7, Method::kAes256Xts, 512, 16},
    {"Xts128LargeSectors", Layout::kWindows7, Method::kAes128Xts, 4096, 2},
    {"Xts256LargeSectors", Layout::kWindows7, Method::kAes256Xts, 4096, 2},
    {"ElephantLargeSectors", Layout::kWindows7, Method::kAes256Elephant, 4096, 2},
    {"ToGo", Layout::kToGo, Method::kAes128Cbc, 512, 1027},
    {"ToGoXts", Layout::kToGo, Method::kAes128Xts, 512, 1027},
};

INSTANTIATE_TEST_SUITE_P(Volumes, EveryVolumeTest, testing::ValuesIn(kVolumes),
                         [](const auto &info) { return info.param.name; });

TEST(DecryptedVolumeTest, MetadataAndRelocationInTheMiddleReadAsZeros)
{
    constexpr size_t kArea = 64 * 1024;
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.copyOffsets = {0x20000, 0x60000, 0xb0000};
    recipe.relocationOffset = 0x48000;
    const TestVolume volume(recipe);
    std::vector<uint8_t> expected = volume.plain;
    for (uint64_t copy : recipe.copyOffsets)
        maker::PutBytes(expected, copy, std::vector<uint8_t>(kArea));
    maker::PutBytes(expected, recipe.relocationOffset, std::vector<uint8_t>(8192));
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_TRUE(ReadBytes(*opened->volume, 0, expected.size()) == expected);
}

TEST(DecryptedVolumeTest, WhatPhysicallyLiesInFrontIsNeverHandedOut)
{
    TestVolume volume(RecipeWithPassword());
    for (size_t at = 512; at < 8192; ++at)
        volume.image[at] = 0xee;
    EXPECT_TRUE(HoldsPlain(volume.OpenWithPassword(), volume));
}

TEST(DecryptedVolumeTest, AReadBehindTheEndOfTheVolumeFails)
{
    const TestVolume volume(RecipeWithPassword());
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    uint8_t byte;
    const uint64_t size = opened->volume->Size();
    EXPECT_FALSE(opened->volume->ReadAt(size - 1, &byte, 1));
    EXPECT_EQ(opened->volume->ReadAt(size, &byte, 1).status, Status::kTruncatedImage);
    EXPECT_EQ(opened->volume->ReadAt(UINT64_MAX, &byte, 1).status, Status::kTruncatedImage);
    EXPECT_FALSE(opened->volume->ReadAt(size, &byte, 0));
}

TEST(DecryptedVolumeTest, ATruncatedImageOpensAndFailsOnlyBehindItsEnd)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.copyOffsets = {0x20000, 0x60000, 0xb0000};
    recipe.relocationOffset = 0x40000;
    TestVolume volume(recipe);
    const uint64_t size = volume.image.size();
    volume.image.resize(0x50000);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_TRUE(opened->facts.truncated);
    EXPECT_EQ(opened->volume->Size(), size);
    EXPECT_EQ(ReadBytes(*opened->volume, 0, 1000), ByteView(volume.plain).First(1000).Copy());
    uint8_t sector[513];
    EXPECT_FALSE(opened->volume->ReadAt(0x50000 - 512, sector, 512));
    EXPECT_EQ(opened->volume->ReadAt(0x50000, sector, 1).status, Status::kTruncatedImage);
    EXPECT_EQ(opened->volume->ReadAt(0x50000 - 512, sector, 513).status, Status::kTruncatedImage);
}

TEST(DecryptedVolumeTest, AReadErrorFailsThatReadAndNothingElse)
{
    const TestVolume volume(RecipeWithPassword());
    const auto source = std::make_shared<FaultySource>(volume.image, 0x70123);
    const Result<UnlockedVolume> opened = OpenQuickly(source, *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened);
    uint8_t sector[1024];
    const Error error = opened->volume->ReadAt(0x70000, sector, 512);
    EXPECT_EQ(error.status, Status::kSystemError);
    EXPECT_EQ(error.systemError, EIO);
    EXPECT_FALSE(opened->volume->ReadAt(0x70200, sector, 512));
    EXPECT_FALSE(opened->volume->ReadAt(0x70000 - 512, sector, 512));
}

TEST(DecryptedVolumeTest, AReadErrorInTheBootSectorIsPassedOn)
{
    const TestVolume volume(RecipeWithPassword());
    const Result<UnlockedVolume> opened = OpenQuickly(
        std::make_shared<FaultySource>(volume.image, 3), *Secret::FromPassword(kPassword));
    ASSERT_EQ(StatusOf(opened), Status::kSystemError);
    EXPECT_EQ(opened.Failure().systemError, EIO);
}

TEST(DecryptedVolumeTest, AReadErrorInOneCopyOfTheMetadataLeavesTheOthers)
{
    const TestVolume volume(RecipeWithPassword());
    const auto source = std::make_shared<FaultySource>(volume.image, volume.plan.copies[0] + 5000);
    const Result<UnlockedVolume> opened = OpenQuickly(source, *Secret::FromPassword(kPassword));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->facts.warnings.size(), 1U);
}

TEST(DecryptedVolumeTest, ThreadsReadAtTheSameTime)
{
    const TestVolume volume(RecipeWithPassword());
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    std::vector<std::thread> readers;
    std::atomic<int> right{0};
    for (size_t reader = 0; reader < 12; ++reader)
        readers.emplace_back([&, reader] {
            for (size_t round = 0; round < 8; ++round) {
                const size_t offset = reader * 1000 + round * 120'000;
                right += ReadBytes(*opened->volume, offset, 50'000) ==
                         ByteView(volume.plain).From(offset).First(50'000).Copy();
            }
        });
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(right, 12 * 8);
}

TEST(DecryptedVolumeTest, AnotherFileSystemThanAKnownOneIsReportedAndReadable)
{
    TestVolume volume(RecipeWithPassword());
    volume.image[volume.plan.relocationOffset] ^= 1;        // noise in the name
    volume.image[volume.plan.relocationOffset + 496] ^= 1;  // and in the last block
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_FALSE(opened->facts.looksLikeFileSystem);
    EXPECT_EQ(ReadBytes(*opened->volume, 512, 512),
              ByteView(volume.plain).From(512).First(512).Copy());
}

// --- Windows Vista

maker::VolumeRecipe VistaRecipe()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.layout = Layout::kVista;
    recipe.method = Method::kAes128Elephant;
    return recipe;
}

TEST(VistaTest, TheFirstSixteenSectorsAreStoredPlainAndTheFirstOneIsPutRight)
{
    const TestVolume volume(VistaRecipe());
    EXPECT_TRUE(std::equal(volume.plain.begin() + 512, volume.plain.begin() + 8192,
                           volume.image.begin() + 512));
    EXPECT_NE(volume.plain[8192], volume.image[8192]);
    const Result<UnlockedVolume> opened = volume.OpenWithPassword();
    ASSERT_TRUE(opened);
    EXPECT_EQ(ReadBytes(*opened->volume, 0, 512), ByteView(volume.plain).First(512).Copy());
    EXPECT_EQ(ReadBytes(*opened->volume, 5, 2), ByteView(volume.plain).From(5).First(2).Copy());
    EXPECT_EQ(ReadBytes(*opened->volume, 60, 100),
              ByteView(volume.plain).From(60).First(100).Copy());
}

TEST(VistaTest, AnUnfinishedConversionIsNotRead)
{
    maker::VolumeRecipe recipe = VistaRecipe();
    recipe.nextState = 1;
    const TestVolume volume(recipe);
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kUnfinishedConversion);
}

TEST(VistaTest, APointerWithoutAClusterSizeIsDamagedMetadata)
{
    TestVolume volume(VistaRecipe());
    volume.image[13] = 0;
    EXPECT_EQ(StatusOf(volume.OpenWithPassword()), Status::kDamagedMetadata);
    EXPECT_TRUE(VolumeOpener::Recognises(volume.image));
}

}  // namespace
}  // namespace vx::bitlocker
