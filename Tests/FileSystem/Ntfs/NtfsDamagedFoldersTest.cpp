// NTFS folders with a damaged index: what it still gives is listed, and the rest is found by the
// files' own records.
#include "CountingSource.h"
#include "MadeNtfsTest.h"
#include "NtfsIndexBlock.h"
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "ReportedVolume.h"
#include "SourceWithHole.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;
using Names = std::vector<std::u16string>;

constexpr size_t kBlock = 4096;

bool IsBlock(const std::string &bytes, size_t at)
{
    return bytes.compare(at, 4, "INDX") == 0;
}

// A folder of 408 files in a volume that another program made, and one that stays whole.
class NtfsDamagedFolder : public MadeNtfsTest {
protected:
    static constexpr int kFiles = 408;

    static void SetUpTestSuite()
    {
        Make([](const TestImage &image) {
            return image.RunInNtfs("mkdir bad fine && for i in $(seq 1000 1407); do printf $i > "
                                   "bad/n$i; printf $i > fine/m$i; done && mkdir bad/sub && "
                                   "printf below > bad/sub/file");
        });
    }

    // Where the blocks of the folder "bad" that hold names of its files lie.
    static std::vector<size_t> Blocks()
    {
        std::vector<size_t> blocks;
        const std::string mark("n\0001\0", 4);
        for (size_t at = 0; at < whole->size(); at += kBlock) {
            if (IsBlock(*whole, at) && whole->substr(at, kBlock).find(mark) != std::string::npos)
                blocks.push_back(at);
        }
        EXPECT_GT(blocks.size(), 5u);
        return blocks;
    }

    void ExpectAllFound(const Source &source, VolumeObstacle reason)
    {
        const auto volume = NtfsVolumeOf(source);
        ASSERT_TRUE(volume);
        const ReportedListing bad = ListWithReport(*volume, u"/bad");
        Names expected;
        for (int i = 0; i < kFiles; ++i)
            expected.push_back(u"n" + Utf16(std::to_string(1000 + i)));
        expected.emplace_back(u"sub");
        Names sorted = bad.names;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, expected);
        const auto given =
            bad.names.end() - static_cast<std::ptrdiff_t>(bad.report.recoveredEntries);
        EXPECT_TRUE(std::is_sorted(bad.names.begin(), given));
        EXPECT_FALSE(bad.report.isWhole);
        EXPECT_EQ(bad.report.reason, reason);
        EXPECT_GT(bad.report.recoveredEntries, 5u);
        for (const std::u16string &name : {u"n1000", u"n1203", u"n1407"})
            EXPECT_EQ(ReadWholeFile(*volume, u"/bad/" + name), Utf8(name.substr(1)));
        EXPECT_EQ(ReadWholeFile(*volume, u"/bad/sub/file"), "below");
        ExpectFineIsWhole(*volume);
    }

    static void ExpectFineIsWhole(OwnedVolume &volume)
    {
        const ReportedListing fine = ListWithReport(volume, u"/fine");
        EXPECT_EQ(fine.names.size(), size_t{kFiles});
        EXPECT_TRUE(fine.report.isWhole);
        EXPECT_EQ(fine.report.reason, VolumeObstacle::kNone);
        EXPECT_EQ(fine.report.recoveredEntries, 0u);
    }

    void ExpectAllFoundAfter(const std::function<void(std::string *, size_t)> &damage)
    {
        for (const size_t block : Blocks()) {
            std::string bytes = *whole;
            damage(&bytes, block);
            ExpectAllFound(SourceOf(bytes), VolumeObstacle::kDamaged);
        }
    }
};

TEST_F(NtfsDamagedFolder, IsWholeBefore)
{
    const auto volume = NtfsVolumeOf(SourceOf(*whole));
    ASSERT_TRUE(volume);
    ExpectFineIsWhole(*volume);
    EXPECT_TRUE(ListWithReport(*volume, u"/bad").report.isWhole);
}

TEST_F(NtfsDamagedFolder, AllFilesOfABlockWithAWrongSignatureAreFound)
{
    ExpectAllFoundAfter([](std::string *bytes, size_t block) { (*bytes)[block] = 'X'; });
}

