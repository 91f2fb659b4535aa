// How much memory a container holds whose tables are as large as they can be or say that they are
// larger; asks the kernel, so Linux only. The large files are sparse.
#include "Container.h"
#include "EwfWriter.h"
#include "HostileMemoryLinux.h"
#include "QcowWriter.h"
#include "VdiWriter.h"
#include "VhdWriter.h"
#include "VhdxWriter.h"
#include "VmdkWriter.h"

#include <algorithm>

namespace vx {
namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;
constexpr uint64_t kTiB = uint64_t{1} << 40;

class HostileContainer : public HostileMemory {
protected:
    // The bytes at the beginning of a file of this size, with the tail at its end.
    std::string Write(const std::string &bytes, uint64_t size = 0,
                      const std::string &tail = "") const
    {
        const std::string path = image.Folder().WriteFile("hostile", bytes);
        EXPECT_EQ(
            truncate(path.c_str(), static_cast<off_t>(std::max<uint64_t>(size, bytes.size()))), 0);
        std::ofstream(path, std::ios::binary | std::ios::app) << tail;
        return path;
    }

    // It opens, and its disk is read in many places.
    void ExpectLittleIsHeldOf(const std::string &path) const
    {
        Status status = Status::kOk;
        ExpectLittle([&] { status = OpenAndRead(path); });
        EXPECT_EQ(status, Status::kOk);
    }

    void ExpectLittleForRefusing(const std::string &path, Status expected) const
    {
        Status status = Status::kOk;
        ExpectLittle([&] { status = OpenAndRead(path); });
        EXPECT_EQ(status, expected);
    }

    // What a place cannot give is an error of the read, which is not looked at.
    static Status OpenAndRead(const std::string &path)
    {
        constexpr uint64_t kPlaces = 5000;
        const auto container = OpenContainer(path);
        if (!container)
            return container.Failure().status;
        const uint64_t size = container->source->Size();
        uint8_t bytes[512];
        for (uint64_t place = 0; place < kPlaces && size >= sizeof bytes; ++place)
            (void)container->source->ReadAt((size - sizeof bytes) / kPlaces * place, bytes,
                                            sizeof bytes);
        return Status::kOk;
    }

    static void PutLittle(size_t at, uint64_t value, size_t bytes, std::string *image)
    {
        image->replace(at, bytes, VmdkWriter::Number(value, bytes));
    }
};

class HostileVhdx : public HostileContainer {
protected:
    static VhdxRecipe Recipe(uint64_t diskBytes)
    {
        VhdxRecipe recipe;
        recipe.diskBytes = diskBytes;
        return recipe;
    }

