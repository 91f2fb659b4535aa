// What NTFS has and the other file systems do not. The images are filled through FUSE.
#include "TestImage.h"

#include <algorithm>

namespace vx {
namespace {

class NtfsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!CanMountNtfs())
            GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
        ASSERT_TRUE(image.MakeNtfs(32));
    }

    // Fills the image by a line of the shell and opens it.
    IVolume &Filled(const std::string &line)
    {
        EXPECT_TRUE(image.RunInNtfs(line));
        opened = OpenImage(image.Path());
        EXPECT_TRUE(opened.volume) << opened.detail;
        return *opened.volume;
    }

    const TestImage image{};
    Opened opened;
};

std::string Numbers(int last)
{
    std::string text;
    for (int i = 1; i <= last; ++i)
        text += std::to_string(i) + "\n";
    return text;
}

TEST_F(NtfsTest, CompressedFilesReadAsTheyWere)
{
    VX_NEEDS("setfattr");
    const std::string noise = NoiseBytes(200000, 7);
    const std::string mixed = Numbers(20000) + noise + std::string(300000, '\0') + Numbers(500);
    image.Folder().WriteFile("mixed", mixed);
    image.Folder().WriteFile("noise", noise);
    IVolume &volume = Filled("mkdir c && setfattr -h -v 0x00000800 -n system.ntfs_attrib_be c && "
                             "cp " +
                             Quoted(image.At("mixed")) + " " + Quoted(image.At("noise")) +
                             " c/ && seq 1 100000 > c/numbers && printf x > c/x");
    EXPECT_EQ(ReadWholeFile(volume, u"/c/mixed"), mixed);
    EXPECT_EQ(ReadWholeFile(volume, u"/c/noise"), noise);
    EXPECT_EQ(ReadWholeFile(volume, u"/c/numbers"), Numbers(100000));
    EXPECT_EQ(ReadWholeFile(volume, u"/c/x"), "x");
    EXPECT_NE(EntryNamed(volume, u"/c/*", u"numbers").attributes & 0x800, 0u);
}

TEST_F(NtfsTest, ACompressedFileReadsTheSameFromAnyPosition)
{
    VX_NEEDS("setfattr");
    IVolume &volume = Filled("mkdir c && setfattr -h -v 0x00000800 -n system.ntfs_attrib_be c && "
                             "seq 1 100000 > c/numbers");
    const std::string whole = Numbers(100000);
    const VolumeHandle file = OpenForReading(volume, u"/c/numbers");
    ASSERT_NE(file, nullptr);
    for (const uint32_t at : {0u, 1u, 65535u, 65536u, 70000u, 200000u}) {
        uint32_t low = at;
        uint32_t high = 0;
        uint32_t done = 0;
        char bytes[1000];
        volume.SetFilePosition(file, &low, &high, 0);
        ASSERT_TRUE(volume.ReadFile(file, bytes, sizeof bytes, &done));
        EXPECT_EQ(std::string(bytes, done), whole.substr(at, sizeof bytes)) << at;
    }
    volume.CloseHandle(file);
}

TEST_F(NtfsTest, HolesOfSparseFilesAreZeros)
{
    IVolume &volume = Filled("truncate -s 10M s && printf middle | dd of=s bs=1 seek=5000000 "
                             "conv=notrunc status=none");
    std::string expected(10 << 20, '\0');
    expected.replace(5000000, 6, "middle");
    EXPECT_EQ(ReadWholeFile(volume, u"/s"), expected);
}

TEST_F(NtfsTest, AFileBeyondFourGibibytesHasBothHalvesOfItsSize)
{
    IVolume &volume = Filled("truncate -s 5G s && printf end | dd of=s bs=1 seek=5368709117 "
                             "conv=notrunc status=none");
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"s");
    EXPECT_EQ(entry.sizeHigh, 1u);
    EXPECT_EQ(entry.sizeLow, 1u << 30);
    const VolumeHandle file = OpenForReading(volume, u"/s");
    uint32_t low = entry.sizeLow - 3;
    uint32_t high = entry.sizeHigh;
    uint32_t done = 0;
    char bytes[4] = {};
    volume.SetFilePosition(file, &low, &high, 0);
    EXPECT_TRUE(volume.ReadFile(file, bytes, 4, &done));
    EXPECT_EQ(std::string(bytes, done), "end");
    volume.CloseHandle(file);
}

TEST_F(NtfsTest, EveryHardLinkIsShownAndReads)
{
    IVolume &volume = Filled("mkdir f && printf shared > a && ln a b && ln a f/c");
    for (const char16_t *path : {u"/a", u"/b", u"/f/c"})
        EXPECT_EQ(ReadWholeFile(volume, path), "shared");
}

TEST_F(NtfsTest, StreamsWithNamesAreNotShown)
{
    IVolume &volume = Filled("printf main > file && printf other > file:stream");
    EXPECT_EQ(ReadTree(volume), (TestTree{{"file", "main"}}));
}

TEST_F(NtfsTest, DeletedFilesAreNotShown)
{
    IVolume &volume = Filled("for i in $(seq 1 400); do echo $i > file$i; done; rm file?? file1");
    const auto names = SortedNames(volume, u"/*");
    EXPECT_EQ(names.size(), 400u - 90u - 1u);
    EXPECT_FALSE(std::binary_search(names.begin(), names.end(), u"file10"));
    EXPECT_TRUE(std::binary_search(names.begin(), names.end(), u"file100"));
}

