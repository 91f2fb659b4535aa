// QCOW2 images in which two places of the disk lead to one cluster.
#include "FailingSource.h"
#include "OpenAt.h"
#include "OpenSource.h"
#include "QcowImage.h"
#include "QcowWriter.h"
#include "TestImage.h"

namespace vx {
namespace {

constexpr size_t kCluster = 4096;
constexpr uint64_t kOnlyOnce = QcowWriter::kOnlyOnce;
constexpr const char *kContested = "the QCOW2 image keeps two clusters in the same place";

std::string Bytes(size_t cluster, size_t clusterBytes = kCluster)
{
    return NoiseBytes(clusterBytes, static_cast<unsigned>(cluster + 1));
}

QcowWriter WriterOf(const QcowRecipe &recipe = {}, size_t clusters = 5)
{
    QcowWriter writer(recipe);
    for (size_t i = 0; i < clusters; ++i)
        writer.AddStored(Bytes(i, writer.ClusterBytes()));
    return writer;
}

uint64_t PlaceOf(const QcowWriter &writer, size_t cluster)
{
    return writer.ClustersAt() + cluster * writer.ClusterBytes();
}

class ContestedQcow : public testing::Test {
protected:
    void Open(const Source &file)
    {
        auto opened = OpenQcow(file, NoParents(), [this](const std::string &) -> Result<Source> {
            return SourceOf(dataFile);
        });
        ASSERT_TRUE(opened) << opened.Failure().detail;
        container = *opened;
    }
    void Open(const QcowWriter &writer) { Open(SourceOf(writer.Image())); }

    std::string Read(size_t cluster, size_t clusterBytes = kCluster) const
    {
        std::string bytes(clusterBytes, '?');
        const Error error =
            container.source->ReadAt(cluster * clusterBytes, bytes.data(), clusterBytes);
        return error ? error.detail.substr(error.detail.find(": ") + 2) : bytes;
    }

    // Only these two cannot be read.
    void ExpectContested(size_t one, size_t other, size_t clusters = 5,
                         size_t clusterBytes = kCluster) const
    {
        for (size_t i = 0; i < clusters; ++i) {
            const bool isLost = i == one || i == other;
            EXPECT_TRUE(Read(i, clusterBytes) == (isLost ? kContested : Bytes(i, clusterBytes)))
                << i << ": " << Read(i, clusterBytes).substr(0, 100);
        }
        ASSERT_EQ(container.notes.size(), 1u);
        EXPECT_EQ(container.notes[0],
                  "clusters of the QCOW2 image lie in the same place, which is impossible; they "
                  "cannot be read");
    }

