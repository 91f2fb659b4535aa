// Volumes whose first sector is lost, found by their metadata and opened without it.
#include "LostVolume.h"

#include "Maker/ByteWriter.h"
#include "PartOfSource.h"
#include "RebuiltBootSector.h"
#include "ReplacedFront.h"
#include "TestVolume.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vx::bitlocker {
namespace {

using Bytes = std::vector<uint8_t>;
using maker::PutBytes;

constexpr size_t kPlainSize = 256 * 1024;
constexpr uint64_t kBegin = 37 * 512;  // of the volume on its disk

// A volume at an odd place of a disk with noise around it.
struct DiskWithVolume {
    explicit DiskWithVolume(const maker::VolumeRecipe &recipe, uint64_t begin = kBegin)
        : volume(recipe, kPlainSize), begin(begin)
    {
        bytes = MakePlainImage((begin + volume.image.size() + 64 * 1024 + 511) / 512 * 512);
        PutBytes(bytes, begin, volume.image);
    }

    void Erase(uint64_t at, size_t count, uint8_t value = 0)
    {
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin + at), count, value);
    }
    void EraseFirstSector(uint8_t value = 0) { Erase(0, 512, value); }
    void EraseCopy(size_t copy) { Erase(volume.plan.copies[copy], 64); }

    std::shared_ptr<const ByteSource> Source() const
    {
        return std::make_shared<MemoryByteSource>(bytes);
    }

    TestVolume volume;
    uint64_t begin;
    Bytes bytes;
};

Result<UnlockedVolume> OpenLost(const std::shared_ptr<const ByteSource> &disk,
                                const LostVolume &lost, uint64_t size)
{
    const auto part = std::make_shared<PartOfSource>(disk, lost.begin, size);
    const auto sector = RebuildBootSector(*part, lost.block, nullptr, {});
    if (!sector)
        return sector.Failure();
    return OpenQuickly(std::make_shared<ReplacedFront>(part, Bytes(sector->begin(), sector->end())),
                       *Secret::FromPassword(kPassword));
}

// The first sector of a Vista volume is not in its metadata.
bool HoldsPlainWithoutFirstSector(const Result<UnlockedVolume> &opened, const TestVolume &volume)
{
    const Bytes rest(volume.plain.begin() + 512, volume.plain.end());
    return opened && ReadBytes(*opened->volume, 512, rest.size()) == rest;
}

struct Make {
    const char *name;
    Layout layout;
    Method method;
    uint32_t sectorSize;
    bool sectorSizeInBootSector;
    maker::VolumeRecipe::HeaderEntry headerEntry;
};

using HeaderEntry = maker::VolumeRecipe::HeaderEntry;

const Make kMakes[] = {
    {"Windows10", Layout::kWindows7, Method::kAes128Xts, 512, true, HeaderEntry::kLong},
    {"Windows7", Layout::kWindows7, Method::kAes128Elephant, 512, true, HeaderEntry::kShort},
    {"WithoutHeaderEntry", Layout::kWindows7, Method::kAes256Xts, 512, true, HeaderEntry::kNone},
    {"LargeSectors", Layout::kWindows7, Method::kAes256Xts, 4096, true, HeaderEntry::kLong},
    {"LargeSectorsOfWindows7", Layout::kWindows7, Method::kAes128Xts, 4096, false,
     HeaderEntry::kShort},
    {"LargeSectorsByTrial", Layout::kWindows7, Method::kAes128Xts, 4096, false, HeaderEntry::kNone},
    {"ToGo", Layout::kToGo, Method::kAes128Cbc, 512, true, HeaderEntry::kLong},
    {"Vista", Layout::kVista, Method::kAes256Cbc, 512, true, HeaderEntry::kLong},
};

class LostVolumeMakes : public testing::TestWithParam<Make> {
protected:
    static maker::VolumeRecipe Recipe()
    {
        const Make &make = GetParam();
        maker::VolumeRecipe recipe = RecipeWithPassword();
        recipe.layout = make.layout;
        recipe.method = make.method;
        recipe.sectorSize = make.sectorSize;
        recipe.sectorSizeInBootSector = make.sectorSizeInBootSector;
        recipe.headerEntry = make.headerEntry;
        if (make.layout == Layout::kToGo)
            recipe.relocatedSectors = 200;
        return recipe;
    }

