// NTFS files that have lost a part of their record or list of runs: the rest is read from its own
// place, and what is missing is an error and never another file's bytes.
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "ReportedVolume.h"
#include "SourceWithHole.h"
#include "TestImage.h"

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;

constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kMore = kFile + 8;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr size_t kClusterBytes = NtfsWriter::kClusterBytes;

class NtfsDamagedFile : public testing::Test {
protected:
    void SetUp() override
    {
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"),
                                                                  NtfsWriter::Last()})});
        ntfs.PutBytes(kFree, contents);
    }

    // The file in three parts of two clusters, each in a record of its own.
    void PutInParts()
    {
        Bytes list;
        for (uint64_t part = 0; part < 3; ++part) {
            const uint64_t size = part == 0 ? contents.size() : 0;
            ntfs.PutFile(kMore + part,
                         {NtfsWriter::InRuns(
                             {NtfsType::kData, {}, 2 * part, size, {{kFree + 2 * part, 2}}})},
                         kFile);
            const Bytes line = NtfsWriter::Listed(NtfsType::kData, {}, 2 * part, kMore + part);
            list.insert(list.end(), line.begin(), line.end());
        }
        ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, list)});
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    // Every cluster that reads is that of the file; "x" for one that does, "-" for one that fails.
    std::string ClustersThatRead()
    {
        const VolumeHandle file = OpenForReading(*volume, u"/f");
        std::string read;
        for (size_t at = 0; file != nullptr && at < contents.size(); at += kClusterBytes) {
            auto low = static_cast<uint32_t>(at);
            uint32_t high = 0;
            uint32_t done = 0;
            std::string bytes(kClusterBytes, '?');
            volume->SetFilePosition(file, &low, &high, 0);
            const bool isRead = volume->ReadFile(file, bytes.data(), kClusterBytes, &done);
            read += isRead ? 'x' : '-';
            if (isRead)
                EXPECT_EQ(bytes, contents.substr(at, kClusterBytes)) << at;
        }
        volume->CloseHandle(file);
        return read;
    }

    const std::string contents = NoiseBytes(6 * kClusterBytes, 5);
    NtfsWriter ntfs{512};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsDamagedFile, IsWholeBefore)
{
    PutInParts();
    EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents);
    EXPECT_EQ(ClustersThatRead(), "xxxxxx");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
}

TEST_F(NtfsDamagedFile, WithoutAPartInTheMiddleTheOthersRead)
{
    PutInParts();
    ntfs.PutBytes(NtfsWriter::kTable + kMore + 1, std::string(kClusterBytes, 'x'));
    Open();
    EXPECT_EQ(ClustersThatRead(), "xx--xx");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedFile, APartThatCannotBeReadIsUnreadable)
{
    PutInParts();
    const size_t bad = (NtfsWriter::kTable + kMore + 2) * kClusterBytes;
    volume = NtfsVolumeOf(std::make_shared<SourceWithHole>(
        std::string(ntfs.Image().begin(), ntfs.Image().end()), bad, bad + kClusterBytes));
    EXPECT_EQ(ClustersThatRead(), "xxxx--");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kUnreadable);
}

TEST_F(NtfsDamagedFile, WithoutItsFirstPartItDoesNotOpen)
{
    PutInParts();
    ntfs.PutBytes(NtfsWriter::kTable + kMore, std::string(kClusterBytes, 'x'));
    EXPECT_FALSE(Opens(Open(), u"/f"));
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedFile, AListOfRunsReadsUpToItsDamage)
{
    ntfs.PutFile(kFile, {NtfsWriter::InRuns({NtfsType::kData,
                                             {},
                                             0,
                                             contents.size(),
                                             {{kFree, 3}, {kFree + 3000, 1}, {kFree + 4, 2}}})});
    Open();
    EXPECT_EQ(ClustersThatRead(), "xxx---");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedFile, RunsThatEndBeforeTheDataAreDamaged)
{
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns({NtfsType::kData, {}, 0, contents.size(), {{kFree, 4}}})});
    Open();
    EXPECT_EQ(ClustersThatRead(), "xxxx--");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedFile, WithoutItsListOfAttributesTheFirstPartReads)
{
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns({NtfsType::kAttributeList, {}, 0, 64, {{kFree + 50, 1}}}),
                  NtfsWriter::InRuns({NtfsType::kData, {}, 0, contents.size(), {{kFree, 2}}})});
    const size_t bad = (kFree + 50) * kClusterBytes;
    volume = NtfsVolumeOf(std::make_shared<SourceWithHole>(
        std::string(ntfs.Image().begin(), ntfs.Image().end()), bad, bad + kClusterBytes));
    EXPECT_EQ(ClustersThatRead(), "xx----");
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kUnreadable);
}

TEST_F(NtfsDamagedFile, ARecordThatBreaksOffIsNotThatOfAnEmptyFile)
{
    ntfs.PutFile(kFile, {NtfsWriter::OwnName(u"f"), NtfsWriter::Data("data")});
    EXPECT_EQ(ReadWholeFile(Open(), u"/f"), "data");
    // The length of the name's attribute, after the standard information.
    Bytes image = ntfs.Image();
    constexpr size_t kStandardBytes = 24 + 48;
    PutNumber(&image, (NtfsWriter::kTable + kFile) * kClusterBytes + 56 + kStandardBytes + 4, 2000,
              4);
    volume = NtfsVolumeOf(SourceOf({image.begin(), image.end()}));
    EXPECT_FALSE(Opens(*volume, u"/f"));
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(NtfsDamagedFile, ACompressedUnitOfWhichAPartIsLostFailsAndIsNotZeros)
{
    // Three units of two clusters, stored as they are; the record of the second one is lost.
    Bytes list;
    for (uint64_t part = 0; part < 3; ++part) {
        const uint64_t size = part == 0 ? contents.size() : 0;
        ntfs.PutFile(
            kMore + part,
            {NtfsWriter::InRuns(
                {NtfsType::kData, {}, 2 * part, size, {{kFree + 2 * part, 2}}, 1, part == 0})},
            kFile);
        const Bytes line = NtfsWriter::Listed(NtfsType::kData, {}, 2 * part, kMore + part);
        list.insert(list.end(), line.begin(), line.end());
    }
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, list)});
    EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents);
    ntfs.PutBytes(NtfsWriter::kTable + kMore + 1, std::string(kClusterBytes, 'x'));
    Open();
    EXPECT_EQ(ClustersThatRead(), "xx--xx");
}

}  // namespace
}  // namespace vx
