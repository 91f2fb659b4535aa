// The label of a volume, which people know it by.
#include "TestImage.h"

#include "OpenSource.h"
#include "SourceWithHole.h"
#include "VolumeLabel.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kSector = 512;

class VolumeLabels : public testing::Test {
protected:
    std::string Label() const { return LabelOf(image.Folder().ReadFile("image")); }

    static std::string LabelOf(const std::string &bytes)
    {
        const Source source = SourceOf(bytes);
        const auto kind = ProbeFileSystem(*source);
        return kind ? VolumeLabel(*source, *kind) : "unreadable";
    }

    const TestImage image{};
};

TEST_F(VolumeLabels, OfNtfsItIsThatOfItsFileOfTheVolume)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(16, "-L 'Données 日本'"));
    EXPECT_EQ(Label(), "Données 日本");
    ASSERT_TRUE(image.MakeNtfs(16, "-c 65536"));
    EXPECT_EQ(Label(), "");
}

TEST_F(VolumeLabels, OfNtfsItIsFoundWithLargeClustersAndWithoutTheBootSector)
{
    VX_NEEDS("mkntfs");
    for (const char *options : {"-L LABEL -c 4096", "-L LABEL -c 262144"}) {
        ASSERT_TRUE(image.MakeNtfs(64, options));
        std::string bytes = image.Folder().ReadFile("image");
        EXPECT_EQ(LabelOf(bytes), "LABEL") << options;
        bytes.replace(0, kSector, kSector, '\0');
        EXPECT_EQ(VolumeLabel(*SourceOf(bytes), FileSystemKind::kNtfs), "LABEL") << options;
    }
}

TEST_F(VolumeLabels, OfEachFatItIsThatOfTheRootFolder)
{
    VX_NEEDS("mkfs.fat");
    for (const char *options : {"-F 12", "-F 16 -s 2", "-F 32 -s 1"}) {
        ASSERT_TRUE(image.MakeFat(40, std::string(options) + " -n 'OLD NAME'"));
        std::string bytes = image.Folder().ReadFile("image");
        EXPECT_EQ(LabelOf(bytes), "OLD NAME") << options;
        const size_t root = bytes.rfind("OLD NAME   ");
        ASSERT_NE(root, std::string::npos);
        ASSERT_GT(root, kSector);
        bytes.replace(root, 8, "NEW NAME");
        EXPECT_EQ(LabelOf(bytes), "NEW NAME") << options;
    }
}

TEST_F(VolumeLabels, OfAFatWithoutOneInItsRootFolderItIsThatOfTheBootSector)
{
    VX_NEEDS("mkfs.fat");
    for (const char *options : {"-F 12", "-F 32 -s 1"}) {
        ASSERT_TRUE(image.MakeFat(40, std::string(options) + " -n LABEL"));
        std::string bytes = image.Folder().ReadFile("image");
        bytes[bytes.rfind("LABEL      ")] = '\0';
        EXPECT_EQ(LabelOf(bytes), "LABEL") << options;
        ASSERT_TRUE(image.MakeFat(40, options));
        EXPECT_EQ(Label(), "") << options;
    }
}

TEST_F(VolumeLabels, OfExfatItIsTheOneOfTheRootFolder)
{
    VX_NEEDS("mkfs.exfat");
    ASSERT_TRUE(image.MakeExfat(16));
    EXPECT_EQ(Label(), "");
    ASSERT_TRUE(RunShell("mkfs.exfat -L 'Отчёт' " + Quoted(image.Path())));
    EXPECT_EQ(Label(), "Отчёт");
}

TEST_F(VolumeLabels, OfAnEncryptedVolumeItIsWhatTheSystemNoted)
{
    image.Folder().WriteFile("image", NoiseBytes(1 << 20, 4));
    ASSERT_TRUE(image.Encrypt("--password correct"));
    std::string bytes = image.Folder().ReadFile("image");
    EXPECT_EQ(LabelOf(bytes), "TESTHOST C: 1/2/2026");
    const size_t copy = bytes.find("-FVE-FS-", kSector);
    bytes[copy + 100] ^= 1;
    EXPECT_EQ(LabelOf(bytes), "TESTHOST C: 1/2/2026") << "the second copy tells as well";
}

// Whatever is in the places that lead to a label, it ends, and reads nothing that is not there.
TEST_F(VolumeLabels, OfADamagedVolumeThereIsNone)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(8, "-L label"));
    std::string whole = image.Folder().ReadFile("image");
    const auto cluster = static_cast<uint8_t>(whole[48]);
    const size_t record = size_t{cluster} * 4096 + 3 * 1024;
    whole.resize(record + 4096);
    ASSERT_EQ(LabelOf(whole), "label");
    ASSERT_EQ(whole.substr(record, 4), "FILE");
    for (size_t at = 4; at < 512; ++at) {
        for (const char damage : {'\x00', '\x01', '\x7F', '\xFF'}) {
            std::string bytes = whole;
            bytes[record + at] = damage;
            (void)LabelOf(bytes);
        }
    }
    for (const size_t at : {11U, 13U, 48U, 55U, 64U}) {
        std::string bytes = whole;
        bytes[at] = '\x7F';
        EXPECT_NE(LabelOf(bytes), "label") << at;
    }
    EXPECT_EQ(LabelOf(whole.substr(0, record)), "");
}

}  // namespace
}  // namespace vx
