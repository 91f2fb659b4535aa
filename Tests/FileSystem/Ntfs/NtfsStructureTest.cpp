// Volumes of NTFS in the shapes that a test cannot get from a program: files and the table of
// files in several records, and structures that were made to deceive.
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "ReportedVolume.h"
#include "TestImage.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;

constexpr uint64_t kRoot = NtfsWriter::kRoot;
constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kMore = kFile + 8;  // records that go on where another one ends
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;

class NtfsStructure : public testing::Test {
protected:
    // The root has this one file.
    void PutFileInRoot()
    {
        ntfs.PutFolder(
            kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"), NtfsWriter::Last()})});
    }

    IVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    // A file whose clusters lie in reverse order with gaps, so that each is a run of its own.
    // The runs are spread over records from kMore on; the list of them is returned.
    Bytes PutInPieces(const std::string &contents)
    {
        constexpr uint64_t kRunsOfARecord = 60;
        const uint64_t clusters = (contents.size() + kClusterBytes - 1) / kClusterBytes;
        const uint64_t end = kFree + 2 * clusters;
        Bytes list = NtfsWriter::Listed(NtfsType::kStandardInformation, {}, 0, kFile);
        for (uint64_t first = 0; first < clusters; first += kRunsOfARecord) {
            std::vector<NtfsWriter::Run> runs;
            for (uint64_t i = first; i < std::min(first + kRunsOfARecord, clusters); ++i) {
                runs.push_back({end - 2 * i, 1});
                ntfs.PutBytes(end - 2 * i, contents.substr(i * kClusterBytes, kClusterBytes));
            }
            const uint64_t record = kMore + first / kRunsOfARecord;
            const uint64_t size = first == 0 ? contents.size() : 0;
            ntfs.PutFile(record, {NtfsWriter::InRuns({NtfsType::kData, {}, first, size, runs})},
                         kFile);
            const Bytes line = NtfsWriter::Listed(NtfsType::kData, {}, first, record);
            list.insert(list.end(), line.begin(), line.end());
        }
        return list;
    }

    NtfsWriter ntfs{1024};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsStructure, ASmallFileReads)
{
    PutFileInRoot();
    ntfs.PutFile(kFile, {NtfsWriter::Data("small")});
    EXPECT_EQ(ReadTree(Open()), (TestTree{{"f", "small"}}));
}

TEST_F(NtfsStructure, AFileWhoseRunsLieInSeveralRecordsReadsWhole)
{
    const std::string contents = NoiseBytes(300 * kClusterBytes - 7, 1);
    PutFileInRoot();
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, PutInPieces(contents))});
    EXPECT_EQ(SizeOf(EntryNamed(Open(), u"/*", u"f")), contents.size());
    EXPECT_TRUE(ReadWholeFile(*volume, u"/f") == contents);
}

TEST_F(NtfsStructure, AListOfAttributesMayLieInRunsItself)
{
    const std::string contents = NoiseBytes(300 * kClusterBytes - 7, 1);
    PutFileInRoot();
    const Bytes list = PutInPieces(contents);
    ntfs.PutBytes(900, std::string(list.begin(), list.end()));
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns({NtfsType::kAttributeList, {}, 0, list.size(), {{900, 1}}})});
    EXPECT_EQ(SizeOf(EntryNamed(Open(), u"/*", u"f")), contents.size());
    EXPECT_TRUE(ReadWholeFile(*volume, u"/f") == contents);
}

TEST_F(NtfsStructure, DataThatWasMovedOutOfTheFirstRecordReads)
{
    PutFileInRoot();
    ntfs.PutFile(kMore, {NtfsWriter::Data("moved")}, kFile);
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList,
                                              NtfsWriter::Listed(NtfsType::kData, {}, 0, kMore))});
    EXPECT_EQ(SizeOf(EntryNamed(Open(), u"/*", u"f")), 5u);
    EXPECT_EQ(ReadWholeFile(*volume, u"/f"), "moved");
}

