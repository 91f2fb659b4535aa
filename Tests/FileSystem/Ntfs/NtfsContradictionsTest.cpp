// NTFS folders whose index contradicts itself, or the records of the files that it names: every
// name of the folder is found all the same, and no name gives the contents of another file.
#include "MadeNtfsTest.h"
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "ReportedVolume.h"

#include <algorithm>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;
using Names = std::vector<std::u16string>;

// In an entry of an index:
constexpr size_t kLengthAt = 8;
constexpr size_t kFlagsAt = 12;
constexpr size_t kUnitsAt = 16 + 64;
constexpr size_t kSpaceAt = 16 + 65;
constexpr size_t kTextAt = 16 + 66;

// A root of two blocks and one entry above them: a and b, m, x and y.
class NtfsContradiction : public testing::Test {
protected:
    static constexpr uint64_t kFree = NtfsWriter::kFirstFree;
    static constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;
    static constexpr uint64_t kA = 24, kB = 25, kM = 26, kX = 27, kY = 28;

    void SetUp() override
    {
        for (uint64_t file = kA; file <= kY; ++file)
            PutFile(file, {NtfsWriter::OwnName(std::u16string(1, u"abmxy"[file - kA]))});
    }

    void PutFile(uint64_t file, std::vector<Bytes> attributes)
    {
        attributes.push_back(NtfsWriter::Data(std::to_string(file)));
        ntfs.PutFile(file, attributes);
    }

