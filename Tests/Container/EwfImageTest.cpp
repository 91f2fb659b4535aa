// E01 and S01 images: those that an acquiring program writes in each of its formats, and those that
// only an attacker makes.
#include "EwfSource.h"
#include "EwfWriter.h"
#include "FailingSource.h"
#include "OpenAt.h"
#include "TestImage.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;

class EwfImage : public testing::Test {
protected:
    std::string Write(const EwfWriter &writer, const std::string &name = "e.E01") const
    {
        return folder.WriteFile(name, writer.Image());
    }

    // The bytes at a place of the disk; nothing if they cannot be read, and error says why.
    static std::optional<std::string> Read(const Container &container, uint64_t offset,
                                           size_t count, std::string *error = nullptr)
    {
        std::string bytes(count, '\0');
        const Error failed = container.source->ReadAt(offset, bytes.data(), count);
        if (!failed)
            return bytes;
        EXPECT_EQ(failed.status, Status::kSystemError) << failed.detail;
        if (error != nullptr)
            *error = failed.detail;
        return std::nullopt;
    }

    static Container Open(const std::string &path)
    {
        Container container;
        const Error error = OpenAt(path, &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return container;
    }

    // Every chunk reads as it was, except for some that cannot be read.
    void ExpectOnlyUnreadable(const Container &container, const std::vector<size_t> &numbers,
                              size_t chunkBytes = kSector) const
    {
        ASSERT_NE(container.source, nullptr);
        ASSERT_EQ(container.source->Size(), disk.size());
        for (size_t number = 0; number * chunkBytes < disk.size(); ++number) {
            const auto read = Read(container, number * chunkBytes, chunkBytes);
            const bool isBad = std::find(numbers.begin(), numbers.end(), number) != numbers.end();
            EXPECT_EQ(read.has_value(), !isBad) << number;
            if (read)
                EXPECT_TRUE(*read == disk.substr(number * chunkBytes, chunkBytes)) << number;
        }
    }

    const std::string disk = NoiseBytes(20 * kSector, 5);
    const TemporaryFolder folder{};
};

TEST_F(EwfImage, EveryKindReadsAsItsDisk)
{
    for (const auto kind : {EwfRecipe::Kind::kNew, EwfRecipe::Kind::kOld}) {
        for (const bool isPacked : {false, true}) {
            for (const uint32_t sectors : {1, 3, 64}) {
                const EwfRecipe recipe = {kind, sectors, isPacked};
                const Container container = Open(Write(EwfWriter(disk, recipe)));
                ASSERT_NE(container.source, nullptr);
                EXPECT_TRUE(Read(container, 0, disk.size()) == disk) << sectors;
                EXPECT_TRUE(Read(container, 700, 5000) == disk.substr(700, 5000)) << sectors;
                EXPECT_TRUE(container.notes.empty());
            }
        }
    }
}

// An image in two parts with half of the disk each.
class EwfParts : public EwfImage {
protected:
    static std::string SetOf(char letter) { return std::string(16, letter); }

    std::string PartOf(uint8_t part, const std::string &set) const
    {
        EwfRecipe recipe;
        recipe.part = part;
        recipe.isLast = part == 2;
        recipe.set = set;
        EwfWriter writer(disk.substr((part - 1) * disk.size() / 2, disk.size() / 2), recipe);
        writer.SetSectors(disk.size() / kSector);
        return writer.Image();
    }

    Error OpenWith(const std::string &first, const std::string &second, Container *container) const
    {
        folder.WriteFile("e.E02", second);
        return OpenAt(folder.WriteFile("e.E01", first), container);
    }

