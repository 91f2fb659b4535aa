// A large file on a disk that fails, read in large pieces: what is read ahead changes neither what
// is reported nor which places are tried twice.
#include "FailingSource.h"
#include "Salvaged.h"
#include "TestImage.h"
#include "VolumeFile.h"

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;

class ReadAheadOnDisk : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(32, "-F 16 -s 8"));
        ASSERT_TRUE(image.FillFat({{"a", contents}, {"b", std::string(4 * kMiB, 'b')}}));
        const std::string bytes = image.Folder().ReadFile("image");
        fileAt = bytes.find(contents.substr(0, kSector));
        ASSERT_EQ(bytes.compare(fileAt, contents.size(), contents), 0);
        disk = std::make_shared<FailingSource>(bytes);
    }

    std::unique_ptr<OwnedVolume> Open() const
    {
        return std::move(OpenDiskOf(disk, 0, UnlockKind::kNone, "").volume);
    }

    // Reads count bytes, of which all are right.
    static void ReadWell(IVolume &volume, VolumeHandle file, const std::string &right)
    {
        std::string read(right.size(), '?');
        uint32_t done = 0;
        EXPECT_TRUE(volume.ReadFile(file, &read[0], static_cast<uint32_t>(read.size()), &done));
        EXPECT_EQ(done, read.size());
        EXPECT_TRUE(read == right);
    }

    const std::string contents = NoiseBytes(16 * kMiB + 777, 7);
    const TestImage image{};
    size_t fileAt = 0;
    std::shared_ptr<FailingSource> disk;
};

TEST_F(ReadAheadOnDisk, ExactlyTheBadSectorsAreLost)
{
    const Lost lost = {{5 * kMiB, kSector}, {9 * kMiB + kSector, 2 * kSector}};
    for (const auto &[at, length] : lost)
        disk->MakeBad(fileAt + at, length);
    for (const uint32_t chunk : {1u << 20, 4u << 20})
        ExpectLost(Salvage(*Open(), u"/a", chunk), contents, lost);
}

TEST_F(ReadAheadOnDisk, AFileIsReadAheadUntilTheDiskHasFailedOnce)
{
    const auto volume = Open();
    const auto isAhead = [&] {
        const VolumeHandle file = OpenForReading(*volume, u"/a");
        ReadWell(*volume, file, contents.substr(0, kMiB));
        ReadWell(*volume, file, contents.substr(kMiB, kMiB));
        const bool is = static_cast<VolumeFile *>(file)->IsAhead();
        volume->CloseHandle(file);
        return is;
    };
    EXPECT_TRUE(isAhead());
    disk->MakeBad(disk->Bytes().find(std::string(kSector, 'b')), kSector);
    EXPECT_FALSE(Salvage(*volume, u"/b").good);
    EXPECT_FALSE(isAhead());
}

TEST_F(ReadAheadOnDisk, AnExportThatStopsHasTriedAtMostAWindowMore)
{
    disk->MakeBad(fileAt + 3 * kMiB, 13 * kMiB);
    const auto volume = Open();
    const VolumeHandle file = OpenForReading(*volume, u"/a");
    ReadWell(*volume, file, contents.substr(0, kMiB));
    ReadWell(*volume, file, contents.substr(kMiB, kMiB));
    const int before = disk->FailedReads();
    volume->CloseHandle(file);
    const int tried = disk->FailedReads() - before;
    // Reading just this place costs as much.
    const auto again = Open();
    const VolumeHandle other = OpenForReading(*again, u"/a");
    uint32_t low = 3 * kMiB, high = 0, done = 0;
    again->SetFilePosition(other, &low, &high, 0);
    std::string read(kMiB, '?');
    const int direct = disk->FailedReads();
    EXPECT_FALSE(again->ReadFile(other, &read[0], kMiB, &done));
    EXPECT_LE(tried, disk->FailedReads() - direct);
    again->CloseHandle(other);
}

}  // namespace
}  // namespace vx
