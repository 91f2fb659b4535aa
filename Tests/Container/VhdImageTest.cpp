// VHD images: sound, damaged and hostile.
#include "VhdImage.h"
#include "OpenAt.h"
#include "OpenedImage.h"
#include "SourceWithHole.h"
#include "TestImage.h"
#include "VhdWriter.h"

namespace vx {
namespace {

constexpr size_t kBlock = 4096;
constexpr Status kDamaged = Status::kDamagedContainer;

class VhdImages : public testing::Test {
protected:
    // Three blocks; the middle one is not stored.
    VhdWriter Growing(const VhdRecipe &given = {}) const
    {
        VhdRecipe recipe = given;
        recipe.diskBytes = 3 * kBlock;
        VhdWriter writer(recipe);
        writer.AddBlock("\xFF", first);
        writer.AddNothing();
        writer.AddBlock("\x5F", IsChild(recipe) ? last : WithoutSectors(last));
        return writer;
    }

    static bool IsChild(const VhdRecipe &recipe) { return recipe.type == 4; }

    // Sectors 0 and 2 of the last block have no bit.
    static std::string WithoutSectors(std::string block)
    {
        return block.replace(0, 512, 512, '\0').replace(1024, 512, 512, '\0');
    }

    Container Open(const std::string &image) const
    {
        Container container;
        const std::string path = folder.WriteFile("x.vhd", image);
        const Error error = OpenAt(path, &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return container;
    }

    void ExpectFails(const std::string &image, Status status, const std::string &detail) const
    {
        Container container;
        const std::string path = folder.WriteFile("x.vhd", image);
        const Error error = OpenAt(path, &container);
        EXPECT_EQ(error.status, status);
        EXPECT_EQ(error.detail, detail);
    }

    const std::string first = NoiseBytes(kBlock, 1);
    const std::string last = NoiseBytes(kBlock, 2);
    const TemporaryFolder folder{};
};

TEST_F(VhdImages, WhatIsNotStoredIsZeros)
{
    const Container container = Open(Growing().Image());
    ASSERT_NE(container.source, nullptr);
    const std::string expected = first + std::string(kBlock, '\0') + WithoutSectors(last);
    ASSERT_EQ(container.source->Size(), expected.size());
    EXPECT_TRUE(Read(container, 0, expected.size()) == expected);
    for (size_t at = 0; at + 700 < expected.size(); at += 100)
        EXPECT_TRUE(Read(container, at, 700) == expected.substr(at, 700)) << at;
}

// A bit was lost, or the data was meant to be gone: nobody can say.
TEST_F(VhdImages, DataWithoutItsBitCannotBeRead)
{
    VhdRecipe recipe;
    recipe.diskBytes = kBlock;
    VhdWriter writer(recipe);
    writer.AddBlock("\xF3", std::string(2048, '\0') + first.substr(2048));  // not 4 and 5
    const Container container = Open(writer.Image());
    const std::string failed =
        "failed: read at 2048: the VHD image says that it was never written, "
        "and yet holds data for it, which qemu-img convert takes";
    EXPECT_EQ(Read(container, 2048, 1024), failed);
    EXPECT_EQ(Read(container, 512, 3000), failed);
    EXPECT_EQ(Read(container, 2500, 1), "failed: read at 2500" + failed.substr(20));
    EXPECT_TRUE(Read(container, 3072, 1024) == first.substr(3072));
    EXPECT_TRUE(Read(container, 0, 2048) == std::string(2048, '\0'));
    std::string bytes(kBlock, '?');
    EXPECT_EQ(container.source->ReadAt(512, bytes.data(), 3000).bytesRead, 1536u);
    EXPECT_EQ(container.source->ReadAt(2600, bytes.data(), 1000).bytesRead, 0u);
}

TEST_F(VhdImages, AClearedBitInAnImageOfQemuLosesItsSectorOnly)
{
    VX_NEEDS("qemu-img");
    const std::string disk = NoiseBytes(1 << 20, 5);
    folder.WriteFile("disk", disk);
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.Path()) +
                         " && qemu-img convert -f raw -O vpc -o force_size=on disk x.vhd"));
    std::string image = folder.ReadFile("x.vhd");
    const size_t bits = image.find(disk.substr(0, 512)) - 512;
    image[bits + 3] &= '\xEF';
    const Container container = Open(image);
    EXPECT_EQ(Read(container, 27 * 512, 512).rfind("failed: read at 13824: ", 0), 0u);
    for (size_t at = 0; at < disk.size(); at += 512) {
        if (at != 27 * 512)
            ASSERT_TRUE(Read(container, at, 512) == disk.substr(at, 512)) << at;
    }
}

