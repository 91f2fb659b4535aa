// What is in a disk or an image that does not open is named, with the next step.
#include "DiskWriter.h"
#include "PutNumber.h"
#include "TestImage.h"

#include "KnownContents.h"
#include "OpenSource.h"
#include "SourceWithHole.h"

#include <algorithm>
#include <string_view>

namespace vx {
namespace {

using namespace std::string_view_literals;
using Status = VolumeLibraryStatus;

constexpr size_t kMiB = size_t{1} << 20;

std::string SentenceOf(const std::string &bytes)
{
    const KnownContents *known = KnownContents::Find(*SourceOf(bytes));
    return known == nullptr ? "" : known->Sentence();
}

// --- Signatures

struct Sample {
    const char *title;
    size_t offset;
    std::string_view bytes;
    const char *sentence;
    Status status;
};

constexpr Sample kSamples[] = {
    {"Luks1", 0, "LUKS\xBA\xBE\x00\x01"sv, "it is a LUKS volume: open it with cryptsetup",
     Status::kFileSystemNotSupported},
    {"Luks2", 0, "LUKS\xBA\xBE\x00\x02"sv, "it is a LUKS volume: open it with cryptsetup",
     Status::kFileSystemNotSupported},
    {"LuksBackup", 0x4000, "SKUL\xBA\xBE\x00\x02"sv, "it is a LUKS volume: open it with cryptsetup",
     Status::kFileSystemNotSupported},
    {"Xfs", 0, "XFSB"sv, "it is an XFS file system: mount it on Linux",
     Status::kFileSystemNotSupported},
    {"Btrfs", 65600, "_BHRfS_M"sv, "it is a Btrfs file system: mount it on Linux",
     Status::kFileSystemNotSupported},
    {"Lvm", 512, "LABELONE"sv,
     "it is a physical volume of LVM: activate it on Linux with vgchange -ay and open the device "
     "of its volume",
     Status::kFileSystemNotSupported},
    {"Raid", 4096, "\xFC\x4E\x2B\xA9"sv,
     "it is a member of a Linux RAID: assemble it on Linux with mdadm and open the device that it "
     "makes",
     Status::kFileSystemNotSupported},
    {"HfsPlus", 1024, "H+\x00\x04"sv, "it is an HFS+ file system: open it on a Mac",
     Status::kFileSystemNotSupported},
    {"HfsX", 1024, "HX\x00\x05"sv, "it is an HFS+ file system: open it on a Mac",
     Status::kFileSystemNotSupported},
    {"Apfs", 32, "NXSB"sv, "it is an APFS container: open it on a Mac",
     Status::kFileSystemNotSupported},
    {"Iso9660", 32769, "CD001"sv,
     "it is an ISO 9660 file system: open it with the system's own means, as a disc",
     Status::kFileSystemNotSupported},
    {"Udf", 32769, "BEA01"sv,
     "it is a UDF file system: open it with the system's own means, as a disc",
     Status::kFileSystemNotSupported},
    {"Swap", 4086, "SWAPSPACE2"sv, "it is swap space of Linux: there are no files in it",
     Status::kFileSystemNotSupported},
    {"SwapOfLargePages", 65526, "SWAPSPACE2"sv,
     "it is swap space of Linux: there are no files in it", Status::kFileSystemNotSupported},
    {"DynamicDisk", 3072, "PRIVHEAD"sv,
     "it is a Windows dynamic disk: attach all of its disks to a Windows computer",
     Status::kFileSystemNotSupported},
    {"Tar", 257, "ustar"sv, "it is a tar archive: unpack it first, with tar xf",
     Status::kContainerNotSupported},
    {"L01", 0, "LVF\x09\x0D\x0A\xFF\x00"sv,
     "it is an L01 archive of single files: export its files with the program that made it",
     Status::kContainerNotSupported},
    {"Lx01", 0, "LEF2\x0D\x0A\x81\x00"sv,
     "it is an Lx01 archive of single files: export its files with the program that made it",
     Status::kContainerNotSupported},
    {"Ex01", 0, "EVF2\x0D\x0A\x81\x00"sv,
     "it is an Ex01 image: export its disk as E01 or as a raw image with the program that made it",
     Status::kContainerNotSupported},
    {"Wim", 0, "MSWIM\x00\x00\x00"sv,
     "it is a WIM image of Windows: unpack it with 7z x or wimlib-imagex apply",
     Status::kContainerNotSupported},
    {"Aff4", 0,
     "PK\x03\x04\x14\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x2D\x00\x00\x00"
     "\x2D\x00\x00\x00\x15\x00\x00\x00"
     "container.description"
     "aff4://"sv,
     "it is an AFF4 image: export its disk as E01 or as a raw image with the program that made it",
     Status::kContainerNotSupported},
    {"Zip", 0, "PK\x03\x04"sv, "it is a ZIP archive: unpack it first, with unzip",
     Status::kContainerNotSupported},
    {"Qed", 0, "QED\x00"sv,
     "it is a QED image: convert it to a raw image first, with qemu-img convert -O raw",
     Status::kContainerNotSupported},
    {"Parallels", 0, "WithoutFreeSpace"sv,
     "it is a Parallels image: convert it to a raw image first, with qemu-img convert -O raw",
     Status::kContainerNotSupported},
    {"LargeParallels", 0, "WithouFreSpacExt"sv,
     "it is a Parallels image: convert it to a raw image first, with qemu-img convert -O raw",
     Status::kContainerNotSupported},
    {"VmdkOfEsx", 0, "COWD"sv,
     "it is a VMDK image of the kind COWD: convert it to a raw image first, with qemu-img convert "
     "-O raw",
     Status::kContainerNotSupported},
    {"EncryptedDmg", 0, "encrcdsa"sv,
     "it is an encrypted dmg image: open it on a Mac, which asks for its password",
     Status::kContainerNotSupported},
    {"Xz", 0,
     "\xFD"
     "7zXZ\x00"sv,
     "it is a file compressed with xz: unpack it first, with unxz", Status::kContainerNotSupported},
    {"Bzip2", 0, "BZh9"sv, "it is a file compressed with bzip2: unpack it first, with bunzip2",
     Status::kContainerNotSupported},
    {"Zstd", 0, "\x28\xB5\x2F\xFD"sv,
     "it is a file compressed with zstd: unpack it first, with unzstd",
     Status::kContainerNotSupported},
    {"Lz4", 0, "\x04\x22\x4D\x18"sv,
     "it is a file compressed with lz4: unpack it first, with unlz4",
     Status::kContainerNotSupported},
    {"SevenZip", 0, "7z\xBC\xAF\x27\x1C"sv, "it is a 7z archive: unpack it first, with 7z x",
     Status::kContainerNotSupported},
    {"Rar", 0, "Rar!\x1A\x07\x01\x00"sv, "it is a RAR archive: unpack it first, with unrar x",
     Status::kContainerNotSupported},
};

std::string BytesOf(const Sample &sample)
{
    std::string bytes(256 * 1024, '\0');
    bytes[5] = 'x';  // is not blank
    bytes.replace(sample.offset, sample.bytes.size(), sample.bytes);
    return bytes;
}

class EachSignature : public testing::TestWithParam<Sample> {};

TEST_P(EachSignature, NamesWhatItIsAndTheNextStep)
{
    const TestImage image{};
    const Opened opened = OpenImage(image.Folder().WriteFile("image", BytesOf(GetParam())));
    EXPECT_EQ(opened.status, GetParam().status);
    EXPECT_EQ(opened.detail, GetParam().sentence);
}

TEST_P(EachSignature, IsToldOfAPartitionToo)
{
    DiskWriter disk(2048);
    disk.PutMbr(0, 0, 0x83, 128, 1024);
    disk.PutText(128 * DiskWriter::kSector, BytesOf(GetParam()));
    const TestImage image{};
    const Opened opened = OpenImage(image.Folder().WriteFile("image", disk.Bytes()));
    EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
    const std::string name = std::string(GetParam().sentence).substr(6);
    EXPECT_EQ(
        opened.detail.rfind("it holds " + name.substr(0, name.find(':')) + ", 524288 bytes: ", 0),
        0U)
        << opened.detail;
}

INSTANTIATE_TEST_SUITE_P(KnownContents, EachSignature, testing::ValuesIn(kSamples),
                         [](const auto &tested) { return std::string(tested.param.title); });

// An image is opened where it is a file, and nowhere else.
TEST(KnownContents, AnImageInAPartitionIsNamedAndNotOpened)
{
    struct Nested {
        const char *name;
        size_t offset;
        std::string_view mark;
    };
    const Nested all[] = {{"a VHDX image", 0, "vhdxfile"sv},
                          {"a QCOW image", 0, "QFI\xFB\x00\x00\x00\x03"sv},
                          {"a VDI image", 64, "\x7F\x10\xDA\xBE"sv}};
    for (const Nested &nested : all) {
        DiskWriter disk(2048);
        disk.PutMbr(0, 0, 0x83, 128, 1024);
        disk.PutText(128 * DiskWriter::kSector + nested.offset, std::string(nested.mark));
        const TestImage image{};
        const Opened opened = OpenImage(image.Folder().WriteFile("image", disk.Bytes()));
        EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
        EXPECT_EQ(opened.detail,
                  "it holds " + std::string(nested.name) +
                      ", 524288 bytes: copy it into a file of its own and open that");
    }
}

TEST(KnownContents, ADmgImageIsToldByItsEnd)
{
    std::string bytes = NoiseBytes(300 * 1024, 4);
    bytes.replace(bytes.size() - 512, 4, "koly");
    EXPECT_EQ(SentenceOf(bytes),
              "it is a dmg image: convert it on a Mac with hdiutil convert -format UDTO, or unpack "
              "it with 7z x");
    EXPECT_EQ(SentenceOf("koly"), "");
}

TEST(KnownContents, OfNoiseNothingIsSaid)
{
    for (unsigned seed = 1; seed < 20; ++seed)
        EXPECT_EQ(SentenceOf(NoiseBytes(200 * 1024, seed)), "");
    std::string mark = NoiseBytes(200 * 1024, 1);
    mark.replace(1080, 2, "\x53\xEF");
    EXPECT_EQ(SentenceOf(mark), "") << "two bytes are no proof of ext4";
}

// --- What the system's own programs make

class MadeContents : public testing::Test {
protected:
    // Runs a line of the shell, which makes the file "made" in its folder.
    Opened OpenMade(const std::string &line) const
    {
        EXPECT_TRUE(RunShell("cd " + Quoted(image.At("")) + " && " + line)) << line;
        return OpenImage(image.At("made"));
    }

