// Differencing VHDX images: what the child does not hold is read from its parent.
#include "SourceWithHole.h"
#include "VhdxTest.h"

#include <cstdio>

namespace vx {
namespace {

constexpr const char16_t *kParentId = u"{44444444-4444-4444-4444-444444444444}";

class VhdxChildren : public VhdxTest {
protected:
    static VhdxRecipe ChildOf(const std::u16string &name, const std::u16string &id = kParentId)
    {
        VhdxRecipe recipe;
        recipe.diskBytes = 4 * kMiB;
        recipe.dataId = std::string(16, 'C');
        recipe.parent = {{u"parent_linkage", id}, {u"relative_path", u"..\\elsewhere\\" + name}};
        return recipe;
    }

    std::string Parent(VhdxRecipe recipe = {}) const
    {
        recipe.diskBytes = base.size();
        VhdxWriter writer(recipe);
        for (size_t block = 0; block < 4; ++block)
            writer.AddBlock(base.substr(block * kMiB, kMiB));
        return writer.Image();
    }

    // One block that is not there, one of zeros, one of which every third sector is there, and one
    // that is there.
    std::string Child(const VhdxRecipe &recipe) const
    {
        VhdxWriter writer(recipe);
        writer.AddState(0);
        writer.AddState(2);
        writer.AddPartly(Thirds(recipe.sectorBytes), own);
        writer.AddBlock(other);
        return writer.Image();
    }

    static std::string Thirds(uint32_t sectorBytes)
    {
        std::string sectors;
        for (size_t sector = 0; sector < kMiB / sectorBytes; ++sector)
            sectors += sector % 3 == 1 ? '1' : '0';
        return sectors;
    }

    std::string Expected(uint32_t sectorBytes) const
    {
        std::string disk = base.substr(0, kMiB) + Zeros(kMiB) + base.substr(2 * kMiB, kMiB) + other;
        for (size_t at = sectorBytes; at < kMiB; at += size_t{3} * sectorBytes)
            disk.replace(2 * kMiB + at, sectorBytes, own.substr(at, sectorBytes));
        return disk;
    }