TEST_F(VhdImages, SectorsWithoutABitThatCannotBeReadAreZeros)
{
    VhdRecipe recipe;
    recipe.diskBytes = kBlock;
    VhdWriter writer(recipe);
    writer.AddBlock("\xF3", first);
    const std::string image = writer.Image();
    const uint64_t bad = image.find(first) + 2048;
    const auto container =
        OpenVhd(std::make_shared<SourceWithHole>(image, bad, bad + 1024), NoParents());
    ASSERT_TRUE(container);
    std::string expected = first;
    expected.replace(2048, 1024, 1024, '\0');
    EXPECT_TRUE(Read(*container, 0, kBlock) == expected);
}

class DifferencingVhds : public VhdImages {
protected:
    static VhdRecipe Child(const std::u16string &parent)
    {
        VhdRecipe recipe;
        recipe.type = 4;
        recipe.parentName = parent;
        recipe.parentId = std::string(16, 'V');
        return recipe;
    }

    // What Growing stores, with its parent in the gaps.
    std::string Expected(const std::string &parent) const
    {
        std::string disk = first + parent.substr(kBlock, kBlock) + last;
        disk.replace(2 * kBlock, 512, parent.substr(2 * kBlock, 512));
        return disk.replace(2 * kBlock + 1024, 512, parent.substr(2 * kBlock + 1024, 512));
    }

    std::string Fixed(const std::string &disk) const
    {
        VhdRecipe recipe;
        recipe.type = 2;
        recipe.diskBytes = disk.size();
        VhdWriter writer(recipe);
        writer.AddBlock("", disk);
        return writer.Image();
    }

    const std::string base = NoiseBytes(3 * kBlock, 9);
};

TEST_F(DifferencingVhds, WhatTheChildDoesNotHoldComesFromItsParent)
{
    folder.WriteFile("b\u00E4se.vhd", Fixed(base));
    const Container container = Open(Growing(Child(u"b\u00E4se.vhd")).Image());
    EXPECT_TRUE(Read(container, 0, base.size()) == Expected(base));
    for (size_t at = 0; at + 700 < base.size(); at += 100)
        EXPECT_TRUE(Read(container, at, 700) == Expected(base).substr(at, 700)) << at;
    EXPECT_EQ(container.description, "a differencing VHD image");
    EXPECT_EQ(container.files.size(), 2u);
}

TEST_F(DifferencingVhds, ALocatorCountsBeforeTheName)
{
    folder.WriteFile("name.vhd", Fixed(std::string(base.size(), 'x')));
    folder.WriteFile("absolute.vhd", Fixed(std::string(base.size(), 'y')));
    VhdRecipe recipe = Child(u"name.vhd");
    recipe.locators = {{"W2ku", u"C:\\folder\\absolute.vhd"}, {"W2ru", u".\\folder\\base.vhd"}};
    const Container other = Open(Growing(recipe).Image());
    EXPECT_TRUE(Read(other, kBlock, kBlock) == std::string(kBlock, 'y'));
    folder.WriteFile("base.vhd", Fixed(base));
    EXPECT_TRUE(Read(Open(Growing(recipe).Image()), 0, base.size()) == Expected(base));
}