    void ExpectWhole(const std::string &first, const std::string &second) const
    {
        Container container;
        const Error error = OpenWith(first, second, &container);
        ASSERT_EQ(error.status, Status::kOk) << error.detail;
        EXPECT_TRUE(container.notes.empty());
        EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    }
};

TEST_F(EwfParts, ThoseOfOneSetAreOneDiskAndSoAreThoseThatNameNone)
{
    ExpectWhole(PartOf(1, SetOf('a')), PartOf(2, SetOf('a')));
    for (const std::string &none : {std::string(), std::string(16, '\0')}) {
        ExpectWhole(PartOf(1, none), PartOf(2, none));
        ExpectWhole(PartOf(1, SetOf('a')), PartOf(2, none));
        ExpectWhole(PartOf(1, none), PartOf(2, SetOf('a')));
    }
}

TEST_F(EwfParts, OneOfAnotherSetIsRefusedByName)
{
    Container container;
    const Error error = OpenWith(PartOf(1, SetOf('a')), PartOf(2, SetOf('b')), &container);
    EXPECT_EQ(error.status, Status::kUnsupportedContainer);
    EXPECT_EQ(error.detail, "its part e.E02 belongs to another image: it names the set "
                            "62626262-6262-6262-6262-626262626262, the parts before it name "
                            "61616161-6161-6161-6161-616161616161");
}

TEST_F(EwfParts, ASetThatADamagedDescriptionNamesDoesNotCount)
{
    constexpr size_t kSetAt = 13 + 76 + 64;
    std::string second = PartOf(2, SetOf('a'));
    second[kSetAt] = 'b';
    ExpectWhole(PartOf(1, SetOf('a')), second);
}

// The image of a disk on a file that fails.
class EwfOnFailingFile : public EwfImage {
protected:
    EwfOnFailingFile() { EXPECT_FALSE(MakeSource()); }

    Error MakeSource()
    {
        EwfLayoutReader reader;
        const auto ending = reader.Add(*file, "e.E01");
        if (!ending)
            return ending.Failure();
        const auto layout = reader.Finish();
        if (!layout)
            return layout.Failure();
        source = std::make_shared<EwfSource>(std::vector<EwfFile>{{"e.E01", file}}, *layout);
        return {};
    }

    // How many reads of the disk's first sector succeed with the right bytes.
    int GoodReads(int reads) const
    {
        int good = 0;
        char sector[kSector];
        for (int i = 0; i < reads; ++i) {
            if (!source->ReadAt(0, sector, sizeof sector))
                good += std::equal(sector, sector + kSector, disk.begin()) ? 1 : 0;
        }
        return good;
    }