    static void ExpectOpens(const DiskWithVolume &disk, const LostVolume &lost)
    {
        const auto opened = OpenLost(disk.Source(), lost, disk.volume.image.size());
        ASSERT_TRUE(opened) << opened.Failure().detail;
        EXPECT_EQ(opened->facts.layout, GetParam().layout);
        if (GetParam().layout == Layout::kVista)
            EXPECT_TRUE(HoldsPlainWithoutFirstSector(opened, disk.volume));
        else
            EXPECT_TRUE(HoldsPlain(opened, disk.volume));
    }
};

TEST_P(LostVolumeMakes, EachCopyOfTheMetadataLeadsToTheVolume)
{
    DiskWithVolume disk(Recipe());
    disk.EraseFirstSector();
    for (const uint64_t copy : disk.volume.plan.copies) {
        const auto found = FindVolumesWithCopyAt(*disk.Source(), kBegin + copy);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].begin, kBegin);
        EXPECT_EQ(found[0].soundCopies, 3u);
        EXPECT_FALSE(found[0].hasBootSector);
        ExpectOpens(disk, found[0]);
    }
}

TEST_P(LostVolumeMakes, TheVolumeIsFoundFromItsBeginning)
{
    for (const uint8_t garbage : {uint8_t{0}, uint8_t{0xf6}, uint8_t{0xff}}) {
        DiskWithVolume disk(Recipe());
        disk.EraseFirstSector(garbage);
        const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
        ASSERT_TRUE(found && found->has_value());
        EXPECT_EQ((*found)->begin, kBegin);
        ExpectOpens(disk, **found);
    }
}

TEST_P(LostVolumeMakes, TheLastCopyIsEnough)
{
    DiskWithVolume disk(Recipe());
    disk.EraseFirstSector();
    disk.EraseCopy(0);
    disk.EraseCopy(1);
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_EQ((*found)->soundCopies, 1u);
    ExpectOpens(disk, **found);
}

INSTANTIATE_TEST_SUITE_P(LostVolume, LostVolumeMakes, testing::ValuesIn(kMakes),
                         [](const auto &make) { return std::string(make.param.name); });

TEST(LostVolume, AFirstSectorThatIsThereIsNoticed)
{
    const DiskWithVolume disk(RecipeWithPassword());
    const auto found = FindVolumesWithCopyAt(*disk.Source(), kBegin + disk.volume.plan.copies[1]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].hasBootSector);
}

TEST(LostVolume, AFirstSectorThatLeadsElsewhereIsNotThatOfTheVolume)
{
    DiskWithVolume disk(RecipeWithPassword());
    for (const size_t pointer : {176, 184, 192})
        maker::PutU64(disk.bytes, kBegin + pointer, 7 * 512);
    const auto found = FindVolumesWithCopyAt(*disk.Source(), kBegin + disk.volume.plan.copies[1]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_FALSE(found[0].hasBootSector);
}

TEST(LostVolume, ASingleCopyMayBelongToThreeBeginningsOfWhichOneIsRight)
{
    DiskWithVolume disk(RecipeWithPassword(), 300 * 1024);
    disk.EraseFirstSector();
    disk.EraseCopy(0);
    disk.EraseCopy(2);
    const auto found =
        FindVolumesWithCopyAt(*disk.Source(), disk.begin + disk.volume.plan.copies[1]);
    std::vector<uint64_t> begins;
    for (const LostVolume &lost : found)
        begins.push_back(lost.begin);
    std::sort(begins.begin(), begins.end());
    const uint64_t step = disk.volume.plan.copies[1] - disk.volume.plan.copies[0];
    EXPECT_EQ(begins, (std::vector<uint64_t>{disk.begin - step, disk.begin, disk.begin + step}));
    for (const LostVolume &lost : found) {
        const auto opened = OpenLost(disk.Source(), lost, disk.volume.image.size());
        ASSERT_TRUE(opened) << opened.Failure().detail;
        EXPECT_EQ(opened->facts.looksLikeFileSystem, lost.begin == disk.begin);
    }
}

TEST(LostVolume, AFirstSectorDecidesWhereASingleCopyBelongs)
{
    DiskWithVolume disk(RecipeWithPassword(), 300 * 1024);
    disk.EraseCopy(0);
    disk.EraseCopy(2);
    const auto found =
        FindVolumesWithCopyAt(*disk.Source(), disk.begin + disk.volume.plan.copies[1]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].begin, disk.begin);
}

TEST(LostVolume, ADamagedCopyLeadsToTheSoundOnes)
{
    DiskWithVolume disk(RecipeWithPassword());
    disk.EraseFirstSector();
    disk.bytes[kBegin + disk.volume.plan.copies[2] + 130] ^= 0xff;
    const auto found = FindVolumesWithCopyAt(*disk.Source(), kBegin + disk.volume.plan.copies[2]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].begin, kBegin);
    EXPECT_EQ(found[0].soundCopies, 2u);
}

