// What opens on NTFS and what does not: decided by the reparse point and by where the data is.
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "ReportedVolume.h"
#include "TestImage.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;
using Names = std::vector<std::u16string>;

constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kMore = kFile + 8;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;

constexpr uint32_t kSymlink = 0xA000000C;
constexpr uint32_t kMountPoint = 0xA0000003;
constexpr uint32_t kCloud = 0x9000001A;
constexpr uint32_t kCloud6 = 0x9000601A;
constexpr uint32_t kPacked = 0x80000017;
constexpr uint32_t kDeduplicated = 0x80000013;
constexpr uint32_t kAppLink = 0x8000001B;
constexpr uint32_t kProjected = 0x9000001C;

// HSM, HSM2, SIS, cloud files, ProjFS, two kinds of containers' layers, storage sync, OneDrive.
constexpr uint32_t kTagsOfDataHere[] = {0xC0000004, 0x80000006, 0x80000007, kCloud,
                                        kCloud6,    0x9000F01A, kProjected, 0x80000018,
                                        0x90001018, 0x8000001E, 0x80000021, 0x80000123};

Bytes Point(uint32_t tag, const Bytes &data = Bytes(16))
{
    Bytes bytes(8);
    PutNumber(&bytes, 0, tag, 4);
    PutNumber(&bytes, 4, data.size(), 2);
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

// As a link's reparse point has them: where its two names lie, and the names.
Bytes Target(const std::u16string &substitute, const std::u16string &print, bool isSymlink)
{
    Bytes bytes(isSymlink ? 12 : 8);
    PutNumber(&bytes, 0, 0, 2);
    PutNumber(&bytes, 2, 2 * substitute.size(), 2);
    PutNumber(&bytes, 4, 2 * substitute.size(), 2);
    PutNumber(&bytes, 6, 2 * print.size(), 2);
    for (const char16_t unit : substitute + print) {
        bytes.resize(bytes.size() + 2);
        PutNumber(&bytes, bytes.size() - 2, unit, 2);
    }
    return bytes;
}

class NtfsReparse : public testing::Test {
protected:
    void SetUp() override
    {
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"),
                                                                  NtfsWriter::Last()})});
        ntfs.PutBytes(kFree, contents);
    }

    static Bytes PointAttribute(uint32_t tag)
    {
        return NtfsWriter::Resident(NtfsType::kReparsePoint, Point(tag));
    }

    // The contents in runs of this kind.
    Bytes InRuns(const std::vector<NtfsWriter::Run> &runs, uint16_t flags = 0) const
    {
        return NtfsWriter::InRuns({NtfsType::kData, {}, 0, contents.size(), runs, flags});
    }

    void PutFolderWith(const Bytes &point)
    {
        ntfs.PutFolder(kFile, {NtfsWriter::OwnName(u"f"), point,
                               NtfsWriter::IndexRoot({NtfsWriter::Name(25, u"in it", -1, kFile),
                                                      NtfsWriter::Last()})});
        ntfs.PutFile(25, {NtfsWriter::Data("")});
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    VolumeFindData Entry() { return EntryNamed(*volume, u"/*", u"f"); }

    void ExpectOpens(uint32_t tag)
    {
        EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents) << tag;
        const VolumeEntryReport report = ReportOf(*volume, u"/f");
        EXPECT_EQ(report.obstacle, VolumeObstacle::kNone) << tag;
        EXPECT_EQ(report.reparseTag, tag);
        EXPECT_EQ(Entry().reserved, tag);
        EXPECT_EQ(SizeOf(Entry()), contents.size());
    }

    void ExpectObstacle(VolumeObstacle obstacle, uint32_t tag)
    {
        EXPECT_FALSE(Opens(Open(), u"/f")) << tag;
        const VolumeEntryReport report = ReportOf(*volume, u"/f");
        EXPECT_EQ(report.obstacle, obstacle) << tag;
        EXPECT_EQ(report.reparseTag, tag);
        EXPECT_EQ(Entry().reserved, tag);
    }

    const std::string contents = NoiseBytes(3 * kClusterBytes - 9, 3);
    NtfsWriter ntfs{512};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsReparse, AFileOpensWhateverItsAttributesSay)
{
    for (const uint32_t attributes :
         {0x40000U, 0x1000U, 0x400000U, 0x400U, 0x441000U, 0x200U, 0x4000U}) {
        ntfs.PutFile(kFile, {InRuns({{kFree, 3}})});
        ntfs.SetAttributes(kFile, attributes);
        ExpectOpens(0);
        EXPECT_EQ(Entry().attributes, attributes);
    }
}