TEST_F(DifferencingVhds, AParentMayHaveAParentAndBeShorter)
{
    folder.WriteFile("base.vhd", Fixed(base.substr(0, kBlock + 512)));
    VhdRecipe middle = Child(u"base.vhd");
    middle.id = std::string(16, 'M');
    folder.WriteFile("middle.vhd", Growing(middle).Image());
    VhdRecipe recipe = Child(u"middle.vhd");
    recipe.parentId = middle.id;
    recipe.diskBytes = 3 * kBlock;
    VhdWriter writer(recipe);
    for (size_t block = 0; block < 3; ++block)
        writer.AddNothing();
    const std::string padded = base.substr(0, kBlock + 512) + std::string(2 * kBlock - 512, '\0');
    const Container container = Open(writer.Image());
    EXPECT_TRUE(Read(container, 0, base.size()) == Expected(padded));
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "its parent middle.vhd: its parent base.vhd is shorter than the disk: of the 7680 "
              "bytes beyond its end those that the image lacks are taken for zeros");
}

TEST_F(DifferencingVhds, WithoutTheRightParentTheFileIsNamed)
{
    const std::string child = Growing(Child(u"base.vhd")).Image();
    ExpectFails(child, Status::kTruncatedImage,
                "its parent base.vhd is missing: put it into the folder of x.vhd");
    VhdRecipe other = Child(u"base.vhd");
    other.parentId = std::string(16, 'P');
    folder.WriteFile("base.vhd", Fixed(base));
    ExpectFails(Growing(other).Image(), Status::kUnsupportedContainer,
                "its parent base.vhd is not the image that x.vhd was made from, or was changed "
                "since: put the right one into its place");
    folder.WriteFile("base.vhd", "no image");
    ExpectFails(child, Status::kUnsupportedContainer,
                "its parent base.vhd does not open: it is not of the format that is needed");
    ExpectFails(Growing(Child(u"")).Image(), Status::kUnsupportedContainer,
                "it is a differencing VHD image and does not name its parent, so the two must be "
                "merged into one image first");
    ExpectFails(Growing(Child(u"C:\\b\u001B[31mase.vhd")).Image(), Status::kTruncatedImage,
                "its parent b?[31mase.vhd is missing: put it into the folder of x.vhd");
}

TEST_F(VhdImages, TheFirstFooterTakesThePlaceOfTheLast)
{
    std::string image = Growing().Image();
    image[image.size() - 300] ^= 1;
    const Container container = Open(image);
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, kBlock) == first);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0], "the footer of the VHD image is damaged; its copy is used");
}

TEST_F(VhdImages, TheFirstFooterTakesThePlaceOfALastOneThatCannotBeRead)
{
    const std::string image = Growing().Image();
    const auto file = std::make_shared<SourceWithHole>(image, image.size() - 512, image.size());
    ASSERT_TRUE(IsVhdImage(*file));
    const auto container = OpenVhd(file, NoParents());
    ASSERT_TRUE(container) << container.Failure().detail;
    EXPECT_TRUE(Read(*container, 0, kBlock) == first);
    EXPECT_EQ(
        container->notes,
        std::vector<std::string>{"the footer of the VHD image cannot be read; its copy is used"});
    file->MoveHole(0, 512);
    EXPECT_TRUE(OpenVhd(file, NoParents()));
}

TEST_F(VhdImages, OfFixedSizeTheDiskIsReadWithoutASoundFooter)
{
    VhdRecipe recipe;
    recipe.type = 2;
    recipe.diskBytes = kBlock;
    VhdWriter writer(recipe);
    writer.AddBlock("", first);
    std::string image = writer.Image();
    EXPECT_TRUE(Open(image).notes.empty());
    image[image.size() - 300] ^= 1;
    const Container container = Open(image);
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, kBlock) == first);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0], "the footer of the VHD image is damaged");
}

