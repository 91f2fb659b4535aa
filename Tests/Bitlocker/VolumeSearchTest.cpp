// The search of a whole disk for encrypted volumes.
#include "VolumeSearch.h"

#include "FaultySource.h"
#include "Maker/ByteWriter.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace vx::bitlocker {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kPlainSize = 256 * 1024;
constexpr size_t kDiskBytes = 4 << 20;

maker::VolumeRecipe Recipe(uint32_t seed)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.seed = seed;
    return recipe;
}

std::vector<SearchedVolume> Search(const Bytes &disk, uint64_t *unread = nullptr)
{
    const MemoryByteSource source(disk);
    VolumeSearch search(source, nullptr, {});
    EXPECT_FALSE(search.Run());
    if (unread != nullptr)
        *unread = search.UnreadBytes();
    return search.Volumes();
}

std::vector<uint64_t> CopiesOf(const TestVolume &volume, uint64_t begin)
{
    std::vector<uint64_t> copies;
    for (const uint64_t copy : volume.plan.copies)
        copies.push_back(begin + copy);
    return copies;
}

class VolumeSearchTest : public testing::Test {
protected:
    void Put(const TestVolume &volume, uint64_t at) { maker::PutBytes(disk, at, volume.image); }
    void Erase(uint64_t at, size_t count)
    {
        std::fill_n(disk.begin() + static_cast<std::ptrdiff_t>(at), count, uint8_t{0});
    }

    Bytes disk = MakePlainImage(kDiskBytes);
};

TEST_F(VolumeSearchTest, EachVolumeIsReportedOnceInTheOrderOfTheDisk)
{
    const TestVolume first(Recipe(1), kPlainSize);
    const TestVolume second(Recipe(2), kPlainSize);
    Put(second, 2 << 20);
    Put(first, 33 * 512);
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].offset, 33u * 512);
    EXPECT_EQ(found[1].offset, 2u << 20);
    EXPECT_EQ(found[0].copies, CopiesOf(first, 33 * 512));
    EXPECT_EQ(found[1].copies, CopiesOf(second, 2 << 20));
    EXPECT_EQ(found[0].bytes, first.image.size());
    EXPECT_EQ(found[0].method, Method::kAes128Xts);
    EXPECT_EQ(found[0].description, "TESTHOST C: 1/2/2026");
    EXPECT_NE(found[0].identifier, found[1].identifier);
    EXPECT_TRUE(found[0].hasBootSector && found[1].hasBootSector);
}

TEST_F(VolumeSearchTest, EveryLayoutIsFoundWithAndWithoutItsFirstSector)
{
    for (const Layout layout : {Layout::kVista, Layout::kWindows7, Layout::kToGo}) {
        maker::VolumeRecipe recipe = Recipe(1);
        recipe.layout = layout;
        const TestVolume volume(recipe, kPlainSize);
        Put(volume, 1 << 20);
        auto found = Search(disk);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_TRUE(found[0].hasBootSector);
        Erase(1 << 20, 512);
        found = Search(disk);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].offset, 1u << 20);
        EXPECT_FALSE(found[0].hasBootSector);
        EXPECT_EQ(found[0].bytes, layout == Layout::kVista ? 0 : volume.image.size());
        EXPECT_EQ(found[0].copies, CopiesOf(volume, 1 << 20));
    }
}

TEST_F(VolumeSearchTest, LargeSectorsAreFoundOnSmallBoundaries)
{
    maker::VolumeRecipe recipe = Recipe(1);
    recipe.sectorSize = 4096;
    const TestVolume volume(recipe, kPlainSize);
    Put(volume, 3 * 512);
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].offset, 3u * 512);
}

TEST_F(VolumeSearchTest, OnlySoundCopiesAreListed)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 0);
    disk[volume.plan.copies[1] + 130] ^= 0xff;
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].copies,
              (std::vector<uint64_t>{volume.plan.copies[0], volume.plan.copies[2]}));
}

