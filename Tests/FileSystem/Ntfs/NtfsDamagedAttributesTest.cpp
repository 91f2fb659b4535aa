// NTFS files whose record contradicts itself in a field of an attribute: such a file is damaged,
// and neither an empty one nor one with other contents.
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "ReportedVolume.h"
#include "TestImage.h"

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;

constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;

// Places in an attribute.
constexpr size_t kTypeAt = 0;
constexpr size_t kFormAt = 8;
constexpr size_t kNameUnitsAt = 9;
constexpr size_t kNameAt = 10;
constexpr size_t kValueSizeAt = 16;
constexpr size_t kValueAt = 20;
constexpr size_t kFirstClusterAt = 16;
constexpr size_t kRunsAt = 32;
constexpr size_t kSizeAt = 48;
constexpr size_t kInitialisedAt = 56;

struct Change {
    size_t at;  // in the attribute
    uint64_t value;
    size_t count;
};

class NtfsDamagedAttributes : public testing::Test {
protected:
    void SetUp() override
    {
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"),
                                                                  NtfsWriter::Last()})});
        ntfs.PutBytes(kFree, contents);
    }

    Bytes InRuns(uint16_t flags = 0, uint16_t compressionShift = 0) const
    {
        return NtfsWriter::InRuns(
            {NtfsType::kData, {}, 0, contents.size(), {{kFree, 6}}, flags, compressionShift});
    }

    // The file with this attribute and, after it, what else is given.
    void Put(Bytes attribute, const std::vector<Change> &changes, const Bytes &next = {})
    {
        for (const Change &change : changes)
            PutNumber(&attribute, change.at, change.value, change.count);
        ntfs.PutFile(kFile, {NtfsWriter::Joined({NtfsWriter::OwnName(u"f"), attribute, next})});
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    void ExpectDamaged(const Bytes &attribute, const Change &change)
    {
        Put(attribute, {change});
        EXPECT_FALSE(Opens(Open(), u"/f")) << change.at << ": " << change.value;
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged)
            << change.at << ": " << change.value;
    }

    // The bytes that read, cluster by cluster, up to the first error; all of them are checked.
    uint64_t BytesThatRead()
    {
        const VolumeHandle file = OpenForReading(*volume, u"/f");
        uint64_t read = 0;
        uint32_t done = kClusterBytes;
        while (file != nullptr && done == kClusterBytes) {
            std::string bytes(kClusterBytes, '?');
            volume->ReadFile(file, bytes.data(), kClusterBytes, &done);
            EXPECT_EQ(bytes.substr(0, done), contents.substr(read, done)) << read;
            read += done;
        }
        volume->CloseHandle(file);
        return read;
    }

    const std::string contents = NoiseBytes(6 * kClusterBytes, 7);
    NtfsWriter ntfs{512};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsDamagedAttributes, AreNotThoseOfASoundFile)
{
    Put(InRuns(), {});
    EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
    for (size_t size = 0; size < 20; ++size) {
        Put(NtfsWriter::Data(contents.substr(0, size)), {});
        EXPECT_EQ(ReadWholeFile(Open(), u"/f"), contents.substr(0, size));
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
    }
}

TEST_F(NtfsDamagedAttributes, OfAnotherTypeLeaveNoEmptyFile)
{
    constexpr uint64_t kEnd = 0xFFFFFFFF;
    for (const uint64_t type : {uint64_t{0x81}, uint64_t{0x90}, uint64_t{0x70}, uint64_t{0}, kEnd})
        ExpectDamaged(InRuns(), {kTypeAt, type, 4});
}

TEST_F(NtfsDamagedAttributes, OfAnotherFormDoNotOpen)
{
    ExpectDamaged(InRuns(), {kFormAt, 0, 1});
    ExpectDamaged(InRuns(), {kFormAt, 2, 1});
    ExpectDamaged(NtfsWriter::Data(std::string(100, 'x')), {kFormAt, 1, 1});
}

TEST_F(NtfsDamagedAttributes, WithAFirstClusterAndNoListDoNotOpen)
{
    ExpectDamaged(InRuns(), {kFirstClusterAt, 1, 8});
}

TEST_F(NtfsDamagedAttributes, WithANameWhereTheirContentsAreDoNotOpen)
{
    ExpectDamaged(InRuns(), {kNameUnitsAt, 1, 1});
    ExpectDamaged(NtfsWriter::Data("small"), {kNameUnitsAt, 1, 1});
    Put(InRuns(), {{kNameUnitsAt, 1, 1}});
    EXPECT_TRUE(StreamsOf(Open(), u"/f").streams.empty());
    Put(InRuns(), {{kNameUnitsAt, 1, 1}, {kNameAt, 0, 2}});
    EXPECT_TRUE(StreamsOf(Open(), u"/f").streams.empty());
    EXPECT_FALSE(StreamsOf(*volume, u"/f").areAll);
}

TEST_F(NtfsDamagedAttributes, WithAValueInTheirHeaderOrBeyondTheirEndDoNotOpen)
{
    const Bytes data = NtfsWriter::Data(contents.substr(0, 513));
    for (const uint64_t at : {0, 8, 23, 40, 600})
        ExpectDamaged(data, {kValueAt, at, 2});
    ExpectDamaged(data, {kValueSizeAt, 521, 4});
    ExpectDamaged(InRuns(), {kRunsAt, 0, 2});
}

