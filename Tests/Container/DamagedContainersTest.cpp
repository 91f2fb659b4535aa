// Images whose files are damaged, cut short, missing or unreadable: a read gives what was stored or
// fails.
#include "TestImage.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class DamagedContainers : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
        ASSERT_TRUE(image.FillFat({{"a", contents}, {"b", other}}));
    }

    bool InFolder(const std::string &line) const
    {
        return RunShell("cd " + Quoted(image.At("")) + " && " + line);
    }

    void Cut(const std::string &name, size_t bytes) const
    {
        ASSERT_EQ(truncate(image.At(name).c_str(), static_cast<off_t>(bytes)), 0);
    }

    void ExpectStatus(const std::string &name, VolumeLibraryStatus status,
                      const std::string &detail) const
    {
        const Opened opened = OpenImage(image.At(name));
        EXPECT_EQ(opened.status, status) << opened.detail;
        EXPECT_NE(opened.detail.find(detail), std::string::npos) << opened.detail;
    }

    const std::string contents = NoiseBytes(3000000, 21);
    const std::string other = NoiseBytes(1000000, 22);
    const TestImage image{};
};

constexpr VolumeLibraryStatus kCut = VolumeLibraryStatus::kImageTruncated;

class DamagedE01 : public DamagedContainers {
protected:
    void SetUp() override
    {
        VX_NEEDS("ewfacquirestream");
        DamagedContainers::SetUp();
    }

    void Make(const std::string &options)
    {
        ASSERT_TRUE(InFolder("ewfacquirestream -q -t e " + options + " < image"));
    }

    // Overwrites the first 8 of these bytes in a file of the image.
    void Overwrite(const std::string &file, const std::string &bytes) const
    {
        std::string all = image.Folder().ReadFile(file);
        const size_t at = all.find(bytes);
        ASSERT_NE(at, std::string::npos);
        image.Folder().WriteFile(file, all.replace(at, 8, "OVERRIDE"));
    }

    // "a" cannot be read whole, but what is read of it is right; "b" is read whole.
    void ExpectOnlyTheFirstFileFails() const
    {
        const Opened opened = OpenImage(image.At("e.E01"));
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(ReadWholeFile(*opened.volume, u"/a"), std::nullopt);
            EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/b") == other);
        }
    }
};

TEST_F(DamagedE01, BytesThatWereOverwrittenFailTheReadsOfThem)
{
    Make("-c none");
    Overwrite("e.E01", contents.substr(1500000, 16));
    ExpectOnlyTheFirstFileFails();
}

TEST_F(DamagedE01, BytesThatWereOverwrittenInAPackedImageFailTheReadsOfThem)
{
    ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
    std::string text;
    while (text.size() < 3000000)
        text += "a line that can be packed, number " + std::to_string(text.size()) + "\n";
    ASSERT_TRUE(image.FillFat({{"a", text}, {"b", other}}));
    Make("-c best");
    std::string all = image.Folder().ReadFile("e.E01");
    // Data that packs well comes before data that does not.
    const size_t noise = all.find(other.substr(40000, 16));
    ASSERT_NE(noise, std::string::npos);
    image.Folder().WriteFile("e.E01", all.replace(noise / 2, 8, "OVERRIDE"));
    ExpectOnlyTheFirstFileFails();
}

TEST_F(DamagedE01, ADamagedChunkLeavesItsNeighboursReadable)
{
    Make("-c none");
    Overwrite("e.E01", contents.substr(1500000, 16));
    const Opened opened = OpenImage(image.At("e.E01"));
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    const VolumeHandle file = OpenForReading(*opened.volume, u"/a");
    ASSERT_NE(file, nullptr);
    constexpr uint32_t kPiece = 4096;
    size_t failed = 0;
    for (size_t at = 0; at + kPiece <= contents.size(); at += kPiece) {
        auto low = static_cast<uint32_t>(at);
        uint32_t high = 0;
        opened.volume->SetFilePosition(file, &low, &high, 0);
        std::string bytes(kPiece, '\0');
        uint32_t done = 0;
        if (opened.volume->ReadFile(file, bytes.data(), kPiece, &done))
            EXPECT_TRUE(bytes == contents.substr(at, kPiece)) << at;
        else
            ++failed;
    }
    opened.volume->CloseHandle(file);
    EXPECT_GE(failed, 1u);
    EXPECT_LE(failed, size_t{2} * 32768 / kPiece);
}