TEST_F(NtfsDamagedFolder, AllFilesOfABlockThatWasNotWrittenWholeAreFound)
{
    ExpectAllFoundAfter([](std::string *bytes, size_t block) { (*bytes)[block + 1023] ^= 1; });
}

TEST_F(NtfsDamagedFolder, AllFilesOfABlockOfZerosAreFound)
{
    ExpectAllFoundAfter(
        [](std::string *bytes, size_t block) { bytes->replace(block, kBlock, kBlock, '\0'); });
}

TEST_F(NtfsDamagedFolder, AllFilesOfABlockThatCannotBeReadAreFound)
{
    for (const size_t block : Blocks())
        ExpectAllFound(std::make_shared<SourceWithHole>(*whole, block + 512, block + 1024),
                       VolumeObstacle::kUnreadable);
}

TEST_F(NtfsDamagedFolder, AllFilesAreFoundWithoutAnyBlock)
{
    std::string bytes = *whole;
    for (const size_t block : Blocks())
        bytes.replace(block, kBlock, kBlock, '\0');
    ExpectAllFound(SourceOf(bytes), VolumeObstacle::kDamaged);
}

// A root whose index leads to a block that is damaged; all files in it are named by their records.
class NtfsLost : public testing::Test {
protected:
    static constexpr uint64_t kRoot = NtfsWriter::kRoot;
    static constexpr uint64_t kFree = NtfsWriter::kFirstFree;
    static constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;

    void SetUp() override { PutDamagedFolder(kRoot, {}, {}); }

    // lines: that its index still has.
    void PutDamagedFolder(uint64_t record, const Bytes &ownName, std::vector<Bytes> lines)
    {
        lines.push_back(NtfsWriter::Last(0));
        ntfs.PutFolder(
            record,
            {ownName, NtfsWriter::IndexRoot(lines),
             NtfsWriter::InRuns(
                 {NtfsType::kIndexAllocation, u"$I30", 0, kClusterBytes, {{kFree + 99, 1}}})});
    }

    void PutNamed(uint64_t record, const std::vector<Bytes> &names)
    {
        ntfs.PutFile(record, {NtfsWriter::Joined(names), NtfsWriter::Data(std::to_string(record))});
    }

    static Bytes NameOf(const std::u16string &name, uint64_t parent, uint8_t nameSpace)
    {
        constexpr size_t kNameSpaceAt = 24 + 65;
        Bytes bytes = NtfsWriter::OwnName(name, parent);
        bytes.at(kNameSpaceAt) = nameSpace;
        return bytes;
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    Names RootNames()
    {
        Names names = ListWithReport(Open(), u"").names;
        std::sort(names.begin(), names.end());
        return names;
    }

    NtfsWriter ntfs{512};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsLost, AFileIsListedOnceAlthoughBothSay)
{
    PutDamagedFolder(kRoot, {}, {NtfsWriter::Name(25, u"listed")});
    PutNamed(25, {NtfsWriter::OwnName(u"listed")});
    PutNamed(24, {NtfsWriter::OwnName(u"lost")});
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, (Names{u"listed", u"lost"}));
    EXPECT_EQ(root.report.recoveredEntries, 1u);
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(ReadWholeFile(*volume, u"/lost"), "24");
    EXPECT_EQ(ReadWholeFile(*volume, u"/listed"), "25");
    EXPECT_FALSE(Opens(*volume, u"/other"));
}

TEST_F(NtfsLost, EveryLongNameIsFoundAndNoShortOne)
{
    PutNamed(24, {NameOf(u"posix", kRoot, 0), NameOf(u"windows", kRoot, 1),
                  NameOf(u"SHORT~1", kRoot, 2), NameOf(u"both", kRoot, 3),
                  NameOf(u"elsewhere", 30, 1)});
    EXPECT_EQ(RootNames(), (Names{u"both", u"posix", u"windows"}));
    EXPECT_EQ(ReadWholeFile(*volume, u"/posix"), "24");
}