TEST_F(NtfsReparse, AFolderIsListedWhateverItsAttributesSay)
{
    for (const uint32_t attributes : {0x40000U, 0x1000U, 0x400000U, 0x441000U}) {
        PutFolderWith({});
        ntfs.SetAttributes(kFile, attributes);
        EXPECT_EQ(ListWithReport(Open(), u"/f").names, Names{u"in it"});
        EXPECT_EQ(Entry().attributes, attributes | kVolumeAttributeDirectory);
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
    }
}

TEST_F(NtfsReparse, AFileWhoseDataIsHereOpensWhateverItsTag)
{
    for (const uint32_t tag : kTagsOfDataHere) {
        ntfs.PutFile(kFile, {InRuns({{kFree, 3}}), PointAttribute(tag)});
        ntfs.SetAttributes(kFile, 0x400);
        ExpectOpens(tag);
        EXPECT_EQ(Entry().attributes, 0x400u);
        ntfs.PutFile(kFile, {NtfsWriter::Data("small"), PointAttribute(tag)});
        EXPECT_EQ(ReadWholeFile(Open(), u"/f"), "small");
    }
}

TEST_F(NtfsReparse, AFolderIsListedUnlessItsTagLeadsElsewhere)
{
    for (const uint32_t tag : kTagsOfDataHere) {
        PutFolderWith(PointAttribute(tag));
        EXPECT_EQ(ListWithReport(Open(), u"/f").names, Names{u"in it"}) << tag;
        EXPECT_EQ(Entry().reserved, tag);
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
    }
    for (const uint32_t tag : {kSymlink, kMountPoint, 0xA0000027U, 0xA000001DU}) {
        PutFolderWith(PointAttribute(tag));
        EXPECT_FALSE(ListWithReport(Open(), u"/f").isListed) << tag;
        EXPECT_FALSE(Opens(*volume, u"/f/in it"));
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kLink);
    }
}

TEST_F(NtfsReparse, ALinkTellsItsTarget)
{
    const auto put = [&](uint32_t tag, const Bytes &target) {
        ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kReparsePoint, Point(tag, target)),
                             NtfsWriter::Data("")});
        ExpectObstacle(VolumeObstacle::kLink, tag);
        return std::u16string(ReportOf(*volume, u"/f").target);
    };
    EXPECT_EQ(put(kSymlink, Target(u"\\??\\C:\\x", u"C:\\x", true)), u"C:\\x");
    EXPECT_EQ(put(kSymlink, Target(u"..\\relative", u"", true)), u"..\\relative");
    EXPECT_EQ(put(kMountPoint, Target(u"\\??\\D:\\", u"D:\\", false)), u"D:\\");
    EXPECT_EQ(put(kMountPoint, Target(u"\\??\\Volume{1}\\", u"", false)), u"\\??\\Volume{1}\\");
    EXPECT_EQ(put(0xA000001D, Target(u"x", u"y", false)), u"");
    // Names that do not lie in the reparse point.
    Bytes damaged = Target(u"a", u"b", true);
    PutNumber(&damaged, 0, 0xFFF0, 2);
    PutNumber(&damaged, 4, 0xFFF0, 2);
    EXPECT_EQ(put(kSymlink, damaged), u"");
    EXPECT_EQ(put(kSymlink, Bytes(3)), u"");
}

