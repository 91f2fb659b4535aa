// Volumes that are opened for their contents: one file with every byte of them.
#include "Container.h"
#include "DiskWriter.h"
#include "FailingSource.h"
#include "MemoryByteSource.h"
#include "OpenVolume.h"
#include "Salvaged.h"
#include "TestImage.h"
#include "VolumeOpeningOptions.h"

#include <cerrno>
#include <vector>

namespace vx {
namespace {

constexpr size_t kSector = DiskWriter::kSector;
constexpr size_t kMiB = size_t{1} << 20;

OpeningOptions ForContents()
{
    OpeningOptions options;
    options.opensContents = true;
    return options;
}

std::shared_ptr<const ByteSource> SourceOf(const std::string &bytes)
{
    return std::make_shared<MemoryByteSource>(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

Opened OpenContents(std::shared_ptr<const ByteSource> source, size_t number = 0)
{
    Container container;
    container.source = std::move(source);
    return AsAnswer(OpenDiskContents(container, {"", number}, {}, ForContents()));
}

Opened OpenContents(const std::string &path, const char *kind, const char *secret)
{
    return AsAnswer(OpenVolume({path.c_str(), kind, secret, nullptr, ForContents()}));
}

std::string ContentsOf(const Opened &opened)
{
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    if (opened.volume == nullptr)
        return "";
    return ReadWholeFile(*opened.volume, kVolumeContentsPath).value_or("");
}

// A file system of which only the name is left.
std::string NoiseWithName(size_t count, unsigned seed)
{
    return NoiseBytes(count, seed).replace(3, 8, "NTFS    ");
}

TEST(Contents, AVolumeIsOneFileWithItsSizeAndNothingElse)
{
    const std::string bytes = NoiseWithName(3 * kMiB + kSector, 1);
    const Opened opened = OpenContents(SourceOf(bytes));
    EXPECT_TRUE(ContentsOf(opened) == bytes);
    const auto entries = ListFolder(*opened.volume, u"/*");
    ASSERT_TRUE(entries && entries->size() == 1);
    EXPECT_EQ(entries->front().name, std::u16string(u"volume.img"));
    EXPECT_EQ(SizeOf(entries->front()), bytes.size());
    EXPECT_EQ(opened.detail, "");
    EXPECT_FALSE(Opens(*opened.volume, u"/volume.img/volume.img"));
    EXPECT_FALSE(Opens(*opened.volume, u"/other"));
}

TEST(Contents, ADiskOfUnknownContentsIsOneFileWithAWarning)
{
    const std::string bytes = NoiseBytes(kMiB, 2);
    const Opened opened = OpenContents(SourceOf(bytes));
    EXPECT_TRUE(ContentsOf(opened) == bytes);
    EXPECT_NE(
        opened.detail.find("nothing else that is recognised; if an encrypted volume was there, "
                           "\"volume-info --search\" searches all of a disk for it"),
        std::string::npos)
        << opened.detail;
}

TEST(Contents, ThoseThatAreRecognisedHaveNoWordOfASearch)
{
    const std::string luks = std::string("LUKS\xba\xbe\0\x01", 8) + NoiseBytes(kMiB - 8, 2);
    const Opened opened = OpenContents(SourceOf(luks));
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kSuccess);
    EXPECT_NE(opened.detail.find("LUKS"), std::string::npos);
    EXPECT_EQ(opened.detail.find("--search"), std::string::npos) << opened.detail;
}

TEST(Contents, OfADiskWithPartitionsTheChosenOneIsOpened)
{
    DiskWriter disk(64);
    disk.PutText(8 * kSector, NoiseBytes(32 * kSector, 3));
    for (const size_t first : {8, 16})
        disk.PutVolume(first);
    disk.PutMbr(0, 0, 7, 8, 8);
    disk.PutMbr(0, 1, 7, 16, 24);
    EXPECT_EQ(OpenContents(SourceOf(disk.Bytes())).status, VolumeLibraryStatus::kSeveralVolumes);
    EXPECT_TRUE(ContentsOf(OpenContents(SourceOf(disk.Bytes()), 2)) ==
                disk.Bytes().substr(16 * kSector, 24 * kSector));
    EXPECT_EQ(OpenContents(SourceOf(disk.Bytes()), 3).status, VolumeLibraryStatus::kNoSuchVolume);
}

TEST(Contents, WhatCannotBeReadIsZerosAndReported)
{
    auto disk = std::make_shared<FailingSource>(NoiseWithName(9 * kMiB, 4));
    disk->MakeBad(5 * kMiB, kSector);
    disk->MakeBad(7 * kMiB + kSector, 2 * kSector);
    const Opened opened = OpenContents(disk);
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    ExpectLost(Salvage(*opened.volume, kVolumeContentsPath), disk->Bytes(),
               {{5 * kMiB, kSector}, {7 * kMiB + kSector, 2 * kSector}});
}

TEST(Contents, APlaceThatWouldShowWhatIsInThemMayBeUnreadable)
{
    const std::string bytes = NoiseBytes(kMiB, 7);
    for (const uint64_t bad : {uint64_t{0}, uint64_t{4096}, uint64_t{bytes.size() - kSector}}) {
        auto disk = std::make_shared<FailingSource>(bytes);
        disk->MakeBad(bad, kSector);
        Container container;
        container.source = disk;
        const Opened files = AsAnswer(OpenDiskContents(container, {}, {}, {}));
        EXPECT_EQ(files.status, VolumeLibraryStatus::kReadFailed) << bad << files.detail;
        const Opened opened = OpenContents(disk);
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << bad << ": " << opened.detail;
        EXPECT_NE(opened.detail.find("could not be read (read at " + std::to_string(bad)),
                  std::string::npos)
            << opened.detail;
        ExpectLost(Salvage(*opened.volume, kVolumeContentsPath), bytes, {{bad, kSector}});
    }
}

TEST(Contents, OfAPartitionThatBeginsUnreadableTheRestIsThere)
{
    DiskWriter writer(64);
    writer.PutText(8 * kSector, NoiseBytes(56 * kSector, 8));
    writer.PutMbr(0, 0, 7, 8, 56);
    auto disk = std::make_shared<FailingSource>(writer.Bytes());
    disk->MakeBad(8 * kSector, kSector);
    const Opened opened = OpenContents(disk, 1);
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    ExpectLost(Salvage(*opened.volume, kVolumeContentsPath), disk->Bytes().substr(8 * kSector),
               {{0, kSector}});
}

TEST(Contents, ADiskThatWentAwayIsNotOneOfZeros)
{
    auto disk = std::make_shared<FailingSource>(NoiseBytes(kMiB, 9));
    disk->FailWith(ENODEV);
    EXPECT_NE(OpenContents(disk).status, VolumeLibraryStatus::kSuccess);
}

TEST(Contents, WhatLiesBeyondTheEndOfTheImageIsZerosAndReported)
{
    DiskWriter disk(64);
    disk.PutText(8 * kSector, NoiseBytes(56 * kSector, 5));
    disk.PutVolume(8);
    disk.PutMbr(0, 0, 7, 8, 56);
    const std::string cut = disk.Bytes().substr(0, 40 * kSector);
    const Opened opened = OpenContents(SourceOf(cut), 1);
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    EXPECT_NE(opened.detail.find("ends 12288 bytes before the volume does"), std::string::npos)
        << opened.detail;
    ExpectLost(Salvage(*opened.volume, kVolumeContentsPath), disk.Bytes().substr(8 * kSector),
               {{32 * kSector, 24 * kSector}});
}

TEST(Contents, OfAnEncryptedVolumeTheyAreThePlaintext)
{
    VX_NEEDS("mkfs.fat");
    const TestImage image;
    ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    const std::string plain = image.Folder().ReadFile("image");
    ASSERT_TRUE(image.Encrypt("--password correct"));
    EXPECT_EQ(OpenContents(image.Path(), "none", "").status, VolumeLibraryStatus::kSecretNeeded);
    EXPECT_EQ(OpenContents(image.Path(), "password", "wrong").status,
              VolumeLibraryStatus::kWrongSecret);
    const std::string contents = ContentsOf(OpenContents(image.Path(), "password", "correct"));
    // The metadata is put after the file system, and reads as zeros.
    ASSERT_GT(contents.size(), plain.size());
    EXPECT_TRUE(contents.substr(0, plain.size()) == plain);
    EXPECT_EQ(contents.find_first_not_of('\0', plain.size()), std::string::npos);
    EXPECT_EQ(OpenContents(image.At("missing"), "none", "").status, VolumeLibraryStatus::kNotFound);
}

TEST(Contents, APackedDiskAndAFolderAreRefused)
{
    std::string zip = NoiseBytes(kMiB, 6);
    zip.replace(0, 4, "PK\x03\x04");
    EXPECT_EQ(OpenContents(SourceOf(zip)).status, VolumeLibraryStatus::kContainerNotSupported);
    const TemporaryFolder folder;
    const Opened opened = OpenContents(folder.Path(), "none", "");
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kNotAFolder);
    EXPECT_EQ(opened.detail, "it is a folder, of which there is no image");
}

TEST(Contents, APlaceInThemIsThatOnTheDisk)
{
    DiskWriter disk(64);
    disk.PutVolume(8);
    disk.PutMbr(0, 0, 7, 8, 56);
    const Opened opened = OpenContents(SourceOf(disk.Bytes()));
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    VolumeHandle file = OpenForReading(*opened.volume, kVolumeContentsPath);
    Lost places;
    const auto add = [](void *context, uint64_t position, uint64_t offset, uint64_t length) {
        EXPECT_EQ(position, 0u);
        static_cast<Lost *>(context)->emplace_back(offset, length);
    };
    EXPECT_TRUE(opened.volume->VisitPlaces(file, add, &places));
    EXPECT_EQ(places, (Lost{{8 * kSector, 56 * kSector}}));
    opened.volume->CloseHandle(file);
}

}  // namespace
}  // namespace vx