TEST_F(NtfsStructure, AFolderWhoseIndexWasMovedOutOfTheFirstRecordIsListed)
{
    ntfs.PutFolder(
        kRoot, {NtfsWriter::Resident(NtfsType::kAttributeList,
                                     NtfsWriter::Listed(NtfsType::kIndexRoot, u"$I30", 0, kMore))});
    ntfs.PutFile(
        kMore, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"), NtfsWriter::Last()})}, kRoot);
    ntfs.PutFile(kFile, {NtfsWriter::Data("x")});
    EXPECT_EQ(ReadTree(Open()), (TestTree{{"f", "x"}}));
}

// The part of the table that a record stands for lies elsewhere now.
void MoveRecord(NtfsWriter *ntfs, uint64_t record, uint64_t cluster)
{
    const auto from =
        ntfs->Image().begin() + static_cast<long>((NtfsWriter::kTable + record) * kClusterBytes);
    ntfs->PutBytes(cluster, std::string(from, from + static_cast<long>(kClusterBytes)));
    ntfs->PutBytes(NtfsWriter::kTable + record, std::string(kClusterBytes, '\0'));
}

TEST_F(NtfsStructure, ATableOfFilesInPiecesThatNameEachOtherIsFound)
{
    PutFileInRoot();
    ntfs.PutFolder(
        kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(50, u"far"),
                                       NtfsWriter::Name(20 + 8, u"middle"), NtfsWriter::Last()})});
    // Records 0 to 23 at the front, 24 to 47 at cluster 400, the others at cluster 500; record 30,
    // which says where the last ones are, is among those in the middle.
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, 0),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 24, 20),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 48, 30)});
    ntfs.PutFile(0, {NtfsWriter::Resident(NtfsType::kAttributeList, list),
                     NtfsWriter::InRuns({NtfsType::kData,
                                         {},
                                         0,
                                         NtfsWriter::kRecords * kClusterBytes,
                                         {{NtfsWriter::kTable, 24}}})});
    ntfs.PutFile(20, {NtfsWriter::InRuns({NtfsType::kData, {}, 24, 0, {{400, 24}}})});
    ntfs.PutFile(30, {NtfsWriter::InRuns({NtfsType::kData, {}, 48, 0, {{500, 16}}})});
    ntfs.PutFile(28, {NtfsWriter::Data("in the middle")});
    ntfs.PutFile(50, {NtfsWriter::Data("far away")});
    MoveRecord(&ntfs, 30, 406);
    MoveRecord(&ntfs, 28, 404);
    MoveRecord(&ntfs, 50, 502);
    EXPECT_EQ(ReadTree(Open()), (TestTree{{"far", "far away"}, {"middle", "in the middle"}}));
}

TEST_F(NtfsStructure, ATableOfFilesWhoseEndIsLostStillShowsItsBeginning)
{
    ntfs.PutFolder(kRoot,
                   {NtfsWriter::IndexRoot({NtfsWriter::Name(50, u"lost"),
                                           NtfsWriter::Name(kFile, u"kept"), NtfsWriter::Last()})});
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, 0),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 48, 20)});
    ntfs.PutFile(0, {NtfsWriter::Resident(NtfsType::kAttributeList, list),
                     NtfsWriter::InRuns({NtfsType::kData,
                                         {},
                                         0,
                                         NtfsWriter::kRecords * kClusterBytes,
                                         {{NtfsWriter::kTable, 48}}})});
    ntfs.PutFile(kFile, {NtfsWriter::Data("kept")});
    IVolume &opened = Open();
    EXPECT_EQ(SortedNames(opened, u"/*"), (std::vector<std::u16string>{u"kept", u"lost"}));
    EXPECT_EQ(ReadWholeFile(opened, u"/kept"), "kept");
    EXPECT_FALSE(Opens(opened, u"/lost"));
}

TEST_F(NtfsStructure, AListThatNamesARecordOfAnotherFileDoesNotOpen)
{
    PutFileInRoot();
    ntfs.PutFile(kMore, {NtfsWriter::Data("of another file")}, kFile + 1);
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList,
                                              NtfsWriter::Listed(NtfsType::kData, {}, 0, kMore))});
    EXPECT_FALSE(Opens(Open(), u"/f"));
}

