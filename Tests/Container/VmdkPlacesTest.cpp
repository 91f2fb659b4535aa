// Sparse VMDK images whose tables differ from their copy, or name a place of the file twice: what
// is read is right, or fails.
#include "OpenAt.h"
#include "TestImage.h"
#include "VmdkWriter.h"

namespace vx {
namespace {

constexpr size_t kGrain = VmdkWriter::kGrain;
constexpr size_t kSectors = kGrain / 512;
constexpr size_t kTable = VmdkWriter::kTableAt;
constexpr size_t kCopy = VmdkWriter::kCopyAt + 512;  // of the table
constexpr size_t kFirst = VmdkWriter::kGrainsAt / 512;

constexpr const char *kDoubt = "the tables of the VMDK image contradict each other";
constexpr const char *kSamePlace = "the VMDK image keeps two pieces in the same place";
constexpr const char *kSamePlaceNote =
    "pieces of x.vmdk lie in the same place, which is impossible; they cannot be read";

std::string DifferIn(size_t grains)
{
    return "the tables of x.vmdk and their copy differ in " + std::to_string(grains) +
           " pieces; those that stay in doubt cannot be read";
}

class VmdkTables : public testing::Test {
protected:
    // Grains 0 to 3, of which 1 is not stored.
    VmdkTables()
    {
        VmdkWriter writer;
        writer.AddGrain(NoiseBytes(kGrain, 1));
        writer.AddNothing();
        writer.AddGrain(NoiseBytes(kGrain, 2));
        writer.AddGrain(NoiseBytes(kGrain, 3));
        image = writer.Image();
        disk = NoiseBytes(kGrain, 1) + std::string(kGrain, '\0') + NoiseBytes(kGrain, 2) +
               NoiseBytes(kGrain, 3);
    }

    void Set(size_t table, size_t grain, uint64_t sector)
    {
        image.replace(table + 4 * grain, 4, VmdkWriter::Number(sector, 4));
    }

    void SetBoth(size_t grain, uint64_t sector)
    {
        Set(kTable, grain, sector);
        Set(kCopy, grain, sector);
    }

    Container Open() const
    {
        Container container;
        const Error error = OpenAt(folder.WriteFile("x.vmdk", image), &container);
        EXPECT_EQ(error.status, Status::kOk) << error.detail;
        return container;
    }

    static std::string Read(const Container &container, size_t grain)
    {
        std::string bytes(kGrain, '#');
        const Error error = container.source->ReadAt(grain * kGrain, bytes.data(), bytes.size());
        return error ? error.detail : bytes;
    }

    std::string Stored(size_t grain) const { return disk.substr(grain * kGrain, kGrain); }

    // Each grain is that of the disk, or fails for the reason.
    void ExpectGrains(const std::vector<size_t> &failing, const std::string &reason,
                      const std::vector<std::string> &notes) const
    {
        const Container container = Open();
        ASSERT_NE(container.source, nullptr);
        EXPECT_EQ(container.notes, notes);
        for (size_t grain = 0; grain < 4; ++grain) {
            const bool fails = std::find(failing.begin(), failing.end(), grain) != failing.end();
            const std::string failure = "read at " + std::to_string(grain * kGrain) + ": " + reason;
            EXPECT_TRUE(Read(container, grain) == (fails ? failure : Stored(grain))) << grain;
        }
    }

