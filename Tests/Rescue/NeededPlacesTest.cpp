// What the library says a file needs of the disk is enough to read it, and what is withheld is lost
// exactly where the disk has it.
#include "ByteReader.h"
#include "DiskOpening.h"
#include "DiskWriter.h"
#include "Salvaged.h"
#include "VolumeShelf.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace vx {
namespace {

using Volumes = testing::TestWithParam<const char *>;

std::string DiskOf(const RescueVolume &volume)
{
    std::ostringstream bytes;
    for (const std::string &part : volume.parts)
        bytes << std::ifstream(part, std::ios::binary).rdbuf();
    return bytes.str();
}

Opened OpenWith(const OpeningOptions &options, const std::string &path, const std::string &kind,
                const std::string &secret)
{
    const OpenRequest request = {path.c_str(), kind.c_str(), secret.c_str(), nullptr, options};
    return AsAnswer(OpenVolume(request));
}

void Collect(void *context, uint64_t offset, uint64_t length)
{
    static_cast<ByteRanges *>(context)->push_back({offset, length});
}

void CollectPlace(void *context, uint64_t, uint64_t offset, uint64_t length)
{
    Collect(context, offset, length);
}

ByteRanges PlacesOf(OwnedVolume &volume, const std::string &path)
{
    ByteRanges places;
    const VolumeHandle file = OpenForReading(volume, Utf16(path));
    EXPECT_NE(file, nullptr) << path;
    EXPECT_TRUE(volume.VisitPlaces(file, CollectPlace, &places));
    volume.CloseHandle(file);
    return places;
}

// Of the tree, what the volume has: one of each kind.
std::vector<std::string> ChosenOf(const RescueVolume &volume)
{
    std::vector<std::string> chosen;
    for (const char *path : {kChunk, kVictim, kPacked, kSparse}) {
        if (volume.File(path) != nullptr)
            chosen.emplace_back(path);
    }
    return chosen;
}

// A disk that has only what is needed; the rest is noise.
std::string OnlyWith(const std::string &disk, const ByteRanges &needed)
{
    constexpr size_t kSector = 512;
    std::string copy = NoiseBytes(disk.size(), 11);
    for (const ByteRange &range : needed) {
        const size_t begin = range.offset / kSector * kSector;
        const size_t end = (range.offset + range.length + kSector - 1) / kSector * kSector;
        EXPECT_LE(range.offset + range.length, disk.size());
        copy.replace(begin, std::min(end, disk.size()) - begin, disk, begin,
                     std::min(end, disk.size()) - begin);
    }
    return copy;
}

uint64_t BytesOf(const ByteRanges &ranges)
{
    uint64_t bytes = 0;
    for (const ByteRange &range : ranges)
        bytes += range.length;
    return bytes;
}

// Contents by the paths of the files.
using Files = std::map<std::string, std::string>;

Files FilesOf(const RescueVolume &volume)
{
    Files files;
    for (const std::string &path : ChosenOf(volume))
        files[path] = volume.File(path)->Contents();
    return files;
}

void ExpectEnough(const Files &files, const std::string &disk, const std::string &path,
                  const std::string &kind, const std::string &secret)
{
    OpeningOptions options;
    options.recordsReads = true;
    const Opened opened = OpenWith(options, path, kind, secret);
    ASSERT_NE(opened.volume, nullptr) << opened.detail;
    ByteRanges needed;
    for (const auto &[file, contents] : files) {
        for (const ByteRange &place : PlacesOf(*opened.volume, file))
            needed.push_back(place);
    }
    ASSERT_TRUE(opened.volume->VisitTablesRead(Collect, &needed));
    EXPECT_LT(BytesOf(needed), disk.size() / 2);

    const TemporaryFolder folder;
    folder.WriteFile("copy", OnlyWith(disk, needed));
    const Opened copy = OpenWith({}, folder.At("copy"), kind, secret);
    ASSERT_NE(copy.volume, nullptr) << copy.detail;
    for (const auto &[file, contents] : files) {
        const auto found = ReadWholeFile(*copy.volume, Utf16(file));
        EXPECT_TRUE(found && *found == contents) << file;
    }
}

class NeededPlaces : public Volumes {
protected:
    void SetUp() override
    {
        volume = VolumeShelf::Get().VolumeOf(GetParam());
        if (volume == nullptr)
            GTEST_SKIP() << "a program is missing that makes it";
    }