    // Another length of the table of blocks, in both tables of regions.
    static void SetTableBytes(uint64_t bytes, std::string *image)
    {
        for (const size_t regions : {192U << 10, 256U << 10})
            PutLittle(regions + 16 + 24, bytes, 4, image);
        VhdxWriter::RepairSums(image);
    }
};

TEST_F(HostileVhdx, ATableOf16TebibytesTakesLittle)
{
    const VhdxWriter writer(Recipe(16 * kTiB));
    std::string bytes = writer.Image();
    SetTableBytes(129 * kMiB, &bytes);
    ExpectLittleIsHeldOf(Write(bytes, kGiB));
}

TEST_F(HostileVhdx, ATableWhoseBlocksShareTheirPlacesTakesLittle)
{
    constexpr uint64_t kBlocks = 200000;
    const VhdxWriter writer(Recipe(kBlocks * kMiB));
    std::string bytes = writer.Image();
    SetTableBytes(4 * kMiB, &bytes);
    bytes.resize(writer.TableAt() + 4 * kMiB);
    for (uint64_t block = 0; block < kBlocks; ++block)
        PutLittle(writer.EntryAt(block), (100 + block / 2 * 2) * kMiB | 6, 8, &bytes);
    ExpectLittleIsHeldOf(Write(bytes, (kBlocks + 200) * kMiB));
}

TEST_F(HostileVhdx, ATableThatIsLongerThanItsFileTakesLittle)
{
    const VhdxWriter writer(Recipe(64 * kTiB));
    std::string bytes = writer.Image();
    SetTableBytes(0xFFF00000, &bytes);
    ExpectLittleForRefusing(Write(bytes), Status::kTruncatedImage);
}

TEST_F(HostileVhdx, ALogFullOfPagesTakesLittle)
{
    constexpr uint64_t kPages = 16000;
    VhdxRecipe recipe = Recipe(64 * kMiB);
    recipe.logId = std::string(16, 'L');
    recipe.logBytes = 64 * kMiB;
    const VhdxWriter writer(recipe);
    std::string bytes = writer.Image();
    bytes.resize(writer.BlocksAt() + 64 * kMiB);
    VhdxLogEntry entry;
    entry.logId = recipe.logId;
    entry.flushedBytes = bytes.size();
    entry.neededBytes = bytes.size();
    for (uint64_t page = 0; page < kPages; ++page)
        entry.changes.push_back({writer.BlocksAt() + page * 4096, std::string(4096, 'p'), 0});
    VhdxWriter::PutLog(0, entry, &bytes);
    ExpectLittleIsHeldOf(Write(bytes));
}

TEST_F(HostileVhdx, ALogThatIsLargerThanAnyTakesLittle)
{
    VhdxRecipe recipe = Recipe(64 * kMiB);
    recipe.logId = std::string(16, 'L');
    std::string bytes = VhdxWriter(recipe).Image();
    for (const size_t header : {64U << 10, 128U << 10})
        PutLittle(header + 68, 0xFFF00000, 4, &bytes);
    VhdxWriter::RepairSums(&bytes);
    ExpectLittleForRefusing(Write(bytes, 5 * kGiB), Status::kUnsupportedContainer);
}

class HostileQcow : public HostileContainer {
protected:
    // A disk whose L1 table has this many entries; the tables lie in the holes of the file.
    std::string WithL1Of(uint64_t entries, const std::function<uint64_t(uint64_t)> &entry) const
    {
        QcowRecipe recipe;
        recipe.clusterBits = 9;
        recipe.diskBytes = entries * 64 * 512;
        QcowWriter writer(recipe);
        writer.AddNothing();
        std::string bytes = writer.Image();
        const size_t l1At = (bytes.size() + 511) / 512 * 512;
        bytes.replace(36, 4, QcowWriter::Number(entries, 4));
        bytes.replace(40, 8, QcowWriter::Number(l1At, 8));
        bytes.resize(l1At);
        for (uint64_t number = 0; number < entries; ++number)
            bytes += QcowWriter::Number(entry(number), 8);
        return bytes;
    }
    static constexpr uint64_t kEntries = uint64_t{1} << 20;
};

TEST_F(HostileQcow, AsManyL2TablesAsCanBeTakeLittle)
{
    const std::string bytes = WithL1Of(
        kEntries, [](uint64_t number) { return QcowWriter::kOnlyOnce | (kGiB + number * 512); });
    ExpectLittleIsHeldOf(Write(bytes, 2 * kGiB));
}

TEST_F(HostileQcow, L2TablesThatManyEntriesShareTakeLittle)
{
    const std::string bytes = WithL1Of(kEntries, [](uint64_t number) {
        return QcowWriter::kOnlyOnce | (kGiB + number / 2 * 1024);
    });
    ExpectLittleIsHeldOf(Write(bytes, 2 * kGiB));
}

TEST_F(HostileQcow, AnL1TableThatIsLongerThanItsFileTakesLittle)
{
    std::string bytes = WithL1Of(1, [](uint64_t) { return 0; });
    bytes.replace(24, 8, QcowWriter::Number(uint64_t{0xFFFFFFFF} * 64 * 512, 8));
    bytes.replace(36, 4, QcowWriter::Number(0xFFFFFFFF, 4));
    ExpectLittleForRefusing(Write(bytes), Status::kDamagedContainer);
}

class HostileVdi : public HostileContainer {
protected:
    static constexpr uint64_t kBlocksAt = 0x20000000;