TEST_F(NtfsTest, ALargeFolderIsListedInTheOrderOfItsNames)
{
    IVolume &volume = Filled("for i in $(seq 1000 3999); do : > n$i; done");
    const auto entries = ListFolder(volume, u"/*");
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 3000u);
    for (size_t i = 0; i < entries->size(); ++i)
        EXPECT_EQ(Utf8((*entries)[i].name), "n" + std::to_string(1000 + i));
}

TEST_F(NtfsTest, TimesKeepTheirHundredNanoseconds)
{
    VX_NEEDS("setfattr");
    // 2021-03-04 05:06:07.1234567 UTC, as the volume stores it; four times, little-endian.
    IVolume &volume =
        Filled(": > f && setfattr -h -n system.ntfs_times -v "
               "0x8746fc87b310d7018746fc87b310d7018746fc87b310d7018746fc87b310d701 f");
    const VolumeFindData entry = EntryNamed(volume, u"/*", u"f");
    EXPECT_EQ(entry.creationTime, 0x01d710b387fc4687u);
    EXPECT_EQ(entry.lastWriteTime, 0x01d710b387fc4687u);
    EXPECT_EQ(entry.lastAccessTime, 0x01d710b387fc4687u);
}

TEST_F(NtfsTest, AReparsePointIsShownAndNotFollowed)
{
    VX_NEEDS("setfattr");
    // A mount point that leads to C:\x.
    IVolume &volume = Filled("mkdir real point && printf in > real/in && "
                             "setfattr -h -n system.ntfs_reparse_data -v "
                             "0x030000a01c0000000000100012000000"
                             "5c003f003f005c0043003a005c00780000000000 point");
    const VolumeFindData point = EntryNamed(volume, u"/*", u"point");
    EXPECT_EQ(point.attributes & 0x410, 0x410u);
    EXPECT_FALSE(ListFolder(volume, u"/point/*"));
    EXPECT_FALSE(Opens(volume, u"/point"));
    EXPECT_TRUE(ListFolder(volume, u"/real/*"));
}

// Whether NTFS itself keeps a list of the records over which the file is spread.
bool IsInSeveralRecords(const TestImage &image, const std::string &path)
{
    return RunShell("ntfsinfo -F " + path + " " + Quoted(image.Path()) +
                    " | grep -q ATTRIBUTE_LIST");
}

TEST_F(NtfsTest, AFileInSoManyPiecesThatItTakesSeveralRecordsReadsWhole)
{
    VX_NEEDS("ntfsinfo");
    // Every other cluster is written, and the others stay holes.
    ASSERT_TRUE(image.MakeNtfs(8, "-c 512"));
    IVolume &volume = Filled("for i in $(seq 100 2 899); do printf '%0512d' $i | dd of=pieces "
                             "bs=512 seek=$i conv=notrunc status=none; done");
    std::string contents(899 * 512, '\0');
    for (size_t i = 100; i < 900; i += 2)
        contents.replace(i * 512, 512, std::string(509, '0') + std::to_string(i));
    EXPECT_TRUE(IsInSeveralRecords(image, "/pieces"));
    EXPECT_EQ(SizeOf(EntryNamed(volume, u"/*", u"pieces")), contents.size());
    EXPECT_TRUE(ReadWholeFile(volume, u"/pieces") == contents);
}

TEST_F(NtfsTest, AFileOfSoManyNamesThatItTakesSeveralRecordsReads)
{
    VX_NEEDS("ntfsinfo");
    IVolume &volume = Filled("n=$(printf 'n%.0s' $(seq 1 100)); printf shared > first && "
                             "for i in $(seq 1 40); do ln first $n$i; done");
    EXPECT_TRUE(IsInSeveralRecords(image, "/first"));
    const auto entries = ListFolder(volume, u"/*");
    ASSERT_TRUE(entries);
    EXPECT_EQ(entries->size(), 41u);
    for (const VolumeFindData &entry : *entries) {
        EXPECT_EQ(SizeOf(entry), 6u);
        EXPECT_EQ(ReadWholeFile(volume, std::u16string(u"/") + entry.name), "shared");
    }
}

TEST(LargeClustersOfNtfs, FilesAndFoldersRead)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    for (const char *size : {"65536", "131072", "2097152"}) {
        const TestImage image{};
        TestTree tree = SampleTree();
        for (int i = 0; i < 100; ++i)
            tree["many/file " + std::to_string(i)] = std::to_string(i);
        ASSERT_TRUE(image.MakeNtfs(128, std::string("-c ") + size));
        ASSERT_TRUE(image.FillNtfs(tree));
        const Opened opened = OpenImage(image.Path());
        ASSERT_TRUE(opened.volume) << size << ": " << opened.detail;
        ExpectSameTree(ReadTree(*opened.volume), tree);
    }
}

TEST_F(NtfsTest, LongPathsOpen)
{
    IVolume &volume = Filled("n=$(printf 'd%.0s' $(seq 1 200)); for i in $(seq 1 20); do "
                             "mkdir $n && cd $n || exit 1; done; printf deep > leaf");
    std::u16string path;
    for (int i = 0; i < 20; ++i)
        path += u"/" + std::u16string(200, u'd');
    EXPECT_EQ(ReadWholeFile(volume, path + u"/leaf"), "deep");
}

}  // namespace
}  // namespace vx
