// VHDX images: every state of a block, damaged and hostile ones.
#include "SourceWithHole.h"
#include "VhdxTest.h"

#include <cstdio>
#include <sys/resource.h>

namespace vx {
namespace {

constexpr Status kDamaged = Status::kDamagedContainer;
constexpr Status kCut = Status::kTruncatedImage;
constexpr Status kRefused = Status::kUnsupportedContainer;

constexpr uint64_t kKiB = 1024;
constexpr uint64_t kHeaders[] = {64 * kKiB, 128 * kKiB};
constexpr uint64_t kRegions[] = {192 * kKiB, 256 * kKiB};
constexpr const char *kSamePlace = "the VHDX image keeps two blocks in the same place";

long PeakMemoryKiB()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class VhdxImages : public VhdxTest {
protected:
    // Three blocks, of which the last is not needed whole; the middle one is not stored.
    VhdxWriter Dynamic(VhdxRecipe recipe = {}) const
    {
        recipe.diskBytes = disk.size();
        VhdxWriter writer(std::move(recipe));
        writer.AddBlock(first);
        writer.AddState(0);
        writer.AddBlock(last);
        return writer;
    }

    static std::string Repaired(std::string image)
    {
        VhdxWriter::RepairSums(&image);
        return image;
    }

    const std::string first = NoiseBytes(kMiB, 1);
    const std::string last = NoiseBytes(kMiB / 2, 2);
    const std::string disk = first + Zeros(kMiB) + last;
};

TEST_F(VhdxImages, WhatIsNotStoredIsZeros)
{
    const Container container = Open(Dynamic().Image());
    ExpectDisk(container, disk);
    EXPECT_TRUE(container.notes.empty());
    EXPECT_STREQ(container.form, "a VHDX image");
    EXPECT_STREQ(container.kind, "vhdx");
    EXPECT_EQ(container.description, "a dynamic VHDX image");
    EXPECT_EQ(container.sectorBytes, 512u);
    EXPECT_EQ(container.files, std::vector<std::string>{folder.At("x.vhdx")});
}

TEST_F(VhdxImages, BlocksWithoutDefinedContentsAreZeros)
{
    VhdxRecipe recipe;
    recipe.diskBytes = 5 * kMiB;
    recipe.isFixed = true;
    recipe.sectorBytes = 4096;
    VhdxWriter writer(recipe);
    for (const uint8_t state : {0, 1, 2, 3})
        writer.AddState(state);
    writer.AddBlock(first);
    const Container container = Open(writer.Image());
    ExpectDisk(container, Zeros(4 * kMiB) + first);
    EXPECT_EQ(container.description, "a fixed VHDX image");
    EXPECT_EQ(container.sectorBytes, 4096u);
}

// After the entries of 4 GiB of the disk follows one for their bits.
TEST_F(VhdxImages, BlocksAfterTheFirstEntryOfBitsAreFound)
{
    VhdxRecipe recipe;
    recipe.diskBytes = 4098 * kMiB;
    VhdxWriter writer(recipe);
    for (size_t block = 0; block < 4095; ++block)
        writer.AddState(0);
    writer.AddBlock(first);
    writer.AddState(2);
    writer.AddBlock(last);
    std::string image = writer.Image();
    // Some programs leave anything in the entries of bits that nothing needs.
    VhdxWriter::Put(writer.EntryOfBitsAt(0), 6 | 5 * kMiB, 8, &image);
    const Container container = Open(image);
    EXPECT_TRUE(container.notes.empty());
    EXPECT_TRUE(Read(container, 4095 * kMiB, first.size()) == first);
    EXPECT_TRUE(Read(container, 4096 * kMiB, kMiB) == Zeros(kMiB));
    EXPECT_TRUE(Read(container, 4097 * kMiB, last.size()) == last);
}

TEST_F(VhdxImages, EntriesOfUnknownOrMisplacedKindsFailAlone)
{
    for (const uint8_t state : {4, 5, 7}) {
        VhdxWriter writer = Dynamic();
        std::string image = writer.Image();
        VhdxWriter::Put(writer.EntryAt(1), state | 6 * kMiB, 8, &image);
        const Container container = Open(image);
        EXPECT_TRUE(Read(container, 0, first.size()) == first);
        EXPECT_EQ(Read(container, kMiB + 100, 50),
                  "failed: read at 1048676: the table of the VHDX image is damaged");
        EXPECT_TRUE(Read(container, 2 * kMiB, last.size()) == last);
    }
}

TEST_F(VhdxImages, AnEntryWithReservedBitsFailsAlone)
{
    VhdxWriter writer = Dynamic();
    for (uint64_t bit = 3; bit < 20; ++bit) {
        for (const uint64_t state : {0, 6}) {
            std::string image = writer.Image();
            VhdxWriter::Put(writer.EntryAt(0), state | writer.BlocksAt() | uint64_t{1} << bit, 8,
                            &image);
            const Container container = Open(image);
            EXPECT_EQ(Read(container, 0, 50),
                      "failed: read at 0: the table of the VHDX image is damaged");
            EXPECT_TRUE(Read(container, kMiB, disk.size() - kMiB) == disk.substr(kMiB));
        }
    }
}

TEST_F(VhdxImages, ABlockAtTheBeginningOfTheFileIsDamage)
{
    VhdxWriter writer = Dynamic();
    std::string image = writer.Image();
    VhdxWriter::Put(writer.EntryAt(1), 6, 8, &image);
    EXPECT_EQ(Read(Open(image), kMiB, 50),
              "failed: read at 1048576: the table of the VHDX image is damaged");
}

TEST_F(VhdxImages, BlocksInTheSamePlaceCannotBeReadAndOthersCan)
{
    VhdxWriter writer = Dynamic();
    std::string image = writer.Image();
    VhdxWriter::Put(writer.EntryAt(1), 6 | writer.BlocksAt(), 8, &image);
    const Container container = Open(image);
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0], "blocks of the VHDX image lie in the same place, which is "
                                  "impossible; they cannot be read");
    EXPECT_EQ(Read(container, 0, 50), std::string("failed: read at 0: ") + kSamePlace);
    EXPECT_EQ(Read(container, kMiB, 50), std::string("failed: read at 1048576: ") + kSamePlace);
    EXPECT_TRUE(Read(container, 2 * kMiB, last.size()) == last);
}