    Container container;
    std::string dataFile;
};

TEST_F(ContestedQcow, AClusterThatAnEntryHasForItselfIsNoOneElses)
{
    const std::pair<uint64_t, uint64_t> flags[] = {
        {kOnlyOnce, kOnlyOnce}, {kOnlyOnce, 0}, {0, kOnlyOnce}};
    for (const auto &[ofFirst, ofSecond] : flags) {
        for (const uint32_t version : {2u, 3u}) {
            QcowRecipe recipe;
            recipe.version = version;
            QcowWriter writer = WriterOf(recipe);
            writer.SetEntry(1, ofFirst | PlaceOf(writer, 3));
            writer.SetEntry(3, ofSecond | PlaceOf(writer, 3));
            Open(writer);
            ExpectContested(1, 3);
        }
    }
}

TEST_F(ContestedQcow, EntriesThatClaimNothingMayShareACluster)
{
    QcowWriter writer = WriterOf();
    writer.SetEntry(1, PlaceOf(writer, 3));
    writer.SetEntry(3, PlaceOf(writer, 3));
    Open(writer);
    EXPECT_TRUE(Read(1) == Bytes(3));
    EXPECT_TRUE(Read(3) == Bytes(3));
    EXPECT_TRUE(container.notes.empty());
}

TEST_F(ContestedQcow, TheEntriesMayBeInDifferentTables)
{
    QcowRecipe recipe;
    recipe.clusterBits = 9;
    QcowWriter writer = WriterOf(recipe, 130);
    writer.SetEntry(129, kOnlyOnce | PlaceOf(writer, 3));
    Open(writer);
    ExpectContested(3, 129, 130, 512);
}

TEST_F(ContestedQcow, OfSubclustersTooTheClusterIsLost)
{
    QcowRecipe recipe;
    recipe.clusterBits = 14;
    recipe.hasSubclusters = true;
    QcowWriter writer = WriterOf(recipe);
    writer.SetEntry(1, kOnlyOnce | PlaceOf(writer, 3));
    Open(writer);
    ExpectContested(1, 3, 5, size_t{1} << 14);
}

TEST_F(ContestedQcow, InAFileOfItsOwnTheFirstClusterCountsToo)
{
    QcowRecipe recipe;
    recipe.hasDataFile = true;
    recipe.dataFile = "data";
    QcowWriter writer = WriterOf(recipe);
    writer.SetEntry(4, kOnlyOnce);
    dataFile = writer.DataFile();
    Open(writer);
    ExpectContested(0, 4);
}

TEST_F(ContestedQcow, ACompressedClusterDoesNotBeginInOneThatIsAnothers)
{
    QcowWriter writer = WriterOf();
    writer.SetEntry(1, QcowWriter::kPacked | (PlaceOf(writer, 3) + 100));
    Open(writer);
    ExpectContested(1, 3);
}

TEST_F(ContestedQcow, ACompressedClusterMayShareWithOthersOfItsKind)
{
    QcowWriter writer = WriterOf();
    const std::string text(kCluster, 't');
    for (int i = 0; i < 3; ++i)
        writer.AddPacked(text);
    Open(writer);
    for (size_t i = 5; i < 8; ++i)
        EXPECT_TRUE(Read(i) == text);
    EXPECT_TRUE(container.notes.empty());
}

TEST_F(ContestedQcow, ZerosWithAPlaceStayZeros)
{
    QcowWriter writer = WriterOf();
    writer.SetEntry(1, kOnlyOnce | PlaceOf(writer, 3) | 1);
    Open(writer);
    EXPECT_TRUE(Read(1) == std::string(kCluster, '\0'));
    EXPECT_EQ(Read(3), kContested);
}

TEST_F(ContestedQcow, ADamagedEntryClaimsNothing)
{
    for (const uint64_t wrong : {uint64_t{2}, uint64_t{512}, uint64_t{1} << 60}) {
        QcowWriter writer = WriterOf();
        writer.SetEntry(1, (kOnlyOnce | PlaceOf(writer, 3)) + wrong);
        Open(writer);
        EXPECT_EQ(Read(1), "a table of the QCOW2 image is damaged");
        EXPECT_TRUE(Read(3) == Bytes(3));
        EXPECT_TRUE(container.notes.empty());
    }
}

TEST_F(ContestedQcow, WhatCannotBeReadOfATableIsNotCompared)
{
    QcowWriter writer = WriterOf({}, 130);
    writer.SetEntry(1, kOnlyOnce | PlaceOf(writer, 129));
    writer.SetEntry(3, kOnlyOnce | PlaceOf(writer, 4));
    const auto file = std::make_shared<FailingSource>(writer.Image());
    file->MakeBad(writer.L2At() + 129 * 8 / 512 * 512, 512);
    Open(file);
    EXPECT_TRUE(Read(1) == Bytes(129));
    EXPECT_EQ(Read(3), kContested);
    EXPECT_EQ(Read(4), kContested);
}

TEST_F(ContestedQcow, AnEntryThatHasNothingForItselfIsDamaged)
{
    QcowWriter writer = WriterOf();
    writer.SetEntry(1, kOnlyOnce);
    Open(writer);
    EXPECT_EQ(Read(1), "a table of the QCOW2 image is damaged");
}

// One wrong bit in the place of a cluster of an image that another program made: the bytes are lost
// or right, never those of another cluster.
TEST(ContestedQcowMade, AFlippedBitNeverShowsAnotherCluster)
{
    VX_NEEDS("qemu-img");
    constexpr size_t kSize = size_t{2} << 20;
    const TemporaryFolder folder{};
    const std::string disk = NoiseBytes(kSize, 1);
    folder.WriteFile("disk", disk);
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                         " && qemu-img convert -f raw -O qcow2 disk sound.qcow2"));
    const std::string sound = folder.ReadFile("sound.qcow2");
    const std::string place = QcowWriter::Number(sound.size() - 65536, 8).substr(1);
    const size_t lastEntry = sound.find(place) - 1;
    ASSERT_LT(lastEntry, sound.size());
    for (size_t entry = lastEntry - 31 * 8; entry <= lastEntry; entry += 8) {
        for (unsigned bit = 9; bit < 56; ++bit) {
            std::string image = sound;
            char &byte = image[entry + 7 - bit / 8];
            byte = static_cast<char>(byte ^ 1 << bit % 8);
            const auto opened = OpenQcow(SourceOf(image), NoParents(), nullptr);
            ASSERT_TRUE(opened);
            std::string bytes(65536, '?');
            for (size_t at = 0; at < kSize; at += bytes.size()) {
                if (!opened->source->ReadAt(at, bytes.data(), bytes.size())) {
                    ASSERT_TRUE(bytes == disk.substr(at, bytes.size())) << entry << " " << bit;
                }
            }
        }
    }
}

}  // namespace
}  // namespace vx
