// FAT folders that have lost a part: the rest is listed, and the folder is reported as incomplete.
#include "FatImage.h"
#include "Listed.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kEntry = 32;

using Names = std::vector<std::u16string>;

// A folder of two clusters of 2 KiB, and files with long names in it, three entries for each.
class FatFolders : public testing::Test {
protected:
    static constexpr size_t kFiles = 40;
    static constexpr size_t kEnd = (2 + 3 * kFiles) * kEntry;

    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        const TestImage made{};
        ASSERT_TRUE(made.MakeFat(4, "-F 12 -s 4"));
        TestTree tree;
        for (size_t i = 0; i < kFiles; ++i) {
            const std::string name = std::to_string(10 + i) + " has a long name";
            tree["FOLDER/" + name] = "contents of " + name;
            names.push_back(Utf16(name));
        }
        tree["OTHER"] = "other";
        ASSERT_TRUE(made.FillFat(tree));
        image = std::make_unique<FatImage>(made.Folder().ReadFile("image"));
        chain = image->ChainOf("FOLDER     ");
        ASSERT_EQ(chain.size(), 2u);
        Open();
        for (const VolumeFindData &entry :
             ListFolder(*volume, u"/FOLDER/*").value_or(std::vector<VolumeFindData>()))
            order.emplace_back(entry.name);
        ASSERT_EQ(order.size(), kFiles);
    }

    // Where a byte of the folder is.
    size_t At(size_t position) const
    {
        const size_t cluster = image->geometry.clusterBytes;
        return image->PlaceOf(chain.at(position / cluster)) + position % cluster;
    }

    Listed List(const char16_t *pattern = u"/FOLDER/*")
    {
        const auto listed = ListAndReport(*volume, pattern);
        EXPECT_TRUE(listed);
        return listed.value_or(Listed());
    }

    // From begin to end nothing can be read.
    void Open(size_t holeBegin = 0, size_t holeEnd = 0)
    {
        volume = FatVolumeOf(std::make_shared<SourceWithHole>(image->bytes, holeBegin, holeEnd));
        ASSERT_TRUE(volume);
    }

    // The names that are not listed. Everything else that is listed has one of the short names.
    Names MissingFrom(const Listed &listed) const
    {
        Names missing;
        std::set_difference(names.begin(), names.end(), listed.names.begin(), listed.names.end(),
                            std::back_inserter(missing));
        return missing;
    }

    // Every file that is listed has the contents of one of the files.
    void ExpectSoundFiles(const Listed &listed)
    {
        for (const auto &name : listed.names) {
            const auto contents = ReadWholeFile(*volume, u"/FOLDER/" + name);
            ASSERT_TRUE(contents) << Utf8(name);
            EXPECT_EQ(contents->substr(0, 12), "contents of ") << Utf8(name);
        }
    }

    std::unique_ptr<FatImage> image;
    std::vector<uint32_t> chain;
    Names names;  // sorted
    Names order;  // the same as they lie on the disk
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(FatFolders, AnIntactFolderIsWhole)
{
    Open();
    EXPECT_EQ(List().names, names);
    EXPECT_TRUE(List().report.isWhole);
    EXPECT_TRUE(List(u"/*").report.isWhole);
}

TEST_F(FatFolders, AFolderGoesOnAfterASectorThatCannotBeRead)
{
    for (size_t at = 0; at < kEnd; at += kSector) {
        Open(At(at), At(at) + kSector);
        const Listed listed = List();
        EXPECT_FALSE(listed.report.isWhole);
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kUnreadable);
        // Sixteen entries are those of five files, and parts of two more.
        EXPECT_LE(MissingFrom(listed).size(), 7u);
        EXPECT_GE(listed.names.size(), kFiles - 6);
        EXPECT_LE(listed.report.missingEntries, kFiles - listed.names.size());
        ExpectSoundFiles(listed);
    }
}