TEST_F(NtfsDamagedAttributes, WithAValueThatDoesNotFillThemDoNotOpen)
{
    const Bytes data = NtfsWriter::Data(contents.substr(0, 513));
    for (const uint64_t size : {0, 1, 505, 512})
        ExpectDamaged(data, {kValueSizeAt, size, 4});
}

TEST_F(NtfsDamagedAttributes, ThatAreLongerThanTheirRunsReadAsFarAsTheyWereWritten)
{
    Put(InRuns(), {{kSizeAt, contents.size() + 5000, 8}});
    Open();
    EXPECT_EQ(BytesThatRead(), contents.size());
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
    const uint64_t written = 2 * kClusterBytes + 100;
    Put(InRuns(), {{kSizeAt, contents.size() + 5000, 8}, {kInitialisedAt, written, 8}});
    Open();
    EXPECT_EQ(BytesThatRead(), written);
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedAttributes, ThatAreLongerThanTheirRunsReadTheirWholeUnits)
{
    Put(InRuns(1, 1), {{kSizeAt, contents.size() + 5000, 8}});
    Open();
    EXPECT_EQ(BytesThatRead(), contents.size());
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedAttributes, OfWhichNothingWasWrittenNeedRunsToo)
{
    Bytes none = InRuns();
    none.at(64) = 0;  // the first run
    Put(none, {{kInitialisedAt, 0, 8}});
    EXPECT_FALSE(Opens(Open(), u"/f"));
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

// A part of the record is lost that a sound file need not have.
TEST_F(NtfsDamagedAttributes, ThatFollowTheDataAreMissedToo)
{
    const Bytes stream = NtfsWriter::Resident(NtfsType::kData, Bytes(8), u"s");
    Put(InRuns(), {}, stream);
    EXPECT_EQ(StreamsOf(Open(), u"/f").streams.size(), 1u);
    EXPECT_TRUE(StreamsOf(*volume, u"/f").areAll);
    constexpr uint64_t kEnd = 0xFFFFFFFF;
    constexpr Change kChanges[] = {{kTypeAt, 0x81, 4}, {kTypeAt, 0x70, 4}, {kTypeAt, 0x180, 4},
                                   {kTypeAt, kEnd, 4}, {kFormAt, 1, 1},    {kValueAt, 0, 2},
                                   {kNameAt, 20, 2},   {kNameAt, 32, 2}};
    for (const Change &change : kChanges) {
        Bytes changed = stream;
        PutNumber(&changed, change.at, change.value, change.count);
        Put(InRuns(), {}, changed);
        EXPECT_FALSE(StreamsOf(Open(), u"/f").areAll) << change.at << ": " << change.value;
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged) << change.at;
    }
    Bytes later = NtfsWriter::InRuns({NtfsType::kData, u"s", 1, contents.size(), {{kFree, 6}}});
    Put(InRuns(), {}, later);
    EXPECT_FALSE(StreamsOf(Open(), u"/f").areAll);
}

TEST_F(NtfsDamagedAttributes, FailAnExportWhichNamesTheFile)
{
    const TestImage image{};
    Put(InRuns(), {{kTypeAt, 0x81, 4}});
    image.Folder().WriteFile("image", std::string(ntfs.Image().begin(), ntfs.Image().end()));
    const std::string tool = VX_TOOL " --to " + Quoted(image.At("out")) + " " +
                             Quoted(image.Path()) + " >" + Quoted(image.At("log")) + " 2>&1";
    EXPECT_TRUE(RunShell(tool + "; test $? = 1 && grep -q '/f: ' " + Quoted(image.At("log"))))
        << image.Folder().ReadFile("log");
    EXPECT_TRUE(RunShell("! test -e " + Quoted(image.At("out/f"))));
}

// Attributes as another program leaves them that makes files longer and shorter again and again.
TEST(NtfsAttributesOfOthers, AreSoundHoweverOftenTheyWereChanged)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
    const TestImage image{};
    ASSERT_TRUE(image.MakeNtfs(64));
    ASSERT_TRUE(image.RunInNtfs(
        "mkdir d e && for i in $(seq 300); do head -c $((i * 5)) /dev/urandom > d/$i; "
        "truncate -s $((i * i % 1500)) d/$i; ln d/$i e/$i; ln d/$i 'e/again '$i; "
        "printf more >> d/$i; done && "
        "for i in $(seq 1 3 300); do truncate -s 70000 d/$i; truncate -s $i d/$i; "
        "mv d/$i 'd/a longer name '$i; rm e/$i; done && "
        "for i in $(seq 2 3 300); do printf s > d/$i:stream; head -c $((i * 7)) /dev/zero > "
        "d/$i:other; rm d/$i; done && cp -r d " +
        Quoted(image.At("copy"))));
    EXPECT_TRUE(RunShell(VX_TOOL " --to " + Quoted(image.At("out")) + " " + Quoted(image.Path()) +
                         " /d >" + Quoted(image.At("log")) + " 2>&1"))
        << image.Folder().ReadFile("log");
    EXPECT_TRUE(RunShell("diff -r " + Quoted(image.At("out/d")) + " " + Quoted(image.At("copy"))));
    EXPECT_TRUE(RunShell(VX_TOOL " --streams --to " + Quoted(image.At("all")) + " " +
                         Quoted(image.Path()) + " >" + Quoted(image.At("log")) + " 2>&1"))
        << image.Folder().ReadFile("log");
}

}  // namespace
}  // namespace vx