    std::string image;
    std::string disk;
    const TemporaryFolder folder{};
};

TEST_F(VmdkTables, OfOneThatDiffersFromItsCopyTheRightPlaceIsTaken)
{
    const std::string sound = image;
    const uint64_t wrong[] = {
        0, 1, kFirst, kFirst + 1, kFirst + kSectors, kFirst + 3 * kSectors - 1,
        2, 4, 6,      1000,       0xFFFFFFFF};
    for (const size_t table : {kTable, kCopy}) {
        for (const uint64_t sector : wrong) {
            if (sector == kFirst + kSectors)  // the right one
                continue;
            image = sound;
            Set(table, 2, sector);
            const Container container = Open();
            for (size_t grain = 0; grain < 4; ++grain)
                EXPECT_TRUE(Read(container, grain) == Stored(grain)) << sector << " " << grain;
            ASSERT_FALSE(container.notes.empty());
            EXPECT_EQ(container.notes.back(), DifferIn(1));
        }
    }
}

TEST_F(VmdkTables, AGrainThatWasNeverWrittenStaysZeros)
{
    Set(kTable, 1, kFirst);
    ExpectGrains({}, "", {DifferIn(1)});
    Set(kTable, 1, 0);
    Set(kCopy, 1, kFirst + kSectors);
    ExpectGrains({}, "", {DifferIn(1)});
}

TEST_F(VmdkTables, AGrainThatLiesBeyondTheEndOfTheFileForOneTableIsNotZeros)
{
    for (const uint64_t zeros : {0, 1}) {
        for (const size_t table : {kTable, kCopy}) {
            SetBoth(1, zeros);
            Set(table, 1, 1000000);
            const Container container = Open();
            EXPECT_EQ(Read(container, 1), "read at " + std::to_string(kGrain) + ": " + kDoubt);
            for (const size_t grain : {0, 2, 3})
                EXPECT_TRUE(Read(container, grain) == Stored(grain)) << grain;
            ASSERT_FALSE(container.notes.empty());
            EXPECT_EQ(container.notes.back(), DifferIn(1));
        }
    }
}

TEST_F(VmdkTables, WithAnEmptyCopyOfTheTableAFileThatEndsEarlyLosesNoGrainInSilence)
{
    image.replace(kCopy, 4 * 4, 4 * 4, '\0');
    image.resize(image.size() - kGrain);
    const Container container = Open();
    EXPECT_TRUE(Read(container, 2) == Stored(2));
    EXPECT_EQ(Read(container, 3), "read at " + std::to_string(3 * kGrain) + ": " + kDoubt);
}

TEST_F(VmdkTables, ATableThatSeemsToLieOnAGrainDoesNotMakeItZeros)
{
    // All of the grain but its end is zeros, and so are the entries that are read there.
    image.replace(VmdkWriter::kGrainsAt, kGrain - 1, kGrain - 1, '\0');
    image.replace(VmdkWriter::kDirectoryAt, 4, VmdkWriter::Number(kFirst, 4));
    const Container container = Open();
    EXPECT_EQ(Read(container, 0), std::string("read at 0: ") + kDoubt);
    for (const size_t grain : {1, 2, 3})
        EXPECT_TRUE(Read(container, grain) == Stored(grain)) << grain;
}

TEST_F(VmdkTables, WithTwoPossiblePlacesAGrainCannotBeRead)
{
    image += std::string(kGrain, 'o');  // nobody's
    Set(kCopy, 2, kFirst + 3 * kSectors);
    ExpectGrains({2}, kDoubt, {DifferIn(1)});
}

TEST_F(VmdkTables, WithTwoImpossiblePlacesAGrainCannotBeRead)
{
    Set(kTable, 2, kFirst);
    Set(kCopy, 2, kFirst + 2 * kSectors);
    ExpectGrains({2}, kDoubt, {DifferIn(1)});
}

TEST_F(VmdkTables, GrainsInTheSamePlaceCannotBeReadAndOthersCan)
{
    SetBoth(2, kFirst);
    ExpectGrains({0, 2}, kSamePlace, {kSamePlaceNote});
    SetBoth(2, kFirst + kSectors + 1);
    ExpectGrains({2, 3}, kSamePlace, {kSamePlaceNote});
}

TEST_F(VmdkTables, AGrainInTheTablesCannotBeRead)
{
    for (const uint64_t sector : {2, 3, 4, 5}) {
        SetBoth(3, sector);
        const Container container = Open();
        EXPECT_EQ(Read(container, 3), std::string("read at 12288: ") + kSamePlace);
        EXPECT_TRUE(Read(container, 2) == Stored(2));
    }
}

TEST_F(VmdkTables, TwoGrainsForWhichTheSamePlaceIsChosenCannotBeRead)
{
    Set(kTable, 2, 0);
    Set(kCopy, 3, kFirst + kSectors);
    Set(kTable, 3, 0);
    ExpectGrains({2, 3}, kSamePlace, {DifferIn(2), kSamePlaceNote});
}

TEST_F(VmdkTables, NoFlippedBitGivesOtherBytes)
{
    const std::string sound = image;
    for (const size_t begin : {VmdkWriter::kDirectoryAt, VmdkWriter::kCopyAt, kTable, kCopy}) {
        const bool isOfTable = begin == kTable || begin == kCopy;
        for (size_t bit = begin * 8; bit < (begin + (isOfTable ? 20 : 4)) * 8; ++bit) {
            image = sound;
            image[bit / 8] = static_cast<char>(image[bit / 8] ^ 1 << bit % 8);
            const Container container = Open();
            ASSERT_NE(container.source, nullptr) << bit;
            for (size_t grain = 0; grain < 4; ++grain) {
                const std::string bytes = Read(container, grain);
                // A table that seems to lie on a grain makes that grain doubtful, and so does a
                // place in the tables, or beyond the end, for one that was never written.
                const bool mayFail =
                    (!isOfTable || grain == 1) && (bytes.find(kSamePlace) != std::string::npos ||
                                                   bytes.find(kDoubt) != std::string::npos);
                EXPECT_TRUE(mayFail || bytes == Stored(grain)) << bit << " " << grain;
            }
        }
    }
}

TEST_F(VmdkTables, AnImageOfAnotherProgramIsReadWholeDespiteAFlippedBit)
{
    VX_NEEDS("qemu-img");
    constexpr size_t kPiece = 65536;
    const std::string raw = NoiseBytes(20 * kPiece, 5);
    folder.WriteFile("raw", raw);
    ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) +
                         " && qemu-img convert -f raw -O vmdk raw made.vmdk"));
    const std::string made = folder.ReadFile("made.vmdk");
    const auto sectorAt = [&](size_t at) {
        uint32_t number = 0;
        for (size_t byte = 4; byte-- > 0;)
            number = number << 8 | static_cast<uint8_t>(made[at + byte]);
        return size_t{number} * 512;
    };
    constexpr size_t kDirectoryField = 56;
    const size_t entry = sectorAt(sectorAt(kDirectoryField)) + 4 * 7;
    ASSERT_TRUE(made.substr(sectorAt(entry), kPiece) == raw.substr(7 * kPiece, kPiece));
    for (size_t bit = 0; bit < 32; ++bit) {
        image = made;
        image[entry + bit / 8] = static_cast<char>(image[entry + bit / 8] ^ 1 << bit % 8);
        const Container container = Open();
        std::string bytes(raw.size(), '#');
        EXPECT_FALSE(container.source->ReadAt(0, bytes.data(), bytes.size())) << bit;
        EXPECT_TRUE(bytes == raw) << bit;
    }
}

}  // namespace
}  // namespace vx
