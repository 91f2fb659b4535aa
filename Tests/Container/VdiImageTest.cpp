// VDI images: sound, damaged and hostile.
#include "VdiImage.h"
#include "CarefulSource.h"
#include "FailingSource.h"
#include "OpenAt.h"
#include "OpenedImage.h"
#include "TestImage.h"
#include "VdiMap.h"
#include "VdiWriter.h"

namespace vx {
namespace {

constexpr size_t kBlock = 4096;

Container Opened(const std::string &image)
{
    return Checked(OpenVdi(SourceOf(image)));
}

void ExpectRefused(const std::string &image, Status status, const std::string &detail)
{
    ExpectFailure(OpenVdi(SourceOf(image)), status, detail);
}

// Four blocks: stored, never written, discarded, stored.
class VdiImages : public testing::Test {
protected:
    VdiWriter Writer(const VdiRecipe &recipe = {}) const
    {
        VdiWriter writer(recipe);
        writer.AddBlock(first);
        writer.AddEntry(VdiWriter::kNever);
        writer.AddEntry(VdiWriter::kDiscarded);
        writer.AddBlock(last);
        return writer;
    }

    const std::string first = NoiseBytes(kBlock, 1);
    const std::string last = NoiseBytes(kBlock, 2);
    const std::string disk = first + std::string(2 * kBlock, '\0') + last;
};

TEST_F(VdiImages, WhatIsNotStoredIsZeros)
{
    const Container container = Opened(Writer().Image());
    ASSERT_EQ(container.source->Size(), disk.size());
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    for (size_t at = 0; at + 700 < disk.size(); at += 100)
        EXPECT_TRUE(Read(container, at, 700) == disk.substr(at, 700)) << at;
    EXPECT_STREQ(container.kind, "vdi");
    EXPECT_EQ(container.description, "a dynamic VDI image");
    EXPECT_EQ(container.sectorBytes, 512u);
    EXPECT_TRUE(container.notes.empty());
}

TEST_F(VdiImages, BlocksWithExtraBytesAndASizeThatIsNoMultipleOfThemAreRead)
{
    VdiRecipe recipe;
    recipe.type = 2;
    recipe.extraBytes = 512;
    recipe.diskBytes = disk.size() - 1000;
    const Container container = Opened(Writer(recipe).Image());
    ASSERT_EQ(container.source->Size(), disk.size() - 1000);
    EXPECT_TRUE(Read(container, 0, disk.size() - 1000) == disk.substr(0, disk.size() - 1000));
    EXPECT_EQ(container.description, "a fixed VDI image");
}

TEST_F(VdiImages, ABlockThatTwoPlacesNameBelongsToNeither)
{
    VdiWriter writer = Writer();
    writer.SetEntry(1, 0);
    const Container container = Opened(writer.Image());
    const std::string detail = "the block map of the VDI image is damaged";
    EXPECT_EQ(Read(container, 5, 10), Failure(5, detail));
    EXPECT_EQ(Read(container, kBlock, 10), Failure(kBlock, detail));
    EXPECT_TRUE(Read(container, 2 * kBlock, 2 * kBlock) == disk.substr(2 * kBlock));
}

TEST_F(VdiImages, AnEntryThatLeadsOutOfTheImageLosesItsBlockOnly)
{
    VdiWriter writer = Writer();
    writer.SetEntry(1, 3);
    Container container = Opened(writer.Image());
    EXPECT_EQ(Read(container, kBlock, 10), Failure(kBlock, "the VDI image ends before this place"));
    ASSERT_EQ(container.notes.size(), 1u);
    writer.SetEntry(1, 4);
    container = Opened(writer.Image());
    EXPECT_EQ(Read(container, kBlock, 10),
              Failure(kBlock, "the block map of the VDI image is damaged"));
    EXPECT_TRUE(Read(container, 2 * kBlock, 2 * kBlock) == disk.substr(2 * kBlock));
}

TEST_F(VdiImages, ABadSectorOfTheMapCostsItsBlocksOnly)
{
    VdiRecipe recipe;
    recipe.blockBytes = 512;
    VdiWriter writer(recipe);
    for (unsigned i = 0; i < 300; ++i)
        writer.AddBlock(NoiseBytes(512, i));
    const auto file = std::make_shared<FailingSource>(writer.Image());
    file->MakeBad(1024, 512);
    const auto container = OpenVdi(file);
    ASSERT_TRUE(container);
    for (unsigned i = 0; i < 300; ++i) {
        const bool isLost = i >= 128 && i < 256;
        const std::string read = Read(*container, uint64_t{i} * 512, 512);
        EXPECT_EQ(read == NoiseBytes(512, i), !isLost) << i;
        EXPECT_EQ(read.rfind("failed: ", 0) == 0, isLost) << i;
    }
}

TEST_F(VdiImages, WhereverOneIsCutShortWhatIsReadIsRight)
{
    const std::string image = Writer().Image();
    for (size_t bytes = 80; bytes < image.size(); bytes += 48) {
        const auto container = OpenVdi(SourceOf(image.substr(0, bytes)));
        if (bytes < 512 + 16) {
            ASSERT_FALSE(container) << bytes;
            EXPECT_EQ(container.Failure().status, Status::kTruncatedImage);
            EXPECT_EQ(container.Failure().detail, "the VDI image ends early");
            continue;
        }
        ASSERT_TRUE(container) << bytes;
        const size_t stored = std::max(bytes, kBlock) - kBlock;
        ASSERT_EQ(container->notes.size(), 1u) << bytes;
        EXPECT_EQ(container->notes[0], "the VDI image ends early; " +
                                           std::to_string(2 * kBlock - stored) +
                                           " bytes of the disk cannot be read");
        for (size_t at = 0; at < disk.size(); at += 512) {
            const std::string read = Read(*container, at, 512);
            EXPECT_TRUE(read == disk.substr(at, 512) || read.rfind("failed: ", 0) == 0) << bytes;
        }
    }
}

TEST_F(VdiImages, AHeaderThatMakesNoSenseIsDamage)
{
    const auto expectDamage = [&](const VdiRecipe &recipe) {
        ExpectRefused(Writer(recipe).Image(), Status::kDamagedContainer,
                      "the VDI image is damaged");
    };
    for (const uint32_t bytes : {0u, 256u, 5000u, 0x80000000u}) {
        VdiRecipe recipe;
        recipe.diskBytes = 8192;
        recipe.blockBytes = bytes;
        expectDamage(recipe);
    }
    VdiRecipe recipe;
    recipe.type = 9;
    expectDamage(recipe);
    recipe = {};
    recipe.mapAt = 100;
    expectDamage(recipe);
    recipe = {};
    recipe.blocksAt = 520;  // within the map
    expectDamage(recipe);
    recipe = {};
    recipe.entries = 0xFFFFFFFF;
    expectDamage(recipe);
    recipe = {};
    recipe.extraBytes = 8192;
    expectDamage(recipe);
    recipe = {};
    recipe.diskBytes = ~uint64_t{0};
    expectDamage(recipe);
}

TEST_F(VdiImages, ADiskThatIsLargerThanItsMapFailsBeyondIt)
{
    VdiRecipe recipe;
    recipe.diskBytes = 1 << 20;
    const Container container = Opened(Writer(recipe).Image());
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    EXPECT_EQ(Read(container, disk.size(), 1),
              Failure(disk.size(), "the block map of the VDI image ends before this place"));
}

TEST_F(VdiImages, WhatIsNotReadIsRefusedByName)
{
    for (const uint32_t type : {3u, 4u}) {
        VdiRecipe recipe;
        recipe.type = type;
        ExpectRefused(Writer(recipe).Image(), Status::kUnsupportedContainer,
                      "it is a differencing VDI image; its parent has the identifier "
                      "23222120-2524-2726-2829-2a2b2c2d2e2f: clone it into an image of its own "
                      "first, with VBoxManage clonemedium");
    }
    VdiRecipe recipe;
    recipe.version = 2;
    ExpectRefused(Writer(recipe).Image(), Status::kUnsupportedContainer,
                  "it is a VDI image of version 0: clone it first, with VBoxManage clonemedium");
}

TEST_F(VdiImages, WhereABlockThatTheMapLacksMayBelongNothingIsRead)
{
    VdiWriter writer = Writer();
    writer.SetEntry(3, VdiWriter::kNever);
    const Container container = Opened(writer.Image());
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "the VDI image counts more blocks in use than its map has, by 1; what the map says "
              "was never written cannot be read, since they may belong there");
    EXPECT_EQ(Read(container, kBlock, 10), Failure(kBlock, VdiMap::kInDoubt));
    EXPECT_EQ(Read(container, 3 * kBlock, 10), Failure(3 * kBlock, VdiMap::kInDoubt));
    EXPECT_TRUE(Read(container, 0, kBlock) == first);
    EXPECT_TRUE(Read(container, 2 * kBlock, kBlock) == std::string(kBlock, '\0'));  // discarded
}

TEST_F(VdiImages, AStoredBlockAmongLongStretchesInDoubtIsRead)
{
    constexpr unsigned kStoredAfter = 400;
    VdiRecipe recipe;
    recipe.blocksAt = 8192;
    VdiWriter writer(recipe);
    for (unsigned number = 1; number <= 4 * kStoredAfter; ++number) {
        if (number % kStoredAfter == 0)
            writer.AddBlock(NoiseBytes(kBlock, number));
        else
            writer.AddEntry(VdiWriter::kNever);
    }
    writer.SetEntry(kStoredAfter - 1, VdiWriter::kNever);
    const Container container = Opened(writer.Image());
    const CarefulSource careful(container.source, {}, LimitsFor(container, {}));
    std::string bytes(4 * kStoredAfter * kBlock, '#');
    ByteRanges gaps;
    const Error error = careful.Salvage(0, bytes.data(), bytes.size(), &gaps);
    EXPECT_EQ(error.detail, VdiMap::kInDoubt);
    EXPECT_EQ(BytesIn(gaps), bytes.size() - 3 * kBlock);
    for (unsigned number = 2 * kStoredAfter; number <= 4 * kStoredAfter; number += kStoredAfter)
        EXPECT_TRUE(bytes.substr((number - 1) * kBlock, kBlock) == NoiseBytes(kBlock, number));
}

TEST_F(VdiImages, OneThatCountsFewerBlocksThanItsMapHasIsRead)
{
    VdiRecipe recipe;
    recipe.usedBlocks = 1;
    const Container container = Opened(Writer(recipe).Image());
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    EXPECT_TRUE(container.notes.empty());
}

TEST_F(VdiImages, ABadSectorOfTheMapHidesNoBlockThatIsCounted)
{
    const auto file = std::make_shared<FailingSource>(Writer().Image());
    file->MakeBad(512, 512);
    const auto container = OpenVdi(file);
    ASSERT_TRUE(container);
    EXPECT_TRUE(container->notes.empty());
    EXPECT_TRUE(container->inDoubt.empty());
}

TEST_F(VdiImages, WhatIsInDoubtIsAddedToWhatIsNeverRead)
{
    Container container;
    EXPECT_EQ(LimitsFor(container, {}).withheld, nullptr);
    container.inDoubt = {{100, 50}};
    container.doubt = "doubt";
    EXPECT_EQ(LimitsFor(container, {}).whyWithheld, "doubt");
    ReadingLimits limits;
    limits.withheld = std::make_shared<const ByteRanges>(ByteRanges{{0, 10}, {140, 20}});
    const ReadingLimits both = LimitsFor(container, limits);
    ASSERT_EQ(both.withheld->size(), 2u);
    EXPECT_EQ(both.withheld->back().offset, 100u);
    EXPECT_EQ(both.withheld->back().length, 60u);
    EXPECT_EQ(both.whyWithheld, std::string(ReadingLimits::kMarkedByMap) + ", or doubt");
}

TEST_F(VdiImages, OnesThatAnotherProgramWroteReadAsTheirDisk)
{
    VX_NEEDS("qemu-img");
    const TemporaryFolder folder;
    std::string raw = NoiseBytes(3000000, 3);
    raw.resize((12 << 20) + 1536);
    raw.replace(9 << 20, 100000, NoiseBytes(100000, 4));
    folder.WriteFile("raw", raw);
    for (const char *isFixed : {"off", "on"}) {
        ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                             " && qemu-img convert -f raw -O vdi -o static=" + isFixed +
                             " raw x.vdi"));
        Container container;
        ASSERT_FALSE(OpenAt(folder.At("x.vdi"), &container)) << isFixed;
        ASSERT_EQ(container.source->Size(), raw.size());
        EXPECT_TRUE(Read(container, 0, raw.size()) == raw) << isFixed;
        EXPECT_TRUE(container.notes.empty());
        EXPECT_TRUE(container.inDoubt.empty());
    }
}

TEST_F(VdiImages, OneThatAnotherProgramHasDiscardedFromIsRead)
{
    VX_NEEDS("qemu-img");
    VX_NEEDS("qemu-io");
    const TemporaryFolder folder;
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                         " && qemu-img create -q -f vdi x.vdi 12M"
                         " && qemu-io -f vdi -c 'write -P 1 0 3M' -c 'discard 1M 1M'"
                         " -c 'write -z -u 2M 1M' -c 'write -P 4 7M 9k' x.vdi >log"
                         " && qemu-img convert -f vdi -O raw x.vdi raw"));
    Container container;
    ASSERT_FALSE(OpenAt(folder.At("x.vdi"), &container));
    const std::string raw = folder.ReadFile("raw");
    EXPECT_TRUE(Read(container, 0, raw.size()) == raw);
    EXPECT_TRUE(container.notes.empty());
    EXPECT_TRUE(container.inDoubt.empty());
}

}  // namespace
}  // namespace vx