    const std::string base = NoiseBytes(4 * kMiB, 5);
    const std::string own = NoiseBytes(kMiB, 6);
    const std::string other = NoiseBytes(kMiB, 7);
};

TEST_F(VhdxChildren, WhatTheChildDoesNotHoldComesFromItsParent)
{
    for (const uint32_t sectorBytes : {512u, 4096u}) {
        VhdxRecipe parent;
        parent.sectorBytes = sectorBytes;
        folder.WriteFile("base.vhdx", Parent(parent));
        VhdxRecipe recipe = ChildOf(u"base.vhdx");
        recipe.sectorBytes = sectorBytes;
        const Container container = Open(Child(recipe));
        ExpectDisk(container, Expected(sectorBytes));
        EXPECT_EQ(container.description, "a differencing VHDX image");
        const std::vector<std::string> files = {folder.At("x.vhdx"), folder.At("base.vhdx")};
        EXPECT_EQ(container.files, files);
    }
}

// The bits of 4 GiB lie in one block, and those of the next 4 GiB in another.
TEST_F(VhdxChildren, TheBitsOfEachFourGibibytesAreTheirOwn)
{
    VhdxRecipe parent;
    parent.diskBytes = 4 * kMiB;
    VhdxWriter base(parent);
    base.AddBlock(own);
    folder.WriteFile("base.vhdx", base.Image());
    VhdxRecipe recipe = ChildOf(u"base.vhdx");
    recipe.diskBytes = 4098 * kMiB;
    VhdxWriter writer(recipe);
    writer.AddPartly(Thirds(512), other);
    for (size_t block = 1; block < 4097; ++block)
        writer.AddState(0);
    writer.AddPartly("01", own);
    const Container container = Open(writer.Image());
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "its parent base.vhdx is shorter than the disk: of the 4292870144 bytes beyond its "
              "end those that the image lacks are taken for zeros");
    EXPECT_TRUE(Read(container, 0, 512) == own.substr(0, 512));
    EXPECT_TRUE(Read(container, 512, 512) == other.substr(512, 512));
    // Beyond the end of the parent.
    EXPECT_TRUE(Read(container, 4 * kMiB - 512, kMiB) == Zeros(kMiB));
    EXPECT_TRUE(Read(container, 4097 * kMiB, 2048) ==
                Zeros(512) + own.substr(512, 512) + Zeros(1024));
}

TEST_F(VhdxChildren, AChainOfThreeIsRead)
{
    folder.WriteFile("base.vhdx", Parent());
    folder.WriteFile("middle.vhdx", Child(ChildOf(u"base.vhdx")));
    VhdxRecipe recipe = ChildOf(u"middle.vhdx", u"{43434343-4343-4343-4343-434343434343}");
    recipe.parent.emplace_back(u"absolute_win32_path", u"\\\\?\\c:\\disks\\middle.vhdx");
    VhdxWriter writer(recipe);
    writer.AddPartly("1", other);
    for (size_t block = 1; block < 4; ++block)
        writer.AddState(0);
    std::string expected = Expected(512);
    expected.replace(0, 512, other.substr(0, 512));
    ExpectDisk(Open(writer.Image()), expected);
}

TEST_F(VhdxChildren, TheParentIsKnownByItsIdentifier)
{
    folder.WriteFile("base.vhdx", Parent());
    VhdxRecipe recipe = ChildOf(u"base.vhdx", u"{55555555-5555-5555-5555-555555555555}");
    ExpectFails(Child(recipe), Status::kUnsupportedContainer,
                "its parent base.vhdx is not the image that x.vhdx was made from, or was changed "
                "since: put the right one into its place");
    recipe.parent.emplace_back(u"parent_linkage2", kParentId);
    ExpectDisk(Open(Child(recipe)), Expected(512));
}

TEST_F(VhdxChildren, AParentThatIsMissingOrNotNamedIsReported)
{
    VhdxRecipe recipe = ChildOf(u"base.vhdx");
    ExpectFails(Child(recipe), Status::kTruncatedImage,
                "its parent base.vhdx is missing: put it into the folder of x.vhdx");
    recipe.parent.pop_back();
    ExpectFails(Child(recipe), Status::kUnsupportedContainer,
                "it is a differencing VHDX image and does not name its parent, so the two must be "
                "merged into one image first");
    recipe.parent = {{u"relative_path", u"base.vhdx"}};
    ExpectFails(Child(recipe), Status::kDamagedContainer,
                "the VHDX image is damaged: it does not say which parent it has");
}

TEST_F(VhdxChildren, AParentOfAnotherFormatIsRefused)
{
    folder.WriteFile("base.vhdx", "no image at all");
    ExpectFails(Child(ChildOf(u"base.vhdx")), Status::kUnsupportedContainer,
                "its parent base.vhdx does not open: it is not of the format that is needed");
}

TEST_F(VhdxChildren, AParentWithOtherSectorsIsDamage)
{
    VhdxRecipe parent;
    parent.sectorBytes = 4096;
    folder.WriteFile("base.vhdx", Parent(parent));
    ExpectFails(Child(ChildOf(u"base.vhdx")), Status::kDamagedContainer,
                "the VHDX image is damaged: its sectors are not as large as those of its parent");
}

TEST_F(VhdxChildren, AnImageThatIsItsOwnParentIsRefused)
{
    ExpectFails(Child(ChildOf(u"x.vhdx", u"{43434343-4343-4343-4343-434343434343}")),
                Status::kUnsupportedContainer, "its parent x.vhdx is one of its own children");
}

TEST_F(VhdxChildren, DamageOfTheParentIsReportedWithItsName)
{
    std::string parent = Parent();
    parent[(64 << 10) + 100] ^= 1;
    folder.WriteFile("base.vhdx", parent);
    const Container container = Open(Child(ChildOf(u"base.vhdx")));
    EXPECT_EQ(container.notes, std::vector<std::string>{
                                   "its parent base.vhdx: a header of the VHDX image is damaged; "
                                   "the other one is used"});
    folder.WriteFile("base.vhdx", parent.substr(0, 3 << 20));
    ExpectFails(Child(ChildOf(u"base.vhdx")), Status::kTruncatedImage,
                "its parent base.vhdx does not open: the VHDX image ends early");
}

TEST_F(VhdxChildren, WithoutTheirBitsBlocksCannotBeRead)
{
    folder.WriteFile("base.vhdx", Parent());
    VhdxWriter writer(ChildOf(u"base.vhdx"));
    writer.AddPartly("1", own);
    for (size_t block = 1; block < 4; ++block)
        writer.AddState(0);
    std::string image = writer.Image();
    VhdxWriter::Put(writer.EntryOfBitsAt(0), 0, 8, &image);
    const Container container = Open(image);
    EXPECT_EQ(Read(container, 10, 1),
              "failed: read at 10: the table of the VHDX image lacks the bits of a block");
    EXPECT_TRUE(Read(container, kMiB, kMiB) == base.substr(kMiB, kMiB));
}

TEST_F(VhdxChildren, BitsThatCannotBeReadAreAGapAndNotTheParentsBytes)
{
    VhdxWriter writer(ChildOf(u"base.vhdx"));
    writer.AddPartly("1", own);
    for (size_t block = 1; block < 4; ++block)
        writer.AddState(0);
    const uint64_t bits = writer.BlocksAt() + kMiB;
    const auto file = std::make_shared<SourceWithHole>(writer.Image(), bits, bits + 512);
    const auto container = OpenVhdx(file, [&](const ParentWanted &) {
        Container parent = {SourceOf(base)};
        parent.sectorBytes = 512;
        return parent;
    });
    ASSERT_TRUE(container);
    EXPECT_EQ(Read(*container, 0, 1), "failed: read at 0: bad sector");
    EXPECT_TRUE(Read(*container, kMiB, kMiB) == base.substr(kMiB, kMiB));
}

TEST_F(VhdxChildren, BitsOfABlockThatIsWhollyPresentDoNotMatter)
{
    folder.WriteFile("base.vhdx", Parent());
    VhdxWriter writer(ChildOf(u"base.vhdx"));
    writer.AddPartly("0", own);
    writer.AddState(0);
    writer.AddState(0);
    writer.AddState(0);
    std::string image = writer.Image();
    EXPECT_TRUE(Read(Open(image), 0, kMiB) == base.substr(0, kMiB));
    VhdxWriter::Put(writer.EntryAt(0), 6 | writer.BlocksAt(), 8, &image);
    EXPECT_TRUE(Read(Open(image), 0, kMiB) == own);
}

}  // namespace
}  // namespace vx
