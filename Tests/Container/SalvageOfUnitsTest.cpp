// Compressed files of NTFS: if a unit cannot be read whole, what comes before the bad place is
// still read.
#include "CarefulSource.h"
#include "FailingSource.h"
#include "NtfsCompressedFile.h"
#include "TestImage.h"

namespace vx {
namespace {

constexpr uint32_t kUnit = 65536;
constexpr uint64_t kCluster = 4096;
constexpr size_t kChunk = 4096;

// Chunks stored without compression, each with its header, in whole clusters.
std::string Packed(const std::string &contents)
{
    std::string packed;
    for (size_t at = 0; at < contents.size(); at += kChunk)
        packed += std::string("\xFF\x3F", 2) + contents.substr(at, kChunk);
    packed.resize((packed.size() + 2 + kCluster - 1) / kCluster * kCluster);
    return packed;
}

// Three units: one without compression, one compressed (five chunks), a hole.
class SalvageOfUnits : public testing::Test {
protected:
    NtfsCompressedFile Open(std::vector<FileRun> runs) const
    {
        return NtfsCompressedFile(std::make_shared<CarefulSource>(disk),
                                  {3 * kUnit, 3 * kUnit, std::move(runs)}, kUnit);
    }
    NtfsCompressedFile Open() const
    {
        const uint64_t packed = Packed(chunks).size();
        return Open({{0, kUnit, 0, FileRun::Kind::kStored},
                     {kUnit, packed, kUnit, FileRun::Kind::kStored},
                     {kUnit + packed, 2 * kUnit - packed, 0, FileRun::Kind::kZeros}});
    }

    // Reads the whole file; lost: the only part that may be missing.
    void ExpectLost(NtfsCompressedFile *file, const ByteRange &lost) const
    {
        std::string expected = stored + chunks;
        expected.resize(3 * kUnit);
        expected.replace(lost.offset, lost.length, lost.length, '\0');
        std::string buffer(3 * kUnit, '?');
        uint32_t done = 0;
        EXPECT_EQ(file->Read(buffer.data(), 3 * kUnit, &done), lost.length == 0);
        EXPECT_TRUE(buffer == expected);
        EXPECT_EQ(done, 3 * kUnit - lost.length);
        ASSERT_EQ(file->UnreadRanges().size(), lost.length == 0 ? 0u : 1u);
        if (lost.length > 0) {
            EXPECT_EQ(file->UnreadRanges()[0].offset, lost.offset);
            EXPECT_EQ(file->UnreadRanges()[0].length, lost.length);
        }
    }

    const std::string stored = NoiseBytes(kUnit, 1);
    const std::string chunks = NoiseBytes(5 * kChunk, 2);
    const std::shared_ptr<FailingSource> disk =
        std::make_shared<FailingSource>(stored + Packed(chunks));
};

TEST_F(SalvageOfUnits, AHealthyFileIsWhole)
{
    auto file = Open();
    ExpectLost(&file, {0, 0});
}

TEST_F(SalvageOfUnits, OfAUnitThatIsStoredAsItIsOnlyTheSectorIsLost)
{
    disk->MakeBad(10 * 512, 512);
    auto file = Open();
    ExpectLost(&file, {10 * 512, 512});
}

TEST_F(SalvageOfUnits, OfACompressedUnitTheChunksBeforeTheBadPlaceAreGiven)
{
    disk->MakeBad(kUnit + 2 * kCluster + 512, 512);  // in the third chunk
    auto file = Open();
    ExpectLost(&file, {kUnit + 2 * kChunk, kUnit - 2 * kChunk});
}

TEST_F(SalvageOfUnits, ABadPlaceBehindTheEndOfTheChunksCostsNothing)
{
    disk->MakeBad(kUnit + 5 * (kChunk + 2) + 512, 512);
    auto file = Open();
    ExpectLost(&file, {0, 0});
}

TEST_F(SalvageOfUnits, AUnitThatNoRunHoldsIsUnreadAndNotAHole)
{
    const uint64_t packed = Packed(chunks).size();
    auto file = Open({{0, kUnit, 0, FileRun::Kind::kStored},
                      {kUnit, packed, kUnit, FileRun::Kind::kStored},
                      {kUnit + packed, kUnit - packed, 0, FileRun::Kind::kZeros}});
    ExpectLost(&file, {2 * kUnit, kUnit});
}

TEST_F(SalvageOfUnits, AUnitOfWhichARunIsMissingIsNotTakenForACompressedOne)
{
    auto file = Open(
        {{0, kUnit / 2, 0, FileRun::Kind::kStored}, {kUnit, 2 * kUnit, 0, FileRun::Kind::kZeros}});
    std::string buffer(3 * kUnit, '?');
    uint32_t done = 0;
    EXPECT_FALSE(file.Read(buffer.data(), 3 * kUnit, &done));
    EXPECT_EQ(done, 2 * kUnit);
    EXPECT_EQ(buffer, std::string(3 * kUnit, '\0'));
    ASSERT_EQ(file.UnreadRanges().size(), 1u);
    EXPECT_EQ(file.UnreadRanges()[0].length, kUnit);
}

}  // namespace
}  // namespace vx