TEST_F(VolumeSearchTest, ASingleCopyWithoutAFirstSectorIsAVolume)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 0);
    Erase(0, 512);
    Erase(volume.plan.copies[1], 64);
    Erase(volume.plan.copies[2], 64);
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].offset, 0u);
    EXPECT_EQ(found[0].copies, std::vector<uint64_t>{volume.plan.copies[0]});
}

TEST_F(VolumeSearchTest, DamagedCopiesShowWhereTheVolumeOfASingleOneBegins)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 1 << 20);
    Erase(1 << 20, 512);
    for (const size_t copy : {0, 1})
        disk[(1 << 20) + volume.plan.copies[copy] + 130] ^= 0xff;
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].offset, 1u << 20);
    EXPECT_EQ(found[0].copies, std::vector<uint64_t>{(1 << 20) + volume.plan.copies[2]});
}

TEST_F(VolumeSearchTest, AFirstSectorWithoutMetadataIsNoVolume)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 0);
    for (const uint64_t copy : volume.plan.copies)
        Erase(copy, 64);
    EXPECT_TRUE(Search(disk).empty());
}

// The later volume has overwritten the first sector and one copy of the earlier one.
TEST_F(VolumeSearchTest, WhatAnEarlierVolumeLeftIsListedToo)
{
    maker::VolumeRecipe recipe = Recipe(7);
    recipe.copyOffsets = {64 * 1024, 1 << 20, 3 << 19};
    const TestVolume earlier(recipe, kPlainSize);
    const TestVolume later(Recipe(8), kPlainSize);
    Put(earlier, 1024);
    Put(later, 1024);
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].offset, 1024u);
    EXPECT_EQ(found[1].offset, 1024u);
    const SearchedVolume &old = found[0].copies.size() == 2 ? found[0] : found[1];
    const SearchedVolume &now = found[0].copies.size() == 2 ? found[1] : found[0];
    EXPECT_EQ(old.copies, (std::vector<uint64_t>{1024 + (1 << 20), 1024 + (3 << 19)}));
    EXPECT_FALSE(old.hasBootSector);
    EXPECT_EQ(now.copies, CopiesOf(later, 1024));
    EXPECT_TRUE(now.hasBootSector);
}

// The same volume twice, as after an image was copied to another place of the disk.
TEST_F(VolumeSearchTest, ACopyOfAVolumeIsAnotherVolume)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 0);
    Put(volume, 2 << 20);
    const auto found = Search(disk);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].copies, CopiesOf(volume, 0));
    EXPECT_EQ(found[1].copies, CopiesOf(volume, 2 << 20));
}

TEST_F(VolumeSearchTest, WhatCannotBeReadIsPassedOverAndCounted)
{
    const TestVolume volume(Recipe(1), kPlainSize);
    Put(volume, 0);
    const FaultySource source(disk, 3 << 20);
    VolumeSearch search(source, nullptr, {});
    EXPECT_FALSE(search.Run());
    EXPECT_EQ(search.Volumes().size(), 1u);
    EXPECT_EQ(search.UnreadBytes(), 1u << 20);  // this source fails piece by piece
}

// Data from begin to end, holes before and after it.
class SparseSource final : public MemoryByteSource {
public:
    SparseSource(Bytes bytes, uint64_t begin, uint64_t end)
        : MemoryByteSource(std::move(bytes)), _begin(begin), _end(end)
    {
    }

    uint64_t NextData(uint64_t offset) const override
    {
        return offset < _end ? std::max(offset, _begin) : Size();
    }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        bytesRead += count;
        return MemoryByteSource::ReadAt(offset, buffer, count);
    }

    mutable uint64_t bytesRead = 0;

private:
    const uint64_t _begin;
    const uint64_t _end;
};

TEST_F(VolumeSearchTest, HolesAreNotRead)
{
    constexpr size_t kBegin = (32 << 20) + 33 * 512;
    const TestVolume volume(Recipe(1), kPlainSize);
    disk.assign(64 << 20, 0);
    Put(volume, kBegin);
    // Holes end on the boundary of a block, data of a file need not begin with a sector.
    const SparseSource source(disk, kBegin + 3, kBegin + volume.image.size());
    VolumeSearch search(source, nullptr, {});
    EXPECT_FALSE(search.Run());
    ASSERT_EQ(search.Volumes().size(), 1u);
    EXPECT_EQ(search.Volumes()[0].copies, CopiesOf(volume, kBegin));
    EXPECT_TRUE(search.Volumes()[0].hasBootSector);
    EXPECT_LE(source.bytesRead, volume.image.size() + (2 << 20));
}