TEST_F(NtfsLost, DeletedFilesAndThoseOfTheFileSystemStayHidden)
{
    PutNamed(24, {NtfsWriter::OwnName(u"kept")});
    PutNamed(25, {NtfsWriter::OwnName(u"deleted")});
    PutNamed(12, {NtfsWriter::OwnName(u"of the file system")});
    Bytes image = ntfs.Image();
    PutNumber(&image, (NtfsWriter::kTable + 25) * kClusterBytes + 22, 0, 2);
    const auto opened = NtfsVolumeOf(SourceOf({image.begin(), image.end()}));
    EXPECT_EQ(ListWithReport(*opened, u"").names, Names{u"kept"});
}

TEST_F(NtfsLost, AFileOfAFolderThatHadTheNumberBeforeIsNotShown)
{
    constexpr uint64_t kSequence = uint64_t{1} << 48;  // every record has 1
    PutNamed(24, {NtfsWriter::OwnName(u"of now", kRoot | kSequence)});
    PutNamed(25, {NtfsWriter::OwnName(u"of before", kRoot | (2 * kSequence))});
    EXPECT_EQ(RootNames(), Names{u"of now"});
}

TEST_F(NtfsLost, NamesInOtherRecordsOfAFileAreFound)
{
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kFileName, {}, 0, 40),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 0, 24)});
    ntfs.PutFile(24, {NtfsWriter::Resident(NtfsType::kAttributeList, list), NtfsWriter::Data("x")});
    ntfs.PutFile(40, {NtfsWriter::OwnName(u"in another")}, 24);
    ntfs.PutFile(41, {NtfsWriter::OwnName(u"not in the list")}, 24);
    EXPECT_EQ(RootNames(), Names{u"in another"});
    EXPECT_EQ(ReadWholeFile(*volume, u"/in another"), "x");
}

TEST_F(NtfsLost, AFolderOpensByThePathThatWasFound)
{
    PutDamagedFolder(24, NtfsWriter::OwnName(u"folder"), {});
    PutNamed(25, {NtfsWriter::OwnName(u"file", 24)});
    EXPECT_EQ(RootNames(), Names{u"folder"});
    EXPECT_EQ(ReadWholeFile(*volume, u"/folder/file"), "25");
    EXPECT_FALSE(ListWithReport(*volume, u"/folder").report.isWhole);
}

TEST_F(NtfsLost, FoldersThatSayTheyLieInEachOtherGoInNoCircles)
{
    PutDamagedFolder(24, NtfsWriter::OwnName(u"a", 25), {});
    PutDamagedFolder(25, NtfsWriter::OwnName(u"b", 24), {});
    PutDamagedFolder(
        26, NtfsWriter::Joined({NtfsWriter::OwnName(u"c"), NtfsWriter::OwnName(u"d", 26)}), {});
    EXPECT_EQ(RootNames(), Names{u"c"});
    EXPECT_EQ(ListWithReport(*volume, u"/c").names, Names{u"d"});
    EXPECT_FALSE(ListWithReport(*volume, u"/c/d").isListed);
    EXPECT_FALSE(ListWithReport(*volume, u"/a").isListed);
}

TEST_F(NtfsLost, AFolderWithoutTheBeginningOfItsIndexIsFound)
{
    PutNamed(24, {NtfsWriter::OwnName(u"file")});
    for (const Bytes &rest :
         {Bytes(), NtfsWriter::Resident(NtfsType::kIndexRoot, Bytes(20), u"$I30")}) {
        ntfs.PutFolder(kRoot, {rest});
        EXPECT_EQ(RootNames(), Names{u"file"});
        EXPECT_FALSE(ListWithReport(*volume, u"").report.isWhole);
    }
}

TEST_F(NtfsLost, TheRootIsFoundWithoutItsRecord)
{
    PutNamed(24, {NtfsWriter::OwnName(u"file")});
    ntfs.PutBytes(NtfsWriter::kTable + kRoot, std::string(kClusterBytes, 'x'));
    EXPECT_EQ(RootNames(), Names{u"file"});
    EXPECT_EQ(ReadWholeFile(*volume, u"/file"), "24");
    const ReportedListing root = ListWithReport(*volume, u"");
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(root.report.reason, VolumeObstacle::kDamaged);
    EXPECT_EQ(root.report.recoveredEntries, 1u);
}

