// Images whose parts contradict each other where it cannot be decided which is right: they open,
// with a note.
#include "VhdxTest.h"
#include "VmdkWriter.h"

namespace vx {
namespace {

using Notes = std::vector<std::string>;

const std::string kHidden =
    "blocks of the VHDX image are marked as zeros, and read as such, although "
    "data is stored for them: ";
const std::string kBeyond =
    "the size that the VHDX image states may be wrong; blocks that it holds "
    "beyond the end of such a disk, which are not read: ";
const std::string kAbsent =
    "the VHDX image is a fixed one; blocks that it lacks nevertheless, which "
    "are read as zeros: ";

class ContradictoryVhdx : public VhdxTest {
protected:
    // Of four blocks, the third of zeros but not marked so.
    VhdxWriter Writer(uint64_t diskBytes, bool isFixed = false) const
    {
        VhdxRecipe recipe;
        recipe.diskBytes = diskBytes;
        recipe.isFixed = isFixed;
        VhdxWriter writer(recipe);
        for (size_t block = 0; block < 4; ++block)
            writer.AddBlock(disk.substr(block * kMiB, kMiB));
        return writer;
    }

    // The bits of an entry that say what the block is.
    static void SetState(const VhdxWriter &writer, uint64_t block, uint8_t state,
                         std::string *image)
    {
        (*image)[writer.EntryAt(block)] = static_cast<char>(state);
    }

    const std::string disk =
        NoiseBytes(2 * kMiB, 1) + Zeros(kMiB) + Zeros(kMiB - 1) + std::string(1, 'x');
};

TEST_F(ContradictoryVhdx, BlocksOfZerosThatHoldDataAreReported)
{
    const VhdxWriter writer = Writer(disk.size());
    std::string image = writer.Image();
    EXPECT_EQ(Open(image).notes, Notes());
    SetState(writer, 2, 2, &image);
    EXPECT_EQ(Open(image).notes, Notes());
    SetState(writer, 0, 2, &image);
    EXPECT_EQ(Open(image).notes, Notes{kHidden + "1"});
    SetState(writer, 3, 2, &image);
    const Container container = Open(image);
    EXPECT_EQ(container.notes, Notes{kHidden + "2"});
    ExpectDisk(container, Zeros(kMiB) + disk.substr(kMiB, kMiB) + Zeros(2 * kMiB));
}

// What was discarded may keep its place, which the format allows.
TEST_F(ContradictoryVhdx, DiscardedBlocksAreNotReported)
{
    const VhdxWriter writer = Writer(disk.size());
    for (const uint8_t state : {1, 3}) {
        std::string image = writer.Image();
        SetState(writer, 0, state, &image);
        EXPECT_EQ(Open(image).notes, Notes());
    }
}

TEST_F(ContradictoryVhdx, APlaceThatAnotherBlockHasTakenIsNotReported)
{
    const VhdxWriter writer = Writer(disk.size());
    std::string image = writer.Image();
    const std::string entry = image.substr(writer.EntryAt(1), 8);
    image.replace(writer.EntryAt(0), 8, entry);
    SetState(writer, 0, 2, &image);
    EXPECT_EQ(Open(image).notes, Notes());
}

TEST_F(ContradictoryVhdx, BlocksBeyondTheEndOfTheDiskAreReported)
{
    const Container container = Open(Writer(2 * kMiB).Image());
    EXPECT_EQ(container.notes, Notes{kBeyond + "2"});
    ExpectDisk(container, disk.substr(0, 2 * kMiB));
    EXPECT_EQ(Open(Writer(4 * kMiB - 512).Image()).notes, Notes());
}

TEST_F(ContradictoryVhdx, BlocksThatAFixedImageLacksAreReported)
{
    EXPECT_EQ(Open(Writer(disk.size(), true).Image()).notes, Notes());
    EXPECT_EQ(Open(Writer(7 * kMiB, true).Image()).notes, Notes{kAbsent + "3"});
    EXPECT_EQ(Open(Writer(7 * kMiB).Image()).notes, Notes());
}

class ContradictoryVmdk : public VhdxTest {
protected:
    static std::string WithText(uint64_t sectors)
    {
        VmdkWriter writer;
        writer.AddGrain(NoiseBytes(VmdkWriter::kGrain, 1));
        writer.AddGrain(NoiseBytes(VmdkWriter::kGrain, 2));
        writer.SetText("# Disk DescriptorFile\nRW " + std::to_string(sectors) +
                       " SPARSE \"x.vmdk\"\n");
        return writer.Image();
    }
};

TEST_F(ContradictoryVmdk, ASizeThatTheTextDoesNotConfirmIsReported)
{
    EXPECT_EQ(Open(WithText(16), "x.vmdk").notes, Notes());
    const Container container = Open(WithText(24), "x.vmdk");
    EXPECT_EQ(container.source->Size(), 16u * 512);
    EXPECT_EQ(
        container.notes,
        Notes{"the header of x.vmdk gives its disk 16 sectors, which are read, and its text 24"});
}

class QemuImages : public VhdxTest, public testing::WithParamInterface<const char *> {};

TEST_P(QemuImages, AnImageOfQemuDoesNotContradictItself)
{
    VX_NEEDS("qemu-img");
    folder.WriteFile("disk", NoiseBytes(3 * kMiB, 1) + Zeros(5 * kMiB + 1000));
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.Path()) + " && qemu-img convert -f raw -O " +
                         GetParam() + " disk x"));
    EXPECT_EQ(Open(folder.ReadFile("x"), "y").notes, Notes());
}

INSTANTIATE_TEST_SUITE_P(Contradictions, QemuImages,
                         testing::Values("vhdx -o subformat=fixed,block_size=1M",
                                         "vhdx -o subformat=fixed,block_state_zero=off",
                                         "vhdx -o block_size=1M", "vhdx -o block_state_zero=off",
                                         "vmdk", "vmdk -o subformat=streamOptimized",
                                         "vmdk -o subformat=twoGbMaxExtentSparse"));

}  // namespace
}  // namespace vx