    const TestImage image{};
};

TEST_F(MadeContents, TheFileSystemsOfLinuxAreToldApart)
{
    VX_NEEDS("mkfs.ext4");
    for (const char *name : {"ext2", "ext3", "ext4"}) {
        const Opened opened =
            OpenMade("truncate -s 20M made && mke2fs -q -F -t " + std::string(name) + " made");
        EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
        EXPECT_EQ(opened.detail,
                  "it is an " + std::string(name) + " file system: mount it on Linux");
    }
}

TEST_F(MadeContents, SwapSpaceIsRecognised)
{
    VX_NEEDS("mkswap");
    EXPECT_EQ(OpenMade("truncate -s 2M made && chmod 600 made && mkswap made").detail,
              "it is swap space of Linux: there are no files in it");
}

struct Packer {
    const char *program;  // that packs
    const char *pack;     // the file "disk" into the file "made"
    const char *name;
    const char *unpacker;  // as the sentence has it
    const char *unpack;    // to standard output; with the words of the unpacker

    friend void PrintTo(const Packer &packer, std::ostream *out) { *out << packer.program; }
};

class EachPacker : public MadeContents, public testing::WithParamInterface<Packer> {};

TEST_P(EachPacker, IsNamedWithTheProgramThatUnpacks)
{
    const Packer &packer = GetParam();
    VX_NEEDS(packer.program);
    const std::string disk = NoiseBytes(300000, 1) + std::string(300000, 'x');
    image.Folder().WriteFile("disk", disk);
    const Opened opened = OpenMade(packer.pack);
    EXPECT_EQ(opened.status, Status::kContainerNotSupported);
    EXPECT_EQ(opened.detail,
              "it is " + std::string(packer.name) + ": unpack it first, with " + packer.unpacker);
    EXPECT_EQ(std::string(packer.unpack).rfind(packer.unpacker, 0), 0u);
    ASSERT_TRUE(RunShell("cd " + Quoted(image.At("")) + " && " + packer.unpack + " > unpacked"));
    EXPECT_TRUE(image.Folder().ReadFile("unpacked") == disk);
}

INSTANTIATE_TEST_SUITE_P(
    KnownContents, EachPacker,
    testing::Values(Packer{"gzip", "gzip -c disk > made", "a file compressed with gzip", "gunzip",
                           "gunzip -c < made"},
                    Packer{"xz", "xz -c disk > made", "a file compressed with xz", "unxz",
                           "unxz -c < made"},
                    Packer{"bzip2", "bzip2 -c disk > made", "a file compressed with bzip2",
                           "bunzip2", "bunzip2 -c < made"},
                    Packer{"zstd", "zstd -q -c disk > made", "a file compressed with zstd",
                           "unzstd", "unzstd -q -c < made"},
                    Packer{"lz4", "lz4 -q -c disk > made", "a file compressed with lz4", "unlz4",
                           "unlz4 -q -c < made"},
                    Packer{"7z", "7z a -bd x.7z disk >/dev/null && mv x.7z made", "a 7z archive",
                           "7z x", "7z x -so made"},
                    Packer{"zip", "zip -q x.zip disk && mv x.zip made", "a ZIP archive", "unzip",
                           "unzip -p made"},
                    Packer{"tar", "tar cf made disk", "a tar archive", "tar xf", "tar xf made -O"}),
    [](const auto &tested) { return "Packer" + std::string(tested.param.program); });

// An AFF4 image is a ZIP archive, whose members have certain names.
class Aff4Contents : public MadeContents {
protected:
    Opened OpenArchive(const std::string &members) const
    {
        return OpenMade("python3 -c 'import zipfile; z = zipfile.ZipFile(\"made\", \"w\"); "
                        "[z.writestr(name, \"text\") for name in " +
                        members + "]'");
    }

