// The header and the tables of QCOW2 images: large, damaged and hostile.
#include "ByteReader.h"
#include "FailingSource.h"
#include "QcowTest.h"

namespace vx {
namespace {

constexpr const char *kDamaged = "the QCOW2 image is damaged";

class QcowTables : public QcowTest {};

TEST_F(QcowTables, ASubclusterThatIsBothStoredAndZerosIsDamage)
{
    QcowRecipe recipe;
    recipe.clusterBits = 14;
    recipe.hasSubclusters = true;
    QcowWriter writer(recipe);
    const std::string bytes = NoiseBytes(16384, 5);
    writer.AddParts(bytes, 0xFFFFFFFF | uint64_t{1} << 37);
    const Container container = Opened(writer.Image());
    EXPECT_TRUE(Read(container, 0, 5 * 512) == bytes.substr(0, 5 * 512));
    EXPECT_EQ(Read(container, 5 * 512, 512), Failure(5 * 512, kDamagedTable));
    EXPECT_TRUE(Read(container, 6 * 512, 512) == bytes.substr(6 * 512, 512));
}

TEST_F(QcowTables, TablesOfManyClustersAreAllRead)
{
    QcowRecipe recipe;
    recipe.clusterBits = 9;
    QcowWriter writer(recipe);
    std::string expected;
    for (unsigned i = 0; i < 200; ++i) {
        const std::string bytes = i % 7 == 3 ? std::string(512, '\0') : NoiseBytes(512, i);
        i % 7 == 3 ? writer.AddNothing() : writer.AddStored(bytes);
        expected += bytes;
    }
    EXPECT_TRUE(Read(Opened(writer.Image()), 0, expected.size()) == expected);
}

TEST_F(QcowTables, AnEntryThatLeadsOutOfTheFileLosesItsClusterOnly)
{
    for (const uint64_t place : {uint64_t{1} << 20, uint64_t{0x00FFFFFFFFFFF000}}) {
        QcowWriter writer = Writer();
        writer.SetEntry(4, QcowWriter::kOnlyOnce | place);
        ExpectOneLost(writer.Image(), 4, kBeyondEnd);
    }
    QcowWriter writer = Writer();
    writer.SetEntry(2, QcowWriter::kPacked | 0x100000);
    ExpectOneLost(writer.Image(), 2, kBeyondEnd);
}

TEST_F(QcowTables, AnEntryThatLeadsToATableOfTheImageLosesItsClusterOnly)
{
    const QcowWriter sound = Writer();
    for (const uint64_t place :
         {sound.RefcountTableAt(), sound.RefcountBlockAt(), sound.L1At(), sound.L2At()}) {
        QcowWriter writer = Writer();
        writer.SetEntry(0, QcowWriter::kOnlyOnce | place);
        ExpectOneLost(writer.Image(), 0, kDamagedTable);
        QcowWriter other = Writer();
        other.SetEntry(2, QcowWriter::kPacked | (place - 600) | uint64_t{2} << 58);
        ExpectOneLost(other.Image(), 2, kDamagedTable);
    }
}

TEST_F(QcowTables, AnEntryWithWrongBitsLosesItsClusterOnly)
{
    const QcowWriter sound = Writer();
    const uint64_t place = sound.ClustersAt();
    for (const uint64_t entry : {place + 512, place | 2, place | 1 << 8, place | uint64_t{1} << 56,
                                 place | uint64_t{1} << 61}) {
        QcowWriter writer = Writer();
        writer.SetEntry(0, QcowWriter::kOnlyOnce | entry);
        ExpectOneLost(writer.Image(), 0, kDamagedTable);
    }
}

// A compressed cluster may share its place with others, so the bit of one that has it alone is
// wrong.
TEST_F(QcowTables, ACompressedClusterThatClaimsItsPlaceAloneIsDamage)
{
    const QcowWriter sound = Writer();
    const size_t at = sound.L2At() + 2 * 8;
    const std::string image = sound.Image();
    const ByteView view = {reinterpret_cast<const uint8_t *>(image.data()), image.size()};
    const uint64_t entry = ByteReader(view, at).BigU64();
    ASSERT_NE(entry & QcowWriter::kPacked, 0u);
    QcowWriter writer = Writer();
    writer.SetEntry(2, entry | QcowWriter::kOnlyOnce);
    ExpectOneLost(writer.Image(), 2, kDamagedTable);
}

TEST_F(QcowTables, ZerosInAnImageOfVersion2AreDamage)
{
    QcowRecipe recipe;
    recipe.version = 2;
    ExpectOneLost(Writer(recipe).Image(), 3, kDamagedTable);
}

// A table that the L1 table names twice belongs to neither place.
TEST_F(QcowTables, TwoPlacesOfTheDiskCannotShareATable)
{
    QcowRecipe recipe;
    recipe.clusterBits = 9;
    QcowWriter writer(recipe);
    for (unsigned i = 0; i < 3 * 64; ++i)
        writer.AddStored(NoiseBytes(512, i));
    writer.SetL1Entry(1, QcowWriter::kOnlyOnce | writer.L2At(0));
    const Container container = Opened(writer.Image());
    EXPECT_EQ(Read(container, 0, 512), Failure(0, kDamagedTable));
    EXPECT_EQ(Read(container, 64 * 512, 512), Failure(uint64_t{64} * 512, kDamagedTable));
    EXPECT_TRUE(Read(container, 128 * 512, 512) == NoiseBytes(512, 128));
}

TEST_F(QcowTables, AnL1EntryThatMakesNoSenseIsNotFollowed)
{
    const QcowWriter sound = Writer();
    const std::pair<uint64_t, const char *> entries[] = {
        {sound.L1At(), kDamagedTable},       {sound.RefcountTableAt(), kDamagedTable},
        {sound.L2At() + 512, kDamagedTable}, {sound.L2At() | 1, kDamagedTable},
        {uint64_t{1} << 50, kBeyondEnd},
    };
    for (const auto &[entry, detail] : entries) {
        QcowWriter writer = Writer();
        writer.SetL1Entry(0, QcowWriter::kOnlyOnce | entry);
        EXPECT_EQ(Read(Opened(writer.Image()), 0, 512), Failure(0, detail)) << entry;
    }
}

TEST_F(QcowTables, ABadSectorInATableCostsItsEntriesOnly)
{
    QcowWriter writer = Writer();
    for (unsigned i = 0; i < 100; ++i)
        writer.AddStored(NoiseBytes(kCluster, i));
    const auto file = std::make_shared<FailingSource>(writer.Image());
    file->MakeBad(writer.L2At() + 512, 512);
    const auto container = OpenSource(file);
    ASSERT_TRUE(container);
    for (unsigned i = 0; i < 100; ++i) {
        const uint64_t entry = 5 + i;
        const bool isLost = entry >= 64 && entry < 128;
        const std::string read = Read(*container, entry * kCluster, kCluster);
        EXPECT_EQ(read == NoiseBytes(kCluster, i), !isLost) << entry;
        EXPECT_EQ(read.rfind("failed: ", 0) == 0, isLost) << entry;
    }
}

TEST_F(QcowTables, WrongReferenceCountsDoNotMatter)
{
    const QcowWriter writer = Writer();
    const std::string sound = writer.Image();
    for (const char byte : {'\0', '\1', '\xFF'}) {
        std::string image = sound;
        image.replace(writer.RefcountBlockAt(), kCluster, kCluster, byte);
        EXPECT_TRUE(Read(Opened(image), 0, disk.size()) == disk);
        EXPECT_TRUE(Opened(image).notes.empty());
        image = sound;
        image.replace(writer.RefcountTableAt(), 64, 64, byte);
        EXPECT_TRUE(Read(Opened(image), 0, disk.size()) == disk);
        EXPECT_TRUE(Opened(image).notes.empty());
    }
    for (const uint32_t order : {0u, 6u, 7u, 0xFFFFFFFFu})
        EXPECT_TRUE(Read(Opened(WithHeader(sound, 96, order, 4)), 0, disk.size()) == disk);
    for (const uint64_t place : {uint64_t{0}, uint64_t{12345}, ~uint64_t{0}})
        EXPECT_TRUE(Read(Opened(WithHeader(sound, 48, place, 8)), 0, disk.size()) == disk);
}

TEST_F(QcowTables, AHeaderThatMakesNoSenseIsDamage)
{
    const std::string image = Writer().Image();
    struct Change {
        size_t at;
        uint64_t value;
        size_t bytes;
    };
    const Change changes[] = {
        {16, 1024, 4},                // the length of the name of the backing file
        {20, 8, 4},                   // bits of a cluster
        {20, 22, 4},                  //
        {20, 0xFFFFFFFF, 4},          //
        {24, uint64_t{1} << 63, 8},   // bytes of the disk
        {36, 0x80000000, 4},          // entries of the L1 table
        {36, (1 << 22) + 1, 4},       //
        {40, 3 * kCluster + 512, 8},  // its place
        {40, 0, 8},                   //
        {100, 103, 4},                // the length of the header
        {100, 0xFFFFFFFF, 4},         //
        {72, 16, 8},                  // subclusters of 128 bytes
    };
    for (const auto &[at, value, bytes] : changes) {
        std::string changed = WithHeader(image, at, value, bytes);
        if (at == 16)
            changed = WithHeader(changed, 8, 200, 8);
        ExpectRefused(changed, Status::kDamagedContainer, kDamaged);
    }
    ExpectRefused(WithHeader(image, 40, uint64_t{1} << 50, 8), Status::kTruncatedImage,
                  "the QCOW2 image ends early");
    ExpectRefused(WithHeader(image, 36, 1 << 22, 4), Status::kTruncatedImage,
                  "the QCOW2 image ends early");
}

TEST_F(QcowTables, ADiskThatIsLargerThanItsTablesFailsBeyondThem)
{
    QcowRecipe recipe;
    recipe.diskBytes = uint64_t{1} << 62;
    const Container container = Opened(Writer(recipe).Image());
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    constexpr uint64_t kBeyond = uint64_t{512} * kCluster;
    EXPECT_TRUE(Read(container, kBeyond - 512, 512) == std::string(512, '\0'));
    EXPECT_EQ(Read(container, kBeyond, 512),
              Failure(kBeyond, "the L1 table of the QCOW2 image ends before this place"));
}

TEST_F(QcowTables, WhatIsNotReadIsRefusedByName)
{
    constexpr Status kRefused = Status::kUnsupportedContainer;
    const std::string convert = ": convert it to a raw image first, with qemu-img convert -O raw";
    const std::string decrypt =
        "it is an encrypted QCOW2 image: decrypt it first, with qemu-img convert --object "
        "secret,id=key,file=PASSWORDFILE --image-opts "
        "driver=qcow2,encrypt.key-secret=key,file.filename=IMAGE -O raw NEWIMAGE";
    const std::string image = Writer().Image();
    ExpectRefused(WithHeader(image, 4, 1, 4), kRefused,
                  "it is a QCOW image of version 1" + convert);
    ExpectRefused(WithHeader(image, 4, 4, 4), kRefused,
                  "it is a QCOW image of version 4" + convert);
    ExpectRefused(WithHeader(image, 32, 1, 4), kRefused, decrypt);
    ExpectRefused(WithHeader(image, 32, 2, 4), kRefused, decrypt);
    QcowRecipe recipe;
    recipe.features = uint64_t{1} << 40;
    ExpectRefused(Writer(recipe).Image(), kRefused,
                  "it is a QCOW2 image with the unknown feature number 40" + convert);
    std::string name = QcowWriter::Number(40, 2) + "new \x1B thing";
    name.resize(48);
    recipe.extensions = QcowWriter::Extension(0x6803F857, name);
    ExpectRefused(Writer(recipe).Image(), kRefused,
                  "it is a QCOW2 image with the unknown feature \"new ? thing\"" + convert);
    recipe = {};
    recipe.isZstd = true;
    ExpectRefused(WithHeader(Writer(recipe).Image(), 104, 2, 1), kRefused,
                  "it is a QCOW2 image with an unknown compression" + convert);
}

TEST_F(QcowTables, OneThatWasNotClosedIsReadAndOneMarkedAsCorruptWarns)
{
    QcowRecipe recipe;
    recipe.features = 1;
    EXPECT_TRUE(Opened(Writer(recipe).Image()).notes.empty());
    recipe.features = 2;
    const Container container = Opened(Writer(recipe).Image());
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "the program that wrote the QCOW2 image has marked it as damaged");
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
}

}  // namespace
}  // namespace vx