    const std::shared_ptr<FailingSource> file =
        std::make_shared<FailingSource>(EwfWriter(disk, {EwfRecipe::Kind::kNew, 4, false}).Image());
    std::shared_ptr<EwfSource> source;
};

TEST_F(EwfOnFailingFile, AChunkThatCannotBeReadIsGivenUpAfterFourTries)
{
    file->MakeBad(file->Bytes().find(disk.substr(0, kSector)), kSector);
    EXPECT_EQ(GoodReads(100), 0);
    EXPECT_LE(file->FailedReads(), 4);
    EXPECT_GE(file->FailedReads(), 1);
}

TEST_F(EwfOnFailingFile, AnErrorThatPassesIsTriedAgain)
{
    file->MakeBad(file->Bytes().find(disk.substr(0, kSector)), kSector, 2);
    EXPECT_EQ(GoodReads(3), 1);
}

TEST_F(EwfOnFailingFile, ATableThatCannotBeReadIsGivenUpAfterFourTries)
{
    const size_t firstTable = file->Bytes().find("table");
    const size_t copy = file->Bytes().find("table2");
    ASSERT_NE(copy, std::string::npos);
    constexpr size_t kHeaders = 76 + 24;
    file->MakeBad(firstTable + kHeaders, 4);
    file->MakeBad(copy + kHeaders, 4);
    EXPECT_EQ(GoodReads(100), 0);
    EXPECT_LE(file->FailedReads(), 2 * 4);
    EXPECT_GE(file->FailedReads(), 2);
}

TEST_F(EwfImage, AChunkThatSaysThatItIsHugeFailsAlone)
{
    EwfWriter writer(disk, {EwfRecipe::Kind::kNew, 1, true});
    writer.Chunks()[3] = EwfWriter::Packed(NoiseBytes(7000000, 1));
    ExpectOnlyUnreadable(Open(Write(writer)), {3});
    writer.Chunks()[3] = EwfWriter::Packed(std::string(8000000, 'x'));
    ExpectOnlyUnreadable(Open(Write(writer)), {3});
}

TEST_F(EwfImage, ATableThatLeavesRoomForAHugeChunkReadsAsItsChunks)
{
    EwfWriter writer(disk);
    writer.Chunks()[3] += NoiseBytes(7000000, 1);
    ExpectOnlyUnreadable(Open(Write(writer)), {});
}

TEST_F(EwfImage, APackedChunkThatIsTooShortFailsAlone)
{
    EwfWriter writer(disk, {EwfRecipe::Kind::kNew, 1, true});
    writer.Chunks()[3] = EwfWriter::Packed(disk.substr(0, kSector - 1));
    writer.Chunks()[5].resize(100);
    writer.Chunks()[7].back() ^= 1;
    ExpectOnlyUnreadable(Open(Write(writer)), {3, 5, 7});
}

TEST_F(EwfImage, AStreamOfEmptyBlocksEnds)
{
    EwfWriter writer(disk, {EwfRecipe::Kind::kNew, 1, true});
    std::string endless = writer.Chunks()[3].substr(0, 2);
    while (endless.size() < 1000000)
        endless += std::string("\x00\x00\x00\xFF\xFF", 5);
    writer.Chunks()[3] = endless;
    ExpectOnlyUnreadable(Open(Write(writer)), {3});
}

TEST_F(EwfImage, EntriesThatLeadOutOfTheFileFailAlone)
{
    EwfWriter writer(disk);
    writer.SetEntry(2, 0x7FFFFFFF);
    writer.SetEntry(4, 0xFFFFFFFF);
    writer.SetEntry(6, static_cast<uint32_t>(writer.Image().size() - 10));
    writer.SetEntry(8, 0);
    ExpectOnlyUnreadable(Open(Write(writer)), {2, 4, 6, 8});
}

TEST_F(EwfImage, AnErrorSaysWhereOnTheDiskItIs)
{
    EwfWriter writer(disk);
    writer.Chunks()[3][100] ^= 1;
    const Container container = Open(Write(writer));
    std::string error;
    EXPECT_EQ(Read(container, 3 * kSector, kSector, &error), std::nullopt);
    EXPECT_EQ(error, "read at 1536: e.E01: a chunk of it does not fit its checksum");
    EXPECT_EQ(Read(container, 0, disk.size(), &error), std::nullopt);
    EXPECT_EQ(error.rfind("read at 1536: ", 0), 0u) << error;
}

TEST_F(EwfImage, EntriesAreRelativeToTheBaseOfTheirTable)
{
    EwfRecipe recipe;
    recipe.base = 900;
    ExpectOnlyUnreadable(Open(Write(EwfWriter(disk, recipe))), {});
}

TEST_F(EwfImage, TheCopyOfADamagedTableTakesItsPlace)
{
    EwfWriter writer(disk);
    writer.DamageTable();
    ExpectOnlyUnreadable(Open(Write(writer)), {});
    writer.DamageCopy();
    const Container container = Open(Write(writer));
    ASSERT_NE(container.source, nullptr);
    EXPECT_EQ(Read(container, 0, kSector), std::nullopt);
}

TEST_F(EwfImage, AHeaderOfATableThatIsDamagedGivesWayToThatOfItsCopy)
{
    std::string image = EwfWriter(disk).Image();
    const size_t table = image.find(std::string("table\0\0", 7)) + 76;
    image[table] ^= 1;
    ExpectOnlyUnreadable(Open(folder.WriteFile("e.E01", image)), {});
    const size_t copy = image.find("table2") + 76;
    image[copy] ^= 1;
    Container container;
    const std::string path = folder.WriteFile("e.E01", image);
    const Error error = OpenAt(path, &container);
    EXPECT_EQ(error.status, Status::kDamagedContainer);
    EXPECT_EQ(error.detail, "the E01 image is damaged in e.E01");
}

TEST_F(EwfImage, WhatNoTableHoldsIsSaidAndCannotBeRead)
{
    EwfWriter writer(disk);
    writer.SetSectors(22);
    const Container container = Open(Write(writer));
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "1024 bytes of the disk are in no part of the E01 image and cannot be read");
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
    EXPECT_EQ(Read(container, disk.size(), 1), std::nullopt);
}

TEST_F(EwfImage, SectorsThatWereLostWhenItWasMadeAreSaid)
{
    EwfWriter writer(disk);
    writer.SetLost(7);
    const Container container = Open(Write(writer));
    ASSERT_EQ(container.notes.size(), 1u);
    EXPECT_EQ(container.notes[0],
              "7 sectors could not be read when the E01 image was made; they are zeros in it");
}

