// Conversion maps that are made to keep their reader busy, measured by what is read for them.
#include "Maker/ByteWriter.h"

#include "ConversionMapReader.h"
#include "Crc32.h"
#include "MemoryByteSource.h"

#include <gtest/gtest.h>

namespace vx::bitlocker {
namespace {

using maker::ByteWriter;

constexpr size_t kMostRegions = (0xffff - 0x38) / 8;
constexpr uint32_t kSector = 512;
constexpr uint32_t kChunk = 0x10000;
constexpr uint32_t kBlock = 3 * kSector;
constexpr uint32_t kSlot = 4 * 1024 * 1024;
constexpr uint64_t kInformationAt = 512;
constexpr uint64_t kBlocksAt = kInformationAt + 0x10000;
constexpr uint64_t kLogAt = kBlocksAt + kMostRegions * kBlock;

class CountingSource : public MemoryByteSource {
public:
    using MemoryByteSource::MemoryByteSource;

    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        _read += count;
        return MemoryByteSource::ReadAt(offset, buffer, count);
    }

    uint64_t BytesRead() const { return _read; }

private:
    mutable uint64_t _read = 0;
};

void SetChecksum(std::vector<uint8_t> &bytes, size_t field)
{
    maker::PutU32(bytes, field, Crc32WithoutField(bytes, field));
}

std::vector<uint8_t> Information(const std::vector<uint64_t> &blocks)
{
    ByteWriter writer;
    writer.Text("FVE-EOW", true).U16(0x38).U16(static_cast<uint16_t>(0x38 + 8 * blocks.size()));
    writer.U32(kSector).U32(kSector).U32(kChunk).U32(2 * kSlot).U32(kSlot);
    writer.U32(static_cast<uint32_t>(blocks.size())).U32(0).U64(0).U64(0);
    for (const uint64_t block : blocks)
        writer.U64(block);
    std::vector<uint8_t> bytes = writer.Result();
    SetChecksum(bytes, 36);
    return bytes;
}

std::vector<uint8_t> Record()
{
    ByteWriter writer;
    writer.Text("FVE-EOWBR", true).U16(0x24).U32(kSector).U32(1).U64(1).U32(1).U32(0).Pad(kSector);
    std::vector<uint8_t> bytes = writer.Result();
    SetChecksum(bytes, 32);
    return bytes;
}

// A region of one chunk, whose log is the one that all regions share.
std::vector<uint8_t> Block(uint32_t number)
{
    ByteWriter writer;
    writer.Text("FVE-EOWBM", true).U16(0x3c).U32(kBlock).U32(number);
    writer.U64(uint64_t{number} * kChunk).U64(kChunk).U64(kLogAt);
    writer.U32(kSector).U32(2 * kSector).U32(kSector).U32(0).Pad(kSector);
    std::vector<uint8_t> bytes = writer.Result();
    SetChecksum(bytes, 56);
    return ByteWriter().Bytes(bytes).Bytes(Record()).Bytes(Record()).Result();
}

std::vector<uint8_t> Slot()
{
    ByteWriter record;
    record.U16(0x20).U16(1).U64(1).U64(0).U32(0).U32(Crc32().Value());
    record.U32(Crc32().Add(record.Result()).Value());
    return ByteWriter().Bytes(record.Result()).Pad(kSlot).Result();
}

CountingSource ImageWith(const std::vector<uint64_t> &blocks)
{
    std::vector<uint8_t> image(kLogAt + kSector + 2 * kSlot);
    maker::PutBytes(image, kInformationAt, Information(blocks));
    for (uint32_t number = 0; number < kMostRegions; ++number)
        maker::PutBytes(image, kBlocksAt + number * kBlock, Block(number));
    maker::PutBytes(image, kLogAt, ByteWriter().Text("OLRDHEVF2", true).Result());
    maker::PutBytes(image, kLogAt + kSector, Slot());
    maker::PutBytes(image, kLogAt + kSector + kSlot, Slot());
    return CountingSource(std::move(image));
}

std::vector<uint64_t> Blocks(size_t count)
{
    std::vector<uint64_t> places;
    for (size_t number = 0; number < count; ++number)
        places.push_back(kBlocksAt + number * kBlock);
    return places;
}

Result<ConversionMap> ReadMap(const CountingSource &image)
{
    return ConversionMapReader(image, kSector).Read({kInformationAt, 0});
}

TEST(HostileMapTest, RegionsWithBlocksOfTheirOwnAreRead)
{
    const CountingSource image = ImageWith(Blocks(3));
    const Result<ConversionMap> map = ReadMap(image);
    ASSERT_TRUE(map) << map.Failure().detail;
    EXPECT_EQ(map->RunAt(2 * kChunk).state, ConversionMap::State::kPlain);
    EXPECT_EQ(map->RunAt(3 * kChunk).state, ConversionMap::State::kUnknown);
}

TEST(HostileMapTest, ABlockThatIsNamedForEveryRegionIsRefusedBeforeItIsRead)
{
    const CountingSource image = ImageWith(std::vector<uint64_t>(kMostRegions, kBlocksAt));
    const Result<ConversionMap> map = ReadMap(image);
    ASSERT_FALSE(map);
    EXPECT_EQ(map.Failure().detail, "a block is named for two regions");
    EXPECT_LT(image.BytesRead(), 0x20000U);
}

TEST(HostileMapTest, ABlockThatIsNamedTwiceAmongOthersIsRefused)
{
    std::vector<uint64_t> places = Blocks(5);
    places.push_back(places[1]);
    const Result<ConversionMap> map = ReadMap(ImageWith(places));
    ASSERT_FALSE(map);
    EXPECT_EQ(map.Failure().detail, "a block is named for two regions");
}

// Each of them would have its 8 MiB of log read.
TEST(HostileMapTest, ManyBlocksThatShareALogAreNotReadToTheirEnd)
{
    const CountingSource image = ImageWith(Blocks(kMostRegions));
    const Result<ConversionMap> map = ReadMap(image);
    ASSERT_FALSE(map);
    EXPECT_EQ(map.Failure().detail, "it is too large");
    EXPECT_LE(image.BytesRead(), ConversionMapReader::kMostRead);
}

}  // namespace
}  // namespace vx::bitlocker
