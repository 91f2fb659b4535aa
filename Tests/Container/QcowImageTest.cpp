// QCOW2 images: sound, damaged and hostile.
#include "QcowImage.h"
#include "FailingSource.h"
#include "OpenAt.h"
#include "OpenSource.h"
#include "QcowWriter.h"
#include "TestImage.h"

#include <thread>

namespace vx {
namespace {

constexpr size_t kCluster = 4096;
constexpr const char *kDamaged = "the QCOW2 image is damaged";
constexpr const char *kDamagedTable = "a table of the QCOW2 image is damaged";
constexpr const char *kBeyondEnd = "the QCOW2 image ends before this place";

std::string TextBytes(size_t count, int seed)
{
    std::string text;
    while (text.size() < count)
        text += "line " + std::to_string(text.size() * seed) + " of a text that can be packed\n";
    text.resize(count);
    return text;
}

Result<Container> OpenSource(const Source &file)
{
    return OpenQcow(file, NoParents(), [](const std::string &name) -> Result<Source> {
        return Error{Status::kTruncatedImage, name + " is missing"};
    });
}

std::string Read(const Container &container, uint64_t offset, size_t count)
{
    std::string bytes(count, '\0');
    const Error error = container.source->ReadAt(offset, bytes.data(), count);
    return error ? "failed: " + error.detail : bytes;
}

std::string Failure(uint64_t offset, const std::string &detail)
{
    return "failed: read at " + std::to_string(offset) + ": " + detail;
}

Container Opened(const std::string &image)
{
    auto container = OpenSource(SourceOf(image));
    EXPECT_TRUE(container) << container.Failure().detail;
    return container ? *container : Container{SourceOf("")};
}

void ExpectRefused(const std::string &image, Status status, const std::string &detail)
{
    const auto container = OpenSource(SourceOf(image));
    ASSERT_FALSE(container);
    EXPECT_EQ(container.Failure().status, status);
    EXPECT_EQ(container.Failure().detail, detail);
}

// Five clusters: stored, nothing, packed, zeros, stored.
class QcowImages : public testing::Test {
protected:
    QcowWriter Writer(QcowRecipe recipe = {}) const
    {
        QcowWriter writer(std::move(recipe));
        writer.AddStored(first);
        writer.AddNothing();
        writer.AddPacked(packed);
        writer.AddZeros();
        writer.AddStored(last);
        return writer;
    }

    // All is right but for one cluster, which fails so.
    void ExpectOneLost(const std::string &image, size_t cluster, const std::string &detail) const
    {
        const Container container = Opened(image);
        for (size_t i = 0; i < disk.size() / kCluster; ++i) {
            const std::string expected = i == cluster ? Failure(i * kCluster + 100, detail)
                                                      : disk.substr(i * kCluster + 100, 1000);
            EXPECT_TRUE(Read(container, i * kCluster + 100, 1000) == expected)
                << i << ": " << Read(container, i * kCluster + 100, 1000).substr(0, 100);
        }
    }

    static std::string WithHeader(std::string image, size_t at, uint64_t value, size_t bytes)
    {
        return image.replace(at, bytes, QcowWriter::Number(value, bytes));
    }

