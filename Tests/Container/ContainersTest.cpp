// Images made by other programs, and disks with partitions.
#include "TestImage.h"

namespace vx {
namespace {

constexpr const char *kPassword = "--password correct";

class ContainersTest : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(16, "-F 16"));
        ASSERT_TRUE(image.FillFat(tree));
    }

    void ExpectTreeIn(const std::string &path, const char *kind = "none",
                      const char *secret = "") const
    {
        const Opened opened = OpenImage(path, kind, secret);
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        ExpectSameTree(ReadTree(*opened.volume), tree);
    }

    const TestTree tree = SampleTree();
    const TestImage image{};
};

TEST_F(ContainersTest, ASplitRawImageOpensByItsFirstPart)
{
    ASSERT_TRUE(RunShell("cd " + Quoted(image.At("")) +
                         " && split -b 5M -d -a 3 --numeric-suffixes=1 "
                         "image part."));
    ExpectTreeIn(image.At("part.001"));
}

TEST_F(ContainersTest, AnE01ImageOpens)
{
    VX_NEEDS("ewfacquirestream");
    ASSERT_TRUE(image.Encrypt(kPassword));
    ASSERT_TRUE(
        RunShell("cd " + Quoted(image.At("")) + " && ewfacquirestream -q -t evidence < image"));
    ExpectTreeIn(image.At("evidence.E01"), "password", "correct");
}

struct QemuFormat {
    const char *name;
    const char *extension;
    const char *options;

    friend void PrintTo(const QemuFormat &format, std::ostream *out) { *out << format.options; }
};

class EachQemuFormat : public ContainersTest, public testing::WithParamInterface<QemuFormat> {};

TEST_P(EachQemuFormat, OpensPlainAndEncrypted)
{
    VX_NEEDS("qemu-img");
    const std::string made = image.At(std::string("converted.") + GetParam().extension);
    const std::string convert = "qemu-img convert -f raw -O " + std::string(GetParam().options) +
                                " " + Quoted(image.Path()) + " " + Quoted(made);
    ASSERT_TRUE(RunShell(convert));
    ExpectTreeIn(made);
    ASSERT_TRUE(image.Encrypt(kPassword));
    ASSERT_TRUE(RunShell(convert));
    ExpectTreeIn(made, "password", "correct");
}

INSTANTIATE_TEST_SUITE_P(
    Containers, EachQemuFormat,
    testing::Values(QemuFormat{"VhdThatGrows", "vhd", "vpc -o subformat=dynamic,force_size=on"},
                    QemuFormat{"VhdOfFixedSize", "vhd", "vpc -o subformat=fixed,force_size=on"},
                    QemuFormat{"Vhdx", "vhdx", "vhdx -o subformat=dynamic,block_size=2M"},
                    QemuFormat{"VhdxOfFixedSize", "vhdx", "vhdx -o subformat=fixed"},
                    QemuFormat{"VmdkThatGrows", "vmdk", "vmdk -o subformat=monolithicSparse"},
                    QemuFormat{"VmdkOfFixedSize", "vmdk", "vmdk -o subformat=monolithicFlat"},
                    QemuFormat{"Qcow2", "qcow2", "qcow2"},
                    QemuFormat{"PackedQcow2", "qcow2", "qcow2 -c"},
                    QemuFormat{"Vdi", "vdi", "vdi"}),
    [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(ContainersTest, AnAffImageIsOfAKindThatIsNotSupported)
{
    const std::string made =
        image.Folder().WriteFile("x.aff", std::string("AFF10\r\n\0", 8) + NoiseBytes(100000, 1));
    const Opened opened = OpenImage(made);
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kContainerNotSupported);
    EXPECT_EQ(opened.detail,
              "it is an AFF image: export its disk as E01 or as a raw image with the program that "
              "made it");
}

TEST_F(ContainersTest, ACompressedImageSaysThatItMustBeUnpacked)
{
    ASSERT_TRUE(RunShell("gzip -kf " + Quoted(image.Path())));
    const Opened opened = OpenImage(image.At("image.gz"));
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kContainerNotSupported);
    EXPECT_EQ(opened.detail, "it is a file compressed with gzip: unpack it first, with gunzip");
}