TEST_F(VhdxImages, ABlockThatReachesIntoAnotherCannotBeRead)
{
    VhdxRecipe recipe;
    recipe.blockBytes = 2 * kMiB;
    recipe.diskBytes = 6 * kMiB;
    VhdxWriter writer(recipe);
    writer.AddBlock(first + first);
    writer.AddBlock(last);
    writer.AddBlock(first);
    std::string image = writer.Image();
    VhdxWriter::Put(writer.EntryAt(0), 6 | (writer.BlocksAt() + kMiB), 8, &image);
    const Container container = Open(image);
    for (const uint64_t at : {0, 2})
        EXPECT_NE(Read(container, at * kMiB, 50).find(kSamePlace), std::string::npos) << at;
    EXPECT_TRUE(Read(container, 4 * kMiB, first.size()) == first);
}

TEST_F(VhdxImages, ABlockInTheTablesCannotBeRead)
{
    VhdxWriter writer = Dynamic();
    for (const uint64_t place : {writer.MetadataAt(), writer.TableAt()}) {
        std::string image = writer.Image();
        VhdxWriter::Put(writer.EntryAt(1), 6 | place, 8, &image);
        const Container container = Open(image);
        EXPECT_NE(Read(container, kMiB, 50).find(kSamePlace), std::string::npos) << place;
        EXPECT_TRUE(Read(container, 0, first.size()) == first);
    }
}

