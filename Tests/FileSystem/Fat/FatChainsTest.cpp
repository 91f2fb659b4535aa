// Files and folders of FAT whose chains of clusters are broken: what lies before the break is
// given, and the rest is reported.
#include "FatImage.h"
#include "Listed.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

namespace vx {
namespace {

struct FatKind {
    const char *name;
    int mebibytes;
    const char *options;

    friend void PrintTo(const FatKind &kind, std::ostream *out) { *out << kind.name; }
};

class EachFatChain : public testing::TestWithParam<FatKind> {
protected:
    static constexpr size_t kClusters = 9;

    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        const TestImage made{};
        ASSERT_TRUE(made.MakeFat(GetParam().mebibytes, GetParam().options));
        ASSERT_TRUE(made.FillFat(
            {{"BAD", bad}, {"GOOD", good}, {"SMALL", "one cluster"}, {"FOLDER/INSIDE", "inside"}}));
        image = std::make_unique<FatImage>(made.Folder().ReadFile("image"));
        image->bytes.resize(size_t{2} << 20);  // nothing lies beyond
        ASSERT_EQ(image->geometry.clusterBytes, 512u);
        ASSERT_EQ(image->geometry.tableCopies, 2u);
        chain = image->ChainOf("BAD        ");
        ASSERT_EQ(chain.size(), kClusters);
    }

    void Open() { Open(0, 0); }
    // From begin to end nothing can be read.
    void Open(size_t begin, size_t end)
    {
        volume = FatVolumeOf(std::make_shared<SourceWithHole>(image->bytes, begin, end));
        ASSERT_TRUE(volume);
    }

    void ExpectBrokenAfter(size_t clusters, VolumeObstacle obstacle = VolumeObstacle::kDamaged)
    {
        ASSERT_TRUE(volume);
        const auto read = ReadToBreak(*volume, u"/BAD", 512);
        ASSERT_TRUE(read);
        EXPECT_FALSE(read->isWhole);
        EXPECT_TRUE(read->bytes == bad.substr(0, clusters * 512)) << read->bytes.size() / 512;
        EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), obstacle);
        EXPECT_EQ(SizeOf(EntryNamed(*volume, u"/*", u"BAD")), bad.size());
        ExpectTheOthersWhole();
    }

    void ExpectTheOthersWhole()
    {
        EXPECT_TRUE(ReadWholeFile(*volume, u"/GOOD") == good);
        EXPECT_EQ(ReadWholeFile(*volume, u"/SMALL"), "one cluster");
        for (const char16_t *path : {u"/GOOD", u"/SMALL", u"/FOLDER", u"/FOLDER/INSIDE"})
            EXPECT_EQ(ObstacleOf(*volume, path), VolumeObstacle::kNone) << Utf8(path);
    }

    const std::string bad = NoiseBytes((kClusters - 1) * 512 + 100, 1);
    const std::string good = NoiseBytes(12 * 512, 2);
    std::unique_ptr<FatImage> image;
    std::vector<uint32_t> chain;
    std::unique_ptr<OwnedVolume> volume;
};

TEST_P(EachFatChain, AFileIsReadUpToAnEntryThatLeadsNowhere)
{
    const uint32_t beyond = image->geometry.lastCluster + 1;
    for (const uint32_t nowhere : {FatImage::kFree, 1u, beyond, FatImage::kBad, FatImage::kLast}) {
        for (size_t at = 0; at + 1 < kClusters; ++at) {
            const std::string before = image->bytes;
            image->PutNext(chain[at], nowhere);
            Open();
            ExpectBrokenAfter(at + 1);
            image->bytes = before;
        }
    }
}

TEST_P(EachFatChain, AFileWhoseChainGoesInCirclesHasEachClusterOnce)
{
    for (size_t from = 0; from + 1 < kClusters; ++from) {
        for (size_t to = 0; to <= from; ++to) {
            const std::string before = image->bytes;
            image->PutNext(chain[from], chain[to]);
            Open();
            ExpectBrokenAfter(from + 1);
            image->bytes = before;
        }
    }
}