    static constexpr const char *kSentence =
        "it is an AFF4 image: export its disk as E01 or as a raw image with the program that made "
        "it";
};

TEST_F(Aff4Contents, AMemberThatOnlyAff4HasIsEnoughWhereverItIs)
{
    VX_NEEDS("python3");
    const std::string many = "[\"data/%05d\" % i for i in range(5000)]";
    for (const std::string &members :
         {std::string("[\"container.description\"]"),
          std::string("[\"data/0\", \"information.turtle\"]"), many + " + [\"information.turtle\"]",
          "[\"data/0\", \"container.description\"] + " + many}) {
        const Opened opened = OpenArchive(members);
        EXPECT_EQ(opened.status, Status::kContainerNotSupported);
        EXPECT_EQ(opened.detail, kSentence);
    }
}

TEST_F(Aff4Contents, WithoutOneItIsAZipArchive)
{
    VX_NEEDS("python3");
    for (const char *members : {"[\"version.txt\"]", "[\"data/%05d\" % i for i in range(5000)]",
                                "[\"folder/information.turtle\"]"})
        EXPECT_EQ(OpenArchive(members).detail, "it is a ZIP archive: unpack it first, with unzip");
}

TEST_F(MadeContents, ImagesOfVirtualMachinesThatDoNotOpenAreNamed)
{
    VX_NEEDS("qemu-img");
    const std::pair<const char *, const char *> kinds[] = {{"QED", "qed"},
                                                           {"Parallels", "parallels"}};
    for (const auto &[name, format] : kinds) {
        const Opened opened =
            OpenMade("qemu-img create -q -f " + std::string(format) + " x 8M && mv x made");
        EXPECT_EQ(opened.status, Status::kContainerNotSupported);
        EXPECT_EQ(opened.detail, "it is a " + std::string(name) +
                                     " image: convert it to a raw image first, with qemu-img "
                                     "convert -O raw");
    }
}

// --- Nothing at all

TEST(BlankContents, ADiskOfZerosOrOfOnesIsToldAsSuch)
{
    for (const size_t bytes : {size_t{512}, kMiB, 3 * kMiB + 100}) {
        EXPECT_EQ(SentenceOf(std::string(bytes, '\0')),
                  "it holds only zeros in every place examined: it was erased, or the copy failed");
        EXPECT_EQ(SentenceOf(std::string(bytes, '\xFF')),
                  "it holds only bytes of 0xFF in every place examined: it was erased, "
                  "or the device hides its contents");
    }
}

// Zeros without memory for them, but for one byte.
class LargeBlank final : public ByteSource {
public:
    LargeBlank(uint64_t size, uint64_t mark) : _size(size), _mark(mark) {}

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (Error error = CheckRange(_size, offset, count))
            return error;
        std::fill_n(static_cast<char *>(buffer), count, '\0');
        if (_mark >= offset && _mark - offset < count)
            static_cast<char *>(buffer)[_mark - offset] = 1;
        _read += count;
        return {};
    }
    uint64_t BytesRead() const { return _read; }

private:
    const uint64_t _size;
    const uint64_t _mark;
    mutable uint64_t _read = 0;
};

TEST(BlankContents, SomethingAnywhereInASmallImageIsNotNothing)
{
    constexpr size_t kBytes = 8 * kMiB;
    for (const size_t at : {size_t{0}, size_t{700}, kMiB - 1, kBytes / 2 + 77, kBytes - 1})
        EXPECT_EQ(KnownContents::Find(LargeBlank(kBytes, at)), nullptr) << at;
}

TEST(BlankContents, OfALargeDiskOnlyAFewMiBAreRead)
{
    constexpr uint64_t kBytes = uint64_t{4} << 40;
    const LargeBlank blank(kBytes, kBytes);
    EXPECT_NE(KnownContents::Find(blank), nullptr);
    EXPECT_LT(blank.BytesRead(), 4 * kMiB);
    for (const uint64_t at : {uint64_t{kMiB - 1}, kBytes / 257 * 100 + 5, kBytes - 1})
        EXPECT_EQ(KnownContents::Find(LargeBlank(kBytes, at)), nullptr) << at;
}

TEST(BlankContents, WhatCannotBeReadIsNotTakenForZeros)
{
    const SourceWithHole source(std::string(4 * kMiB, '\0'), 4 * kMiB - 512, 4 * kMiB);
    EXPECT_EQ(KnownContents::Find(source), nullptr);
}

TEST_F(MadeContents, AnEmptyDiskIsAnsweredWithWhatItHolds)
{
    const Opened opened = OpenMade("truncate -s 4M made");
    EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
    EXPECT_EQ(opened.detail,
              "it holds only zeros in every place examined: it was erased, or the copy failed");
}

// --- What opens is not refused

TEST_F(MadeContents, NoSignatureKeepsAVolumeFromOpening)
{
    VX_NEEDS("mkfs.fat");
    ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1 -R 200"));
    const std::string plain = image.Folder().ReadFile("image");
    for (const Sample &sample : kSamples) {
        const bool isInBootSector = sample.offset < 62;
        const bool isInVolume = sample.offset >= 200 * 512;
        if (isInBootSector || isInVolume)
            continue;
        std::string bytes = plain;
        bytes.replace(sample.offset, sample.bytes.size(), sample.bytes);
        EXPECT_EQ(OpenImage(image.Folder().WriteFile("image", bytes)).status, Status::kSuccess)
            << sample.title;
    }
}

// --- Inside an encrypted volume

class UnlockedContents : public MadeContents {
protected:
    Opened OpenEncrypted(const std::string &plain) const
    {
        image.Folder().WriteFile("image", plain);
        EXPECT_TRUE(image.Encrypt("--password correct"));
        return OpenImage(image.Path(), "password", "correct");
    }
};

TEST_F(UnlockedContents, WhatIsKnownIsNamed)
{
    std::string bytes(2 * kMiB, 'x');
    bytes.replace(0, 4, "XFSB");
    const Opened opened = OpenEncrypted(bytes);
    EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
    EXPECT_EQ(opened.detail, "it was unlocked, but it is an XFS file system: mount it on Linux");
}

TEST_F(UnlockedContents, NothingButZerosIsADamagedFileSystem)
{
    const Opened opened = OpenEncrypted(std::string(2 * kMiB, '\0'));
    EXPECT_EQ(opened.status, Status::kFileSystemDamaged);
    EXPECT_EQ(opened.detail,
              "it was unlocked, but it holds only zeros in every place examined: it was erased, "
              "or the copy failed");
}

TEST_F(UnlockedContents, WhatIsUnknownIsNotCalledUnencrypted)
{
    const Opened opened = OpenEncrypted(NoiseBytes(2 * kMiB, 3));
    EXPECT_EQ(opened.status, Status::kFileSystemDamaged);
    EXPECT_EQ(opened.detail, "it was unlocked, but there is no NTFS, FAT or exFAT in it");
}

}  // namespace
}  // namespace vx