TEST_F(VhdxImages, ABlockBeyondTheEndFailsAlone)
{
    VhdxWriter writer = Dynamic();
    for (const uint64_t place : {uint64_t{100} * kMiB, ~uint64_t{0} << 20}) {
        std::string image = writer.Image();
        VhdxWriter::Put(writer.EntryAt(1), 6 | place, 8, &image);
        const Container container = Open(image);
        ASSERT_EQ(container.notes.size(), 1u);
        EXPECT_EQ(container.notes[0],
                  "the VHDX image ends early; 1048576 bytes of the disk cannot be read");
        EXPECT_TRUE(Read(container, 0, first.size()) == first);
        EXPECT_EQ(Read(container, kMiB, 50),
                  "failed: read at 1048576: the VHDX image ends before this place");
    }
}

TEST_F(VhdxImages, TheHeaderWithTheHigherNumberCounts)
{
    VhdxWriter writer = Dynamic();
    std::string image = writer.Image();
    const std::string good = image.substr(kHeaders[1], 4096);
    for (const int newest : {0, 1}) {
        // The older one would make the image one with a log that is not there.
        image.replace(kHeaders[newest], 4096, good);
        image.replace(kHeaders[1 - newest], 4096, good);
        image.replace(kHeaders[1 - newest] + 48, 16, std::string(16, 'L'));
        VhdxWriter::Put(kHeaders[newest] + 8, 10, 8, &image);
        VhdxWriter::Put(kHeaders[1 - newest] + 8, 9, 8, &image);
        const Container container = Open(Repaired(image));
        EXPECT_TRUE(container.notes.empty());
        EXPECT_TRUE(Read(container, 0, first.size()) == first);
    }
}

TEST_F(VhdxImages, OneSoundHeaderIsEnough)
{
    const std::string sound = Dynamic().Image();
    for (const uint64_t at : kHeaders) {
        std::string image = sound;
        image[at + 3000] ^= 1;
        const Container container = Open(image);
        ExpectDisk(container, disk);
        EXPECT_EQ(container.notes, std::vector<std::string>{
                                       "a header of the VHDX image is damaged; the other one is "
                                       "used"});
    }
    std::string image = sound;
    image[kHeaders[0] + 3000] ^= 1;
    image[kHeaders[1] + 3000] ^= 1;
    ExpectFails(image, kDamaged, "the VHDX image is damaged: its headers are not valid");
}

TEST_F(VhdxImages, HeadersThatContradictEachOtherAreDamage)
{
    std::string image = Dynamic().Image();
    VhdxWriter::Put(kHeaders[0] + 8, 8, 8, &image);
    EXPECT_TRUE(Open(Repaired(image)).notes.empty());
    image[kHeaders[0] + 48] ^= 1;
    ExpectFails(Repaired(image), kDamaged,
                "the VHDX image is damaged: its two headers contradict each other");
}

TEST_F(VhdxImages, AnotherVersionIsRefused)
{
    std::string image = Dynamic().Image();
    VhdxWriter::Put(kHeaders[1] + 66, 2, 2, &image);
    ExpectFails(Repaired(image), kRefused, "it is a VHDX image of the unknown version 2");
}

TEST_F(VhdxImages, WithoutItsMarkItIsRecognisedByItsHeaders)
{
    std::string image = Dynamic().Image();
    image.replace(0, 512, 512, '\0');
    ExpectDisk(Open(image), disk);
    const auto unread = std::make_shared<SourceWithHole>(Dynamic().Image(), 0, 512);
    EXPECT_TRUE(IsVhdxImage(*unread));
    std::string flipped = Dynamic().Image();
    flipped[1] ^= 0x20;
    ExpectDisk(Open(flipped), disk);
    flipped.replace(510, 2, "\x55\xAA");
    EXPECT_FALSE(IsVhdxImage(*SourceOf(flipped)));
    image[kHeaders[0]] ^= 1;
    EXPECT_TRUE(IsVhdxImage(*SourceOf(image)));
    image[kHeaders[1]] ^= 1;
    EXPECT_FALSE(IsVhdxImage(*SourceOf(image)));
    EXPECT_FALSE(IsVhdxImage(*SourceOf("")));
}