    static std::string Header(uint64_t blocks)
    {
        VdiRecipe recipe;
        recipe.entries = static_cast<uint32_t>(blocks);
        recipe.diskBytes = blocks * 4096;
        VdiWriter writer(recipe);
        writer.AddEntry(VdiWriter::kNever);
        std::string header = writer.Image().substr(0, 512);
        PutLittle(0x158, kBlocksAt, 4, &header);
        return header;
    }
};

TEST_F(HostileVdi, AMapThatNamesOneBlockEverywhereTakesLittle)
{
    ExpectLittleForRefusing(Write(Header(1U << 26), kBlocksAt + kMiB), Status::kDamagedContainer);
}

TEST_F(HostileVdi, AMapThatNamesManyBlocksTwiceTakesLittle)
{
    constexpr uint64_t kBlocks = 1 << 20;
    std::string bytes = Header(kBlocks);
    for (uint64_t block = 0; block < kBlocks; ++block)
        bytes += VmdkWriter::Number(block / 2, 4);
    ExpectLittleForRefusing(Write(bytes, kBlocksAt + kBlocks * 4096), Status::kDamagedContainer);
}

TEST_F(HostileVdi, AMapThatIsLargerThanAnyTakesLittle)
{
    ExpectLittleForRefusing(Write(Header(0xFFFFFFFF), 20 * kGiB), Status::kDamagedContainer);
}

class HostileVmdk : public HostileContainer {
protected:
    // What comes before the directory, which is of so many tables of so many entries.
    static std::string WithTables(uint64_t tables, uint64_t entries)
    {
        VmdkWriter writer;
        writer.AddNothing();
        std::string bytes = writer.Image().substr(0, VmdkWriter::kDirectoryAt);
        PutLittle(12, tables * entries * VmdkWriter::kGrain / 512, 8, &bytes);
        PutLittle(44, entries, 4, &bytes);
        PutLittle(8, 0, 4, &bytes);  // no copy
        return bytes;
    }
};

TEST_F(HostileVmdk, ADirectoryOfManyTablesTakesLittle)
{
    ExpectLittleIsHeldOf(Write(WithTables(1U << 26, 512), kGiB));
}

TEST_F(HostileVmdk, TablesThatShareTheirPlacesTakeLittle)
{
    constexpr uint64_t kTables = 1 << 16;
    std::string bytes = WithTables(kTables, 512);
    for (uint64_t table = 0; table < kTables; ++table)
        bytes += VmdkWriter::Number(0x10000 + table / 2 * 8, 4);
    ExpectLittleIsHeldOf(Write(bytes, kGiB / 4));
}

// The bytes that this process has read so far.
uint64_t BytesRead()
{
    std::ifstream counts("/proc/self/io");
    std::string name;
    uint64_t count = 0;
    while (counts >> name >> count && name != "rchar:")
        continue;
    return count;
}

class VmdkOfManyTables : public HostileVmdk {
protected:
    // Tables side by side that fill the file, and their copies; all but the last number is zero.
    std::string Make() const
    {
        std::string bytes = WithTables(kTables, 512);
        PutLittle(8, 3, 4, &bytes);
        PutLittle(48, kCopyAt / 512, 8, &bytes);
        bytes += Directory(kTablesAt);
        bytes.resize(kCopyAt);
        bytes += Directory(kTablesAt + kTables * 2048);
        const std::string path = Write(bytes, kFileBytes);
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(kTablesAt + kTables * 2048 - 4));
        file << VmdkWriter::Number(kFileBytes / 512 - 128, 4);
        return path;
    }

    static std::string Directory(uint64_t tablesAt)
    {
        std::string directory;
        for (uint64_t table = 0; table < kTables; ++table)
            directory += VmdkWriter::Number((tablesAt + table * 2048) / 512, 4);
        return directory;
    }

    static constexpr uint64_t kTables = 1 << 19;
    static constexpr uint64_t kCopyAt = 4 * kMiB;
    static constexpr uint64_t kTablesAt = 8 * kMiB;
    static constexpr uint64_t kFileBytes = 2 * kGiB + 16 * kMiB;
};