    const std::string first = NoiseBytes(kCluster, 1);
    const std::string packed = TextBytes(kCluster, 3);
    const std::string last = NoiseBytes(kCluster, 2);
    const std::string disk =
        first + std::string(kCluster, '\0') + packed + std::string(kCluster, '\0') + last;
};

TEST_F(QcowImages, EveryKindOfClusterReadsAsItsDisk)
{
    for (const bool isZstd : {false, true}) {
        QcowRecipe recipe;
        recipe.isZstd = isZstd;
        const Container container = Opened(Writer(recipe).Image());
        ASSERT_EQ(container.source->Size(), disk.size());
        EXPECT_TRUE(Read(container, 0, disk.size()) == disk) << isZstd;
        for (size_t at = 0; at + 700 < disk.size(); at += 100)
            EXPECT_TRUE(Read(container, at, 700) == disk.substr(at, 700)) << at;
        EXPECT_TRUE(container.notes.empty());
    }
}

TEST_F(QcowImages, TheirKindAndVersionAreNamed)
{
    QcowRecipe recipe;
    recipe.version = 2;
    QcowWriter writer(recipe);
    writer.AddStored(first);
    const Container container = Opened(writer.Image());
    EXPECT_STREQ(container.kind, "qcow2");
    EXPECT_EQ(container.description, "a QCOW2 image of version 2");
    EXPECT_TRUE(Read(container, 0, kCluster) == first);
}

TEST_F(QcowImages, OfSubclustersEachIsReadForItself)
{
    QcowRecipe recipe;
    recipe.clusterBits = 14;
    recipe.hasSubclusters = true;
    constexpr size_t kPart = 512;
    QcowWriter writer(recipe);
    const std::string bytes = NoiseBytes(32 * kPart, 5);
    writer.AddParts(bytes, 0x8000000F | uint64_t{0x30} << 32);
    writer.AddZeros();
    writer.AddNothing();
    writer.AddStored(bytes);
    std::string expected(4 * 32 * kPart, '\0');
    expected.replace(0, 4 * kPart, bytes, 0, 4 * kPart);
    expected.replace(31 * kPart, kPart, bytes, 31 * kPart, kPart);
    expected.replace(3 * bytes.size(), bytes.size(), bytes);
    const Container container = Opened(writer.Image());
    EXPECT_TRUE(Read(container, 0, expected.size()) == expected);
    for (size_t at = 0; at + 1500 < expected.size(); at += 111)
        ASSERT_TRUE(Read(container, at, 1500) == expected.substr(at, 1500)) << at;
}

TEST_F(QcowImages, ASubclusterThatIsBothStoredAndZerosIsDamage)
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

TEST_F(QcowImages, TablesOfManyClustersAreAllRead)
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

TEST_F(QcowImages, AnEntryThatLeadsOutOfTheFileLosesItsClusterOnly)
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

TEST_F(QcowImages, AnEntryThatLeadsToATableOfTheImageLosesItsClusterOnly)
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

TEST_F(QcowImages, AnEntryWithWrongBitsLosesItsClusterOnly)
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

TEST_F(QcowImages, ZerosInAnImageOfVersion2AreDamage)
{
    QcowRecipe recipe;
    recipe.version = 2;
    ExpectOneLost(Writer(recipe).Image(), 3, kDamagedTable);
}

// A table that the L1 table names twice belongs to neither place.
TEST_F(QcowImages, TwoPlacesOfTheDiskCannotShareATable)
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

TEST_F(QcowImages, AnL1EntryThatMakesNoSenseIsNotFollowed)
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

TEST_F(QcowImages, DamageInACompressedClusterLosesThatCluster)
{
    for (const bool isZstd : {false, true}) {
        QcowRecipe recipe;
        recipe.isZstd = isZstd;
        QcowWriter writer = Writer(recipe);
        std::string image = writer.Image();
        const size_t at = writer.ClustersAt() + kCluster;
        image.replace(at, 8, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
        ExpectOneLost(image, 2, "packed data is damaged");
    }
}

TEST_F(QcowImages, ACompressedClusterThatIsTooShortOrTooLongIsLost)
{
    for (const size_t bytes : {kCluster - 1, kCluster + 1}) {
        for (const bool isZstd : {false, true}) {
            QcowRecipe recipe;
            recipe.isZstd = isZstd;
            QcowWriter writer(recipe);
            writer.AddPacked(TextBytes(bytes, 1));
            writer.AddStored(last);
            const Container container = Opened(writer.Image());
            const std::string read = Read(container, 0, kCluster);
            EXPECT_EQ(read.rfind("failed: read at 0: ", 0), 0u) << bytes << isZstd;
            EXPECT_TRUE(Read(container, kCluster, kCluster) == last);
        }
    }
}

TEST_F(QcowImages, ABadSectorCostsOnlyWhatItHolds)
{
    const QcowWriter writer = Writer();
    const auto file = std::make_shared<FailingSource>(writer.Image());
    const auto container = OpenSource(file);
    ASSERT_TRUE(container);
    file->MakeBad(writer.ClustersAt() + 512, 512);
    EXPECT_TRUE(Read(*container, 0, 512) == first.substr(0, 512));
    EXPECT_EQ(Read(*container, 512, 512).rfind("failed: read at 512: ", 0), 0u);
    EXPECT_TRUE(Read(*container, 1024, 3072) == first.substr(1024, 3072));
    file->MakeBad(writer.ClustersAt() + kCluster, 512);
    EXPECT_EQ(Read(*container, 2 * kCluster, 512).rfind("failed: ", 0), 0u);
    EXPECT_TRUE(Read(*container, 3 * kCluster, 2 * kCluster) == disk.substr(3 * kCluster));
}

TEST_F(QcowImages, ABadSectorInATableCostsItsEntriesOnly)
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

TEST_F(QcowImages, OneThatWasCutShortOpensAndSaysHowMuchIsMissing)
{
    const std::string image = Writer().Image();
    const std::pair<size_t, size_t> cuts[] = {{1, 1}, {4096, 4096}, {1024, 1024}};
    for (const auto &[cut, missing] : cuts) {
        const Container container = Opened(image.substr(0, image.size() - cut));
        ASSERT_EQ(container.notes.size(), 1u) << cut;
        EXPECT_EQ(container.notes[0], "the QCOW2 image ends early; " + std::to_string(missing) +
                                          " bytes of the disk cannot be read");
        EXPECT_TRUE(Read(container, 0, 4 * kCluster) == disk.substr(0, 4 * kCluster));
        EXPECT_EQ(Read(container, 5 * kCluster - 1, 1), Failure(5 * kCluster - 1, kBeyondEnd));
    }
}

TEST_F(QcowImages, WhereverOneIsCutShortWhatIsReadIsRight)
{
    const QcowWriter writer = Writer();
    const std::string image = writer.Image();
    const std::string early = "the QCOW2 image ends early";
    for (size_t bytes = 4; bytes < image.size(); bytes += 100) {
        const auto container = OpenSource(SourceOf(image.substr(0, bytes)));
        if (bytes < writer.L1At() + 8) {
            ASSERT_FALSE(container) << bytes;
            EXPECT_EQ(container.Failure().status, Status::kTruncatedImage);
            EXPECT_EQ(container.Failure().detail, early);
            continue;
        }
        ASSERT_TRUE(container) << bytes;
        EXPECT_EQ(container->notes.size(), 1u) << bytes;
        for (size_t at = 0; at < disk.size(); at += 512) {
            const std::string read = Read(*container, at, 512);
            EXPECT_TRUE(read == disk.substr(at, 512) || read.rfind("failed: ", 0) == 0) << bytes;
        }
    }
}

TEST_F(QcowImages, WrongReferenceCountsDoNotMatter)
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

TEST_F(QcowImages, AHeaderThatMakesNoSenseIsDamage)
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

TEST_F(QcowImages, ADiskThatIsLargerThanItsTablesFailsBeyondThem)
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

TEST_F(QcowImages, WhatIsNotReadIsRefusedByName)
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

TEST_F(QcowImages, OneThatWasNotClosedIsReadAndOneMarkedAsCorruptWarns)
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

TEST_F(QcowImages, ThreadsReadWhatIsThere)
{
    QcowWriter writer = Writer();
    std::string all = disk;
    for (int i = 0; i < 40; ++i) {
        writer.AddPacked(TextBytes(kCluster, i + 1));
        all += TextBytes(kCluster, i + 1);
    }
    const Container container = Opened(writer.Image());
    std::vector<std::thread> threads;
    for (size_t number = 0; number < 4; ++number) {
        threads.emplace_back([&, number] {
            for (size_t at = number * 100; at + 5000 < all.size(); at += 377)
                EXPECT_TRUE(Read(container, at, 5000) == all.substr(at, 5000));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

// --- Backing files and data files

class QcowChains : public QcowImages {
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