TEST_F(VolumeSearchTest, ACancelledSearchEndsAtOnceAndKeepsWhatItFound)
{
    const MemoryByteSource source(disk);
    const CancelFlag flag;
    CancelFlag::RaiseAll();
    VolumeSearch search(source, &flag, {});
    EXPECT_EQ(search.Run().status, Status::kCancelled);
    EXPECT_TRUE(search.Volumes().empty());
}

TEST_F(VolumeSearchTest, ProgressBeginsWithNothingAndCountsBytes)
{
    struct Heard {
        std::vector<std::pair<uint64_t, uint64_t>> steps;
    } heard;
    const auto hear = [](void *context, VolumeOpeningStep step, uint64_t done, uint64_t total,
                         uint32_t) {
        EXPECT_EQ(step, VolumeOpeningStep::kSearching);
        static_cast<Heard *>(context)->steps.emplace_back(done, total);
    };
    const MemoryByteSource source(disk);
    VolumeSearch search(source, nullptr, {hear, &heard});
    EXPECT_FALSE(search.Run());
    ASSERT_FALSE(heard.steps.empty());
    EXPECT_EQ(heard.steps[0], std::make_pair(uint64_t{0}, uint64_t{kDiskBytes}));
}

// --- Disks that are made to deceive

// A block in every sector that names a place for itself; sound ones have a right checksum.
Bytes DiskFullOfBlocks(size_t sectors, bool areSound)
{
    constexpr size_t kCovered = 112;
    Bytes bytes(sectors * 512 + 65536);
    for (size_t sector = 1; sector < sectors; ++sector) {
        const size_t at = sector * 512;
        maker::PutBytes(bytes, at, maker::ByteWriter().Text("-FVE-FS-").Result());
        maker::PutU16(bytes, at + 8, areSound ? kCovered / 16 : 0xff0);
        maker::PutU16(bytes, at + 10, 2);
        maker::PutU64(bytes, at + 32, 512 * (1 + sector % 3));
        maker::PutU64(bytes, at + 40, at);
        maker::PutU32(bytes, at + 64, 48);
        maker::PutU32(bytes, at + 72, 48);
        maker::PutU32(bytes, at + 76, 48);
        maker::PutU32(bytes, at + 80, static_cast<uint32_t>(sector));
        if (areSound)
            maker::RenewChecksum(bytes, at);
    }
    return bytes;
}

TEST(HostileSearch, ForgedBlocksAreKeptToALimit)
{
    const Bytes bytes = DiskFullOfBlocks(VolumeSearch::kMostBlocks * 2, true);
    const MemoryByteSource source(bytes);
    VolumeSearch search(source, nullptr, {});
    EXPECT_FALSE(search.Run());
    EXPECT_LE(search.Volumes().size(), VolumeSearch::kMostBlocks);
    EXPECT_GT(search.Volumes().size(), 1000u);
    EXPECT_EQ(search.UncheckedBlocks(), VolumeSearch::kMostBlocks - 1);
}

// Each claims 64 KiB for its checksum and overlaps 127 others.
TEST(HostileSearch, WrongChecksumsCostNoMoreThanReadingTheDisk)
{
    constexpr size_t kSectors = 65536;
    const Bytes bytes = DiskFullOfBlocks(kSectors, false);
    const MemoryByteSource source(bytes);
    VolumeSearch search(source, nullptr, {});
    EXPECT_FALSE(search.Run());
    EXPECT_TRUE(search.Volumes().empty());
    const uint64_t checked = kSectors - 1 - search.UncheckedBlocks();
    EXPECT_LE(checked * 0xff00, bytes.size() + (64 << 20) + 0xff00);
}

}  // namespace
}  // namespace vx::bitlocker
