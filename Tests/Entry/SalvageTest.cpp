// What a failing disk costs: exactly the bad sectors, on every file system, plain and encrypted.
#include "ExfatImage.h"
#include "FailingSource.h"
#include "Salvaged.h"
#include "TestImage.h"

#include <cerrno>
#include <unordered_map>

namespace vx {
namespace {

constexpr uint64_t kKiB = 1024;
constexpr uint64_t kMiB = 1024 * kKiB;

struct Kind {
    const char *name;
    bool (*make)(const TestImage &image, const TestTree &tree);
    const char *encryption;  // options of the maker; null: none
    uint64_t cipherSector;   // 1 without a cipher

    friend void PrintTo(const Kind &kind, std::ostream *out) { *out << kind.name; }
};

bool MakeFat(const TestImage &image, const TestTree &tree)
{
    return HasProgram("mkfs.fat") && HasProgram("mcopy") && image.MakeFat(24, "-F 16 -s 8") &&
           image.FillFat(tree);
}

bool MakeNtfs(const TestImage &image, const TestTree &tree)
{
    return CanMountNtfs() && image.MakeNtfs(24, "-c 4096") && image.FillNtfs(tree);
}

bool MakeExfat(const TestImage &image, const TestTree &tree)
{
    if (!HasProgram("mkfs.exfat") || !image.MakeExfat(24))
        return false;
    ExfatImage exfat(image.Folder().ReadFile("image"));
    uint32_t next = 100;
    for (const auto &[name, contents] : tree) {
        exfat.Add(exfat.root, {Utf16(name), 0x20, true, next, contents.size(), contents.size()});
        exfat.Write(next, contents);
        next += static_cast<uint32_t>(contents.size() / exfat.clusterBytes) + 1;
    }
    image.Folder().WriteFile("image", exfat.Text());
    return true;
}

class SalvageOfDisk : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override
    {
        if (!GetParam().make(image, tree))
            GTEST_SKIP() << "a program that makes this volume is missing; see docs/building.md";
        FindSectors(image.Folder().ReadFile("image"));
        if (GetParam().encryption != nullptr) {
            ASSERT_TRUE(image.Encrypt(GetParam().encryption));
        }
        disk = std::make_shared<FailingSource>(image.Folder().ReadFile("image"));
        Open();
    }

    void Open()
    {
        const UnlockKind unlock =
            GetParam().encryption == nullptr ? UnlockKind::kNone : UnlockKind::kPassword;
        Opened opened = OpenDiskOf(disk, 0, unlock, "correct");
        ASSERT_TRUE(opened.volume) << opened.detail;
        volume = std::move(opened.volume);
    }

    // Where the sectors of the file lie, in one piece or not. Of noise a few bytes tell.
    void FindSectors(const std::string &bytes)
    {
        std::unordered_map<std::string, uint64_t> known;
        for (uint64_t at = 0; at < bytes.size(); at += kSector)
            known.emplace(bytes.substr(at, kTelling), at);
        for (uint64_t at = 0; at < contents.size(); at += kSector) {
            const auto found = known.find(contents.substr(at, kTelling));
            ASSERT_NE(found, known.end());
            places.push_back(found->second);
        }
    }

    // Sectors of the disk that hold a part of the file; one after the other.
    void MakeBad(uint64_t begin, uint64_t length, int times = FailingSource::kAlways)
    {
        const uint64_t last = (begin + length - 1) / kSector;
        for (uint64_t sector = begin / kSector; sector <= last;) {
            const uint64_t first = sector;
            while (++sector <= last && places[sector] == places[sector - 1] + kSector) {
            }
            disk->MakeBad(places[first], (sector - first) * kSector, times);
        }
    }

    // What is lost of the file with that part. Clusters begin with a sector of the cipher.
    std::pair<uint64_t, uint64_t> LossOf(uint64_t begin, uint64_t length) const
    {
        const uint64_t sector = GetParam().cipherSector;
        const uint64_t first = begin / sector * sector;
        return {first, (begin + length + sector - 1) / sector * sector - first};
    }

