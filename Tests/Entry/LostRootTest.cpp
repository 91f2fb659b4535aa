// A root of FAT or exFAT that has lost its entries is not mistaken for an empty one, and an
// empty one is not mistaken for a damaged one.
#include "ExfatImage.h"
#include "FatImage.h"
#include "Listed.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

namespace vx {
namespace {

struct Made {
    const char *name;
    int mebibytes;
    std::string options;
};

void PrintTo(const Made &made, std::ostream *out)
{
    *out << made.name;
}

VolumeListingReport ReportOfRoot(const std::string &image, size_t begin = 0, size_t end = 0)
{
    const auto volume = FatVolumeOf(std::make_shared<SourceWithHole>(image, begin, end));
    const auto listed = volume ? ListAndReport(*volume, u"/*") : std::nullopt;
    EXPECT_TRUE(listed);
    EXPECT_TRUE(listed && listed->names.empty());
    return listed.value_or(Listed()).report;
}

void ExpectDamaged(const VolumeListingReport &report)
{
    EXPECT_FALSE(report.isWhole);
    EXPECT_EQ(report.reason, VolumeObstacle::kDamaged);
    EXPECT_EQ(report.missingEntries, 0u);
    EXPECT_EQ(report.recoveredEntries, 0u);
}

class LostRootOfFat : public testing::TestWithParam<Made> {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(made.MakeFat(GetParam().mebibytes, GetParam().options));
    }

    FatImage Image() const { return FatImage(made.Folder().ReadFile("image")); }

    // Zeros in place of the root, or of its first cluster.
    static void WipeRoot(FatImage *image)
    {
        const FatGeometry &geometry = image->geometry;
        const bool isBefore = geometry.rootCluster == 0;
        const size_t at = isBefore ? geometry.rootOffset : image->PlaceOf(geometry.rootCluster);
        const size_t count = isBefore ? geometry.rootBytes : geometry.clusterBytes;
        image->bytes.replace(at, count, count, '\0');
    }

    const TestImage made{};
};

TEST_P(LostRootOfFat, IsReportedWhileClustersAreInUse)
{
    ASSERT_TRUE(made.FillFat({{"a file with a long name", NoiseBytes(5000, 1)}}));
    FatImage image = Image();
    WipeRoot(&image);
    ExpectDamaged(ReportOfRoot(image.bytes));
}

TEST_P(LostRootOfFat, IsFoundByOneCopyOfTheTable)
{
    FatImage image = Image();
    ASSERT_EQ(image.geometry.tableCopies, 2u);
    image.PutNext(image.geometry.lastCluster, FatImage::kLast, 1);
    ExpectDamaged(ReportOfRoot(image.bytes));
}

TEST_P(LostRootOfFat, IsReportedWhereTheTableCannotBeRead)
{
    const FatImage image = Image();
    const size_t begin = image.geometry.tableOffset + 512;
    const size_t second = image.geometry.tableOffset + image.geometry.tableBytes;
    ASSERT_LT(begin, second);
    EXPECT_TRUE(ReportOfRoot(image.bytes, begin, second).isWhole) << "there is the other copy";
    const auto report = ReportOfRoot(image.bytes, begin, second + image.geometry.tableBytes);
    EXPECT_FALSE(report.isWhole);
    EXPECT_EQ(report.reason, VolumeObstacle::kUnreadable);
}

TEST_P(LostRootOfFat, ARootThatWasAlwaysEmptyIsWhole)
{
    const FatImage image = Image();
    EXPECT_TRUE(ReportOfRoot(image.bytes).isWhole);
}

TEST_P(LostRootOfFat, BadClustersAreNobodys)
{
    FatImage image = Image();
    image.PutNext(10, FatImage::kBad);
    EXPECT_TRUE(ReportOfRoot(image.bytes).isWhole);
}

TEST_P(LostRootOfFat, ClustersThatADeletedEntryLeftAreNoLoss)
{
    ASSERT_TRUE(made.FillFat({{"FILE", "contents"}}));
    FatImage image = Image();
    image.bytes[image.EntryAt("FILE       ")] = '\xE5';
    EXPECT_TRUE(ReportOfRoot(image.bytes).isWhole);
}

TEST_P(LostRootOfFat, ALabelIsNoLoss)
{
    ASSERT_TRUE(made.MakeFat(GetParam().mebibytes, GetParam().options + " -n LABEL"));
    FatImage image = Image();
    EXPECT_TRUE(ReportOfRoot(image.bytes).isWhole);
}

INSTANTIATE_TEST_SUITE_P(Fat, LostRootOfFat,
                         testing::Values(Made{"FAT12", 4, "-F 12"}, Made{"FAT16", 20, "-F 16"},
                                         Made{"FAT32", 40, "-F 32 -s 1"},
                                         Made{"FAT32 of large clusters", 300, "-F 32 -s 8"}));

class LostRootOfExfat : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        const TestImage made{};
        ASSERT_TRUE(made.MakeExfat(8));
        image = std::make_unique<ExfatImage>(made.Folder().ReadFile("image"));
    }

    std::unique_ptr<ExfatImage> image;
};

TEST_F(LostRootOfExfat, ARootThatWasAlwaysEmptyIsWhole)
{
    EXPECT_TRUE(ReportOfRoot(image->Text()).isWhole);
}

TEST_F(LostRootOfExfat, IsReported)
{
    image->Write(image->root, std::string(image->clusterBytes, '\0'));
    ExpectDamaged(ReportOfRoot(image->Text()));
}

TEST_F(LostRootOfExfat, ARootWithoutOneOfTheEntriesThatAllHaveIsDamaged)
{
    const auto intact = image->bytes;
    const size_t root = image->PlaceOf(image->root);
    for (const uint8_t type : {0x81, 0x82}) {
        size_t at = root;
        while (image->bytes.at(at) != type)
            at += 32;
        image->bytes[at] &= 0x7F;
        ExpectDamaged(ReportOfRoot(image->Text()));
        image->bytes = intact;
    }
}

}  // namespace
}  // namespace vx
