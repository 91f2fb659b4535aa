// A sector that cannot be read fails the reads that need it, and nothing else.
#include "FatImage.h"
#include "Listed.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;

std::u16string Path(const std::string &name)
{
    return u"/" + Utf16(name);
}

// Reads part of an open file; nothing if the read fails.
std::optional<std::string> ReadPart(IVolume &volume, VolumeHandle file, uint64_t at, uint32_t count)
{
    auto low = static_cast<uint32_t>(at);
    auto high = static_cast<uint32_t>(at >> 32);
    volume.SetFilePosition(file, &low, &high, 0);
    std::string bytes(count, '\0');
    uint32_t done = 0;
    if (!volume.ReadFile(file, bytes.data(), count, &done))
        return std::nullopt;
    bytes.resize(done);
    return bytes;
}

// A file of the volume, part of which cannot be read.
struct BadFile {
    std::u16string path;
    std::string contents;
    uint64_t begin;  // of the part, in the file
    uint64_t end;
};

// Reads around the bad part with one handle, and across it, also after the first failure.
void ExpectOnlyThatPartFails(IVolume &volume, const BadFile &bad)
{
    constexpr uint32_t kPart = 300;
    const VolumeHandle file = OpenForReading(volume, bad.path);
    ASSERT_NE(file, nullptr);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(ReadPart(volume, file, 0, kPart), bad.contents.substr(0, kPart));
        EXPECT_EQ(ReadPart(volume, file, bad.begin - kPart, kPart),
                  bad.contents.substr(bad.begin - kPart, kPart));
        EXPECT_FALSE(ReadPart(volume, file, bad.begin - kPart, kPart + 1));
        EXPECT_FALSE(ReadPart(volume, file, bad.begin, kPart));
        EXPECT_FALSE(ReadPart(volume, file, bad.end - 1, kPart));
        EXPECT_EQ(ReadPart(volume, file, bad.end, kPart), bad.contents.substr(bad.end, kPart));
    }
    volume.CloseHandle(file);
}

// An image in which a sector is about to go bad.
class ReadErrors : public testing::Test {
protected:
    void Take() { source = std::make_shared<SourceWithHole>(image.Folder().ReadFile("image")); }

    // Where the mark lies on the volume, which it does only once.
    size_t PlaceOf(const std::string &mark) const
    {
        const size_t at = source->Bytes().find(mark);
        EXPECT_NE(at, std::string::npos) << mark;
        EXPECT_EQ(source->Bytes().find(mark, at + 1), std::string::npos) << mark;
        return at;
    }

    void MakeBad(size_t at) const { source->MoveHole(at, at + kSector); }

    const TestImage image{};
    std::shared_ptr<SourceWithHole> source;
};

// Bytes that look like nothing, with a mark at a place.
std::string Marked(size_t size, const std::string &mark, size_t at)
{
    std::string contents = NoiseBytes(size, 11);
    return contents.replace(at, mark.size(), mark);
}

class ReadErrorsOfFat : public ReadErrors {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(2, "-F 12 -s 1"));
        ASSERT_TRUE(image.FillFat(tree));
        Take();
    }

    const std::string contents = Marked(20000, "the bad sector", 10240);
    const TestTree tree = {{"bad", contents},
                           {"good", "good"},
                           {"folder/in a folder", "in"},
                           {"other/in another", "other"}};
};

TEST_F(ReadErrorsOfFat, ASectorOfAFileFailsTheReadsOfIt)
{
    MakeBad(PlaceOf("the bad sector"));
    const auto volume = FatVolumeOf(source);
    ASSERT_TRUE(volume);
    ExpectOnlyThatPartFails(*volume, {u"/bad", contents, 10240, 10240 + kSector});
    EXPECT_EQ(ReadWholeFile(*volume, u"/good"), "good");
    EXPECT_EQ(ReadWholeFile(*volume, u"/folder/in a folder"), "in");
}

