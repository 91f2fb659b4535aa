// exFAT: the entries are written here by hand into an image of mkfs.exfat, since nothing fills
// one without the kernel's help.
#include "Image/FatFileSystem.h"
#include "Image/FileSystemVolume.h"
#include "Image/Little.h"
#include "TestImage.h"

#include "Bitlocker/MemoryByteSource.h"

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

void Put(Bytes *bytes, size_t at, uint64_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        (*bytes)[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

struct ExfatEntry {
    std::u16string name;
    uint16_t attributes = 0x20;
    bool isContiguous = true;
    uint32_t firstCluster = 0;
    uint64_t size = 0;
    uint64_t written = 0;
};

// The entries of 32 bytes each that stand for one file.
Bytes SetOf(const ExfatEntry &entry)
{
    const size_t names = (entry.name.size() + 14) / 15;
    Bytes set((2 + names) * 32);
    set[0] = 0x85;
    set[1] = static_cast<uint8_t>(1 + names);
    Put(&set, 4, entry.attributes, 2);
    Put(&set, 12, (41u << 9 | 3 << 5 | 4) << 16 | (5 << 11 | 6 << 5 | 4), 4);
    set[23] = 0x80;
    set[32] = 0xC0;
    set[33] = entry.isContiguous ? 3 : 1;
    set[35] = static_cast<uint8_t>(entry.name.size());
    Put(&set, 40, entry.written, 8);
    Put(&set, 52, entry.firstCluster, 4);
    Put(&set, 56, entry.size, 8);
    for (size_t i = 0; i < names; ++i)
        set[64 + 32 * i] = 0xC1;
    for (size_t i = 0; i < entry.name.size(); ++i)
        Put(&set, 64 + 32 * (i / 15) + 2 + 2 * (i % 15), entry.name[i], 2);
    uint16_t sum = 0;
    for (size_t i = 0; i < set.size(); ++i) {
        if (i != 2 && i != 3)
            sum = static_cast<uint16_t>((sum >> 1 | sum << 15) + set[i]);
    }
    Put(&set, 2, sum, 2);
    return set;
}

class ExfatTest : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        const TestImage image{};
        ASSERT_TRUE(image.MakeExfat(8));
        const std::string made = image.Folder().ReadFile("image");
        bytes.assign(made.begin(), made.end());
        const unsigned sectorShift = bytes[108];
        clusterBytes = size_t{1} << (sectorShift + bytes[109]);
        table = size_t{Little32(&bytes[80])} << sectorShift;
        heap = size_t{Little32(&bytes[88])} << sectorShift;
        root = Little32(&bytes[96]);
    }

    size_t PlaceOf(uint32_t cluster) const { return heap + (cluster - 2) * clusterBytes; }

    // Adds the set behind those that are in the folder already.
    void Add(uint32_t folder, const ExfatEntry &entry)
    {
        size_t at = PlaceOf(folder);
        while (bytes[at] != 0)
            at += 32;
        const Bytes set = SetOf(entry);
        std::copy(set.begin(), set.end(), bytes.begin() + static_cast<long>(at));
    }

    void Write(uint32_t cluster, const std::string &contents)
    {
        std::copy(contents.begin(), contents.end(),
                  bytes.begin() + static_cast<long>(PlaceOf(cluster)));
    }

    IVolume &Open()
    {
        std::unique_ptr<FileSystem> fileSystem;
        const OpenError error =
            FatFileSystem::Open(std::make_shared<bitlocker::MemoryByteSource>(bytes), &fileSystem);
        EXPECT_FALSE(error) << error.detail;
        volume = std::make_unique<FileSystemVolume>(std::move(fileSystem));
        return *volume;
    }

    Bytes bytes;
    size_t clusterBytes = 0;
    size_t table = 0;
    size_t heap = 0;
    uint32_t root = 0;
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(ExfatTest, FilesInARowAndInPiecesReadWhole)
{
    const std::string contents = NoiseBytes(2 * clusterBytes + 5, 1);
    Add(root, {u"in a row, with a name of several parts: Отчёт", 0x20, true, 100, contents.size(),
               contents.size()});
    Write(100, contents);
    Add(root, {u"in pieces", 0x20, false, 200, contents.size(), contents.size()});
    Write(200, contents.substr(0, clusterBytes));
    Write(300, contents.substr(clusterBytes, clusterBytes));
    Write(250, contents.substr(2 * clusterBytes));
    Put(&bytes, table + 4 * 200, 300, 4);
    Put(&bytes, table + 4 * 300, 250, 4);
    Put(&bytes, table + 4 * 250, 0xFFFFFFFF, 4);
    ExpectSameTree(ReadTree(Open()), {{"in a row, with a name of several parts: Отчёт", contents},
                                      {"in pieces", contents}});
}

TEST_F(ExfatTest, FoldersInFoldersAreListed)
{
    Add(root, {u"outer", 0x10, true, 100, clusterBytes, clusterBytes});
    Add(100, {u"inner", 0x10, true, 101, clusterBytes, clusterBytes});
    Add(101, {u"empty", 0x20, true, 0, 0, 0});
    ExpectSameTree(ReadTree(Open()), {{"outer/inner/empty", ""}});
}

TEST_F(ExfatTest, WhatWasNeverWrittenReadsAsZeros)
{
    Write(100, "written, and what was there before");
    Add(root, {u"file", 0x20, true, 100, 20, 7});
    EXPECT_EQ(ReadWholeFile(Open(), u"/file"), "written" + std::string(13, '\0'));
}

TEST_F(ExfatTest, TimesAndAttributesAreThoseThatAreStored)
{
    Add(root, {u"file", 0x23, true, 0, 0, 0});
    const VolumeFindData entry = EntryNamed(Open(), u"/*", u"file");
    EXPECT_EQ(entry.attributes, 0x23u);
    EXPECT_EQ(entry.lastWriteTime, (1614834368u + 11644473600u) * 10000000ull);
}

TEST_F(ExfatTest, DeletedAndDamagedSetsAreNotShown)
{
    Add(root, {u"deleted", 0x20, true, 0, 0, 0});
    Add(root, {u"damaged", 0x20, true, 0, 0, 0});
    Add(root, {u"kept", 0x20, true, 0, 0, 0});
    const std::string all(bytes.begin(), bytes.end());
    const size_t kept = all.find(std::string("k\0e\0p\0t\0", 8)) - 66;
    for (size_t at : {kept - 192, kept - 160, kept - 128})
        bytes[at] &= 0x7F;
    bytes[kept - 90] ^= 1;
    EXPECT_EQ(SortedNames(Open(), u"/*"), std::vector<std::u16string>{u"kept"});
}

TEST_F(ExfatTest, AFolderThatIsItsOwnParentIsRefused)
{
    Add(root, {u"A", 0x10, true, 100, clusterBytes, clusterBytes});
    Add(100, {u"B", 0x10, true, 100, clusterBytes, clusterBytes});
    IVolume &opened = Open();
    EXPECT_TRUE(ListFolder(opened, u"/A/*"));
    EXPECT_FALSE(ListFolder(opened, u"/A/B/*"));
}

TEST_F(ExfatTest, RunsThatLeaveTheVolumeDoNotOpen)
{
    Add(root, {u"far", 0x20, true, 0xFFFFFFF0, 10, 10});
    Add(root, {u"long", 0x20, true, 100, uint64_t{1} << 50, 10});
    Add(root, {u"chain", 0x20, false, 100, 2 * clusterBytes, 10});
    IVolume &opened = Open();
    for (const char16_t *path : {u"/far", u"/long", u"/chain"})
        EXPECT_FALSE(Opens(opened, path));
}

}  // namespace
}  // namespace vx