TEST_F(NtfsStructure, AListThatNamesOnePartAgainAndAgainDoesNotOpen)
{
    PutFileInRoot();
    const Bytes line = NtfsWriter::Listed(NtfsType::kData, {}, 0, kMore);
    Bytes list;
    while (list.size() < 200 * kClusterBytes)
        list.insert(list.end(), line.begin(), line.end());
    ntfs.PutBytes(kFree, std::string(list.begin(), list.end()));
    ntfs.PutFile(kMore, {NtfsWriter::InRuns({NtfsType::kData, {}, 0, 1024, {{kFree, 1}}})}, kFile);
    ntfs.PutFile(kFile, {NtfsWriter::InRuns(
                            {NtfsType::kAttributeList, {}, 0, list.size(), {{kFree, 201}}})});
    EXPECT_FALSE(Opens(Open(), u"/f"));
}

TEST_F(NtfsStructure, AListThatSaysItIsEndlessDoesNotOpen)
{
    PutFileInRoot();
    ntfs.PutFile(
        kFile,
        {NtfsWriter::InRuns(
            {NtfsType::kAttributeList, {}, 0, uint64_t{1} << 40, {{0, uint64_t{1} << 30}}})});
    EXPECT_FALSE(Opens(Open(), u"/f"));
    EXPECT_EQ(SizeOf(EntryNamed(*volume, u"/*", u"f")), 0u);
}

TEST_F(NtfsStructure, AListWithoutALineIsNotThatOfAnEmptyFile)
{
    PutFileInRoot();
    ntfs.PutFile(kFile, {NtfsWriter::InRuns({NtfsType::kAttributeList, {}, 0, 0, {{kFree, 1}}})});
    EXPECT_FALSE(Opens(Open(), u"/f"));
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsStructure, NothingIsReadIntoNoBuffer)
{
    ntfs.PutFolder(kRoot,
                   {NtfsWriter::IndexRoot({NtfsWriter::Name(24, u"runs"),
                                           NtfsWriter::Name(25, u"small"), NtfsWriter::Last()})});
    ntfs.PutFile(24, {NtfsWriter::InRuns({NtfsType::kData, {}, 0, 1024, {{kFree, 1}}})});
    ntfs.PutFile(25, {NtfsWriter::Data("small")});
    for (const char16_t *path : {u"/runs", u"/small"}) {
        const VolumeHandle file = OpenForReading(Open(), path);
        ASSERT_NE(file, nullptr);
        uint32_t done = 1;
        EXPECT_TRUE(volume->ReadFile(file, nullptr, 0, &done));
        EXPECT_EQ(done, 0u);
        volume->CloseHandle(file);
    }
}

TEST_F(NtfsStructure, RunsThatOverlapReadTheSameBytesTwice)
{
    PutFileInRoot();
    const std::string contents = NoiseBytes(kClusterBytes, 1);
    ntfs.PutBytes(kFree, contents);
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns(
                     {NtfsType::kData, {}, 0, 2 * kClusterBytes, {{kFree, 1}, {kFree, 1}}})});
    EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents + contents);
}

TEST_F(NtfsStructure, ATableOfFilesWhoseRunsOverlapOpens)
{
    PutFileInRoot();
    ntfs.PutFile(0, {NtfsWriter::InRuns({NtfsType::kData,
                                         {},
                                         0,
                                         64 * kClusterBytes,
                                         {{NtfsWriter::kTable, 32}, {NtfsWriter::kTable, 32}}})});
    ntfs.PutFile(kFile, {NtfsWriter::Data("once")});
    EXPECT_EQ(ReadTree(Open()), (TestTree{{"f", "once"}}));
}

TEST_F(NtfsStructure, AFileThatSaysItIsLongerThanItsRunsReadsAsFarAsTheyGo)
{
    PutFileInRoot();
    const std::string contents = NoiseBytes(kClusterBytes, 1);
    ntfs.PutBytes(kFree, contents);
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns({NtfsType::kData, {}, 0, uint64_t{1} << 62, {{kFree, 1}}})});
    const VolumeHandle file = OpenForReading(Open(), u"/f");
    ASSERT_NE(file, nullptr);
    std::string bytes(2 * kClusterBytes, '\0');
    uint32_t done = 0;
    EXPECT_FALSE(volume->ReadFile(file, bytes.data(), 2 * kClusterBytes, &done));
    EXPECT_EQ(done, kClusterBytes);
    EXPECT_EQ(bytes.substr(0, done), contents);
    volume->CloseHandle(file);
}