    OwnedVolume &Open()
    {
        const Bytes inUse(8, bitmap);
        ntfs.PutBlock(kFree, 0, low);
        ntfs.PutBlock(kFree + 1, 1, high);
        Bytes image = RootIn(inUse).Image();
        PutNumber(&image, kFree * kClusterBytes + 24, firstAt, 4);
        volume = NtfsVolumeOf(SourceOf({image.begin(), image.end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    const NtfsWriter &RootIn(const Bytes &inUse)
    {
        ntfs.PutFolder(
            NtfsWriter::kRoot,
            {NtfsWriter::OwnName(u"."), NtfsWriter::IndexRoot(top),
             NtfsWriter::InRuns(
                 {NtfsType::kIndexAllocation, u"$I30", 0, 2 * kClusterBytes, {{kFree, 2}}}),
             NtfsWriter::Resident(NtfsType::kBitmap, inUse, u"$I30")});
        return ntfs;
    }

    // All five files, each with its own contents; some of them by their records.
    void ExpectAllFound(uint64_t recovered)
    {
        const ReportedListing root = ListWithReport(Open(), u"");
        Names names = root.names;
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, (Names{u"a", u"b", u"m", u"x", u"y"}));
        EXPECT_EQ(root.report.recoveredEntries, recovered);
        EXPECT_EQ(root.report.isWhole, recovered == 0);
        EXPECT_EQ(root.report.reason,
                  recovered == 0 ? VolumeObstacle::kNone : VolumeObstacle::kDamaged);
        for (uint64_t file = kA; file <= kY; ++file)
            EXPECT_EQ(ReadWholeFile(*volume, {u'/', u"abmxy"[file - kA]}), std::to_string(file));
    }

    NtfsWriter ntfs{512};
    std::vector<Bytes> top = {NtfsWriter::Name(kM, u"m", 0), NtfsWriter::Last(1)};
    std::vector<Bytes> low = {NtfsWriter::Name(kA, u"a"), NtfsWriter::Name(kB, u"b"),
                              NtfsWriter::Last()};
    std::vector<Bytes> high = {NtfsWriter::Name(kX, u"x"), NtfsWriter::Name(kY, u"y"),
                               NtfsWriter::Last()};
    uint8_t bitmap = 3;
    uint64_t firstAt = 24;  // of the first block
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsContradiction, AnIndexWithoutOneIsWhole)
{
    ExpectAllFound(0);
}

TEST_F(NtfsContradiction, BlocksInUseThatNoEntryLeadsToAreMissed)
{
    top = {NtfsWriter::Name(kM, u"m", 0), NtfsWriter::Last()};
    ExpectAllFound(2);
}

TEST_F(NtfsContradiction, AnEntryThatForgetsTheBlockBelowItIsNoticed)
{
    bitmap = 0;  // so that only its length shows it
    PutNumber(&top[1], kFlagsAt, 2, 2);
    ExpectAllFound(2);
}

TEST_F(NtfsContradiction, ABlockInUseWithNoNameThatIsMissingIsNoDamage)
{
    bitmap = 3;
    top = {NtfsWriter::Name(kM, u"m", 0), NtfsWriter::Last()};
    low = {NtfsWriter::Name(kA, u"a"), NtfsWriter::Name(kB, u"b"), NtfsWriter::Name(kX, u"x"),
           NtfsWriter::Name(kY, u"y"), NtfsWriter::Last()};
    ExpectAllFound(0);
}

TEST_F(NtfsContradiction, ABlockThatEndsBeforeItsEndIsNoticed)
{
    PutNumber(&high[0], kFlagsAt, 2, 2);
    ExpectAllFound(2);
}

TEST_F(NtfsContradiction, ABlockThatBeginsAfterItsBeginningIsNoticed)
{
    firstAt += low[0].size();
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, AnEntryThatSwallowsTheNextIsNoticed)
{
    PutNumber(&low[0], kLengthAt, low[0].size() + low[1].size(), 2);
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, ANameThatCannotBeShownIsMissing)
{
    for (const uint8_t odd : {uint8_t{0}, uint8_t{'/'}, uint8_t{'.'}}) {
        low[1][kTextAt] = odd;
        ExpectAllFound(1);
    }
    low[1] = NtfsWriter::Name(kB, u"b");
    low[1][kUnitsAt] = 0;
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, AShortNameWithoutItsLongOneIsDamage)
{
    low[1][kSpaceAt] = 2;
    ExpectAllFound(1);
    high.insert(high.begin(), NtfsWriter::Name(kB, u"n"));  // that has it under another name
    PutFile(kB, {NtfsWriter::OwnName(u"b"), NtfsWriter::OwnName(u"n")});
    EXPECT_EQ(ListWithReport(Open(), u"").names, (Names{u"a", u"m", u"n", u"x", u"y"}));
}

TEST_F(NtfsContradiction, ANameThatLeadsToAnotherFileGivesItsOwn)
{
    low[1] = NtfsWriter::Name(kX, u"b");
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, ANameThatLeadsToAFileOfTheSystemGivesItsOwn)
{
    low[1] = NtfsWriter::Name(NtfsWriter::kRoot, u"b");
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, ANameThatLeadsToAPartOfAFileGivesItsOwn)
{
    ntfs.PutFile(40, {NtfsWriter::Data("of another")}, kA);
    low[1] = NtfsWriter::Name(40, u"b");
    ExpectAllFound(1);
}

TEST_F(NtfsContradiction, ANameThatDiffersFromThatOfTheRecordIsNotGiven)
{
    low[1] = NtfsWriter::Name(kB, u"c");
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, (Names{u"a", u"m", u"x", u"y", u"b", u"c"}));
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(ReadWholeFile(*volume, u"/b"), std::to_string(kB));
    EXPECT_FALSE(Opens(*volume, u"/c"));
    EXPECT_EQ(ObstacleOf(*volume, u"/c"), VolumeObstacle::kDamaged);
    EXPECT_FALSE(StreamsOf(*volume, u"/c").areAll);
}

TEST_F(NtfsContradiction, ANameOfAnotherFolderIsNotGiven)
{
    PutFile(kB, {NtfsWriter::OwnName(u"b", 30)});
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, (Names{u"a", u"m", u"x", u"y", u"b"}));
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_FALSE(Opens(*volume, u"/b"));
}

TEST_F(NtfsContradiction, ANameInAnotherRecordOfTheFileIsItsOwn)
{
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kFileName, {}, 0, kB),
                                           NtfsWriter::Listed(NtfsType::kFileName, {}, 0, 40),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 0, kB)});
    PutFile(kB,
            {NtfsWriter::Resident(NtfsType::kAttributeList, list), NtfsWriter::OwnName(u"z", 30)});
    ntfs.PutFile(40, {NtfsWriter::OwnName(u"b")}, kB);
    ExpectAllFound(0);
    // Names that cannot be read contradict nothing.
    ntfs.PutBytes(NtfsWriter::kTable + 40, std::string(kClusterBytes, 'x'));
    ExpectAllFound(0);
}

TEST_F(NtfsContradiction, AFolderWhoseEntryLeadsToAFileIsFound)
{
    ntfs.PutFolder(
        kM, {NtfsWriter::OwnName(u"m"),
             NtfsWriter::IndexRoot({NtfsWriter::Name(40, u"in it", -1, kM), NtfsWriter::Last()})});
    PutFile(40, {NtfsWriter::OwnName(u"in it", kM)});
    top[0] = NtfsWriter::Name(40, u"m", 0);
    const ReportedListing root = ListWithReport(Open(), u"");
    EXPECT_EQ(root.names, (Names{u"a", u"b", u"x", u"y", u"m"}));
    EXPECT_FALSE(root.report.isWhole);
    EXPECT_EQ(ReadWholeFile(*volume, u"/m/in it"), "40");
    EXPECT_FALSE(Opens(*volume, u"/m"));
}

