// Grains that lie side by side, apart or nowhere; and how many reads they take.
#include "VmdkGrains.h"
#include "MemoryByteSource.h"
#include "TestImage.h"
#include "VmdkWriter.h"

#include <random>

namespace vx {
namespace {

constexpr size_t kGrain = VmdkWriter::kGrain;
constexpr size_t kGrains = 128;  // a whole table

// Counts the reads of its bytes.
class ReadsOf final : public MemoryByteSource {
public:
    using MemoryByteSource::MemoryByteSource;
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        ++reads;
        return MemoryByteSource::ReadAt(offset, buffer, count);
    }
    mutable int reads = 0;
};

class Grains : public testing::Test {
protected:
    Grains()
    {
        VmdkWriter writer;
        for (unsigned grain = 0; grain < kGrains; ++grain)
            writer.AddGrain(NoiseBytes(kGrain, grain));
        image = writer.Image();
        disk = image.substr(VmdkWriter::kGrainsAt);
    }

    // In the table and its copy.
    void SetEntry(size_t grain, const std::string &bytes)
    {
        image.replace(EntryAt(grain), bytes.size(), bytes);
        image.replace(VmdkWriter::kCopyAt + 512 + 4 * grain, bytes.size(), bytes);
    }

    static size_t EntryAt(size_t grain) { return VmdkWriter::kTableAt + 4 * grain; }

    void Swap(size_t one, size_t other)
    {
        const std::string first = image.substr(EntryAt(one), 4);
        SetEntry(one, image.substr(EntryAt(other), 4));
        SetEntry(other, first);
        const std::string bytes = disk.substr(one * kGrain, kGrain);
        disk.replace(one * kGrain, kGrain, disk.substr(other * kGrain, kGrain));
        disk.replace(other * kGrain, kGrain, bytes);
    }

    // number: 0 and 1 both stand for zeros.
    void Blank(size_t grain, uint64_t number)
    {
        SetEntry(grain, VmdkWriter::Number(number, 4));
        disk.replace(grain * kGrain, kGrain, kGrain, '\0');
    }

    void Open()
    {
        file = std::make_shared<ReadsOf>(std::vector<uint8_t>(image.begin(), image.end()));
        const auto header = ReadVmdkHeader(*file);
        ASSERT_TRUE(bool(header));
        grains = std::make_unique<VmdkGrains>(file, *header, VmdkPlaces::Examine(*file, *header));
        file->reads = 0;
    }

    std::string Read(size_t offset, size_t count) const
    {
        std::string bytes(count, '#');
        EXPECT_FALSE(grains->ReadAt(offset, bytes.data(), count));
        return bytes;
    }

    std::string image;
    std::string disk;
    std::shared_ptr<ReadsOf> file;
    std::unique_ptr<VmdkGrains> grains;
};

TEST_F(Grains, ThoseSideBySideAreReadTogether)
{
    Open();
    EXPECT_TRUE(Read(0, 64 * kGrain) == disk.substr(0, 64 * kGrain));
    EXPECT_EQ(file->reads, 3);  // of the directory, the table and the grains
    file->reads = 0;
    EXPECT_TRUE(Read(kGrain / 2, 2 * kGrain) == disk.substr(kGrain / 2, 2 * kGrain));
    EXPECT_EQ(file->reads, 3);
}

TEST_F(Grains, EveryPartOfThemIsThatOfTheDisk)
{
    std::mt19937 random(1);
    for (int round = 0; round < 30; ++round)
        Swap(random() % kGrains, random() % kGrains);
    for (size_t grain = 5; grain < kGrains; grain += 1 + random() % 9)
        Blank(grain, random() % 2);
    Open();
    EXPECT_TRUE(Read(0, disk.size()) == disk);
    for (int round = 0; round < 500; ++round) {
        const size_t offset = random() % disk.size();
        const size_t count = random() % (disk.size() - offset);
        EXPECT_TRUE(Read(offset, count) == disk.substr(offset, count)) << offset << " " << count;
    }
}

TEST_F(Grains, ZerosAreNotRead)
{
    for (size_t grain = 0; grain < 64; ++grain)
        Blank(grain, grain % 2);
    Open();
    EXPECT_TRUE(Read(0, 64 * kGrain) == disk.substr(0, 64 * kGrain));
    EXPECT_EQ(file->reads, 2);
}

}  // namespace
}  // namespace vx