TEST_F(DamagedE01, AFileThatIsMissingIsNamed)
{
    Make("-c none -S 2MiB");
    ExpectStatus("e.E01", VolumeLibraryStatus::kSuccess, "");
    for (const std::string name : {"e.E02", "e.E05"}) {
        ASSERT_EQ(std::rename(image.At(name).c_str(), image.At("away").c_str()), 0);
        ExpectStatus("e.E01", kCut, name + " is missing");
        ASSERT_EQ(std::rename(image.At("away").c_str(), image.At(name).c_str()), 0);
    }
}

TEST_F(DamagedE01, AFileThatIsCutShortIsNamed)
{
    Make("-c none -S 2MiB");
    Cut("e.E03", 1000000);
    ExpectStatus("e.E01", kCut, "e.E03 ends early");
    Cut("e.E03", 0);
    ExpectStatus("e.E01", kCut, "e.E03 ends early");
    Cut("e.E01", 1500000);
    ExpectStatus("e.E01", kCut, "e.E01 ends early");
}

TEST_F(DamagedE01, AnotherFileInThePlaceOfOneIsNamed)
{
    Make("-c none -S 2MiB");
    ASSERT_TRUE(InFolder("cp e.E03 e.E02"));
    ExpectStatus("e.E01", VolumeLibraryStatus::kReadFailed, "damaged in e.E02");
}

TEST_F(DamagedE01, OfALaterFileTheFirstOneIsAskedFor)
{
    Make("-c none -S 2MiB");
    ExpectStatus("e.E02", VolumeLibraryStatus::kContainerNotSupported, "give the first one, e.E01");
}

TEST_F(DamagedE01, MoreFilesThanDigitsCanCountOpen)
{
    // The smallest files that the program makes have 1 MiB.
    ASSERT_TRUE(InFolder("truncate -s 110M image"));
    Make("-c none -S 1MiB");
    ASSERT_EQ(access(image.At("e.EAB").c_str(), R_OK), 0);
    const Opened opened = OpenImage(image.At("e.E01"));
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/a") == contents);
    ASSERT_EQ(unlink(image.At("e.EAB").c_str()), 0);
    ExpectStatus("e.E01", kCut, "e.EAB is missing");
}

// Opens in a process of its own as a user without special permissions, and prints the error.
[[noreturn]] void OpenAsOrdinaryUser(const std::string &path)
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0)
        _exit(100);
    const Opened opened = OpenImage(path);
    fprintf(stderr, "[%s]", opened.detail.c_str());
    _exit(static_cast<int>(opened.status));
}

void ExpectMayNotBeRead(const std::string &path, const std::string &part)
{
    constexpr int kDenied = static_cast<int>(VolumeLibraryStatus::kPermissionDenied);
    EXPECT_EXIT(OpenAsOrdinaryUser(path), testing::ExitedWithCode(kDenied),
                "^\\[your user may not read its part " + part + "\\]$");
}

TEST_F(DamagedE01, AFileThatMayNotBeReadIsNamed)
{
    Make("-c none -S 2MiB");
    ASSERT_TRUE(InFolder("chmod 755 . && chmod 644 e.E* && chmod 000 e.E02"));
    ExpectMayNotBeRead(image.At("e.E01"), "e.E02");
}

class DamagedParts : public DamagedContainers {
protected:
    void SetUp() override
    {
        DamagedContainers::SetUp();
        ASSERT_TRUE(InFolder("split -b 2M -d -a 3 --numeric-suffixes=1 image p."));
    }
};

TEST_F(DamagedParts, APartThatMayNotBeReadIsNamed)
{
    ASSERT_TRUE(InFolder("chmod 755 . && chmod 644 p.* && chmod 000 p.002"));
    ExpectMayNotBeRead(image.At("p.001"), "p.002");
}

TEST_F(DamagedParts, APartInTheMiddleThatIsCutShortIsNamed)
{
    Cut("p.002", 1000000);
    ExpectStatus("p.001", kCut, "p.002 ends early");
}