TEST_F(ReadErrorsOfFat, ASectorOfAFolderFailsThatFolder)
{
    MakeBad(PlaceOf(std::string("i\0n\0 \0a\0 \0", 10)) / kSector * kSector);
    const auto volume = FatVolumeOf(source);
    ASSERT_TRUE(volume);
    EXPECT_FALSE(ListFolder(*volume, u"/folder/*"));
    EXPECT_FALSE(Opens(*volume, u"/folder/in a folder"));
    EXPECT_EQ(SortedNames(*volume, u"/*"),
              (std::vector<std::u16string>{u"bad", u"folder", u"good", u"other"}));
    EXPECT_EQ(ReadWholeFile(*volume, u"/other/in another"), "other");
    EXPECT_EQ(ReadWholeFile(*volume, u"/bad"), contents);
}

TEST_F(ReadErrorsOfFat, ASectorOfBothTablesEndsTheFilesThatNeedIt)
{
    // Four bytes of the table for every cluster; "bad" has more of them than a sector holds.
    const TestImage wide{};
    const std::string large = NoiseBytes(300 * kSector, 7);
    ASSERT_TRUE(wide.MakeFat(40, "-F 32 -s 1 -R 32"));
    ASSERT_TRUE(wide.FillFat({{"a", "first"}, {"large", large}}));
    const FatImage fat(wide.Folder().ReadFile("image"));
    // From the second sector of the first table up to that of the second table.
    const size_t begin = fat.geometry.tableOffset + kSector;
    const auto damaged = std::make_shared<SourceWithHole>(
        fat.bytes, begin, begin + fat.geometry.tableBytes + kSector);
    const auto volume = FatVolumeOf(damaged);
    ASSERT_TRUE(volume);
    EXPECT_EQ(SortedNames(*volume, u"/*"), (std::vector<std::u16string>{u"a", u"large"}));
    EXPECT_EQ(ReadWholeFile(*volume, u"/a"), "first");
    // The last entry of the first sector leads to cluster 128.
    const size_t known = 129 - fat.FirstClusterOf("LARGE      ");
    const auto read = ReadToBreak(*volume, u"/large", kSector);
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isWhole);
    EXPECT_TRUE(read->bytes == large.substr(0, known * kSector));
    EXPECT_EQ(ObstacleOf(*volume, u"/large"), VolumeObstacle::kUnreadable);
}

class ReadErrorsOfNtfs : public ReadErrors {
protected:
    void SetUp() override
    {
        if (!CanMountNtfs())
            GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
        ASSERT_TRUE(image.MakeNtfs(16, "-c 4096"));
        image.Folder().WriteFile("good", good);
    }

    void Fill(const std::string &line)
    {
        ASSERT_TRUE(image.RunInNtfs("cp " + Quoted(image.At("good")) + " good && " + line));
        Take();
    }

    std::unique_ptr<OwnedVolume> Open() const
    {
        auto volume = NtfsVolumeOf(source);
        EXPECT_TRUE(volume);
        return volume;
    }

    const std::string good = NoiseBytes(100000, 5);
};

TEST_F(ReadErrorsOfNtfs, ASectorOfAPlainFileFailsTheReadsOfIt)
{
    const std::string contents = Marked(100000, "the bad sector", 40960);
    image.Folder().WriteFile("bad", contents);
    Fill("cp " + Quoted(image.At("bad")) + " bad");
    MakeBad(PlaceOf("the bad sector"));
    const auto volume = Open();
    ExpectOnlyThatPartFails(*volume, {u"/bad", contents, 40960, 40960 + kSector});
    EXPECT_TRUE(ReadWholeFile(*volume, u"/good") == good);
}

TEST_F(ReadErrorsOfNtfs, ASectorOfAFileInPiecesFailsTheReadsOfIt)
{
    // Every other cluster is written, and the others stay holes.
    std::string contents = Marked(39 * 4096, "the bad sector", 20 * 4096 + 1024);
    image.Folder().WriteFile("bad", contents);
    Fill("for i in $(seq 0 2 38); do dd if=" + Quoted(image.At("bad")) +
         " of=bad bs=4096 skip=$i seek=$i count=1 conv=notrunc status=none; done");
    for (size_t i = 1; i < 39; i += 2)
        contents.replace(i * 4096, 4096, 4096, '\0');
    MakeBad(PlaceOf("the bad sector"));
    const auto volume = Open();
    const uint64_t begin = 20 * 4096 + 1024;
    ExpectOnlyThatPartFails(*volume, {u"/bad", contents, begin, begin + kSector});
    EXPECT_EQ(ReadWholeFile(*volume, u"/bad"), std::nullopt);
    EXPECT_TRUE(ReadWholeFile(*volume, u"/good") == good);
}

