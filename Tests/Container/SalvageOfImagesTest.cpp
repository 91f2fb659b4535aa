// A bad sector under an image file of each kind costs one unit of the image and nothing else: a
// sector of a raw image, a chunk of an E01 image.
#include "FailingFiles.h"
#include "Salvaged.h"
#include "TestImage.h"

#include <sstream>

namespace vx {
namespace {

constexpr uint64_t kKiB = 1024;
constexpr uint64_t kMiB = 1024 * kKiB;

struct Format {
    const char *name;
    const char *program;
    const char *make;     // in the folder of the image
    const char *opened;   // what is opened
    const char *pattern;  // which files hold the disk's bytes
    uint64_t together;    // the largest unit, in bytes
};

struct Case {
    Format format;
    bool isEncrypted;

    friend void PrintTo(const Case &tested, std::ostream *out) { *out << tested.format.name; }
};

class SalvageOfImage : public testing::TestWithParam<Case> {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        VX_NEEDS(GetParam().format.program);
        ASSERT_TRUE(image.MakeFat(24, "-F 16 -s 8"));
        ASSERT_TRUE(image.FillFat({{"a", contents}, {"b", other}}));
        place = image.Folder().ReadFile("image").find(contents);
        ASSERT_NE(place, std::string::npos);
        if (GetParam().isEncrypted) {
            ASSERT_TRUE(image.Encrypt("--password correct"));
        }
        disk = image.Folder().ReadFile("image");
        ASSERT_TRUE(RunShell("cd " + Quoted(image.At("")) + " && " + GetParam().format.make));
    }

    // Makes the sector of the image bad that holds this sector of the disk.
    void MakeBad(uint64_t at)
    {
        const std::string sector = disk.substr(at, 512);
        ASSERT_TRUE(RunShell("cd " + Quoted(image.At("")) + " && ls " + GetParam().format.pattern +
                             " > list"));
        std::istringstream names(image.Folder().ReadFile("list"));
        for (std::string name; std::getline(names, name);) {
            const size_t found = image.Folder().ReadFile(name).find(sector);
            if (found != std::string::npos) {
                files.MakeBad(image.At(name), found, 512);
                return;
            }
        }
        FAIL() << "the image does not store these bytes as they are";
    }

    // Only the sector at this place of the disk and others of its unit are lost.
    void ExpectSmallLoss(const Salvaged &salvaged, uint64_t sector) const
    {
        ASSERT_EQ(salvaged.lost.size(), 1u);
        const uint64_t together = GetParam().format.together;
        const uint64_t begin = salvaged.lost[0].first + place;
        const uint64_t end = begin + salvaged.lost[0].second;
        EXPECT_LE(begin, sector);
        EXPECT_GE(end, sector + 512);
        EXPECT_GE(begin, sector / together * together);
        EXPECT_LE(end, sector / together * together + together);
        ExpectLost(salvaged, contents, salvaged.lost);
    }