TEST_F(NtfsReparse, AFileWithNothingOfItsDataHereDoesNotOpen)
{
    const struct {
        uint32_t tag;
        VolumeObstacle obstacle;
    } kCases[] = {{kCloud, VolumeObstacle::kOnlyInCloud},
                  {kCloud6, VolumeObstacle::kOnlyInCloud},
                  {0x80000021, VolumeObstacle::kOnlyInCloud},
                  {kProjected, VolumeObstacle::kUnknownReparsePoint},
                  {0x80000123, VolumeObstacle::kUnknownReparsePoint}};
    constexpr uint16_t kSparse = 0x8000;
    for (const auto &tested : kCases) {
        ntfs.PutFile(kFile, {InRuns({{0, 3}}, kSparse), PointAttribute(tested.tag)});
        ExpectObstacle(tested.obstacle, tested.tag);
        EXPECT_EQ(SizeOf(Entry()), contents.size());
    }
    // Room for it is there, but nothing was written.
    Bytes unwritten = InRuns({{kFree, 3}});
    PutNumber(&unwritten, 56, 0, 8);
    ntfs.PutFile(kFile, {unwritten, PointAttribute(kCloud)});
    ExpectObstacle(VolumeObstacle::kOnlyInCloud, kCloud);
}

TEST_F(NtfsReparse, OfAFileThatIsPartlyHereThatPartOpensAndTheRestIsNotZeros)
{
    ntfs.PutFile(kFile, {InRuns({{kFree, 1}, {0, 1}, {kFree + 2, 1}}), PointAttribute(kCloud)});
    const VolumeHandle file = OpenForReading(Open(), u"/f");
    ASSERT_NE(file, nullptr);
    std::string bytes(kClusterBytes, '\0');
    uint32_t done = 0;
    EXPECT_TRUE(volume->ReadFile(file, bytes.data(), kClusterBytes, &done));
    EXPECT_TRUE(bytes == contents.substr(0, kClusterBytes));
    EXPECT_FALSE(volume->ReadFile(file, bytes.data(), kClusterBytes, &done));
    volume->CloseHandle(file);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kOnlyInCloud);
}

TEST_F(NtfsReparse, AHoleAfterWhatWasWrittenOfAFileThatIsPartlyHereIsNotZeros)
{
    Bytes partly = InRuns({{kFree, 2}, {0, 1}});
    PutNumber(&partly, 56, kClusterBytes, 8);
    ntfs.PutFile(kFile, {partly, PointAttribute(kCloud)});
    const VolumeHandle file = OpenForReading(Open(), u"/f");
    ASSERT_NE(file, nullptr);
    // The second cluster is there, but nothing was written to it.
    std::string bytes(2 * kClusterBytes, 'x');
    uint32_t done = 0;
    EXPECT_TRUE(volume->ReadFile(file, bytes.data(), 2 * kClusterBytes, &done));
    EXPECT_TRUE(bytes == contents.substr(0, kClusterBytes) + std::string(kClusterBytes, '\0'));
    EXPECT_FALSE(volume->ReadFile(file, bytes.data(), kClusterBytes, &done));
    volume->CloseHandle(file);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kOnlyInCloud);
}

TEST_F(NtfsReparse, HolesOfAnOrdinaryFileStayZeros)
{
    ntfs.PutFile(kFile, {InRuns({{kFree, 1}, {0, 2}})});
    std::string expected = contents.substr(0, kClusterBytes);
    expected.resize(contents.size());
    EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == expected);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
}

TEST_F(NtfsReparse, PackedDeduplicatedAndEncryptedFilesSaySo)
{
    ntfs.PutFile(kFile, {InRuns({{0, 3}}), PointAttribute(kPacked)});
    ExpectObstacle(VolumeObstacle::kPacked, kPacked);
    ntfs.PutFile(kFile, {InRuns({{0, 3}}), PointAttribute(kDeduplicated)});
    ExpectObstacle(VolumeObstacle::kDeduplicated, kDeduplicated);
    // Part of it was changed since, and lies here.
    ntfs.PutFile(kFile, {InRuns({{kFree, 1}, {0, 2}}), PointAttribute(kDeduplicated)});
    ExpectObstacle(VolumeObstacle::kDeduplicated, kDeduplicated);
    ntfs.PutFile(kFile, {InRuns({{kFree, 3}}, 0x4000)});
    ExpectObstacle(VolumeObstacle::kEncryptedFile, 0);
}