TEST_F(VhdImages, OneOfFixedSizeThatPromisesMoreSaysSo)
{
    VhdRecipe recipe;
    recipe.type = 2;
    recipe.diskBytes = 5000;
    VhdWriter writer(recipe);
    writer.AddBlock("", first);
    const Container container = Open(writer.Image());
    ASSERT_NE(container.source, nullptr);
    EXPECT_EQ(container.source->Size(), kBlock);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0], "the VHD image says that it holds 5000 bytes and holds 4096");
}

TEST_F(VhdImages, AnEntryThatLeadsOutOfTheFileFailsAlone)
{
    VhdWriter writer = Growing();
    writer.SetEntry(1, 0xFFFFFFFE);
    const Container container = Open(writer.Image());
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, kBlock) == first);
    EXPECT_EQ(Read(container, kBlock + 100, 50),
              "failed: read at 4196: the VHD image ends before this place");
}

class VhdsWithSharedPlaces : public VhdImages {
protected:
    // The first two blocks are stored whole, the last one as in Growing.
    VhdWriter Full() const
    {
        VhdRecipe recipe;
        recipe.diskBytes = 2 * kBlock + kNeeded;
        VhdWriter writer(recipe);
        writer.AddBlock("\xFF", first);
        writer.AddBlock("\xFF", first);
        writer.AddBlock("\xFF", last);
        return writer;
    }

    // Of the blocks that cannot be read; the others are those of Full.
    void ExpectContested(const VhdWriter &writer, const std::vector<size_t> &contested) const
    {
        const Container container = Open(writer.Image());
        EXPECT_EQ(container.notes,
                  std::vector<std::string>{"blocks of the VHD image lie in the same place, which "
                                           "is impossible; they cannot be read"});
        const std::string disk = first + first + last.substr(0, kNeeded);
        for (size_t block = 0; block < 3; ++block) {
            const bool isContested =
                std::find(contested.begin(), contested.end(), block) != contested.end();
            const std::string expected =
                isContested ? "failed: read at " + std::to_string(block * kBlock) +
                                  ": the VHD image keeps two blocks in the same place"
                            : disk.substr(block * kBlock, 1000);
            EXPECT_TRUE(Read(container, block * kBlock, 1000) == expected) << block;
        }
    }

    static constexpr size_t kNeeded = 1024;  // of the last block
    static constexpr uint32_t kSectors = kBlock / 512 + 1;
    static constexpr uint32_t kFirst = 8;  // where the blocks begin in the file
};

TEST_F(VhdsWithSharedPlaces, BlocksApartAreRead)
{
    const Container container = Open(Full().Image());
    EXPECT_TRUE(container.notes.empty());
    EXPECT_TRUE(Read(container, 0, 2 * kBlock + kNeeded) ==
                first + first + last.substr(0, kNeeded));
}

TEST_F(VhdsWithSharedPlaces, BlocksThatOverlapCannotBeReadAndOthersCan)
{
    for (const uint32_t shift : {0u, 1u, kSectors - 1}) {
        VhdWriter writer = Full();
        writer.SetEntry(0, kFirst + kSectors + shift);
        std::vector<size_t> contested = {0, 1};
        if (shift > 0)
            contested.push_back(2);
        ExpectContested(writer, contested);
    }
}

TEST_F(VhdsWithSharedPlaces, ABlockInTheTablesCannotBeRead)
{
    constexpr uint32_t kFooter = kFirst + 3 * kSectors;
    for (const uint32_t sector : {0u, 1u, 2u, 3u, kFooter}) {
        VhdWriter writer = Full();
        writer.SetEntry(0, sector);
        ExpectContested(writer, {0});
    }
}

