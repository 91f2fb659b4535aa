// Long names of FAT that are damaged, or are left over by deleting and renaming.
#include "FatImage.h"
#include "Listed.h"
#include "OpenSource.h"
#include "TestImage.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kEntry = 32;
constexpr size_t kParts = 3;
constexpr size_t kCheck = 13;

using Names = std::vector<std::u16string>;

// Two files in the root: one with a long name of three parts, then one with a short name only.
class FatLongNames : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(made.MakeFat(4, "-F 12"));
        ASSERT_TRUE(made.FillFat({{"a name of three parts, no less", "long"}}));
        made.Folder().WriteFile("SHORT", "short");
        ASSERT_TRUE(RunShell("cd " + Quoted(made.At("")) +
                             " && MTOOLS_SKIP_CHECK=1 mcopy -i image SHORT ::"));
        image = std::make_unique<FatImage>(made.Folder().ReadFile("image"));
        entry = image->EntryAt("ANAMEO~1   ");
        ASSERT_EQ(image->EntryAt("SHORT      "), entry + kEntry);
        ASSERT_EQ(image->bytes.at(entry - kParts * kEntry), '\x43');
    }

    Listed List()
    {
        volume = FatVolumeOf(SourceOf(image->bytes));
        const auto listed = volume ? ListAndReport(*volume, u"/*") : std::nullopt;
        EXPECT_TRUE(listed);
        return listed.value_or(Listed());
    }

    // Where a part begins; the last one of the name comes first.
    size_t Part(size_t number) const { return entry - number * kEntry; }

    void ExpectRecovered(const char16_t *shortName)
    {
        const Listed listed = List();
        EXPECT_EQ(listed.names, (Names{shortName, u"SHORT"}));
        EXPECT_FALSE(listed.report.isWhole);
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
        EXPECT_EQ(listed.report.recoveredEntries, 1u);
        EXPECT_EQ(listed.report.missingEntries, 0u);
    }

    void ExpectMissing(const Names &names)
    {
        const Listed listed = List();
        EXPECT_EQ(listed.names, names);
        EXPECT_FALSE(listed.report.isWhole);
        EXPECT_EQ(listed.report.missingEntries, 1u);
        EXPECT_EQ(listed.report.recoveredEntries, 0u);
    }

    const TestImage made{};
    std::unique_ptr<FatImage> image;
    size_t entry = 0;
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(FatLongNames, AnIntactOneIsShown)
{
    const Listed listed = List();
    EXPECT_EQ(listed.names, (Names{u"SHORT", u"a name of three parts, no less"}));
    EXPECT_TRUE(listed.report.isWhole);
}

TEST_F(FatLongNames, AShortNameThatDoesNotFitIsShownAndReported)
{
    image->bytes[entry + 4] ^= 1;
    ExpectRecovered(u"ANAMDO~1");
}

TEST_F(FatLongNames, NoBitOfWhatJoinsThePartsIsChangedUnnoticed)
{
    constexpr unsigned kBitsOfNumber[] = {0, 1, 2, 3, 4, 6};
    const std::string intact = image->bytes;
    for (size_t part = 1; part <= kParts; ++part) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            char &check = image->bytes[Part(part) + kCheck];
            check = static_cast<char>(check ^ 1 << bit);
            ExpectRecovered(u"ANAMEO~1");
            image->bytes = intact;
        }
        for (const unsigned bit : kBitsOfNumber) {
            char &number = image->bytes[Part(part)];
            number = static_cast<char>(number ^ 1 << bit);
            if (number != 0)
                ExpectRecovered(u"ANAMEO~1");
            else  // the end of the folder, by the look of it
                EXPECT_FALSE(List().report.isWhole);
            image->bytes = intact;
        }
    }
}

TEST_F(FatLongNames, PartsWithoutAnEntryInFrontOfAnotherNameAreReportedAsMissing)
{
    image->bytes.replace(entry + kEntry, kParts * kEntry,
                         image->bytes.substr(Part(kParts), kParts * kEntry));
    image->bytes.replace(entry + (1 + kParts) * kEntry, kEntry, image->bytes.substr(entry, kEntry));
    image->bytes.erase(entry, kEntry);
    image->bytes.insert(entry + (1 + kParts) * kEntry, kEntry, '\0');
    ExpectMissing({u"a name of three parts, no less"});
}

TEST_F(FatLongNames, PartsAtTheEndOfAFolderAreReportedAsMissing)
{
    image->bytes.replace(entry, 2 * kEntry, 2 * kEntry, '\0');
    ExpectMissing({});
}

TEST_F(FatLongNames, AFileThatTurnsIntoALabelIsReportedAsMissing)
{
    image->bytes[entry + 11] |= 0x08;
    image->bytes.replace(entry + 28, 4, 4, '\0');
    ExpectMissing({u"SHORT"});
}

TEST_F(FatLongNames, PartsThatAreDeletedAreNoLoss)
{
    for (size_t part = 1; part <= kParts; ++part)
        image->bytes[Part(part)] = '\xE5';
    const Listed listed = List();
    EXPECT_EQ(listed.names, (Names{u"ANAMEO~1", u"SHORT"}));
    EXPECT_TRUE(listed.report.isWhole);
}

TEST_F(FatLongNames, PartsOfADeletedEntryAreNoLoss)
{
    image->bytes[entry] = '\xE5';
    const Listed listed = List();
    EXPECT_EQ(listed.names, Names{u"SHORT"});
    EXPECT_TRUE(listed.report.isWhole);
}

TEST_F(FatLongNames, PartsThatAreLeftAfterTheEndOfAFolderAreNoLoss)
{
    const std::string parts = image->bytes.substr(Part(kParts), kParts * kEntry);
    image->bytes.replace(entry + 3 * kEntry, parts.size(), parts);
    EXPECT_TRUE(List().report.isWhole);
}

TEST_F(FatLongNames, AFolderIsWholeAfterManyDeletionsAndRenamings)
{
    const std::string run = "cd " + Quoted(made.At("")) +
                            " && export LC_ALL=C.UTF-8 MTOOLS_SKIP_CHECK=1; mmd -i image ::F;"
                            " for i in $(seq 60); do"
                            " mcopy -i image SHORT \"::F/file $i of a long name $((i * i))\";"
                            " test $((i % 3)) = 0 && mdel -i image \"::F/file $((i / 3)) of*\";"
                            " test $((i % 4)) = 1 && mren -i image \"::F/file $i of a long name "
                            "$((i * i))\" \"name $i, longer or shorter\";"
                            " test $((i % 8)) = 5 && mren -i image \"::F/name $i, longer or "
                            "shorter\" N$i; done; true";
    ASSERT_TRUE(RunShell(run));
    volume = FatVolumeOf(SourceOf(made.Folder().ReadFile("image")));
    ASSERT_TRUE(volume);
    const auto listed = ListAndReport(*volume, u"/F/*");
    ASSERT_TRUE(listed);
    EXPECT_GE(listed->names.size(), 40u);
    EXPECT_LT(listed->names.size(), 60u);
    EXPECT_TRUE(std::none_of(listed->names.begin(), listed->names.end(),
                             [](const auto &name) { return name.find(u'~') != name.npos; }));
    EXPECT_TRUE(listed->report.isWhole);
}

}  // namespace
}  // namespace vx