TEST_F(NtfsReparse, AnEmptyFileOpensUnlessItsTagStandsForSomethingElse)
{
    for (const uint32_t tag : {kCloud, kProjected, kPacked, 0x80000018U}) {
        ntfs.PutFile(kFile, {NtfsWriter::Data(""), PointAttribute(tag)});
        EXPECT_EQ(ReadWholeFile(Open(), u"/f"), "") << tag;
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
    }
    ntfs.PutFile(kFile, {NtfsWriter::Data(""), PointAttribute(kAppLink)});
    ExpectObstacle(VolumeObstacle::kUnknownReparsePoint, kAppLink);
}

TEST_F(NtfsReparse, AReparsePointInRunsCounts)
{
    const Bytes link = Point(kSymlink, Target(u"far away", u"", true));
    for (const Bytes &point : {Point(kCloud, Bytes(900)), link}) {
        ntfs.PutBytes(kFree + 20, std::string(point.begin(), point.end()));
        ntfs.PutFile(kFile,
                     {InRuns({{kFree, 3}}),
                      NtfsWriter::InRuns(
                          {NtfsType::kReparsePoint, {}, 0, point.size(), {{kFree + 20, 1}}})});
        if (point == link)
            ExpectObstacle(VolumeObstacle::kLink, kSymlink);
        else
            ExpectOpens(kCloud);
    }
    EXPECT_EQ(std::u16string(ReportOf(*volume, u"/f").target), u"far away");
}

TEST_F(NtfsReparse, AReparsePointInAnotherRecordCounts)
{
    const Bytes list =
        NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, kFile),
                            NtfsWriter::Listed(NtfsType::kReparsePoint, {}, 0, kMore)});
    for (const uint32_t tag : {kCloud, kSymlink}) {
        ntfs.PutFile(kFile,
                     {NtfsWriter::Resident(NtfsType::kAttributeList, list), InRuns({{kFree, 3}})});
        ntfs.PutFile(kMore, {PointAttribute(tag)}, kFile);
        if (tag == kCloud)
            ExpectOpens(tag);
        else
            ExpectObstacle(VolumeObstacle::kLink, tag);
    }
}

TEST_F(NtfsReparse, TheTagOfAFileWhoseRecordIsDamagedComesFromTheIndex)
{
    constexpr size_t kKeyAt = 16;
    const auto put = [&](uint32_t attributes) {
        Bytes name = NtfsWriter::Name(kFile, u"f");
        PutNumber(&name, kKeyAt + 56, attributes, 4);
        PutNumber(&name, kKeyAt + 60, kSymlink, 4);
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({name, NtfsWriter::Last()})});
        Open();
        return static_cast<uint32_t>(Entry().reserved);
    };
    EXPECT_EQ(put(0x400), kSymlink);
    EXPECT_EQ(put(0x40400), 0u);  // the same bytes are the size of extended attributes
    EXPECT_EQ(put(0), 0u);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsReparse, FilesAndFoldersWithExtendedAttributesOfAnotherProgramOpen)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    VX_NEEDS("setfattr");
    const TestImage image{};
    ASSERT_TRUE(image.MakeNtfs(16));
    // One attribute of the name A and the value B, as NTFS stores it.
    const std::string set = "setfattr -h -n system.ntfs_ea -v "
                            "0x0c00000000010100410042 ";
    const std::string bit = "setfattr -h -n system.ntfs_attrib_be -v 0x00040000 ";
    ASSERT_TRUE(image.RunInNtfs("mkdir d && printf in > d/in && printf x > f && (" + set +
                                "f d || true) && (" + bit + "f d || true)"));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume) << opened.detail;
    EXPECT_EQ(ReadTree(*opened.volume), (TestTree{{"d/in", "in"}, {"f", "x"}}));
}

}  // namespace
}  // namespace vx