TEST_F(NtfsContradiction, AFolderWhoseRecordCallsItAFileIsStillListed)
{
    ntfs.PutFile(
        kM, {NtfsWriter::OwnName(u"m"),
             NtfsWriter::IndexRoot({NtfsWriter::Name(40, u"in it", -1, kM), NtfsWriter::Last()})});
    PutFile(40, {NtfsWriter::OwnName(u"in it", kM)});
    const ReportedListing folder = ListWithReport(Open(), u"/m");
    EXPECT_EQ(folder.names, Names{u"in it"});
    EXPECT_FALSE(folder.report.isWhole);
    EXPECT_EQ(ReadWholeFile(*volume, u"/m/in it"), "40");
    EXPECT_FALSE(Opens(*volume, u"/m"));
    const VolumeFindData entry = EntryNamed(*volume, u"/*", u"m");
    EXPECT_NE(entry.attributes & kVolumeAttributeDirectory, 0u);
}

// Volumes that another program has filled, emptied and renamed in, with names for DOS and files of
// many names.
class NtfsAfterMuchUse : public MadeNtfsTest {
protected:
    static void SetUpTestSuite()
    {
        Make([](const TestImage &image) {
            return image.RunInNtfs(
                "mkdir many links emptied && cd many && "
                "for i in $(seq 1000 2199); do echo $i > \"file number $i\"; done && "
                "for i in $(seq 1000 2 2199); do rm \"file number $i\"; done && "
                "for i in $(seq 1001 10 2199); do mv \"file number $i\" \"$i renamed\"; done && "
                "for i in $(seq 1003 10 2199); do ln \"file number $i\" ../links/$i; done && "
                "for i in $(seq 100 199); do ln \"file number 1005\" ../links/name$i; done && "
                "for i in $(seq 1105 10 1199); do setfattr -n system.ntfs_dos_name "
                "-v SHRT$i.DAT \"file number $i\"; done && rm \"file number 1105\" && cd .. && "
                "for i in $(seq 400); do : > \"emptied/a file of a long name $i\"; done && "
                "rm emptied/*");
        });
    }
};

TEST_F(NtfsAfterMuchUse, EveryFolderIsWhole)
{
    const auto volume = NtfsVolumeOf(SourceOf(*whole));
    ASSERT_TRUE(volume);
    const std::vector<std::pair<std::u16string, size_t>> folders = {
        {u"", 3}, {u"/many", 599}, {u"/links", 220}, {u"/emptied", 0}};
    for (const auto &[folder, names] : folders) {
        const ReportedListing found = ListWithReport(*volume, folder);
        EXPECT_EQ(found.names.size(), names) << Utf8(folder);
        EXPECT_TRUE(found.report.isWhole) << Utf8(folder);
        EXPECT_EQ(found.report.recoveredEntries, 0u) << Utf8(folder);
    }
    EXPECT_EQ(ReadWholeFile(*volume, u"/links/name150"), "1005\n");
}

// Each block of its large folder in turn.
TEST_F(NtfsAfterMuchUse, ABlockWhoseFirstEntryEndsItLosesNothing)
{
    constexpr size_t kBlock = 4096;
    const std::string mark("n\0u\0m\0b\0e\0r\0", 12);
    size_t blocks = 0;
    for (size_t at = 0; at < whole->size(); at += kBlock) {
        if (whole->compare(at, 4, "INDX") != 0 ||
            whole->substr(at, kBlock).find(mark) == std::string::npos)
            continue;
        std::string bytes = *whole;
        const size_t first = at + 24 + static_cast<uint8_t>(bytes[at + 24]);
        if ((bytes[first + kFlagsAt] & 2) != 0)
            continue;
        bytes[first + kFlagsAt] = static_cast<char>(bytes[first + kFlagsAt] | 2);
        const ReportedListing many = ListWithReport(*NtfsVolumeOf(SourceOf(bytes)), u"/many");
        EXPECT_EQ(many.names.size(), 599u) << at;
        blocks += many.report.isWhole ? 0 : 1;
    }
    EXPECT_GT(blocks, 10u);
}

}  // namespace
}  // namespace vx