TEST_F(ContainersTest, ADamagedImageOfAKnownKindSaysSo)
{
    const std::pair<const char *, std::string> heads[] = {{"VMDK", "KDMV"}, {"VHD", "conectix"}};
    for (const auto &[kind, head] : heads) {
        const Opened opened =
            OpenImage(image.Folder().WriteFile("damaged", head + NoiseBytes(100000, 1)));
        EXPECT_EQ(opened.status, VolumeLibraryStatus::kReadFailed) << kind;
        EXPECT_EQ(opened.detail,
                  std::string("the ") + kind +
                      " image is damaged, or one of its parts is missing or cannot be read");
    }
    const std::string head("EVF\x09\x0D\x0A\xFF\x00\x01\x01\x00\x00\x00", 13);
    const Opened opened =
        OpenImage(image.Folder().WriteFile("damaged", head + NoiseBytes(100000, 1)));
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kReadFailed);
    EXPECT_EQ(opened.detail, "the E01 image is damaged in damaged");
}

TEST_F(ContainersTest, AHashInTheNameOfAFileIsNoChoice)
{
    ASSERT_TRUE(RunShell("mv " + Quoted(image.Path()) + " " + Quoted(image.At("image#2"))));
    ExpectTreeIn(image.At("image#2"));
}

// A disk of three partitions: an unknown one, the FAT image, and that image encrypted.
class DisksTest : public ContainersTest {
protected:
    bool MakeDisk(const char *label) const
    {
        return RunShell("cd " + Quoted(image.At("")) + " && cp image plain && " + VX_MAKE_VOLUME +
                        " plain encrypted " + kPassword + " && truncate -s 100M disk && " +
                        "printf 'label: " + label +
                        "\\nstart=2048,size=4096\\nstart=8192,size=40960\\n" +
                        "start=53248,size=81920\\n' | sfdisk -q disk && " +
                        "dd if=plain of=disk bs=1M seek=4 conv=notrunc status=none && " +
                        "dd if=encrypted of=disk bs=1M seek=26 conv=notrunc status=none");
    }
};

class EachLabel : public DisksTest, public testing::WithParamInterface<const char *> {};

TEST_P(EachLabel, TheEncryptedVolumeIsFoundByItself)
{
    VX_NEEDS("sfdisk");
    ASSERT_TRUE(MakeDisk(GetParam()));
    ExpectTreeIn(image.At("disk"), "password", "correct");
}

TEST_P(EachLabel, ANumberChoosesAVolumeOfTheList)
{
    VX_NEEDS("sfdisk");
    ASSERT_TRUE(MakeDisk(GetParam()));
    ExpectTreeIn(image.At("disk#1"));
    ExpectTreeIn(image.At("disk#2"), "password", "correct");
}

TEST_P(EachLabel, SeveralVolumesAreListedWhereNoneIsChosen)
{
    VX_NEEDS("sfdisk");
    ASSERT_TRUE(MakeDisk(GetParam()));
    const Opened opened = OpenImage(image.At("disk"));
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kSeveralVolumes);
    EXPECT_EQ(opened.detail.rfind("1: FAT, 20 MiB", 0), 0u) << opened.detail;
    EXPECT_NE(opened.detail.find("; 2: encrypted, 40 MiB"), std::string::npos) << opened.detail;
}

TEST_P(EachLabel, ANumberThatNoVolumeHasIsAStatusOfItsOwn)
{
    VX_NEEDS("sfdisk");
    ASSERT_TRUE(MakeDisk(GetParam()));
    EXPECT_EQ(OpenImage(image.At("disk#3")).status, VolumeLibraryStatus::kNoSuchVolume);
    EXPECT_EQ(OpenImage(image.Path() + "#2").status, VolumeLibraryStatus::kNoSuchVolume);
}

INSTANTIATE_TEST_SUITE_P(Containers, EachLabel, testing::Values("dos", "gpt"),
                         [](const auto &tested) { return std::string(tested.param); });

TEST_F(DisksTest, VolumesInAnExtendedPartitionAreFound)
{
    VX_NEEDS("sfdisk");
    ASSERT_TRUE(
        RunShell("cd " + Quoted(image.At("")) +
                 " && truncate -s 60M disk && printf 'label: dos\\n"
                 "start=2048,size=100000,type=5\\nstart=4096,size=4096\\n"
                 "start=10240,size=40960\\n' | sed 's/^start=2048/1: &/;s/^start=4096/5: &/;"
                 "s/^start=10240/6: &/' | sfdisk -q disk && dd if=image of=disk bs=1M seek=5 "
                 "conv=notrunc status=none"));
    ExpectTreeIn(image.At("disk"));
}

}  // namespace
}  // namespace vx
