// Backing files and data files of QCOW2 images.
#include "OpenAt.h"
#include "QcowTest.h"

namespace vx {
namespace {

class QcowChains : public QcowTest {
protected:
    Container Open(const std::string &name) const
    {
        Container container;
        const Error error = OpenAt(folder.At(name), &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return error ? Container{SourceOf("")} : container;
    }

    void ExpectFails(const std::string &name, Status status, const std::string &detail) const
    {
        Container container;
        const Error error = OpenAt(folder.At(name), &container);
        EXPECT_EQ(error.status, status);
        EXPECT_EQ(error.detail, detail);
    }

    std::string Above(const std::string &name, const std::string &format = "") const
    {
        QcowRecipe recipe;
        recipe.backingFile = name;
        recipe.backingFormat = format;
        return Writer(recipe).Image();
    }

    const TemporaryFolder folder{};
};

TEST_F(QcowChains, WhatAnImageDoesNotHoldIsThatOfItsBackingFile)
{
    const std::string base = NoiseBytes(5 * kCluster, 9);
    folder.WriteFile("base", base);
    folder.WriteFile("x.qcow2", Above("/elsewhere/base", "raw"));
    const Container container = Open("x.qcow2");
    std::string expected = disk;
    expected.replace(kCluster, kCluster, base, kCluster, kCluster);
    EXPECT_TRUE(Read(container, 0, disk.size()) == expected);
    EXPECT_EQ(container.description,
              "a QCOW2 image of version 3, with the backing file /elsewhere/base");
    EXPECT_EQ(container.files, (std::vector<std::string>{folder.At("x.qcow2"), folder.At("base")}));
}

TEST_F(QcowChains, BeyondTheEndOfAShorterBackingFileThereAreZeros)
{
    const std::string base = NoiseBytes(kCluster + 700, 9);
    folder.WriteFile("base", base);
    folder.WriteFile("x.qcow2", Above("base", "raw"));
    std::string expected = disk;
    expected.replace(kCluster, 700, base, kCluster, 700);
    const Container container = Open("x.qcow2");
    EXPECT_TRUE(Read(container, 0, disk.size()) == expected);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "its parent base is shorter than the disk: of the 15684 bytes beyond its end those "
              "that the image lacks are taken for zeros");
}

TEST_F(QcowChains, ABackingFileThatIsAsLongAsTheDiskIsNotReported)
{
    folder.WriteFile("base", NoiseBytes(disk.size(), 9));
    folder.WriteFile("x.qcow2", Above("base", "raw"));
    EXPECT_TRUE(Open("x.qcow2").notes.empty());
}

TEST_F(QcowChains, ABackingFileThatIsNamedRawIsNotLookedInto)
{
    const std::string base = Writer().Image();
    folder.WriteFile("base", base);
    folder.WriteFile("x.qcow2", Above("base", "raw"));
    EXPECT_TRUE(Read(Open("x.qcow2"), kCluster, kCluster) == base.substr(kCluster, kCluster));
    folder.WriteFile("x.qcow2", Above("base", "qcow2"));
    EXPECT_TRUE(Read(Open("x.qcow2"), 0, disk.size()) == disk);
    folder.WriteFile("x.qcow2", Above("base"));
    EXPECT_TRUE(Read(Open("x.qcow2"), 0, disk.size()) == disk);
}

TEST_F(QcowChains, AnImageAmongItsOwnAncestorsIsRefused)
{
    folder.WriteFile("a", Above("b"));
    folder.WriteFile("b", Above("a"));
    folder.WriteFile("c", Above("c"));
    ExpectFails("a", Status::kUnsupportedContainer, "its parent a is one of its own children");
    ExpectFails("c", Status::kUnsupportedContainer, "its parent c is one of its own children");
}

TEST_F(QcowChains, AMissingBackingFileIsNamed)
{
    folder.WriteFile("x.qcow2", Above("/tmp/base.img"));
    ExpectFails("x.qcow2", Status::kTruncatedImage,
                "its parent base.img is missing: put it into the folder of x.qcow2");
}

TEST_F(QcowChains, WhatCannotBeReadInABackingFileIsLostThere)
{
    QcowWriter writer = Writer();
    writer.SetEntry(1, QcowWriter::kOnlyOnce | writer.L1At());
    folder.WriteFile("base", writer.Image());
    folder.WriteFile("x.qcow2", Above("base"));
    const Container container = Open("x.qcow2");
    EXPECT_EQ(
        Read(container, kCluster, 10),
        Failure(kCluster, "in the backing file, read at 4096: " + std::string(kDamagedTable)));
    EXPECT_TRUE(Read(container, 2 * kCluster, kCluster) == packed);
}

TEST_F(QcowChains, AnExternalDataFileHoldsTheClusters)
{
    QcowRecipe recipe;
    recipe.hasDataFile = true;
    recipe.dataFile = "x.data";
    QcowWriter writer(recipe);
    writer.AddStored(first);
    writer.AddNothing();
    writer.AddStored(last);
    folder.WriteFile("x.qcow2", writer.Image());
    ExpectFails("x.qcow2", Status::kTruncatedImage, "its data file x.data is missing");
    folder.WriteFile("x.data", writer.DataFile());
    EXPECT_TRUE(Read(Open("x.qcow2"), 0, 3 * kCluster) ==
                first + std::string(kCluster, '\0') + last);
    recipe.dataFile = "../x.data";
    QcowWriter other(recipe);
    other.AddStored(first);
    folder.WriteFile("x.qcow2", other.Image());
    ExpectFails("x.qcow2", Status::kUnsupportedContainer,
                "its data file ../x.data lies elsewhere, and only files beside the image are read");
}

TEST_F(QcowChains, ADataFileHoldsNoCompressedClusters)
{
    QcowWriter packing{QcowRecipe()};
    packing.AddPacked(packed);
    QcowRecipe recipe;
    recipe.hasDataFile = true;
    recipe.dataFile = "x.data";
    QcowWriter writer(recipe);
    // Beyond the places at which the image itself has its tables.
    constexpr size_t kLast = 8;
    for (size_t i = 0; i < kLast; ++i)
        writer.AddStored(first);
    writer.AddStored(packing.Image().substr(packing.ClustersAt(), kCluster));
    writer.SetEntry(kLast, QcowWriter::kPacked | uint64_t{7} << 58 | kLast * kCluster);
    folder.WriteFile("x.qcow2", writer.Image());
    folder.WriteFile("x.data", writer.DataFile());
    const Container container = Open("x.qcow2");
    EXPECT_TRUE(Read(container, 0, kCluster) == first);
    EXPECT_EQ(Read(container, kLast * kCluster, 10), Failure(kLast * kCluster, kDamagedTable));
}

TEST_F(QcowChains, ADataFileThatIsTooShortIsReported)
{
    QcowRecipe recipe;
    recipe.hasDataFile = true;
    recipe.dataFile = "x.data";
    QcowWriter writer(recipe);
    writer.AddStored(first);
    writer.AddStored(last);
    folder.WriteFile("x.qcow2", writer.Image());
    folder.WriteFile("x.data", writer.DataFile().substr(0, kCluster + 96));
    const Container container = Open("x.qcow2");
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "the QCOW2 image ends early; 4000 bytes of the disk cannot be read");
    EXPECT_TRUE(Read(container, 0, kCluster + 96) == first + last.substr(0, 96));
}

}  // namespace
}  // namespace vx