TEST_F(FatFolders, ALongNameOfWhichAPartIsLostGivesWayToTheShortOne)
{
    // The first of the three entries of a file ends a sector that cannot be read.
    const size_t sector = 2 * kSector;
    const size_t inSector = sector / kEntry;
    ASSERT_EQ((inSector + 15 - 2) % 3, 0u) << "the file begins elsewhere";
    Open(At(sector), At(sector) + kSector);
    const auto listed = List().names;
    const size_t index = (inSector + 15 - 2) / 3;
    const auto shortName = [&](const std::u16string &name) {
        return name.find(u'~') != name.npos && name.substr(0, 2) == order[index].substr(0, 2);
    };
    const auto found = std::find_if(listed.begin(), listed.end(), shortName);
    ASSERT_NE(found, listed.end());
    EXPECT_EQ(ReadWholeFile(*volume, u"/FOLDER/" + *found), "contents of " + Utf8(order[index]));
}

TEST_F(FatFolders, AFolderGoesOnAfterASectorOfZeros)
{
    for (size_t at = 0; at + kSector < kEnd; at += kSector) {
        const std::string before = image->bytes;
        image->bytes.replace(At(at), kSector, kSector, '\0');
        Open();
        const Listed listed = List();
        EXPECT_FALSE(listed.report.isWhole) << at / kSector;
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
        EXPECT_GE(listed.names.size(), kFiles - 6);
        ExpectSoundFiles(listed);
        image->bytes = before;
    }
}

TEST_F(FatFolders, AFolderGoesOnAfterASectorOfNoise)
{
    for (size_t at = 0; at < kEnd; at += kSector) {
        const std::string before = image->bytes;
        image->bytes.replace(At(at), kSector, NoiseBytes(kSector, 77));
        Open();
        const Listed listed = List();
        EXPECT_FALSE(listed.report.isWhole) << at / kSector;
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
        EXPECT_GE(listed.names.size(), kFiles - 6);
        EXPECT_LE(listed.names.size(), kFiles);
        image->bytes = before;
    }
}

TEST_F(FatFolders, AFolderThatHasLostItsBeginningIsNotTakenForAnEmptyOne)
{
    for (const uint32_t cluster : chain)
        image->bytes.replace(image->PlaceOf(cluster), image->geometry.clusterBytes,
                             image->geometry.clusterBytes, '\0');
    Open();
    EXPECT_TRUE(List().names.empty());
    EXPECT_FALSE(List().report.isWhole);
}

TEST_F(FatFolders, WhatIsLeftAfterTheEndOfAFolderIsNoEntry)
{
    const size_t left = 2 * image->geometry.clusterBytes - kEnd - kEntry;
    image->bytes.replace(At(kEnd + kEntry), left, NoiseBytes(left, 5));
    Open();
    EXPECT_EQ(List().names, names);
    EXPECT_TRUE(List().report.isWhole);
}

TEST_F(FatFolders, AnEntryThatIsNoneIsReportedAsMissing)
{
    image->bytes.replace(At(4 * kEntry), 4, "\1\2\3\4");
    Open();
    const Listed listed = List();
    EXPECT_EQ(MissingFrom(listed), Names{order[0]});
    EXPECT_FALSE(listed.report.isWhole);
    EXPECT_EQ(listed.report.missingEntries, 1u);
}

TEST_F(FatFolders, AnEntryWithOneOddFieldIsShown)
{
    const size_t entry = At(4 * kEntry);
    for (const auto &[at, value] : std::vector<std::pair<size_t, char>>{
             {11, '\x60'}, {24, '\0'}, {23, '\xFF'}, {20, '\x55'}}) {
        const std::string before = image->bytes;
        image->bytes[entry + at] = value;
        Open();
        EXPECT_EQ(List().names, names) << at;
        EXPECT_TRUE(List().report.isWhole) << at;
        EXPECT_EQ(ReadWholeFile(*volume, u"/FOLDER/" + order[0]), "contents of " + Utf8(order[0]));
        image->bytes = before;
    }
}

TEST_F(FatFolders, AFileThatTurnsIntoALabelIsReportedAsMissing)
{
    image->bytes[At(4 * kEntry) + 11] = 0x08;
    Open();
    EXPECT_EQ(List().report.missingEntries, 1u);
    EXPECT_FALSE(List().report.isWhole);
}