TEST_F(DamagedParts, BytesBehindAMissingPartCannotBeRead)
{
    ASSERT_EQ(unlink(image.At("p.002").c_str()), 0);
    const Opened opened = OpenImage(image.At("p.001"));
    ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
    EXPECT_EQ(opened.detail.rfind("its part p.002 is missing", 0), 0u) << opened.detail;
    EXPECT_EQ(ReadWholeFile(*opened.volume, u"/a"), std::nullopt);
    EXPECT_EQ(ReadWholeFile(*opened.volume, u"/b"), std::nullopt);
}

TEST_F(DamagedParts, PartsWithLettersAndPartsFromZeroOnOpen)
{
    ASSERT_TRUE(InFolder("split -b 2M -a 2 image letters. && split -b 2M -d -a 2 image zero. && "
                         "split -b 2M -a 3 image many"));
    for (const char *name : {"letters.aa", "zero.00", "manyaaa", "p.001"}) {
        const Opened opened = OpenImage(image.At(name));
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/a") == contents) << name;
        EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/b") == other) << name;
    }
}

class DamagedByQemu : public DamagedContainers {
protected:
    void SetUp() override
    {
        VX_NEEDS("qemu-img");
        DamagedContainers::SetUp();
    }

    void Convert(const std::string &options, const std::string &name) const
    {
        ASSERT_TRUE(InFolder("qemu-img convert -f raw -O " + options + " image " + name));
    }

    size_t SizeOfFile(const std::string &name) const
    {
        return image.Folder().ReadFile(name).size();
    }

    // It opens with a warning; no file lies in the missing part.
    void ExpectBothFilesRead(const std::string &name, const std::string &warning) const
    {
        const Opened opened = OpenImage(image.At(name));
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        EXPECT_NE(opened.detail.find(warning), std::string::npos) << opened.detail;
        EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/a") == contents);
        EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/b") == other);
    }

    // It opens with a warning; the file before the cut is read whole, the other one is not.
    void ExpectOnlyTheLastFileFails(const std::string &name, const std::string &warning) const
    {
        const Opened opened = OpenImage(image.At(name));
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        EXPECT_NE(opened.detail.find(warning), std::string::npos) << opened.detail;
        EXPECT_TRUE(ReadWholeFile(*opened.volume, u"/a") == contents);
        EXPECT_EQ(ReadWholeFile(*opened.volume, u"/b"), std::nullopt);
    }
};

constexpr const char *kVhdThatGrows = "vpc -o subformat=dynamic,force_size=on";
constexpr const char *kVhdOfFixedSize = "vpc -o subformat=fixed,force_size=on";
constexpr const char *kVmdkThatGrows = "vmdk -o subformat=monolithicSparse";
constexpr const char *kVmdkOfFixedSize = "vmdk -o subformat=monolithicFlat";
constexpr const char *kVmdkInParts = "vmdk -o subformat=twoGbMaxExtentSparse";
constexpr const char *kPackedVmdk = "vmdk -o subformat=streamOptimized";

TEST_F(DamagedByQemu, AVhdThatGrowsAndWasCutShortIsTruncated)
{
    Convert(kVhdThatGrows, "x.vhd");
    const size_t all = SizeOfFile("x.vhd");
    for (const size_t bytes :
         {all - 1, all - 512, all / 2, size_t{2000}, size_t{600}, size_t{512}}) {
        Cut("x.vhd", bytes);
        ExpectStatus("x.vhd", kCut, "the VHD image ends early");
    }
}

TEST_F(DamagedByQemu, AVhdOfFixedSizeThatWasCutShortOpensWithAWarning)
{
    Convert(kVhdOfFixedSize, "x.vhd");
    Cut("x.vhd", 3500000);
    ExpectOnlyTheLastFileFails("x.vhd", "ends 4 MiB before the volume does");
    Cut("x.vhd", 600);
    ExpectStatus("x.vhd", kCut, "only 600");
}

TEST_F(DamagedByQemu, AVmdkThatGrowsAndWasCutShortOpensWithAWarning)
{
    Convert(kVmdkThatGrows, "x.vmdk");
    ExpectStatus("x.vmdk", VolumeLibraryStatus::kSuccess, "");
    const size_t all = SizeOfFile("x.vmdk");
    // The last file ends within the last grain of the disk.
    for (const size_t missing : {1, 512}) {
        Cut("x.vmdk", all - missing);
        ExpectBothFilesRead("x.vmdk", "x.vmdk ends early; " + std::to_string(missing) +
                                          " bytes of the disk cannot be read");
    }
    Cut("x.vmdk", all - 100000);
    ExpectOnlyTheLastFileFails("x.vmdk",
                               "x.vmdk ends early; 100000 bytes of the disk cannot be read");
}