TEST_F(NtfsLost, AFolderWhoseRecordIsLostIsListedInOnePlace)
{
    const auto folderName = [](const std::u16string &name, uint64_t parent) {
        constexpr size_t kFlagsAt = 16 + 56;
        Bytes line = NtfsWriter::Name(24, name, -1, parent);
        PutNumber(&line, kFlagsAt, NtfsIndexName::kFolder, 4);
        return line;
    };
    ntfs.PutFolder(kRoot,
                   {NtfsWriter::IndexRoot({folderName(u"a", kRoot), folderName(u"b", kRoot),
                                           NtfsWriter::Name(24, u"c"), NtfsWriter::Last()})});
    ntfs.PutBytes(NtfsWriter::kTable + 24, std::string(kClusterBytes, 'x'));
    PutNamed(25, {NtfsWriter::OwnName(u"file", 24)});
    // A folder in it that leads back to it.
    ntfs.PutFolder(26, {NtfsWriter::OwnName(u"in it", 24),
                        NtfsWriter::IndexRoot({folderName(u"up", 26), NtfsWriter::Last()})});
    EXPECT_EQ(ReadWholeFile(Open(), u"/a/file"), "25");
    const ReportedListing a = ListWithReport(*volume, u"/a");
    EXPECT_EQ(a.names, (Names{u"file", u"in it"}));
    EXPECT_FALSE(a.report.isWhole);
    EXPECT_EQ(a.report.reason, VolumeObstacle::kDamaged);
    EXPECT_EQ(ListWithReport(*volume, u"/a/in it").names, Names{u"up"});
    for (const char16_t *path : {u"/b", u"/c", u"/a/in it/up"})
        EXPECT_FALSE(ListWithReport(*volume, path).isListed) << Utf8(path);
    EXPECT_EQ(ObstacleOf(*volume, u"/a"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsLost, ANumberThatAnotherFileHasNowIsNotThatOfALostFolder)
{
    constexpr uint64_t kSequence = uint64_t{2} << 48;  // every record has 1
    Bytes line = NtfsWriter::Name(24 | kSequence, u"a");
    PutNumber(&line, 16 + 56, NtfsIndexName::kFolder, 4);
    ntfs.PutFolder(kRoot, {NtfsWriter::IndexRoot({line, NtfsWriter::Last()})});
    ntfs.PutFolder(
        24, {NtfsWriter::OwnName(u"other", 30), NtfsWriter::IndexRoot({NtfsWriter::Last()})});
    PutNamed(25, {NtfsWriter::OwnName(u"file", 24)});
    EXPECT_EQ(ListWithReport(Open(), u"").names, Names{u"a"});
    EXPECT_FALSE(ListWithReport(*volume, u"/a").isListed);
}

TEST_F(NtfsLost, AFolderOfWhichNothingIsLeftCannotBeListed)
{
    EXPECT_FALSE(ListWithReport(Open(), u"").isListed);
}

TEST_F(NtfsLost, ABlockOfAnotherFolderIsDamage)
{
    ntfs.PutBlock(kFree + 99, 0, {NtfsWriter::Name(30, u"foreign", -1, 31), NtfsWriter::Last()});
    PutNamed(24, {NtfsWriter::OwnName(u"own")});
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, Names{u"own"});
    EXPECT_FALSE(root.report.isWhole);
}

TEST_F(NtfsLost, ADamagedNameIsLeftOutAndTheOthersFollow)
{
    Bytes damaged = NtfsWriter::Name(25, u"damaged");
    damaged.at(16 + 64) = 200;  // a name longer than its entry
    ntfs.PutBlock(
        kFree + 99, 0,
        {NtfsWriter::Name(24, u"a"), damaged, NtfsWriter::Name(26, u"z"), NtfsWriter::Last()});
    PutNamed(25, {NtfsWriter::OwnName(u"damaged")});
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, (Names{u"a", u"z", u"damaged"}));
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(root.report.recoveredEntries, 1u);
}