TEST_F(VhdxImages, TheSecondTableOfRegionsTakesThePlaceOfTheFirst)
{
    const std::string sound = Dynamic().Image();
    std::string image = sound;
    image[kRegions[1] + 5000] ^= 1;
    EXPECT_TRUE(Open(image).notes.empty());
    image[kRegions[0] + 5000] ^= 1;
    ExpectFails(image, kDamaged, "the VHDX image is damaged: its tables of regions are not valid");
    image = sound;
    image[kRegions[0] + 5000] ^= 1;
    const Container container = Open(image);
    ExpectDisk(container, disk);
    EXPECT_EQ(container.notes, std::vector<std::string>{
                                   "the table of regions of the VHDX image is damaged; its copy "
                                   "is used"});
}

TEST_F(VhdxImages, RegionsThatMakeNoSenseAreDamage)
{
    struct Lie {
        uint64_t at;  // in the table of regions
        uint64_t value;
        size_t bytes;
        Status status;
    };
    for (const Lie &lie :
         {Lie{8, 2048, 4, kDamaged}, Lie{8, 1, 4, kDamaged}, Lie{8, 0, 4, kDamaged},
          Lie{16, 1, 1, kRefused}, Lie{32, 0, 8, kDamaged}, Lie{32, 3 * kMiB + 512, 8, kDamaged},
          Lie{32, ~uint64_t{0}, 8, kDamaged},
          Lie{32, uint64_t{INT64_MAX} / kMiB * kMiB, 8, kDamaged}, Lie{32, 100 * kMiB, 8, kCut},
          Lie{40, 0, 4, kDamaged}, Lie{40, 4096, 4, kDamaged}, Lie{40, 0xFFF00000, 4, kCut}}) {
        std::string image = Dynamic().Image();
        for (const uint64_t table : kRegions)
            VhdxWriter::Put(table + lie.at, lie.value, lie.bytes, &image);
        EXPECT_EQ(FailureOf(Repaired(image)).status, lie.status) << lie.at << " " << lie.value;
    }
}

TEST_F(VhdxImages, ARegionThatNeedNotBeKnownIsPassedOver)
{
    std::string image = Dynamic().Image();
    for (const uint64_t table : kRegions) {
        VhdxWriter::Put(table + 8, 3, 4, &image);
        image.replace(table + 16 + 64, 16, std::string(16, '?'));
    }
    ExpectDisk(Open(Repaired(image)), disk);
    VhdxWriter::Put(kRegions[0] + 16 + 64 + 28, 1, 4, &image);
    ExpectFails(Repaired(image), kRefused,
                "it is a VHDX image with the unknown region 3f3f3f3f-3f3f-3f3f-3f3f-3f3f3f3f3f3f");
}

// Tables that are one and the same.
TEST_F(VhdxImages, ATableOfBlocksInTheMetadataGivesNothingAway)
{
    const VhdxWriter writer = Dynamic();
    std::string image = writer.Image();
    for (const uint64_t table : kRegions)
        VhdxWriter::Put(table + 32, writer.MetadataAt(), 8, &image);
    const Container container = Open(Repaired(image));
    EXPECT_EQ(Read(container, 0, 50).substr(0, 8), "failed: ");
}