TEST_F(VhdsWithSharedPlaces, OfTheLastBlockOnlyWhatTheDiskNeedsCounts)
{
    VhdWriter writer = Full();
    constexpr uint32_t kNeededSectors = kNeeded / 512 + 1;
    writer.SetEntry(2, kFirst + 3 * kSectors - kNeededSectors);
    const Container container = Open(writer.Image());
    EXPECT_TRUE(container.notes.empty());
    writer.SetEntry(2, kFirst + 3 * kSectors - kNeededSectors + 1);
    ExpectContested(writer, {2});
}

TEST_F(VhdsWithSharedPlaces, ABadSectorOfTheTableHidesOnlyItsOwnEntries)
{
    constexpr size_t kEntries = 512;
    VhdRecipe recipe;
    recipe.diskBytes = kEntries * kBlock;
    recipe.tableAt = 1536;
    VhdWriter writer(recipe);
    for (size_t block = 0; block < kEntries; ++block)
        writer.AddNothing();
    writer.SetEntry(300, 20);
    writer.SetEntry(400, 21);
    std::string image = writer.Image();
    image.resize(40 * 512);
    const auto file = std::make_shared<SourceWithHole>(image + writer.Footer(), 1536, 1537);
    const auto container = OpenVhd(file, NoParents());
    ASSERT_TRUE(container);
    EXPECT_EQ(Read(*container, 300 * kBlock, 50).substr(0, 6), "failed");
    EXPECT_EQ(Read(*container, 200 * kBlock, 50), std::string(50, '\0'));
}

TEST_F(VhdImages, ADiskThatIsLargerThanItsTableFailsBehindIt)
{
    VhdRecipe recipe;
    recipe.entries = 1;
    const Container container = Open(Growing(recipe).Image());
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, kBlock) == first);
    EXPECT_EQ(Read(container, kBlock, 50),
              "failed: read at 4096: the table of the VHD image ends before this place");
}

TEST_F(VhdImages, ATableThatLiesOutsideOfTheFileIsTruncated)
{
    VhdRecipe recipe;
    recipe.entries = 0xFFFFFFFF;
    ExpectFails(Growing(recipe).Image(), Status::kTruncatedImage, "the VHD image ends early");
    recipe.entries = 3;
    recipe.tableAt = ~uint64_t{0} - 5;
    ExpectFails(Growing(recipe).Image(), Status::kTruncatedImage, "the VHD image ends early");
}

TEST_F(VhdImages, AHeaderThatMakesNoSenseIsDamage)
{
    const std::string detail =
        "the VHD image is damaged, or one of its parts is missing or cannot be read";
    for (const uint32_t blockBytes : {0u, 256u, 5000u, 0x80000000u}) {
        VhdRecipe recipe;
        recipe.blockBytes = blockBytes;
        ExpectFails(Growing(recipe).Image(), kDamaged, detail);
    }
    std::string image = Growing().Image();
    image[512 + 900] ^= 1;
    ExpectFails(image, kDamaged, detail);
    VhdRecipe recipe;
    recipe.type = 9;
    ExpectFails(Growing(recipe).Image(), kDamaged, detail);
}

TEST_F(VhdImages, OneThatAnotherProgramWroteReadsAsItsDisk)
{
    VX_NEEDS("qemu-img");
    std::string raw = NoiseBytes(3000000, 3);
    raw.resize(12 << 20);
    raw.replace(9 << 20, 100000, NoiseBytes(100000, 4));
    folder.WriteFile("raw", raw);
    for (const char *kind : {"dynamic", "fixed"}) {
        ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                             " && qemu-img convert -f raw -O vpc -o force_size=on,subformat=" +
                             kind + " raw x.vhd"));
        Container container;
        ASSERT_FALSE(OpenAt(folder.At("x.vhd"), &container)) << kind;
        ASSERT_EQ(container.source->Size(), raw.size());
        EXPECT_TRUE(Read(container, 0, raw.size()) == raw) << kind;
    }
}

}  // namespace
}  // namespace vx