TEST_F(NtfsLost, AFileWhoseRecordIsDamagedIsShownAndSaysWhyItDoesNotOpen)
{
    ntfs.PutFolder(
        kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(24, u"damaged"),
                                       NtfsWriter::Name(25, u"unreadable"), NtfsWriter::Last()})});
    ntfs.PutBytes(NtfsWriter::kTable + 24, std::string(kClusterBytes, 'x'));
    const size_t bad = (NtfsWriter::kTable + 25) * kClusterBytes;
    const auto opened = NtfsVolumeOf(std::make_shared<SourceWithHole>(
        std::string(ntfs.Image().begin(), ntfs.Image().end()), bad, bad + kClusterBytes));
    EXPECT_EQ(ListWithReport(*opened, u"").names, (Names{u"damaged", u"unreadable"}));
    EXPECT_FALSE(Opens(*opened, u"/damaged"));
    EXPECT_FALSE(Opens(*opened, u"/unreadable"));
    EXPECT_EQ(ObstacleOf(*opened, u"/damaged"), VolumeObstacle::kDamaged);
    EXPECT_EQ(ObstacleOf(*opened, u"/unreadable"), VolumeObstacle::kUnreadable);
    EXPECT_EQ(ObstacleOf(*opened, u"/nowhere"), VolumeObstacle::kNotThere);
}

TEST_F(NtfsLost, ASecondFolderOfOneNameIsReportedMissing)
{
    ntfs.PutFolder(kRoot,
                   {NtfsWriter::IndexRoot({NtfsWriter::Name(24, u"f"), NtfsWriter::Name(25, u"f"),
                                           NtfsWriter::Last()})});
    for (const uint64_t folder : {24, 25})
        ntfs.PutFolder(folder,
                       {NtfsWriter::OwnName(u"f"), NtfsWriter::IndexRoot({NtfsWriter::Last()})});
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, Names{u"f"});
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(root.report.reason, VolumeObstacle::kSameName);
    EXPECT_EQ(root.report.missingEntries, 1u);
}

TEST_F(NtfsLost, TheTableIsReadOnceForAllFolders)
{
    constexpr uint64_t kFolders = 30;
    for (uint64_t folder = 24; folder < 24 + kFolders; ++folder)
        PutDamagedFolder(folder, NtfsWriter::OwnName(u"f" + Utf16(std::to_string(folder))), {});
    PutNamed(60, {NtfsWriter::OwnName(u"file", 24)});
    const auto source =
        std::make_shared<CountingSource>(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
    const auto opened = NtfsVolumeOf(source);
    EXPECT_EQ(ListWithReport(*opened, u"").names.size(), size_t{kFolders});
    source->TakeBytes();
    EXPECT_EQ(ListWithReport(*opened, u"/f24").names, Names{u"file"});
    for (uint64_t folder = 25; folder < 24 + kFolders; ++folder)
        EXPECT_FALSE(ListWithReport(*opened, u"/f" + Utf16(std::to_string(folder))).isListed);
    EXPECT_LE(source->TakeBytes(), NtfsWriter::kRecords * kClusterBytes);
}

TEST_F(NtfsLost, ATableThatNamesItsClustersAgainAndAgainIsReadAsLongAsTheVolume)
{
    // Sixty runs of the whole volume after the table itself.
    constexpr uint64_t kClusters = 512;
    std::vector<NtfsWriter::Run> runs = {{NtfsWriter::kTable, NtfsWriter::kRecords}};
    uint64_t clusters = NtfsWriter::kRecords;
    for (int i = 0; i < 60; ++i) {
        runs.push_back({1, kClusters - 1});
        clusters += kClusters - 1;
    }
    ntfs.PutFile(0, {NtfsWriter::InRuns({NtfsType::kData, {}, 0, clusters * kClusterBytes, runs})});
    PutNamed(24, {NtfsWriter::OwnName(u"file")});
    const auto source =
        std::make_shared<CountingSource>(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
    const auto opened = NtfsVolumeOf(source);
    ASSERT_TRUE(opened);
    source->TakeBytes();
    EXPECT_EQ(ListWithReport(*opened, u"").names, Names{u"file"});
    EXPECT_LT(source->TakeBytes(), 3 * kClusters * kClusterBytes);
}

}  // namespace
}  // namespace vx