// Indexes of several levels. A block's number counts clusters, as its place does.
class NtfsIndex : public NtfsStructure {
protected:
    void PutRootOverBlocks(uint64_t blocks, const std::vector<Bytes> &lines)
    {
        ntfs.PutFolder(
            kRoot, {NtfsWriter::IndexRoot(lines), NtfsWriter::InRuns({NtfsType::kIndexAllocation,
                                                                      u"$I30",
                                                                      0,
                                                                      blocks * kClusterBytes,
                                                                      {{kFree, blocks}}})});
    }
};

TEST_F(NtfsIndex, EveryLevelIsListedInOrder)
{
    PutRootOverBlocks(4, {NtfsWriter::Name(27, u"d", 0), NtfsWriter::Last(1)});
    ntfs.PutBlock(kFree, 0, {NtfsWriter::Name(25, u"b", 2), NtfsWriter::Last(3)});
    ntfs.PutBlock(kFree + 1, 1, {NtfsWriter::Name(28, u"e"), NtfsWriter::Last()});
    ntfs.PutBlock(kFree + 2, 2, {NtfsWriter::Name(24, u"a"), NtfsWriter::Last()});
    ntfs.PutBlock(kFree + 3, 3, {NtfsWriter::Name(26, u"c"), NtfsWriter::Last()});
    const auto entries = ListFolder(Open(), u"/*");
    ASSERT_TRUE(entries);
    std::u16string names;
    for (const VolumeFindData &entry : *entries)
        names += entry.name;
    EXPECT_EQ(names, u"abcde");
}