TEST_F(VhdxImages, MetadataThatMakesNoSenseIsDamage)
{
    const uint64_t table = Dynamic().MetadataAt();
    const uint64_t items = table + 64 * kKiB;
    struct Lie {
        uint64_t at;
        uint64_t value;
        size_t bytes;
        Status status;
    };
    for (const Lie &lie :
         {Lie{table, 0, 8, kDamaged}, Lie{table + 10, 2048, 2, kDamaged},
          Lie{table + 10, 4, 2, Status::kOk}, Lie{table + 10, 3, 2, kDamaged},
          Lie{table + 32, 0, 1, kRefused}, Lie{table + 32 + 16, 1, 4, kDamaged},
          Lie{table + 32 + 16, 0xFFFFFFFF, 4, kDamaged},
          Lie{table + 32 + 20, 0xFFFFFFFF, 4, kDamaged}, Lie{table + 32 + 20, 7, 4, kDamaged},
          Lie{items, 0, 4, kDamaged}, Lie{items, 512 * kKiB, 4, kDamaged},
          Lie{items, 3 * kMiB, 4, kDamaged}, Lie{items, 512 * kMiB, 4, kDamaged},
          Lie{items + 8, 513, 8, kDamaged}, Lie{items + 8, (uint64_t{64} << 40) + 512, 8, kDamaged},
          Lie{items + 8, ~uint64_t{0}, 8, kDamaged}, Lie{items + 32, 1024, 4, kDamaged},
          Lie{items + 32, 0, 4, kDamaged}, Lie{items + 4, 2, 4, kDamaged}}) {
        std::string image = Dynamic().Image();
        VhdxWriter::Put(lie.at, lie.value, lie.bytes, &image);
        EXPECT_EQ(FailureOf(image).status, lie.status) << lie.at - table << " " << lie.value;
    }
}

TEST_F(VhdxImages, ADiskThatIsLargerThanItsTableFailsBeyondIt)
{
    const VhdxWriter writer = Dynamic();
    std::string image = writer.Image();
    VhdxWriter::Put(writer.MetadataAt() + 64 * kKiB + 8, uint64_t{64} << 40, 8, &image);
    const Container container = Open(image);
    EXPECT_TRUE(Read(container, 0, first.size()) == first);
    const uint64_t blocksInTable = 131072 - 131072 / 4097;
    EXPECT_EQ(container.notes,
              std::vector<std::string>{"the VHDX image ends early; " +
                                       std::to_string((uint64_t{64} << 40) - blocksInTable * kMiB) +
                                       " bytes of the disk cannot be read"});
    EXPECT_TRUE(Read(container, (blocksInTable - 1) * kMiB, kMiB) == Zeros(kMiB));
    EXPECT_NE(Read(container, blocksInTable * kMiB, 1).find("table of the VHDX image ends before"),
              std::string::npos);
}

// The table of the largest disk has 512 MiB, which are holes of this file.
TEST_F(VhdxImages, TheLargestDiskIsReadWithoutKeepingItsTable)
{
    constexpr uint64_t kLargest = uint64_t{64} << 40;
    VhdxRecipe recipe;
    recipe.diskBytes = kLargest;
    VhdxWriter writer(recipe);
    writer.AddBlock(first);
    std::string image = writer.Image();
    const uint64_t blocks = kLargest / kMiB;
    const uint64_t tableBytes = (blocks + blocks / 4096) * 8 / kMiB * kMiB + kMiB;
    for (const uint64_t table : kRegions)
        VhdxWriter::Put(table + 40, tableBytes, 4, &image);
    const uint64_t lastBlock = writer.TableAt() + tableBytes;
    VhdxWriter::Put(writer.EntryAt(0), 6 | (lastBlock + kMiB), 8, &image);
    VhdxWriter::RepairSums(&image);
    image.resize(writer.BlocksAt());
    const std::string path = folder.WriteFile("x.vhdx", image);
    std::string entry;
    VhdxWriter::Put(0, 6 | lastBlock, 8, &entry);
    FILE *file = fopen(path.c_str(), "r+b");
    ASSERT_NE(file, nullptr);
    const auto put = [&](uint64_t at, const std::string &bytes) {
        fseeko(file, static_cast<off_t>(at), SEEK_SET);
        fwrite(bytes.data(), 1, bytes.size(), file);
    };
    put(writer.EntryAt(blocks - 1), entry);
    put(lastBlock, last + last + first);
    ASSERT_EQ(fclose(file), 0);
    const long before = PeakMemoryKiB();
    Container container;
    ASSERT_FALSE(OpenAt(path, &container));
    EXPECT_LT(PeakMemoryKiB() - before, 64 * 1024);
    EXPECT_TRUE(container.notes.empty());
    EXPECT_TRUE(Read(container, 0, kMiB) == first);
    EXPECT_TRUE(Read(container, kMiB, kMiB) == Zeros(kMiB));
    EXPECT_TRUE(Read(container, kLargest - kMiB, kMiB) == last + last);
}