TEST_F(DamagedByQemu, AVmdkThatWasCutBeforeItsTablesEndIsTruncated)
{
    Convert(kVmdkThatGrows, "x.vmdk");
    for (const size_t bytes : {13000, 2000, 600, 100}) {
        Cut("x.vmdk", bytes);
        ExpectStatus("x.vmdk", kCut, "x.vmdk ends early");
    }
}

TEST_F(DamagedByQemu, APackedVmdkThatWasCutShortIsTruncated)
{
    Convert(kPackedVmdk, "x.vmdk");
    ExpectStatus("x.vmdk", VolumeLibraryStatus::kSuccess, "");
    const size_t all = SizeOfFile("x.vmdk");
    for (const size_t bytes : {all - 100000, all / 2, size_t{100000}, size_t{2000}}) {
        Cut("x.vmdk", bytes);
        ExpectStatus("x.vmdk", kCut, "x.vmdk ends early");
    }
}

TEST_F(DamagedByQemu, AQcowImageThatWasCutShortOpensWithAWarning)
{
    Convert("qcow2", "x.qcow2");
    ExpectStatus("x.qcow2", VolumeLibraryStatus::kSuccess, "");
    const size_t all = SizeOfFile("x.qcow2");
    Cut("x.qcow2", all - 200000);
    ExpectOnlyTheLastFileFails(
        "x.qcow2", "the QCOW2 image ends early; 200000 bytes of the disk cannot be read");
    for (const size_t bytes : {100000, 600, 100, 8}) {
        Cut("x.qcow2", bytes);
        ExpectStatus("x.qcow2", kCut, "the QCOW2 image ends early");
    }
}

TEST_F(DamagedByQemu, AVdiImageThatWasCutShortOpensWithAWarning)
{
    Convert("vdi -o static=on", "x.vdi");
    const size_t all = SizeOfFile("x.vdi");
    Cut("x.vdi", all - (5 << 20));
    ExpectOnlyTheLastFileFails("x.vdi", "the VDI image ends early; 5242880 bytes of the disk");
    for (const size_t bytes : {530, 500, 70}) {
        Cut("x.vdi", bytes);
        ExpectStatus("x.vdi", kCut, "the VDI image ends early");
    }
}

TEST_F(DamagedByQemu, OfAVmdkInPartsTheOneThatIsCutShortIsNamed)
{
    Convert(kVmdkInParts, "x.vmdk");
    Cut("x-s001.vmdk", SizeOfFile("x-s001.vmdk") - 100000);
    ExpectOnlyTheLastFileFails("x.vmdk",
                               "x-s001.vmdk ends early; 100000 bytes of the disk cannot be read");
    Cut("x-s001.vmdk", 2000);
    ExpectStatus("x.vmdk", kCut, "x-s001.vmdk ends early");
    Convert(kVmdkOfFixedSize, "y.vmdk");
    for (const size_t bytes : {size_t{(8 << 20) - 1}, size_t{5000000}, size_t{0}}) {
        Cut("y-flat.vmdk", bytes);
        ExpectStatus("y.vmdk", kCut, "y-flat.vmdk ends early");
    }
}

TEST_F(DamagedByQemu, OfAVmdkInPartsTheOneThatIsMissingIsNamed)
{
    Convert(kVmdkInParts, "x.vmdk");
    ASSERT_EQ(unlink(image.At("x-s001.vmdk").c_str()), 0);
    ExpectStatus("x.vmdk", kCut, "its part x-s001.vmdk is missing");
}

TEST_F(DamagedByQemu, OfAVmdkInPartsTheOneThatMayNotBeReadIsNamed)
{
    Convert(kVmdkInParts, "x.vmdk");
    ASSERT_TRUE(InFolder("chmod 755 . && chmod 644 x.vmdk && chmod 000 x-s001.vmdk"));
    ExpectMayNotBeRead(image.At("x.vmdk"), "x-s001.vmdk");
}

}  // namespace
}  // namespace vx