// Another volume of the disk has one of its copies in the same place.
TEST(LostVolume, ACopyThatNamesOtherPlacesIsNotOneOfTheVolume)
{
    DiskWithVolume disk(RecipeWithPassword());
    const auto &places = disk.volume.plan.copies;
    const size_t place = places[0];
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.seed = 2;
    recipe.copyOffsets = {place, place + 0x100000, place + 0x120000};
    recipe.relocationOffset = place + 0x140000;
    const TestVolume other(recipe, kPlainSize);
    PutBytes(disk.bytes, kBegin + place,
             ByteView(other.image).From(place).First(MetadataBlock::kAreaSize));
    for (const size_t copy : {1, 2}) {
        const auto found = FindVolumesWithCopyAt(*disk.Source(), kBegin + places[copy]);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].begin, kBegin);
        EXPECT_EQ(found[0].soundCopies, 2u);
        EXPECT_EQ(found[0].markedCopies, 2u);
        EXPECT_EQ(found[0].block.offset, places[1]);
    }
}

TEST(LostVolume, DamagedCopiesShowWhereASingleOneBelongs)
{
    DiskWithVolume disk(RecipeWithPassword(), 300 * 1024);
    disk.EraseFirstSector();
    for (const size_t copy : {0, 2})
        disk.bytes[disk.begin + disk.volume.plan.copies[copy] + 130] ^= 0xff;
    const auto found =
        FindVolumesWithCopyAt(*disk.Source(), disk.begin + disk.volume.plan.copies[1]);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].begin, disk.begin);
}

TEST(LostVolume, NothingIsFoundWhereEveryCopyIsDamaged)
{
    DiskWithVolume disk(RecipeWithPassword());
    for (const uint64_t copy : disk.volume.plan.copies)
        disk.bytes[kBegin + copy + 130] ^= 0xff;
    for (const uint64_t copy : disk.volume.plan.copies)
        EXPECT_TRUE(FindVolumesWithCopyAt(*disk.Source(), kBegin + copy).empty());
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->has_value());
}

TEST(LostVolume, NothingIsFoundWhereThereIsNoCopy)
{
    const DiskWithVolume disk(RecipeWithPassword());
    const uint64_t size = disk.bytes.size();
    for (const uint64_t offset : {uint64_t{0}, kBegin, kBegin + 512, size - 1, size, UINT64_MAX})
        EXPECT_TRUE(FindVolumesWithCopyAt(*disk.Source(), offset).empty()) << offset;
}

TEST(LostVolume, MetadataThatBelongsToAnotherBeginningIsPassedOver)
{
    DiskWithVolume disk(RecipeWithPassword());
    disk.EraseFirstSector();
    for (const uint64_t begin : {uint64_t{0}, kBegin - 512, kBegin + 512}) {
        const auto found = FindVolumeAt(*disk.Source(), begin, nullptr, {});
        ASSERT_TRUE(found);
        EXPECT_FALSE(found->has_value()) << begin;
    }
}

// An earlier volume at the same place: some of its copies are left.
TEST(LostVolume, TheVolumeWithMoreCopiesIsTakenOfTwoAtOnePlace)
{
    maker::VolumeRecipe earlier = RecipeWithPassword();
    earlier.copyOffsets = {128 * 1024, 960 * 1024, 1152 * 1024};
    earlier.seed = 2;
    const TestVolume old(earlier, kPlainSize);
    DiskWithVolume disk(RecipeWithPassword());
    disk.EraseFirstSector();
    const auto place = static_cast<std::ptrdiff_t>(old.plan.copies[0]);
    PutBytes(disk.bytes, kBegin + old.plan.copies[0],
             Bytes(old.image.begin() + place, old.image.begin() + place + 64 * 1024));
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_EQ((*found)->block.copies, disk.volume.plan.copies);
    const auto ofOld = FindVolumesWithCopyAt(*disk.Source(), kBegin + old.plan.copies[0]);
    ASSERT_FALSE(ofOld.empty());
    EXPECT_EQ(ofOld[0].block.copies, old.plan.copies);
}

TEST(LostVolume, TheSizeIsStatedOnlyByAVolumeThatIsEncryptedAsAWhole)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    const TestVolume whole(recipe, kPlainSize);
    recipe.state = 3;
    recipe.nextState = 1;
    recipe.encryptedSize = 64 * 1024;
    const TestVolume part(recipe, kPlainSize);
    const auto stated = [](const TestVolume &volume) {
        const auto found =
            FindVolumesWithCopyAt(MemoryByteSource(volume.image), volume.plan.copies[0]);
        return found.empty() ? 1 : StatedVolumeBytes(found[0].block);
    };
    EXPECT_EQ(stated(whole), whole.image.size());
    EXPECT_EQ(stated(part), 0u);
}