    const std::string contents = NoiseBytes(9 * kMiB + 777, 3);
    const std::string other = NoiseBytes(3 * kMiB, 4);
    const TestImage image{};
    uint64_t place = 0;  // of the file on the disk
    std::string disk;
    FailingFiles files;
};

TEST_P(SalvageOfImage, ABadSectorCostsWhatLiesTogetherWithIt)
{
    const bool isEncrypted = GetParam().isEncrypted;
    const Opened opened =
        OpenImage(image.At(GetParam().format.opened), isEncrypted ? "password" : "none", "correct");
    ASSERT_TRUE(opened.volume) << opened.detail;
    const uint64_t sector = (place + 5 * kMiB + 7 * kKiB) / 512 * 512;
    MakeBad(sector);
    ExpectSmallLoss(Salvage(*opened.volume, u"/a"), sector);
    ExpectLost(Salvage(*opened.volume, u"/b"), other, {});
    const int failed = files.FailedReads();
    EXPECT_GT(failed, 0);
    ExpectSmallLoss(Salvage(*opened.volume, u"/a"), sector);
    EXPECT_EQ(files.FailedReads(), failed);
    EXPECT_FALSE(opened.volume->IsGone());
}

const Format kFormats[] = {
    {"Raw", "split", "true", "image", "image", 512},
    {"Split", "split", "split -b 5M -d -a 3 --numeric-suffixes=1 image part. && rm image",
     "part.001", "part.*", 512},
    {"E01", "ewfacquirestream", "ewfacquirestream -q -t evidence < image && rm image",
     "evidence.E01", "evidence.*", 32 * kKiB},
    {"VhdThatGrows", "qemu-img",
     "qemu-img convert -f raw -O vpc -o subformat=dynamic,force_size=on image made.vhd", "made.vhd",
     "made.vhd", 512},
    {"VhdOfFixedSize", "qemu-img",
     "qemu-img convert -f raw -O vpc -o subformat=fixed,force_size=on image made.vhd", "made.vhd",
     "made.vhd", 512},
    {"Vhdx", "qemu-img",
     "qemu-img convert -f raw -O vhdx -o subformat=dynamic,block_size=1M image made.vhdx",
     "made.vhdx", "made.vhdx", 512},
    {"VhdxOfFixedSize", "qemu-img",
     "qemu-img convert -f raw -O vhdx -o subformat=fixed image made.vhdx", "made.vhdx", "made.vhdx",
     512},
    {"VmdkThatGrows", "qemu-img",
     "qemu-img convert -f raw -O vmdk -o subformat=monolithicSparse image made.vmdk", "made.vmdk",
     "made.vmdk", 64 * kKiB},
    {"VmdkOfFixedSize", "qemu-img",
     "qemu-img convert -f raw -O vmdk -o subformat=monolithicFlat image made.vmdk", "made.vmdk",
     "made-flat.vmdk", 512},
    {"Qcow2", "qemu-img", "qemu-img convert -f raw -O qcow2 image made.qcow2", "made.qcow2",
     "made.qcow2", 512},
    {"Vdi", "qemu-img", "qemu-img convert -f raw -O vdi image made.vdi", "made.vdi", "made.vdi",
     512},
};

std::vector<Case> Cases()
{
    std::vector<Case> cases;
    for (const Format &format : kFormats) {
        cases.push_back({format, false});
        cases.push_back({format, true});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Images, SalvageOfImage, testing::ValuesIn(Cases()),
                         [](const auto &tested) {
                             return std::string(tested.param.isEncrypted ? "Encrypted" : "") +
                                    tested.param.format.name;
                         });

TEST(ImagesThatGoAway, AnImageThatBecomesEmptyIsGone)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    const std::string contents = NoiseBytes(5 * kMiB, 3);
    ASSERT_TRUE(image.MakeFat(24, "-F 16 -s 8"));
    ASSERT_TRUE(image.FillFat({{"a", contents}}));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume);
    const VolumeHandle file = OpenForReading(*opened.volume, u"/a");
    image.Folder().WriteFile("image", "");
    char byte = '?';
    uint32_t done = 0;
    EXPECT_FALSE(opened.volume->ReadFile(file, &byte, 1, &done));
    EXPECT_EQ(byte, 0);
    EXPECT_TRUE(opened.volume->IsGone());
    EXPECT_FALSE(Opens(*opened.volume, u"/a"));
    opened.volume->CloseHandle(file);
}

TEST(ImagesThatGoAway, AnImageThatBecomesShorterLosesOnlyItsEnd)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    const std::string contents = NoiseBytes(5 * kMiB, 3);
    ASSERT_TRUE(image.MakeFat(24, "-F 16 -s 8"));
    ASSERT_TRUE(image.FillFat({{"a", contents}}));
    const std::string disk = image.Folder().ReadFile("image");
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume);
    const uint64_t place = disk.find(contents);
    ASSERT_NE(place, std::string::npos);
    ASSERT_TRUE(RunShell("truncate -s " + std::to_string(place + 2 * kMiB + 100) + " " +
                         Quoted(image.Path())));
    const Salvaged salvaged = Salvage(*opened.volume, u"/a");
    EXPECT_FALSE(salvaged.good);
    ASSERT_EQ(salvaged.lost.size(), 1u);
    EXPECT_LE(salvaged.lost[0].first, 2 * kMiB + 100);
    EXPECT_GT(salvaged.lost[0].first, 2 * kMiB - 512);
    EXPECT_TRUE(salvaged.bytes == WithZeros(contents, salvaged.lost));
    EXPECT_FALSE(opened.volume->IsGone());
}

TEST(ImagesThatGoAway, AnImageThatCannotBeReadAndHasNoNameAnyMoreIsGone)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    ASSERT_TRUE(image.MakeFat(24, "-F 16 -s 8"));
    ASSERT_TRUE(image.FillFat({{"a", NoiseBytes(5 * kMiB, 3)}, {"b", "b"}}));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume);
    FailingFiles files;
    files.MakeBad(image.Path(), kMiB, 30 * kMiB);
    ASSERT_TRUE(RunShell("rm " + Quoted(image.Path())));
    const Salvaged salvaged = Salvage(*opened.volume, u"/a", 100000);
    EXPECT_FALSE(salvaged.good);
    EXPECT_TRUE(opened.volume->IsGone());
    EXPECT_FALSE(Opens(*opened.volume, u"/b"));
}

}  // namespace
}  // namespace vx