TEST_F(VmdkOfManyTables, AreReadInPartOnlyBeforeTheDiskIs)
{
    const std::string path = Make();
    const uint64_t before = BytesRead();
    const auto container = OpenContainer(path);
    ASSERT_TRUE(container);
    EXPECT_LT(BytesRead() - before, kGiB);
    std::string notes;
    for (const std::string &note : container->notes)
        notes += note + "\n";
    EXPECT_NE(notes.find("is so large that not all of its tables were checked"), notes.npos);
    EXPECT_NE(notes.find("is too large to find out whether pieces lie"), notes.npos);
}

TEST_F(VmdkOfManyTables, GiveNoPlaceInWhichATableBeyondThemDiffersFromItsCopy)
{
    const auto container = OpenContainer(Make());
    ASSERT_TRUE(container);
    const uint64_t size = container->source->Size();
    uint8_t bytes[512];
    EXPECT_FALSE(container->source->ReadAt(size - 2 * VmdkWriter::kGrain, bytes, sizeof bytes));
    const Error error = container->source->ReadAt(size - sizeof bytes, bytes, sizeof bytes);
    EXPECT_NE(error.detail.find("contradict each other"), std::string::npos) << error.detail;
}

class HostileVhd : public HostileContainer {
protected:
    static VhdRecipe Recipe(uint64_t entries, uint32_t blockBytes)
    {
        VhdRecipe recipe;
        recipe.diskBytes = entries * blockBytes;
        recipe.blockBytes = blockBytes;
        recipe.entries = static_cast<uint32_t>(entries);
        return recipe;
    }
};

TEST_F(HostileVhd, ATableOfManyBlocksTakesLittle)
{
    const VhdWriter writer(Recipe(1U << 25, 512));
    ExpectLittleIsHeldOf(Write(writer.Image(), kGiB, writer.Footer()));
}

TEST_F(HostileVhd, ATableWhoseBlocksShareTheirPlacesTakesLittle)
{
    constexpr uint64_t kBlocks = 1 << 21;
    const VhdWriter writer(Recipe(kBlocks, 512));
    std::string bytes = writer.Image().substr(0, 1536);
    for (uint64_t block = 0; block < kBlocks; ++block) {
        const uint64_t sector = 100000 + block / 2 * 4;
        for (size_t byte = 4; byte-- > 0;)
            bytes.push_back(static_cast<char>(sector >> 8 * byte));
    }
    ExpectLittleIsHeldOf(Write(bytes, 4 * kGiB, writer.Footer()));
}

TEST_F(HostileVhd, ATableThatIsLongerThanItsFileTakesLittle)
{
    const VhdWriter writer(Recipe(0xFFFFFFFF, 2 << 20));
    ExpectLittleForRefusing(Write(writer.Image()), Status::kTruncatedImage);
}

class HostileEwf : public HostileContainer {
protected:
    // The table and its copy say that they have so many entries; their checksums fit.
    static std::string WithEntries(uint32_t entries)
    {
        std::string bytes = EwfWriter(NoiseBytes(64 * 512, 1)).Image();
        for (size_t at = bytes.find("table"); at != bytes.npos; at = bytes.find("table", at + 1)) {
            PutLittle(at + 76, entries, 4, &bytes);
            bytes.replace(at + 96, 4, EwfWriter::Sum(bytes.substr(at + 76, 20)));
        }
        return bytes;
    }
};

TEST_F(HostileEwf, ATableThatIsLongerThanItsSectionTakesLittle)
{
    for (const uint32_t entries : {0x7FFFFFFFU, 0xFFFFFFFFU})
        ExpectLittleForRefusing(Write(WithEntries(entries)), Status::kDamagedContainer);
}

TEST_F(HostileEwf, ADiskThatIsLargerThanItsTablesTakesLittle)
{
    EwfWriter writer(NoiseBytes(64 * 512, 1));
    writer.SetSectors(uint64_t{1} << 53);
    ExpectLittleIsHeldOf(Write(writer.Image()));
}

TEST_F(HostileEwf, ChunksThatAreLargerThanAnyTakeLittle)
{
    EwfWriter writer(NoiseBytes(64 * 512, 1));
    writer.SetSectorsOfChunk(0x7FFFFFFF);
    ExpectLittleForRefusing(Write(writer.Image()), Status::kDamagedContainer);
}

}  // namespace
}  // namespace vx