    static constexpr uint64_t kSector = 512;
    static constexpr size_t kTelling = 16;
    const std::string contents = NoiseBytes(9 * kMiB + 777, 3);
    const std::string other = NoiseBytes(3 * kMiB, 4);
    const TestTree tree = {{"a", contents}, {"b", other}};
    const TestImage image{};
    std::vector<uint64_t> places;  // of the file's sectors on the disk
    std::shared_ptr<FailingSource> disk;
    std::unique_ptr<OwnedVolume> volume;
};

TEST_P(SalvageOfDisk, ABadPageInTheMiddleCostsThatPage)
{
    MakeBad(5 * kMiB, 4 * kKiB);
    ExpectLost(Salvage(*volume, u"/a"), contents, {LossOf(5 * kMiB, 4 * kKiB)});
    ExpectLost(Salvage(*volume, u"/b"), other, {});
}

TEST_P(SalvageOfDisk, EachOfSeveralBadSectorsCostsNothingElse)
{
    MakeBad(0, 512);
    MakeBad(4 * kMiB - 512, 1024);
    MakeBad(6 * kMiB + 1536, 512);
    const Lost lost = {LossOf(0, 512), LossOf(4 * kMiB - 512, 1024), LossOf(6 * kMiB + 1536, 512)};
    ExpectLost(Salvage(*volume, u"/a"), contents, lost);
    ExpectLost(Salvage(*volume, u"/a", 10000), contents, lost);
    ExpectLost(Salvage(*volume, u"/b"), other, {});
}

TEST_P(SalvageOfDisk, NoBadSectorIsReadAgain)
{
    MakeBad(5 * kMiB, 40 * kKiB);
    ExpectLost(Salvage(*volume, u"/a"), contents, {LossOf(5 * kMiB, 40 * kKiB)});
    const int failed = disk->FailedReads();
    EXPECT_GT(failed, 0);
    ExpectLost(Salvage(*volume, u"/a", 100000), contents, {LossOf(5 * kMiB, 40 * kKiB)});
    EXPECT_EQ(disk->FailedReads(), failed);
}

TEST_P(SalvageOfDisk, AnErrorThatGoesAwayCostsNothing)
{
    MakeBad(2 * kMiB + 100, 1, 1);
    MakeBad(7 * kMiB, 512, 1);
    ExpectLost(Salvage(*volume, u"/a"), contents, {});
    EXPECT_GE(disk->FailedReads(), 2);
}

TEST_P(SalvageOfDisk, ADeadAreaTakesFewReads)
{
    MakeBad(kMiB, 8 * kMiB);
    const Lost lost = {LossOf(kMiB, 8 * kMiB)};
    ExpectLost(Salvage(*volume, u"/a"), contents, lost);
    EXPECT_LE(disk->FailedReads(), 300);  // of 16,384 bad sectors
}

TEST_P(SalvageOfDisk, ADiskThatGoesAwayFailsEverythingAtOnce)
{
    VolumeFindData record = {};
    const VolumeHandle file = OpenForReading(*volume, u"/a");
    const VolumeHandle search = volume->FindFirstFile(u"/*", &record);
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(volume->IsGone());
    disk->FailWith(ENXIO);
    std::string buffer(5 * kMiB, '?');
    uint32_t done = 7;
    EXPECT_FALSE(
        volume->ReadFile(file, buffer.data(), static_cast<uint32_t>(buffer.size()), &done));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(buffer.find_first_not_of('\0'), std::string::npos);
    EXPECT_TRUE(volume->IsGone());
    disk->FailWith(0);  // it is not read any more
    const int reads = disk->Reads();
    EXPECT_FALSE(volume->ReadFile(file, buffer.data(), 10, &done));
    EXPECT_EQ(OpenForReading(*volume, u"/b"), nullptr);
    EXPECT_EQ(volume->FindFirstFile(u"/*", &record), nullptr);
    EXPECT_FALSE(volume->FindNextFile(search, &record));
    VolumeListingReport listing;
    EXPECT_TRUE(volume->DescribeListing(search, &listing));
    EXPECT_EQ(listing.reason, VolumeObstacle::kDeviceGone);
    VolumeEntryReport entry;
    EXPECT_TRUE(volume->DescribeEntry(u"/b", &entry));
    EXPECT_EQ(entry.obstacle, VolumeObstacle::kDeviceGone);
    EXPECT_EQ(disk->Reads(), reads);
    volume->CloseHandle(file);
    volume->FindClose(search);
}

INSTANTIATE_TEST_SUITE_P(
    Disks, SalvageOfDisk,
    testing::Values(Kind{"Fat", MakeFat, nullptr, 1}, Kind{"Exfat", MakeExfat, nullptr, 1},
                    Kind{"Ntfs", MakeNtfs, nullptr, 1},
                    Kind{"EncryptedFat", MakeFat, "--password correct", 512},
                    Kind{"EncryptedExfat", MakeExfat, "--password correct", 512},
                    Kind{"EncryptedNtfs", MakeNtfs, "--password correct", 512},
                    Kind{"EncryptedNtfsOfLargeSectors", MakeNtfs,
                         "--password correct --sector-size 4096", 4096}),
    [](const auto &tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace vx