TEST_P(EachFatChain, AFileEndsWhereItsChainLeadsIntoAnother)
{
    const auto other = image->ChainOf("GOOD       ");
    for (size_t into = 1; into < other.size(); ++into) {
        image->PutNext(chain[3], other[into]);
        Open();
        ExpectBrokenAfter(4);
    }
}

TEST_P(EachFatChain, AChainThatGoesOnAfterItsFileIsReported)
{
    image->PutNext(chain.back(), image->ChainOf("GOOD       ").front());
    Open();
    EXPECT_TRUE(ReadWholeFile(*volume, u"/BAD") == bad);
    EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), VolumeObstacle::kDamaged);
    ExpectTheOthersWhole();
}

TEST_P(EachFatChain, ADamagedCopyOfTheTableGivesWayToTheOther)
{
    for (const uint32_t damage : {FatImage::kFree, FatImage::kBad, FatImage::kLast, chain[0]}) {
        for (unsigned copy = 0; copy < 2; ++copy) {
            const std::string before = image->bytes;
            image->PutNext(chain[4], damage, copy);
            Open();
            EXPECT_TRUE(ReadWholeFile(*volume, u"/BAD") == bad);
            EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), VolumeObstacle::kNone);
            image->bytes = before;
        }
    }
}

TEST_P(EachFatChain, AnUnreadableCopyOfTheTableGivesWayToTheOther)
{
    const FatGeometry &geometry = image->geometry;
    for (unsigned copy = 0; copy < 2; ++copy) {
        const size_t table = geometry.tableOffset + copy * geometry.tableBytes;
        Open(table, table + geometry.tableBytes);
        EXPECT_TRUE(ReadWholeFile(*volume, u"/BAD") == bad);
        EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), VolumeObstacle::kNone);
        ExpectTheOthersWhole();
    }
}

TEST_P(EachFatChain, AFreeEntryWhoseCopyCannotBeReadIsABreak)
{
    const FatGeometry &geometry = image->geometry;
    image->PutNext(chain[4], FatImage::kFree);
    const size_t table = geometry.tableOffset + geometry.tableBytes;
    Open(table, table + geometry.tableBytes);
    ExpectBrokenAfter(5);
}

TEST_P(EachFatChain, AFileThatSaysItIsLongerThanTheVolumeIsReadUpToTheEndOfItsChain)
{
    image->bytes.replace(image->EntryAt("BAD        ") + 28, 4, "\xFF\xFF\xFF\xFF");
    Open();
    const auto read = ReadToBreak(*volume, u"/BAD", 512);
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isWhole);
    EXPECT_TRUE(read->bytes.substr(0, bad.size()) == bad);
    EXPECT_EQ(read->bytes.size(), kClusters * 512);
    EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), VolumeObstacle::kDamaged);
    EXPECT_EQ(SizeOf(EntryNamed(*volume, u"/*", u"BAD")), image->geometry.MostBytes());
    ExpectTheOthersWhole();
}

TEST_P(EachFatChain, AFileThatBeginsOffTheVolumeDoesNotOpen)
{
    image->bytes.replace(image->EntryAt("BAD        ") + 26, 2, std::string("\1\0", 2));
    Open();
    EXPECT_FALSE(Opens(*volume, u"/BAD"));
    EXPECT_EQ(ObstacleOf(*volume, u"/BAD"), VolumeObstacle::kDamaged);
    ExpectTheOthersWhole();
}

INSTANTIATE_TEST_SUITE_P(Fat, EachFatChain,
                         testing::Values(FatKind{"Fat12", 1, "-F 12 -s 1"},
                                         FatKind{"Fat16", 3, "-F 16 -s 1"},
                                         FatKind{"Fat32", 34, "-F 32 -s 1"}),
                         [](const auto &tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace vx
