// What NTFS keeps twice: the boot sector, whose copy is the last sector of the volume, and the
// first records of the table of files, of which there is a mirror. Each copy is used if the first
// one is damaged, and a warning says so.
#include "ByteReader.h"
#include "MadeNtfsTest.h"
#include "NtfsBoot.h"
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "SourceWithHole.h"

#include <functional>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;
const char *const kBackup = "backup in the last sector";
const char *const kMirror = "mirror";

class NtfsSpareParts : public MadeNtfsTest {
protected:
    static void SetUpTestSuite()
    {
        Make([](const TestImage &image) { return image.FillNtfs(SampleTree()); });
    }

    // Every file of it reads, and the warning has this text; none if that is empty.
    static void ExpectWhole(const Source &source, const std::string &warning)
    {
        const Opened opened = OpenDiskOf(source);
        ASSERT_TRUE(opened.volume) << opened.detail;
        ExpectSameTree(ReadTree(*opened.volume), SampleTree());
        if (warning.empty())
            EXPECT_EQ(opened.detail, "");
        else
            EXPECT_NE(opened.detail.find(warning), std::string::npos) << opened.detail;
    }

    static std::string Damaged(size_t at, const std::string &by)
    {
        return std::string(*whole).replace(at, by.size(), by);
    }

    // Where a field of the boot sector leads, in bytes.
    static size_t PlaceOf(size_t field)
    {
        const ByteView boot(reinterpret_cast<const uint8_t *>(whole->data()), kSector);
        return U32At(boot, field) * size_t{U8At(boot, 13)} * kSector;
    }
    static size_t Table() { return PlaceOf(48); }
    static size_t Mirror() { return PlaceOf(56); }
};

TEST_F(NtfsSpareParts, AreNotUsedForAVolumeThatIsWhole)
{
    ExpectWhole(SourceOf(*whole), "");
}

TEST_F(NtfsSpareParts, ABootSectorOfZerosIsReplacedByItsBackup)
{
    ExpectWhole(SourceOf(Damaged(0, std::string(kSector, '\0'))), kBackup);
    ExpectWhole(SourceOf(Damaged(0, NoiseBytes(8192, 1))), kBackup);
}

TEST_F(NtfsSpareParts, ABootSectorThatCannotBeReadIsReplacedByItsBackup)
{
    ExpectWhole(std::make_shared<SourceWithHole>(*whole, 0, kSector), kBackup);
}

TEST_F(NtfsSpareParts, ABootSectorWithAWrongFieldIsReplacedByItsBackup)
{
    const std::string wrong("\x05", 1);
    // The sizes of a sector, a cluster and a record, and where the table of files begins.
    for (const size_t field : {11, 13, 64, 48, 50})
        ExpectWhole(SourceOf(Damaged(field, wrong)), kBackup);
}

TEST_F(NtfsSpareParts, ATableThatSeemsToBeginAtAnotherRecordIsNotBelieved)
{
    // One cluster of four records further on.
    std::string bytes = *whole;
    ++bytes[48];
    ExpectWhole(SourceOf(bytes), kBackup);
}

TEST_F(NtfsSpareParts, TheFirstRecordIsReplacedByItsMirror)
{
    ExpectWhole(SourceOf(Damaged(Table(), std::string(1024, '\0'))), kMirror);
    ExpectWhole(SourceOf(Damaged(Table() + 510, "??")), kMirror);
    ExpectWhole(std::make_shared<SourceWithHole>(*whole, Table(), Table() + 1), kMirror);
}

TEST_F(NtfsSpareParts, BothAreReplacedTogether)
{
    std::string bytes = Damaged(Table(), std::string(1024, '\0'));
    bytes.replace(0, kSector, kSector, '\0');
    ExpectWhole(SourceOf(bytes), kMirror);
    ExpectWhole(SourceOf(bytes), kBackup);
}

TEST_F(NtfsSpareParts, WithoutTheRecordAndItsMirrorTheVolumeIsDamaged)
{
    std::string bytes = Damaged(Table(), std::string(1024, '\0'));
    bytes.replace(Mirror(), 1024, 1024, '\0');
    std::unique_ptr<OwnedVolume> volume;
    EXPECT_EQ(OpenDiskOf(SourceOf(bytes)).status, VolumeLibraryStatus::kFileSystemDamaged);
}