TEST_F(NtfsIndex, ABlockThatLeadsBackToItselfIsReadOnce)
{
    PutRootOverBlocks(1, {NtfsWriter::Name(24, u"a"), NtfsWriter::Last(0)});
    ntfs.PutBlock(kFree, 0, {NtfsWriter::Name(25, u"b", 0), NtfsWriter::Last()});
    EXPECT_EQ(SortedNames(Open(), u"/*"), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST_F(NtfsIndex, BlocksThatMultiplyLevelByLevelAreReadOnce)
{
    constexpr uint64_t kLevels = 20;
    PutRootOverBlocks(kLevels, {NtfsWriter::Last(0)});
    for (uint64_t level = 0; level < kLevels; ++level) {
        const int64_t below = level + 1 < kLevels ? static_cast<int64_t>(level) + 1 : -1;
        std::vector<Bytes> lines;
        for (uint64_t i = 0; i < 7; ++i)
            lines.push_back(NtfsWriter::Name(24 + i, {static_cast<char16_t>('a' + i)}, below));
        lines.push_back(NtfsWriter::Last(below));
        ntfs.PutBlock(kFree + level, level, lines);
    }
    EXPECT_LE(SortedNames(Open(), u"/*").size(), 7 * kLevels);
}

TEST_F(NtfsIndex, AFileOutsideTheDamageOpens)
{
    PutRootOverBlocks(2, {NtfsWriter::Name(25, u"b", 0), NtfsWriter::Last(1)});
    ntfs.PutBlock(kFree, 0, {NtfsWriter::Name(24, u"a"), NtfsWriter::Last()});
    ntfs.PutBlock(kFree + 1, 77, {NtfsWriter::Name(26, u"c"), NtfsWriter::Last()});
    ntfs.PutFile(24, {NtfsWriter::Data("first")});
    ntfs.PutFile(25, {NtfsWriter::Data("second")});
    ntfs.PutFile(26, {NtfsWriter::Data("third")});
    IVolume &opened = Open();
    EXPECT_EQ(ReadWholeFile(opened, u"/b"), "second");
    EXPECT_EQ(SortedNames(opened, u"/*"), (std::vector<std::u16string>{u"a", u"b"}));
    EXPECT_EQ(ReadWholeFile(opened, u"/a"), "first");
    EXPECT_FALSE(Opens(opened, u"/c"));
}

// Folders and the names that their own records have.
class NtfsOwnNames : public NtfsStructure {
protected:
    // The root shows the folder kFile by these names.
    void PutRoot(const std::vector<std::u16string> &names)
    {
        std::vector<Bytes> lines;
        lines.reserve(names.size() + 1);
        for (const std::u16string &name : names)
            lines.push_back(NtfsWriter::Name(kFile, name));
        lines.push_back(NtfsWriter::Last());
        ntfs.PutFolder(kRoot, {NtfsWriter::IndexRoot(lines)});
    }

    void PutFolder(const std::vector<Bytes> &ownNames)
    {
        ntfs.PutFolder(kFile, {NtfsWriter::Joined(ownNames),
                               NtfsWriter::IndexRoot({NtfsWriter::Name(25, u"in it", -1, kFile),
                                                      NtfsWriter::Last()})});
        ntfs.PutFile(25, {NtfsWriter::Data("")});
    }

    static Bytes ShortName(const std::u16string &name)
    {
        constexpr size_t kNameSpaceAt = 24 + 65;
        Bytes bytes = NtfsWriter::OwnName(name);
        bytes.at(kNameSpaceAt) = 2;
        return bytes;
    }
};

TEST_F(NtfsOwnNames, AFolderOpensByTheFirstLongNameOfItsRecord)
{
    PutRoot({u"short", u"a", u"b"});
    PutFolder({ShortName(u"short"), NtfsWriter::OwnName(u"a"), NtfsWriter::OwnName(u"b")});
    EXPECT_TRUE(Opens(Open(), u"/a/in it"));
    EXPECT_FALSE(Opens(*volume, u"/b/in it"));
    EXPECT_FALSE(Opens(*volume, u"/short/in it"));
}

TEST_F(NtfsOwnNames, AFolderThatSaysItLiesInAnotherOneDoesNotOpen)
{
    PutRoot({u"a"});
    PutFolder({NtfsWriter::OwnName(u"a", 26)});
    EXPECT_EQ(SortedNames(Open(), u"/*"), std::vector<std::u16string>{u"a"});
    EXPECT_FALSE(ListFolder(*volume, u"/a/*"));
    PutFolder({});
    EXPECT_FALSE(ListFolder(Open(), u"/a/*"));
}

TEST_F(NtfsOwnNames, ANameInAnotherRecordOfTheFolderCounts)
{
    PutRoot({u"a", u"b"});
    PutFolder({NtfsWriter::Resident(
        NtfsType::kAttributeList,
        NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kFileName, {}, 0, kMore),
                            NtfsWriter::Listed(NtfsType::kFileName, {}, 0, kMore + 1),
                            NtfsWriter::Listed(NtfsType::kIndexRoot, u"$I30", 0, kFile)}))});
    ntfs.PutFile(kMore, {ShortName(u"short")}, kFile);
    ntfs.PutFile(kMore + 1, {NtfsWriter::OwnName(u"b")}, kFile);
    EXPECT_TRUE(Opens(Open(), u"/b/in it"));
    EXPECT_FALSE(ListFolder(*volume, u"/a/*"));
    // Nothing is taken from a record that belongs to another file.
    ntfs.PutFile(kMore + 1, {NtfsWriter::OwnName(u"b")}, kFile + 1);
    EXPECT_FALSE(ListFolder(Open(), u"/b/*"));
}

TEST_F(NtfsOwnNames, BlocksThatTwoFoldersShareAreListedInOneOfThem)
{
    const Bytes blocks =
        NtfsWriter::InRuns({NtfsType::kIndexAllocation, u"$I30", 0, kClusterBytes, {{kFree, 1}}});
    ntfs.PutFolder(kRoot,
                   {NtfsWriter::IndexRoot({NtfsWriter::Name(24, u"a"), NtfsWriter::Name(25, u"b"),
                                           NtfsWriter::Last()})});
    for (const uint64_t folder : {24, 25})
        ntfs.PutFolder(folder, {NtfsWriter::OwnName(folder == 24 ? u"a" : u"b"),
                                NtfsWriter::IndexRoot({NtfsWriter::Last(0)}), blocks});
    ntfs.PutBlock(kFree, 0, {NtfsWriter::Name(26, u"file", -1, 25), NtfsWriter::Last()});
    EXPECT_FALSE(ListFolder(Open(), u"/a/*"));
    EXPECT_EQ(SortedNames(*volume, u"/b/*"), std::vector<std::u16string>{u"file"});
}

}  // namespace
}  // namespace vx
