// What is reported of a disk without a secret: its partitions, what they hold and what is wrong.
#include "DiskDescription.h"
#include "DiskVolumes.h"
#include "DiskWriter.h"
#include "OpenVolume.h"
#include "TestImage.h"

#include <algorithm>
#include <fstream>
#include <regex>

namespace vx {
namespace {

constexpr size_t kSector = DiskWriter::kSector;
constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr size_t kSectorsOfMiB = kMiB / kSector;

struct Described {
    Error error;
    DescribedDisk report;

    const DiskVolumeReport &operator[](size_t index) const { return report->volumes[index]; }
};

Described Describe(const std::string &device)
{
    auto report = DescribeDevice(device.c_str(), {});
    if (!report)
        return {report.Failure(), nullptr};
    return {{}, std::move(*report)};
}

std::vector<std::string> WarningsOf(const Described &described)
{
    return {described.report->warnings,
            described.report->warnings + described.report->warningCount};
}

using Strings = std::vector<std::string>;

// Of each volume: its number, kind and label.
Strings VolumesOf(const Described &described)
{
    Strings volumes;
    for (size_t i = 0; i < described.report->volumeCount; ++i)
        volumes.push_back(std::to_string(described[i].number) + " " + described[i].kind + " " +
                          described[i].label);
    return volumes;
}

class DiskDescription : public testing::Test {
protected:
    std::string MakeFat(const std::string &label) const
    {
        EXPECT_TRUE(image.MakeFat(4, "-n " + label));
        return image.Folder().ReadFile("image");
    }

    std::string MakeEncrypted() const
    {
        image.Folder().WriteFile("image", NoiseBytes(3 << 20, 4));
        EXPECT_TRUE(image.Encrypt("--password correct"));
        return image.Folder().ReadFile("image");
    }

    // A partition of 4 MiB at 1, 6, 11 ... MiB.
    void Add(const std::string &bytes, uint8_t type = 0x07)
    {
        const size_t sector = (1 + 5 * count) * kSectorsOfMiB;
        disk.PutMbr(0, count++, type, static_cast<uint32_t>(sector), 4 * kSectorsOfMiB);
        disk.PutText(sector * kSector, bytes);
    }

    std::string Write() const { return image.Folder().WriteFile("disk", disk.Bytes()); }