// --- Conversions

TEST(LostConversion, ABoundaryIsInTheMetadata)
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.headerEntry = HeaderEntry::kShort;
    recipe.state = 3;
    recipe.nextState = 1;
    recipe.encryptedSize = 128 * 1024;
    DiskWithVolume disk(recipe);
    disk.EraseFirstSector();
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_TRUE(
        HoldsPlain(OpenLost(disk.Source(), **found, disk.volume.image.size()), disk.volume));
}

maker::VolumeRecipe ConvertingRecipe()
{
    maker::VolumeRecipe recipe = RecipeWithPassword();
    recipe.conversion.emplace();
    recipe.conversion->chunkSize = 16 * 1024;
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset / 32768 % 2 == 0; };
    return recipe;
}

class LostRecord : public testing::TestWithParam<HeaderEntry> {};

TEST_P(LostRecord, TheRecordOfAConversionIsFound)
{
    maker::VolumeRecipe recipe = ConvertingRecipe();
    recipe.headerEntry = GetParam();
    DiskWithVolume disk(recipe);
    disk.EraseFirstSector();
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_TRUE(
        HoldsPlain(OpenLost(disk.Source(), **found, disk.volume.image.size()), disk.volume));
}

INSTANTIATE_TEST_SUITE_P(LostConversion, LostRecord,
                         testing::Values(HeaderEntry::kLong, HeaderEntry::kNone));

TEST(LostConversion, WithoutItsRecordNothingIsGuessed)
{
    DiskWithVolume disk(ConvertingRecipe());
    disk.EraseFirstSector();
    for (const uint64_t record : disk.volume.plan.conversionOffsets)
        disk.Erase(record, 512);
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_EQ(StatusOf(OpenLost(disk.Source(), **found, disk.volume.image.size())),
              Status::kDamagedConversionMap);
}

TEST(LostConversion, ADamagedRecordIsNotUsed)
{
    DiskWithVolume disk(ConvertingRecipe());
    disk.EraseFirstSector();
    disk.bytes[kBegin + disk.volume.plan.conversionOffsets[0] + 24] ^= 1;
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_TRUE(
        HoldsPlain(OpenLost(disk.Source(), **found, disk.volume.image.size()), disk.volume));
}

// What an earlier conversion left says nothing about this one.
TEST(LostConversion, OfTwoRecordsNoneIsChosen)
{
    maker::VolumeRecipe recipe = ConvertingRecipe();
    recipe.conversion->chunkSize = 32 * 1024;
    DiskWithVolume disk(ConvertingRecipe());
    const TestVolume other(recipe, 2 * kPlainSize);
    disk.EraseFirstSector();
    const auto from = static_cast<std::ptrdiff_t>(other.plan.conversionOffsets[0]);
    disk.bytes.resize(kBegin + other.plan.conversionOffsets[0] + 4096);
    PutBytes(disk.bytes, kBegin + other.plan.conversionOffsets[0],
             Bytes(other.image.begin() + from, other.image.begin() + from + 512));
    const auto found = FindVolumeAt(*disk.Source(), kBegin, nullptr, {});
    ASSERT_TRUE(found && found->has_value());
    EXPECT_EQ(StatusOf(OpenLost(disk.Source(), **found, disk.bytes.size() - kBegin)),
              Status::kDamagedConversionMap);
}

TEST(LostConversion, TheSearchForARecordIsCancelled)
{
    DiskWithVolume disk(ConvertingRecipe());
    disk.EraseFirstSector();
    const CancelFlag flag;
    CancelFlag::RaiseAll();
    const auto found = FindVolumeAt(*disk.Source(), kBegin, &flag, {});
    ASSERT_FALSE(found);
    EXPECT_EQ(found.Failure().status, Status::kCancelled);
    const auto block = MetadataBlock::Parse(
        ByteView(disk.volume.image).From(disk.volume.plan.copies[0]), disk.volume.plan.copies[0]);
    ASSERT_TRUE(block);
    const auto sector = RebuildBootSector(MemoryByteSource(disk.volume.image), *block, &flag, {});
    ASSERT_FALSE(sector);
    EXPECT_EQ(sector.Failure().status, Status::kCancelled);
}

}  // namespace
}  // namespace vx::bitlocker