    const RescueVolume *volume = nullptr;
};

TEST_P(NeededPlaces, ADiskWithNothingElseHasTheFiles)
{
    ExpectEnough(FilesOf(*volume), DiskOf(*volume), volume->path, volume->unlockKind,
                 volume->secret);
}

TEST_P(NeededPlaces, TheSameHoldsForAPartition)
{
    constexpr size_t kFirst = 2048;
    const std::string bytes = DiskOf(*volume);
    DiskWriter disk(kFirst + bytes.size() / DiskWriter::kSector + 1);
    disk.PutMbr(0, 0, 7, kFirst, static_cast<uint32_t>(bytes.size() / DiskWriter::kSector));
    disk.Bytes().replace(kFirst * DiskWriter::kSector, bytes.size(), bytes);
    const TemporaryFolder folder;
    folder.WriteFile("disk", disk.Bytes());
    ExpectEnough(FilesOf(*volume), disk.Bytes(), folder.At("disk"), volume->unlockKind,
                 volume->secret);
}

TEST_P(NeededPlaces, WhatIsWithheldIsLostAndNothingElse)
{
    const std::string path = kLarge;
    const Opened whole = OpenWith({}, volume->path, volume->unlockKind, volume->secret);
    ASSERT_NE(whole.volume, nullptr) << whole.detail;
    const ByteRanges places = PlacesOf(*whole.volume, path);
    ASSERT_FALSE(places.empty());
    const ByteRange longest = *std::max_element(
        places.begin(), places.end(),
        [](const ByteRange &one, const ByteRange &other) { return one.length < other.length; });
    const uint64_t middle = longest.offset + longest.length / 8192 * 4096;

    OpeningOptions options;
    options.limits.withheld =
        std::make_shared<const ByteRanges>(ByteRanges{{middle, 4096}, {middle + 8192, 512}});
    const Opened opened = OpenWith(options, volume->path, volume->unlockKind, volume->secret);
    ASSERT_NE(opened.volume, nullptr) << opened.detail;
    const Salvaged salvaged = Salvage(*opened.volume, Utf16(path));
    EXPECT_FALSE(salvaged.lost.empty());
    uint64_t lost = 0;
    for (const auto &range : salvaged.lost)
        lost += range.second;
    EXPECT_GE(lost, 4096u + 512u);
    EXPECT_LE(lost, 3 * 4096u);
    ExpectLost(salvaged, volume->File(path)->Contents(), salvaged.lost);
    EXPECT_EQ(ReadWholeFile(*opened.volume, Utf16(kChunk)), volume->File(kChunk)->Contents());
}

// A file is compressed if its folder says so when it is made.
TEST(CompressedFile, ItNeedsItsStoredClusters)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "an NTFS image cannot be mounted here";
    const std::string contents =
        NoiseBytes(70000, 3) + std::string(300000, 'x') + NoiseBytes(100, 4);
    const TestImage image;
    const std::string from = image.Folder().WriteFile("from", contents);
    ASSERT_TRUE(image.MakeNtfs(16));
    ASSERT_TRUE(image.RunInNtfs("mkdir in && setfattr -h -v 0x00000800 -n system.ntfs_attrib_be in "
                                "&& cat '" +
                                from + "' > in/packed"));
    const Opened opened = OpenWith({}, image.Path(), "none", "");
    ASSERT_NE(opened.volume, nullptr) << opened.detail;
    const uint64_t stored = BytesOf(PlacesOf(*opened.volume, "/in/packed"));
    EXPECT_GE(stored, 70100u);
    EXPECT_LT(stored, 200000u);
    ExpectEnough({{"/in/packed", contents}}, image.Folder().ReadFile("image"), image.Path(), "none",
                 "");
}