TEST_F(FatFolders, AFolderWhoseChainBreaksIsListedUpToThere)
{
    const uint32_t beyond = image->geometry.lastCluster + 1;
    const std::string intact = image->bytes;
    for (const uint32_t nowhere : {FatImage::kFree, FatImage::kBad, beyond, chain[0]}) {
        image->PutNext(chain[0], nowhere);
        Open();
        const Listed listed = List();
        Names first(order.begin(), order.begin() + (64 - 2) / 3);
        std::sort(first.begin(), first.end());
        EXPECT_EQ(listed.names, first);
        EXPECT_FALSE(listed.report.isWhole);
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
        EXPECT_EQ(ObstacleOf(*volume, u"/FOLDER"), VolumeObstacle::kDamaged);
        EXPECT_TRUE(List(u"/*").report.isWhole);
        image->bytes = intact;
    }
}

TEST_F(FatFolders, AFolderOfTwoEqualNamesListsBothFilesAndOpensTheFirst)
{
    // Both without long names, so that each is one entry.
    const TestImage made{};
    ASSERT_TRUE(made.MakeFat(1, "-F 12"));
    ASSERT_TRUE(made.FillFat({{"FIRST", "first"}, {"OTHER", "other"}}));
    image = std::make_unique<FatImage>(made.Folder().ReadFile("image"));
    const size_t first = image->EntryAt("FIRST      ");
    const size_t other = image->EntryAt("OTHER      ");
    image->bytes.replace(std::max(first, other), 11,
                         image->bytes.substr(std::min(first, other), 11));
    Open();
    const Names listed = List(u"/*").names;
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0], listed[1]);
    EXPECT_EQ(ReadWholeFile(*volume, u"/" + listed[0]), first < other ? "first" : "other");
}

TEST_F(FatFolders, NamesThatDifferInCaseOnlyAreBothReached)
{
    const TestImage made{};
    ASSERT_TRUE(made.MakeFat(1, "-F 12"));
    ASSERT_TRUE(made.FillFat({{"NAME", "large"}, {"OTHER", "small"}}));
    image = std::make_unique<FatImage>(made.Folder().ReadFile("image"));
    const size_t other = image->EntryAt("OTHER      ");
    image->bytes.replace(other, 11, "NAME       ");
    image->bytes[other + 12] = 0x18;  // small letters
    Open();
    EXPECT_EQ(List(u"/*").names, (Names{u"NAME", u"name"}));
    EXPECT_EQ(ReadWholeFile(*volume, u"/NAME"), "large");
    EXPECT_EQ(ReadWholeFile(*volume, u"/name"), "small");
}

TEST_F(FatFolders, AnotherReaderFindsTheSameAfterDamage)
{
    // What is lost is a whole sector, and mtools goes on after deleted entries: so both find the
    // same files if the sector holds these in place of damage.
    const size_t sector = At(3 * kSector);
    std::string deleted = image->bytes;
    for (size_t at = sector; at < sector + kSector; at += kEntry)
        deleted[at] = '\xE5';
    const TestImage copy{};
    copy.Folder().WriteFile("image", deleted);
    copy.Folder().MakeFolder("out");
    ASSERT_TRUE(
        RunShell("cd " + Quoted(copy.At("out")) +
                 " && LC_ALL=C.UTF-8 MTOOLS_SKIP_CHECK=1 mcopy -i ../image '::FOLDER/*' ."));
    Open(sector, sector + kSector);
    const Listed listed = List();
    EXPECT_FALSE(listed.names.empty());
    for (const auto &name : listed.names)
        EXPECT_EQ(ReadWholeFile(*volume, u"/FOLDER/" + name),
                  copy.Folder().ReadFile("out/" + Utf8(name)));
    EXPECT_TRUE(RunShell("test $(ls " + Quoted(copy.At("out")) +
                         " | wc -l) = " + std::to_string(listed.names.size())));
}

}  // namespace
}  // namespace vx
