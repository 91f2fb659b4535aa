// How much memory the opening of a hostile volume takes at most; asks the kernel, so Linux only.
#include "HostileMemoryLinux.h"
#include "DiskDescription.h"
#include "DiskVolumes.h"
#include "DiskWriter.h"
#include "EncryptionReport.h"
#include "ExfatImage.h"
#include "FolderIndex.h"
#include "Maker/VolumeMaker.h"
#include "MemoryByteSource.h"

#include <algorithm>

namespace vx {
namespace {

std::string Changed(std::string bytes, size_t at, const std::string &by)
{
    return bytes.replace(at, by.size(), by);
}

TEST_F(HostileMemory, TheMeasurementSeesWhatIsTaken)
{
    std::string taken;
    EXPECT_GE(RiseOfMemoryKiB([&] { taken.assign(kMemoryLimitKiB * 1024UL, 'x'); }),
              kMemoryLimitKiB / 2);
}

// Every partition leads to metadata that is full of protectors.
TEST_F(HostileMemory, ADiskFullOfProtectorsIsDescribedInLittle)
{
    using namespace bitlocker::maker;
    constexpr size_t kPartitions = 1000;
    constexpr size_t kFirst = 400;
    VolumeRecipe recipe;
    recipe.description = std::string(4500, 'x');
    for (int i = 0; i < 300; ++i)
        recipe.protectors.push_back(ProtectorRecipe::OfKind(bitlocker::ProtectorKind::kTpmAndPin));
    MemorySink sink;
    VolumeMaker(recipe).Make(MemoryByteSource(std::vector<uint8_t>(64 * 1024)), sink);
    const std::vector<uint8_t> &volume = sink.Bytes();
    DiskWriter disk(kFirst + volume.size() / DiskWriter::kSector + 100);
    const uint64_t last = disk.Bytes().size() / DiskWriter::kSector - 1;
    disk.PutMbr(0, 0, 0xEE, 1, static_cast<uint32_t>(last));
    for (size_t i = 0; i < kPartitions; ++i)
        disk.PutGptEntry(2 * DiskWriter::kSector + 128 * i, kFirst, last, "the same again");
    disk.PutGpt({1, last, 2, kPartitions});
    disk.PutText(kFirst * DiskWriter::kSector, {volume.begin(), volume.end()});
    const std::string path = image.Folder().WriteFile("hostile", disk.Bytes());
    uint64_t described = 0;
    ExpectLittle([&] {
        const auto report = DescribeDisk(path);
        ASSERT_TRUE(report) << report.Failure().detail;
        described = (*report)->volumeCount;
        EXPECT_EQ((*report)->volumes[0].encryption->protectorCount, kMostProtectors);
        EXPECT_LE(std::string((*report)->volumes[0].encryption->description).size(),
                  ReportArena::kLongestText);
    });
    EXPECT_EQ(described, DiskVolumes::kMostPartitions);
}

TEST_F(HostileMemory, SizesThatLieInTheMetadataTakeNone)
{
    VX_NEEDS("mkfs.fat");
    ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const std::string bytes = image.Folder().ReadFile("image");
    const std::string signature = "-FVE-FS-";
    for (const size_t field : {8U, 16U, 28U, 64U, 68U, 72U}) {
        std::string lying = bytes;
        for (size_t at = bytes.find(signature, 512); at != bytes.npos;
             at = bytes.find(signature, at + 1))
            lying.replace(at + field, 4, "\xff\xff\xff\x7f");
        ASSERT_NE(lying, bytes);
        ExpectLittleFor(lying, "password", "correct");
    }
}

TEST_F(HostileMemory, SizesThatLieInAFatTakeNone)
{
    VX_NEEDS("mkfs.fat");
    ASSERT_TRUE(image.MakeFat(40, "-F 32 -s 1"));
    const std::string bytes = image.Folder().ReadFile("image");
    ExpectLittleFor(Changed(bytes, 32, highest), "none", "");
    ExpectLittleFor(Changed(Changed(bytes, 13, "\x80"), 32, "\xff\xff\xff\xff"), "none", "");
}

TEST_F(HostileMemory, SizesThatLieInAnNtfsTakeNone)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(8));
    const std::string bytes = image.Folder().ReadFile("image");
    for (const size_t field : {40U, 48U, 56U, 64U})
        ExpectLittleFor(Changed(bytes, field, "\xff\xff\xff\xff\xff\xff\xff\x7f"), "none", "");
    // The sizes of the first file, which is the table of files.
    const size_t table = bytes.find("FILE");
    ASSERT_NE(table, bytes.npos);
    const size_t data = bytes.find(std::string("\x80\0\0\0", 4), table + 56);
    ASSERT_LT(data, table + 1024);
    ExpectLittleFor(Changed(bytes, data + 0x28, highest + highest + highest), "none", "");
}

// How many entries there are; they are not kept.
size_t CountEntries(IVolume &volume, const std::u16string &pattern)
{
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(pattern.c_str(), &record);
    size_t count = search != nullptr ? 1 : 0;
    while (search != nullptr && volume.FindNextFile(search, &record))
        ++count;
    volume.FindClose(search);
    return count;
}

// The largest folder whose names are kept, so that files open without reading it again.
class HostileFolder : public HostileMemory {
protected:
    // attributes: of the entries.
    void ExpectLittleForFolderOf(uint16_t attributes);

    static constexpr size_t kEntries = FolderMap::kMostEntries;
};

// The folder is listed twice, and then the last entry is looked for.
void HostileFolder::ExpectLittleForFolderOf(uint16_t attributes)
{
    constexpr uint32_t kFolder = 100;
    constexpr size_t kSetBytes = 96;
    ASSERT_TRUE(image.MakeExfat(160));
    auto made = std::make_unique<ExfatImage>(image.Folder().ReadFile("image"));
    const size_t cluster = made->clusterBytes;
    const uint64_t size = (kEntries * kSetBytes + cluster - 1) / cluster * cluster;
    made->Add(made->root, {u"folder", 0x10, true, kFolder, size, size});
    for (size_t i = 0; i < kEntries; ++i) {
        const std::vector<uint8_t> set =
            ExfatSetOf({Utf16("entry " + std::to_string(i)), attributes, true, 0, 0, 0});
        std::copy(set.begin(), set.end(),
                  made->bytes.begin() + static_cast<long>(made->PlaceOf(kFolder) + i * kSetBytes));
    }
    const std::string path = image.Folder().WriteFile("hostile", made->Text());
    made.reset();
    ExpectLittle([&] {
        const Opened opened = OpenImage(path);
        ASSERT_TRUE(opened.volume) << opened.detail;
        EXPECT_EQ(CountEntries(*opened.volume, u"/folder/*"), kEntries);
        EXPECT_EQ(CountEntries(*opened.volume, u"/folder/*"), kEntries);
        const std::u16string last = u"/folder/" + Utf16("entry " + std::to_string(kEntries - 1));
        EXPECT_TRUE(attributes == 0x10 ? ListFolder(*opened.volume, last + u"/*").has_value()
                                       : Opens(*opened.volume, last));
    });
}

TEST_F(HostileFolder, OfAsManyFilesAsAreKeptTakesLittle)
{
    VX_NEEDS("mkfs.exfat");
    ExpectLittleForFolderOf(0x20);
}

TEST_F(HostileFolder, OfAsManyFoldersAsAreKeptTakesLittle)
{
    VX_NEEDS("mkfs.exfat");
    ExpectLittleForFolderOf(0x10);
}

}  // namespace
}  // namespace vx