TEST(Withheld, ARecordThatMayNotBeReadIsReadFromItsMirror)
{
    const RescueVolume *volume = VolumeShelf::Get().VolumeOf("NtfsRaw");
    if (volume == nullptr)
        GTEST_SKIP() << "a program is missing that makes it";
    const std::string boot = DiskOf(*volume).substr(0, 512);
    ByteReader reader(ByteView(reinterpret_cast<const uint8_t *>(boot.data()), boot.size()));
    reader.Skip(13);
    const uint64_t clusterBytes = uint64_t{512} * reader.U8();
    reader.Skip(34);
    const uint64_t table = clusterBytes * reader.U64();
    OpeningOptions options;
    options.limits.withheld = std::make_shared<const ByteRanges>(ByteRanges{{table, 512}});
    const Opened opened = OpenWith(options, volume->path, "none", "");
    ASSERT_NE(opened.volume, nullptr) << opened.detail;
    EXPECT_NE(opened.detail.find("its mirror is used"), std::string::npos) << opened.detail;
    EXPECT_EQ(ReadWholeFile(*opened.volume, Utf16(kChunk)), volume->File(kChunk)->Contents());
}

TEST(Withheld, AFirstSectorThatMayNotBeReadIsReadFromItsBackup)
{
    const RescueVolume *volume = VolumeShelf::Get().VolumeOf("NtfsRaw");
    if (volume == nullptr)
        GTEST_SKIP() << "a program is missing that makes it";
    OpeningOptions options;
    options.limits.withheld = std::make_shared<const ByteRanges>(ByteRanges{{0, 512}});
    const Opened opened = OpenWith(options, volume->path, "none", "");
    ASSERT_NE(opened.volume, nullptr) << opened.detail;
    EXPECT_NE(opened.detail.find("its backup in the last sector"), std::string::npos);
    EXPECT_EQ(ReadWholeFile(*opened.volume, Utf16(kChunk)), volume->File(kChunk)->Contents());
}

INSTANTIATE_TEST_SUITE_P(Disks, NeededPlaces,
                         testing::Values("NtfsRaw", "NtfsXts128", "NtfsDiffuser", "NtfsSplit",
                                         "Fat16Raw", "Fat32Xts256", "ExfatRaw", "ExfatCbc128",
                                         "ExfatXts128Split"),
                         [](const auto &info) { return std::string(info.param); });

class OtherForms : public NeededPlaces {};

TEST_P(OtherForms, AMapOfTheDiskIsRefused)
{
    OpeningOptions records;
    records.recordsReads = true;
    OpeningOptions withholds;
    withholds.limits.withheld = std::make_shared<const ByteRanges>(ByteRanges{{0, 512}});
    for (const OpeningOptions &options : {records, withholds}) {
        const Opened opened = OpenWith(options, volume->path, volume->unlockKind, volume->secret);
        EXPECT_EQ(opened.status, VolumeLibraryStatus::kPlacesNotKept) << opened.detail;
        EXPECT_EQ(opened.detail.rfind("it is a", 0), 0u) << opened.detail;
    }
    OpeningOptions retries;
    retries.limits.retries = 2;
    const Opened opened = OpenWith(retries, volume->path, volume->unlockKind, volume->secret);
    EXPECT_NE(opened.volume, nullptr) << opened.detail;
}

INSTANTIATE_TEST_SUITE_P(Disks, OtherForms,
                         testing::Values("NtfsE01", "Fat32Vhd", "ExfatXts128VhdFixed", "ExfatVmdk",
                                         "Folder"),
                         [](const auto &info) { return std::string(info.param); });

}  // namespace
}  // namespace vx