TEST_F(EwfImage, ASectorThatWasLostCannotBeReadIfItIsZeros)
{
    for (const uint32_t sectors : {1, 3, 64}) {
        std::string image = disk;
        image.replace(2 * kSector, kSector, kSector, '\0');
        image.replace(5 * kSector, 256, 256, '\0');
        image.replace(9 * kSector, kSector, kSector, '\0');
        EwfWriter writer(image, {EwfRecipe::Kind::kNew, sectors});
        writer.SetLost(7);
        const Container container = Open(Write(writer));
        ASSERT_NE(container.source, nullptr);
        for (size_t number = 0; number < disk.size() / kSector; ++number) {
            const auto read = Read(container, number * kSector, kSector);
            EXPECT_EQ(read.has_value(), number != 2) << number;
            EXPECT_EQ(read.value_or(image.substr(number * kSector, kSector)),
                      image.substr(number * kSector, kSector));
        }
        EXPECT_TRUE(Read(container, 5 * kSector + 16, 64) == std::string(64, '\0'));
        std::string error;
        EXPECT_EQ(Read(container, 0, disk.size(), &error), std::nullopt);
        EXPECT_EQ(error, "read at 1024: e.E01: it could not be read when the image was made");
        EXPECT_EQ(Read(container, 2 * kSector + 500, 40), std::nullopt);
    }
}

TEST_F(EwfImage, ALongListOfLostSectorsBeyondTheDiskIsNoTrouble)
{
    EwfWriter writer(disk);
    writer.SetLost(0xFFFFFFFF);
    const Container container = Open(Write(writer));
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, disk.size()) == disk);
}

TEST_F(EwfImage, ADiskOfImpossibleSizesDoesNotOpen)
{
    const auto expectDamaged = [&](const EwfWriter &writer) {
        Container container;
        EXPECT_EQ(OpenAt(Write(writer), &container).status, Status::kDamagedContainer);
    };
    for (const uint32_t sectors : {0u, 0x10000u, 0xFFFFFFFFu}) {
        EwfWriter writer(disk);
        writer.SetSectorsOfChunk(sectors);
        expectDamaged(writer);
    }
    for (const uint64_t sectors : {uint64_t{1} << 55, ~uint64_t{0}}) {
        EwfWriter writer(disk);
        writer.SetSectors(sectors);
        expectDamaged(writer);
    }
}

TEST_F(EwfImage, ThreadsReadWhatIsThere)
{
    const Container container = Open(Write(EwfWriter(disk, {EwfRecipe::Kind::kNew, 3, true})));
    ASSERT_NE(container.source, nullptr);
    std::vector<std::thread> threads;
    for (size_t number = 0; number < 4; ++number) {
        threads.emplace_back([&, number] {
            for (size_t at = number * 100; at + 2000 < disk.size(); at += 37)
                EXPECT_TRUE(Read(container, at, 2000) == disk.substr(at, 2000));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

struct EwfFormat {
    const char *name;
    const char *extension;

    friend void PrintTo(const EwfFormat &format, std::ostream *out) { *out << format.name; }
};

// A disk of data that packs well and data that does not; its size is not a multiple of a chunk.
class EachEwfFormat : public EwfImage, public testing::WithParamInterface<EwfFormat> {
protected:
    void ExpectReadsAsItsDisk(const std::string &options) const
    {
        const std::string raw = NoiseBytes(1200000, 8) + std::string(300000, 'a') +
                                NoiseBytes(700000, 9) + std::string(100000, '\0') +
                                NoiseBytes(300 * kSector + 64, 10);
        const std::string path = folder.WriteFile("raw", raw.substr(0, raw.size() / 512 * 512));
        ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                             " && rm -f e.* && ewfacquire -q -u -f " + GetParam().name + " " +
                             options + " -l log -t e " + Quoted(path)));
        const Container container = Open(folder.At(std::string("e.") + GetParam().extension));
        ASSERT_NE(container.source, nullptr);
        const size_t size = raw.size() / kSector * kSector;
        ASSERT_EQ(container.source->Size(), size);
        EXPECT_TRUE(Read(container, 0, size) == raw.substr(0, size));
        EXPECT_TRUE(container.notes.empty());
    }
};

TEST_P(EachEwfFormat, ReadsAsItsDisk)
{
    VX_NEEDS("ewfacquire");
    ExpectReadsAsItsDisk("-c none -S 1MiB");
    ExpectReadsAsItsDisk("-c best -S 1900MiB");
    ExpectReadsAsItsDisk("-c fast -b 16 -S 1MiB");
}

INSTANTIATE_TEST_SUITE_P(Containers, EachEwfFormat,
                         testing::Values(EwfFormat{"smart", "s01"}, EwfFormat{"ewf", "e01"},
                                         EwfFormat{"ewfx", "e01"}, EwfFormat{"ftk", "E01"},
                                         EwfFormat{"encase1", "E01"}, EwfFormat{"encase2", "E01"},
                                         EwfFormat{"encase3", "E01"}, EwfFormat{"encase4", "E01"},
                                         EwfFormat{"encase5", "E01"}, EwfFormat{"encase6", "E01"},
                                         EwfFormat{"encase7", "E01"}, EwfFormat{"linen5", "E01"},
                                         EwfFormat{"linen6", "E01"}, EwfFormat{"linen7", "E01"}),
                         [](const auto &tested) { return std::string(tested.param.name); });

// An image of 70 files of which 64 are open at a time.
class EwfOfManyFiles : public EwfImage {
protected:
    void SetUp() override
    {
        VX_NEEDS("ewfacquire");
        folder.WriteFile("raw", raw);
        ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                             " && ewfacquire -q -u -c none -S 1MiB -l log -t e " +
                             Quoted(folder.At("raw"))));
        ASSERT_EQ(access(folder.At("e.E70").c_str(), R_OK), 0);
        ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    }
    void TearDown() override { setrlimit(RLIMIT_NOFILE, &before); }

    void AllowDescriptors(rlim_t count) const
    {
        const rlimit few = {count, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    }

    // Random bytes, different in each piece.
    static std::string Numbered(size_t mebibytes)
    {
        constexpr size_t kPiece = size_t{32} << 10;
        std::string all = NoiseBytes(kPiece, 3);
        all.reserve(mebibytes << 20);
        for (size_t piece = 1; piece < (mebibytes << 20) / kPiece; ++piece) {
            const std::string number = std::to_string(piece);
            all.append(all, 0, kPiece);
            all.replace(piece * kPiece, number.size(), number);
        }
        return all;
    }

    const std::string raw = Numbered(70);
    rlimit before = {};
};

int OpenFiles()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        count += fcntl(descriptor, F_GETFD) < 0 ? 0 : 1;
    return count;
}