TEST_F(NtfsSpareParts, AVolumeWithoutBootSectorAndBackupIsUnknown)
{
    std::string bytes = Damaged(0, std::string(kSector, '\0'));
    bytes.replace(bytes.size() - kSector, kSector, kSector, '\0');
    std::unique_ptr<OwnedVolume> volume;
    EXPECT_EQ(OpenDiskOf(SourceOf(bytes)).status, VolumeLibraryStatus::kFileSystemNotSupported);
}

TEST_F(NtfsSpareParts, ABackupIsFoundByTheNumberOfSectorsBeforeIt)
{
    const auto shifted = [](size_t by) { return SourceOf(std::string(by, '\0') + *whole); };
    const auto extended = [](size_t by) { return SourceOf(*whole + std::string(by, '\0')); };
    const size_t place = whole->size() - kSector;
    EXPECT_EQ(FindNtfsBackupBoot(*SourceOf(*whole)), place);
    for (const size_t more : {1, 512, 4096, 262144})
        EXPECT_EQ(FindNtfsBackupBoot(*extended(more)), place) << more;
    EXPECT_FALSE(FindNtfsBackupBoot(*extended(kMiB)));
    EXPECT_FALSE(FindNtfsBackupBoot(*shifted(kMiB)));
    EXPECT_FALSE(FindNtfsBackupBoot(*shifted(kSector)));
    EXPECT_FALSE(FindNtfsBackupBoot(*SourceOf(whole->substr(0, place))));
    EXPECT_FALSE(FindNtfsBackupBoot(*SourceOf(whole->substr(0, kSector))));
    EXPECT_FALSE(FindNtfsBackupBoot(*SourceOf("")));
}

// A disk whose only partition begins at 1 MiB and ends where the disk does.
std::string DiskWith(const std::string &partition)
{
    std::string disk(kMiB, '\0');
    const auto put = [&](size_t at, uint64_t value, size_t count) {
        for (size_t i = 0; i < count; ++i)
            disk[at + i] = static_cast<char>(value >> (8 * i));
    };
    put(446 + 4, 7, 1);
    put(446 + 8, kMiB / kSector, 4);
    put(446 + 12, partition.size() / kSector, 4);
    put(510, 0xAA55, 2);
    return disk + partition;
}

TEST_F(NtfsSpareParts, APartitionWithoutBootSectorIsFound)
{
    ExpectWhole(SourceOf(DiskWith(*whole)), "");
    ExpectWhole(SourceOf(DiskWith(Damaged(0, std::string(kSector, '\0')))), kBackup);
    ExpectWhole(std::make_shared<SourceWithHole>(DiskWith(*whole), kMiB, kMiB + kSector), kBackup);
}

TEST_F(NtfsSpareParts, TheVolumeInsideAnEncryptedOneHasItsBackupToo)
{
    const TestImage image{};
    image.Folder().WriteFile("image", Damaged(0, std::string(kSector, '\0')));
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const Opened opened = OpenImage(image.Path(), "password", "correct");
    ASSERT_TRUE(opened.volume) << opened.detail;
    ExpectSameTree(ReadTree(*opened.volume), SampleTree());
    EXPECT_NE(opened.detail.find(kBackup), std::string::npos) << opened.detail;
}

// What is wrong with a boot sector in which this byte has this value.
std::string ComplaintWith(size_t at, uint8_t value)
{
    NtfsWriter::Bytes bytes = NtfsWriter().Image();
    bytes.at(at) = value;
    const auto boot = ReadNtfsBoot(*SourceOf({bytes.begin(), bytes.end()}), 0);
    return boot ? "" : boot.Failure().detail;
}

TEST(NtfsBootSector, SaysWhichSizeIsNotValid)
{
    EXPECT_EQ(ComplaintWith(0, 0), "");
    EXPECT_EQ(ComplaintWith(11, 1), "its sector size is not valid");
    EXPECT_EQ(ComplaintWith(13, 3), "its cluster size is not valid");
    EXPECT_EQ(ComplaintWith(64, 0), "its record size is not valid");
}

}  // namespace
}  // namespace vx