    const TestImage image{};
    DiskWriter disk{21 * kSectorsOfMiB};
    size_t count = 0;
};

// --- What is on a disk

TEST_F(DiskDescription, EveryPartitionIsThereInTheOrderOfTheDisk)
{
    VX_NEEDS("mkfs.fat");
    Add("LUKS\xBA\xBE", 0x83);
    Add(MakeFat("ONE"), 0x0C);
    Add(MakeEncrypted());
    Add(std::string("\xEB\x52\x90ReFS"));
    const Described found = Describe(Write());
    ASSERT_TRUE(found.report) << found.error.detail;
    EXPECT_STREQ(found.report->container, "raw");
    EXPECT_STREQ(found.report->table, "mbr");
    EXPECT_EQ(found.report->bytes, disk.Bytes().size());
    EXPECT_EQ(found.report->sectorBytes, kSector);
    EXPECT_EQ(VolumesOf(found), (Strings{"0 other ", "1 fat ONE", "2 encrypted ", "3 other "}));
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(found[i].offset, (1 + 5 * i) * kMiB);
        EXPECT_EQ(found[i].bytes, 4 * kMiB);
        EXPECT_EQ(found[i].encryption != nullptr, i == 2);
    }
    EXPECT_STREQ(found[0].kindText, "a LUKS volume");
    EXPECT_STREQ(found[0].nextStep, "open it with cryptsetup");
    EXPECT_STREQ(found[0].partitionType, "Linux filesystem");
    EXPECT_STREQ(found[1].kindText, "a FAT file system");
    EXPECT_STREQ(found[1].nextStep, "");
    EXPECT_STREQ(found[1].partitionType, "FAT32 (LBA)");
    EXPECT_STREQ(found[3].kindText, "a ReFS file system");
    EXPECT_STREQ(found[3].nextStep, "open it on a Windows computer");
    EXPECT_EQ(WarningsOf(found), Strings());
}

TEST_F(DiskDescription, AnEncryptedVolumeSaysWhatOpensIt)
{
    VX_NEEDS("mkfs.fat");
    Add(MakeFat("ONE"));
    Add(MakeEncrypted());
    const Described found = Describe(Write());
    ASSERT_TRUE(found.report && found.report->volumeCount == 2);
    const DiskEncryptionReport *encryption = found[1].encryption;
    ASSERT_NE(encryption, nullptr);
    EXPECT_STREQ(encryption->layout, "windows-7");
    EXPECT_STREQ(encryption->method, "AES-128-XTS");
    EXPECT_STREQ(encryption->state, "encrypted");
    EXPECT_STREQ(encryption->description, "TESTHOST C: 1/2/2026");
    EXPECT_EQ(encryption->sectorBytes, 512u);
    EXPECT_FALSE(encryption->hasClearKey);
    ASSERT_EQ(encryption->protectorCount, 1u);
    EXPECT_STREQ(encryption->protectors[0].kind, "password");
    EXPECT_STREQ(encryption->protectors[0].unlockKinds, "password");
    EXPECT_EQ(std::string(encryption->protectors[0].identifier).size(), 36u);
    ASSERT_EQ(encryption->copyCount, 3u);
    for (size_t copy = 0; copy < 3; ++copy)
        EXPECT_STREQ(encryption->copies[copy].problem, "");
}

TEST_F(DiskDescription, WithoutAGoodCopyOfTheMetadataASearchIsAdvised)
{
    VX_NEEDS("mkfs.fat");
    Add(MakeFat("ONE"));
    std::string bytes = MakeEncrypted();
    for (size_t at = bytes.find("-FVE-FS-", kSector); at != bytes.npos;
         at = bytes.find("-FVE-FS-", at))
        bytes[at] = 'x';
    Add(bytes);
    const Described found = Describe(Write());
    ASSERT_TRUE(found.report && found.report->volumeCount == 2);
    EXPECT_STREQ(found[1].kind, "encrypted");
    const DiskEncryptionReport *encryption = found[1].encryption;
    ASSERT_NE(encryption, nullptr);
    EXPECT_STREQ(encryption->state, "unknown");
    EXPECT_STREQ(encryption->method, "");
    EXPECT_EQ(encryption->encryptedBytes, kUnknownEncryptedBytes);
    EXPECT_EQ(encryption->protectorCount, 0u);
    ASSERT_EQ(encryption->copyCount, 3u);
    EXPECT_STREQ(encryption->copies[0].problem, "no signature or an unknown version");
    EXPECT_EQ(WarningsOf(found),
              Strings{"volume 2: no copy of the metadata that is named can be used; volume-info "
                      "--search looks for others on the whole disk"});
}

TEST_F(DiskDescription, AVolumeWithoutPartitionsIsTheFirst)
{
    VX_NEEDS("mkfs.fat");
    MakeFat("ONLY");
    for (const char *choice : {"", "#1"}) {
        const Described found = Describe(image.Path() + choice);
        ASSERT_TRUE(found.report) << found.error.detail;
        EXPECT_STREQ(found.report->table, "");
        EXPECT_EQ(found.report->sectorBytes, 0u);
        EXPECT_EQ(VolumesOf(found), Strings{"1 fat ONLY"});
        EXPECT_EQ(found[0].bytes, 4 * kMiB);
        EXPECT_STREQ(found[0].partitionType, "");
    }
    EXPECT_EQ(Describe(image.Path() + "#2").error.status, Status::kNoSuchVolume);
}

TEST_F(DiskDescription, ANumberOrAnOffsetChoosesOneVolume)
{
    VX_NEEDS("mkfs.fat");
    Add("LUKS\xBA\xBE");
    Add(MakeFat("ONE"));
    Add(MakeEncrypted());
    const std::string path = Write();
    EXPECT_EQ(VolumesOf(Describe(path + "#1")), Strings{"1 fat ONE"});
    EXPECT_EQ(VolumesOf(Describe(path + "#2")), Strings{"2 encrypted "});
    const Described third = Describe(path + "#3");
    EXPECT_EQ(third.error.status, Status::kNoSuchVolume);
    EXPECT_NE(third.error.detail.find("1: FAT \"ONE\", 4 MiB"), std::string::npos);
    const Described there = Describe(path + "@" + std::to_string(11 * kMiB));
    ASSERT_TRUE(there.report) << there.error.detail;
    EXPECT_EQ(there.report->volumeCount, 1u);
    EXPECT_EQ(there[0].offset, 11 * kMiB);
    ASSERT_NE(there[0].encryption, nullptr);
    EXPECT_STREQ(there[0].encryption->method, "AES-128-XTS");
    EXPECT_FALSE(Describe(path + "@" + std::to_string(6 * kMiB)).report) << "it is FAT";
    EXPECT_FALSE(Describe(path + "@99999999999").report);
}

TEST_F(DiskDescription, ATableInLargeSectorsSaysSo)
{
    constexpr size_t kLarge = 4096;
    DiskWriter large(2000);
    large.PutMbr(0, 0, 0xEE, 1, 249);
    large.PutGptEntry(2 * kLarge, 100, 110, "Data");
    large.PutGpt({1, 249, 2, 4, 128, kLarge});
    large.PutVolume(800);
    const Described found = Describe(image.Folder().WriteFile("large", large.Bytes()));
    ASSERT_TRUE(found.report && found.report->volumeCount == 1);
    EXPECT_STREQ(found.report->table, "gpt");
    EXPECT_EQ(found.report->sectorBytes, kLarge);
    EXPECT_EQ(found[0].offset, 100 * kLarge);
    EXPECT_EQ(found[0].bytes, 11 * kLarge);
    EXPECT_STREQ(found[0].partitionName, "Data");
}

TEST_F(DiskDescription, WhatHoldsNothingKnownIsNamedAsThat)
{
    const std::string noise = image.Folder().WriteFile("noise", NoiseBytes(1 << 20, 7));
    const Described unknown = Describe(noise);
    ASSERT_TRUE(unknown.report);
    EXPECT_EQ(VolumesOf(unknown), Strings{"0 other "});
    EXPECT_STREQ(unknown[0].kindText, "nothing that is recognised");
    const Described blank = Describe(image.Folder().WriteFile("blank", std::string(kMiB, '\0')));
    ASSERT_TRUE(blank.report);
    EXPECT_NE(std::string(blank[0].kindText).find("zeros"), std::string::npos);
}

// --- What is no disk

TEST_F(DiskDescription, AFolderIsNoDisk)
{
    const Described folder = Describe(image.Folder().Path());
    EXPECT_EQ(folder.error.status, Status::kNotBitlocker);
    EXPECT_EQ(folder.error.detail,
              "it is a folder, not a disk or an image; volume-export --list shows its files");
}

TEST_F(DiskDescription, WhatDoesNotOpenFailsAsAnOpeningDoes)
{
    const std::string few = image.Folder().WriteFile("few", "few bytes");
    const std::string zip = image.Folder().WriteFile("zip", "PK\x03\x04" + std::string(600, 'x'));
    for (const std::string &path : {image.At("nothing"), few, zip}) {
        const Opened opened = OpenImage(path);
        const Described found = Describe(path);
        EXPECT_EQ(found.error.status != Status::kOk, true) << path;
        EXPECT_EQ(found.error.detail, opened.detail) << path;
    }
}

// --- What is wrong

TEST_F(DiskDescription, AnImageThatEndsEarlyIsReported)
{
    VX_NEEDS("mkfs.fat");
    MakeFat("ONLY");
    const std::string bytes = image.Folder().ReadFile("image");
    const Described whole =
        Describe(image.Folder().WriteFile("cut", bytes.substr(0, bytes.size() - kMiB)));
    ASSERT_TRUE(whole.report);
    EXPECT_EQ(WarningsOf(whole), Strings{"the image or device ends 1 MiB before the volume does; "
                                         "what lies there cannot be read"});
    Add(bytes);
    Add(MakeEncrypted());
    const Described disk =
        Describe(image.Folder().WriteFile("cut", this->disk.Bytes().substr(0, 9 * kMiB)));
    ASSERT_TRUE(disk.report);
    EXPECT_EQ(WarningsOf(disk).at(1),
              "volume 2: the image or device ends 1 MiB before the volume does; what lies there "
              "cannot be read");
}

TEST_F(DiskDescription, ATableWithTooManyPartitionsIsReported)
{
    DiskWriter many(3000);
    many.PutMbr(0, 0, 0xEE, 1, 2999);
    for (size_t i = 0; i < 300; ++i)
        many.PutGptEntry(2 * kSector + 128 * i, 400 + i, 400 + i);
    many.PutGpt({1, 2999, 2, 300});
    const Described found = Describe(image.Folder().WriteFile("many", many.Bytes()));
    ASSERT_TRUE(found.report);
    EXPECT_EQ(found.report->volumeCount, DiskVolumes::kMostPartitions);
    const Strings warnings = WarningsOf(found);
    EXPECT_TRUE(std::count(warnings.begin(), warnings.end(),
                           "the table has more partitions than are listed"));
}

// --- The same as another program says

// A partition as sfdisk prints it.
struct Printed {
    uint64_t start;
    uint64_t size;
    std::string type;
    std::string name;
};

std::vector<Printed> PrintedBySfdisk(const std::string &path, const std::string &list)
{
    EXPECT_TRUE(RunShell("sfdisk --dump " + Quoted(path) + " > " + Quoted(list)));
    std::vector<Printed> partitions;
    const std::regex line(
        R"(start= *(\d+), size= *(\d+), type=([0-9A-Za-z-]+)(?:.*name="([^"]*)\")?)");
    std::ifstream lines(list);
    for (std::string text; std::getline(lines, text);) {
        std::smatch found;
        if (std::regex_search(text, found, line))
            partitions.push_back(
                {std::stoull(found[1]), std::stoull(found[2]), found[3], found[4]});
    }
    return partitions;
}

class PartitionsOfSfdisk : public DiskDescription {
protected:
    // script: of sfdisk. types: what the types of the partitions are called here.
    void ExpectSame(const std::string &script, const Strings &types) const
    {
        VX_NEEDS("sfdisk");
        const std::string path = image.Folder().MakeSparseFile("table", 64 * kMiB);
        const std::string input = image.Folder().WriteFile("script", script);
        ASSERT_TRUE(RunShell("sfdisk --quiet " + Quoted(path) + " < " + Quoted(input)));
        std::vector<Printed> printed = PrintedBySfdisk(path, image.At("list"));
        printed.erase(std::remove_if(printed.begin(), printed.end(),
                                     [](const Printed &one) { return one.type == "5"; }),
                      printed.end());
        std::sort(printed.begin(), printed.end(),
                  [](const Printed &a, const Printed &b) { return a.start < b.start; });
        const Described found = Describe(path);
        ASSERT_TRUE(found.report) << found.error.detail;
        ASSERT_EQ(found.report->volumeCount, printed.size());
        ASSERT_EQ(types.size(), printed.size());
        for (size_t i = 0; i < types.size(); ++i) {
            EXPECT_EQ(found[i].offset, printed[i].start * kSector);
            EXPECT_EQ(found[i].bytes, printed[i].size * kSector);
            EXPECT_EQ(found[i].partitionName, printed[i].name);
            EXPECT_EQ(found[i].partitionType, types[i]) << printed[i].type;
        }
    }
};

TEST_F(PartitionsOfSfdisk, OfAGuidTable)
{
    ExpectSame("label: gpt\n"
               "size=8M, type=C12A7328-F81F-11D2-BA4B-00A0C93EC93B, name=\"EFI system\"\n"
               "size=4M, type=E3C9E316-0B5C-4DB8-817D-F92DF00215AE\n"
               "size=9M, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7, name=\"Basic data\"\n"
               "size=5M, type=DE94BBA4-06D1-4D40-A16A-BFD50179D6AC\n"
               "size=3M, type=0FC63DAF-8483-4772-8E79-3D69D8477DE4, name=\"A root of ours\"\n"
               "size=2M, type=12345678-9ABC-DEF0-1234-56789ABCDEF0\n",
               {"EFI system partition", "Microsoft reserved partition", "Basic data partition",
                "Windows recovery partition", "Linux filesystem",
                "12345678-9ABC-DEF0-1234-56789ABCDEF0"});
}

TEST_F(PartitionsOfSfdisk, OfAnMbrWithAnExtendedPartition)
{
    ExpectSame("label: dos\nsize=8M, type=7\nsize=4M, type=83\nsize=20M, type=5\n"
               "size=1M, type=ef\nsize=3M, type=c\nsize=2M, type=27\nsize=2M, type=77\n",
               {"NTFS or exFAT", "Linux filesystem", "FAT32 (LBA)", "Windows recovery partition",
                "0x77", "EFI system partition"});
}

}  // namespace
}  // namespace vx