TEST_F(ReadErrorsOfNtfs, ASectorOfACompressedFileFailsTheReadsOfItsUnit)
{
    VX_NEEDS("setfattr");
    constexpr size_t kUnit = 65536;
    std::string contents;
    for (int unit = 0; unit < 6; ++unit) {
        // The first eight bytes of a unit are stored as they are.
        std::string text = "UNIT-" + std::to_string(unit) + "--";
        while (text.size() < kUnit)
            text += "what can be compressed, number " + std::to_string(text.size() % 97) + "\n";
        contents += text.substr(0, kUnit);
    }
    image.Folder().WriteFile("bad", contents);
    Fill("mkdir c && setfattr -h -v 0x00000800 -n system.ntfs_attrib_be c && cp " +
         Quoted(image.At("bad")) + " c/bad");
    MakeBad(PlaceOf("UNIT-3--") / kSector * kSector);
    const auto volume = Open();
    EXPECT_NE(EntryNamed(*volume, u"/c/*", u"bad").attributes & 0x800, 0u);
    ExpectOnlyThatPartFails(*volume, {u"/c/bad", contents, 3 * kUnit, 4 * kUnit});
    EXPECT_TRUE(ReadWholeFile(*volume, u"/good") == good);
}

TEST_F(ReadErrorsOfNtfs, TheFilesOfABlockOfAFolderAreFoundByTheirRecords)
{
    Fill("mkdir bad fine; for i in $(seq 1000 1399); do printf $i > bad/n$i; printf $i > "
         "fine/m$i; done");
    // A block of the index in the middle of the folder, by a name in it. The file's own record
    // holds that name too.
    const std::string &bytes = source->Bytes();
    const std::string name("n\0001\0002\0000\0000\0", 10);
    size_t at = bytes.find(name);
    while (at != bytes.npos && bytes.compare(at / 4096 * 4096, 4, "INDX") != 0)
        at = bytes.find(name, at + 1);
    ASSERT_NE(at, bytes.npos);
    MakeBad(at / 4096 * 4096);
    const auto volume = Open();
    const auto names = SortedNames(*volume, u"/bad/*");
    EXPECT_EQ(names.size(), 400u);
    for (const std::u16string &listed : names)
        EXPECT_EQ(ReadWholeFile(*volume, u"/bad/" + listed), Utf8(listed.substr(1)));
    EXPECT_EQ(ReadWholeFile(*volume, u"/bad/n1200"), "1200");
    EXPECT_EQ(SortedNames(*volume, u"/fine/*").size(), 400u);
    EXPECT_EQ(ReadWholeFile(*volume, u"/fine/m1200"), "1200");
}

TEST_F(ReadErrorsOfNtfs, ASectorOfTheTableOfFilesFailsTheFilesOfIt)
{
    Fill("for i in $(seq 100 199); do printf contents-$i > n$i; done");
    MakeBad(PlaceOf("contents-150") / kSector * kSector);
    const auto volume = Open();
    // Its name is known to the folder.
    EXPECT_EQ(SortedNames(*volume, u"/*").size(), 101u);
    EXPECT_FALSE(Opens(*volume, u"/n150"));
    for (int i = 100; i < 200; ++i) {
        const auto expected =
            i == 150 ? std::nullopt : std::optional("contents-" + std::to_string(i));
        EXPECT_EQ(ReadWholeFile(*volume, Path("n" + std::to_string(i))), expected);
    }
    EXPECT_TRUE(ReadWholeFile(*volume, u"/good") == good);
}

}  // namespace
}  // namespace vx