TEST_F(EwfOfManyFiles, AllOfThemStayOpenWhereTheProcessMayHaveAsMany)
{
    AllowDescriptors(256);
    const int open = OpenFiles();
    const Container container = Open(folder.At("e.E01"));
    ASSERT_NE(container.source, nullptr);
    EXPECT_TRUE(Read(container, 0, raw.size()) == raw);
    EXPECT_GE(OpenFiles() - open, 70);
}

TEST_F(EwfOfManyFiles, AllFilesAreReadWithFewOpen)
{
    AllowDescriptors(128);
    const int open = OpenFiles();
    const Container container = Open(folder.At("e.E01"));
    ASSERT_NE(container.source, nullptr);
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(Read(container, 0, raw.size()) == raw);
        EXPECT_LE(OpenFiles() - open, 65);
    }
}

TEST_F(EwfOfManyFiles, DescriptorsAreClosedWhenAnotherProgramIsStarted)
{
    std::vector<int> before;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0)
            before.push_back(descriptor);
    }
    const Container container = Open(folder.At("e.E01"));
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        const int flags = fcntl(descriptor, F_GETFD);
        if (flags >= 0 && std::find(before.begin(), before.end(), descriptor) == before.end())
            EXPECT_NE(flags & FD_CLOEXEC, 0) << descriptor;
    }
}

TEST_F(EwfOfManyFiles, AFileThatVanishesOrIsExchangedFailsItsReadsAlone)
{
    AllowDescriptors(64);
    const Container container = Open(folder.At("e.E01"));
    ASSERT_NE(container.source, nullptr);
    ASSERT_EQ(unlink(folder.At("e.E02").c_str()), 0);
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) + " && cp e.E05 e && mv e e.E03"));
    // Reads of the last files have closed the first ones.
    const size_t late = raw.size() / 2;
    EXPECT_TRUE(Read(container, late, raw.size() - late) == raw.substr(late));
    EXPECT_TRUE(Read(container, 0, 500000) == raw.substr(0, 500000));
    std::string error;
    EXPECT_EQ(Read(container, size_t{3} << 19, 1000, &error), std::nullopt);
    EXPECT_NE(error.find("e.E02"), std::string::npos) << error;
    EXPECT_EQ(Read(container, size_t{5} << 19, 1000, &error), std::nullopt);
    EXPECT_NE(error.find("e.E03 was exchanged"), std::string::npos) << error;
    EXPECT_TRUE(Read(container, size_t{8} << 20, 1000) == raw.substr(size_t{8} << 20, 1000));
}

}  // namespace
}  // namespace vx