TEST_F(VhdxImages, CutAnywhereItIsReportedAndGivesNoWrongByte)
{
    const VhdxWriter writer = Dynamic();
    const std::string whole = writer.Image();
    size_t opened = 0;
    for (size_t bytes = 0; bytes < whole.size(); bytes += bytes < 320 * kKiB ? 4 * kKiB : 100001) {
        Container container;
        const std::string path = folder.WriteFile("x.vhdx", whole.substr(0, bytes));
        const Error error = OpenAt(path, &container);
        if (bytes < 8)
            continue;  // nothing of the image is left
        if (bytes < writer.BlocksAt()) {
            EXPECT_EQ(error.status, kCut) << bytes;
            EXPECT_EQ(error.detail, "the VHDX image ends early") << bytes;
            continue;
        }
        ++opened;
        ASSERT_EQ(error.status, Status::kOk) << bytes;
        const bool isNoticed = bytes < writer.BlocksAt() + kMiB + last.size();
        EXPECT_EQ(container.notes.size(), isNoticed ? 1u : 0u) << bytes;
        for (size_t at = 0; at + 512 <= disk.size(); at += 64 * kKiB) {
            const std::string read = Read(container, at, 512);
            EXPECT_TRUE(read == disk.substr(at, 512) || read.rfind("failed: ", 0) == 0) << at;
        }
    }
    EXPECT_GT(opened, 10u);
}

TEST_F(VhdxImages, WhatCannotBeReadOfTheTableFailsAlone)
{
    VhdxRecipe recipe;
    recipe.diskBytes = 2048 * kMiB;
    VhdxWriter writer(recipe);
    writer.AddBlock(first);
    for (size_t block = 1; block < 2047; ++block)
        writer.AddState(2);
    writer.AddBlock(last);
    const uint64_t bad = writer.EntryAt(64);
    const auto file = std::make_shared<SourceWithHole>(writer.Image(), bad, bad + 512);
    const auto container = OpenVhdx(file, NoParents());
    ASSERT_TRUE(container) << container.Failure().detail;
    EXPECT_EQ(container->notes.size(), 1u);
    EXPECT_TRUE(Read(*container, 0, first.size()) == first);
    EXPECT_TRUE(Read(*container, 63 * kMiB, kMiB) == Zeros(kMiB));
    EXPECT_EQ(Read(*container, 64 * kMiB, 1), "failed: read at 67108864: bad sector");
    EXPECT_EQ(Read(*container, 127 * kMiB, 1), "failed: read at 133169152: bad sector");
    EXPECT_TRUE(Read(*container, 128 * kMiB, kMiB) == Zeros(kMiB));
    EXPECT_TRUE(Read(*container, 2047 * kMiB, last.size()) == last);
}

TEST_F(VhdxImages, AFailedReadSaysHowFarItCame)
{
    const VhdxWriter writer = Dynamic();
    const uint64_t bad = writer.BlocksAt() + kMiB + 5000;
    const auto file = std::make_shared<SourceWithHole>(writer.Image(), bad, bad + 512);
    const auto container = OpenVhdx(file, NoParents());
    ASSERT_TRUE(container);
    std::string bytes(disk.size(), '?');
    const Error error = container->source->ReadAt(0, bytes.data(), bytes.size());
    EXPECT_EQ(error.bytesRead, 2 * kMiB);
    EXPECT_TRUE(bytes.substr(0, error.bytesRead) == disk.substr(0, error.bytesRead));
}

}  // namespace
}  // namespace vx
