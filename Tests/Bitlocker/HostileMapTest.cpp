// Conversion maps that are made to keep their reader busy, measured by what is read for them.
#include "Maker/ByteWriter.h"

#include "Bitlocker/ConversionMapReader.h"
#include "Bitlocker/Crc32.h"
#include "Bitlocker/MemoryByteSource.h"

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

    Error readAt(uint64_t offset, void *buffer, size_t count) const override
    {
        _read += count;
        return MemoryByteSource::readAt(offset, buffer, count);
    }

    uint64_t bytesRead() const { return _read; }

private:
    mutable uint64_t _read = 0;
};

void setChecksum(std::vector<uint8_t> &bytes, size_t field)
{
    maker::putU32(bytes, field, crc32WithoutField(bytes, field));
}

std::vector<uint8_t> information(const std::vector<uint64_t> &blocks)
{
    ByteWriter writer;
    writer.text("FVE-EOW", true).u16(0x38).u16(static_cast<uint16_t>(0x38 + 8 * blocks.size()));
    writer.u32(kSector).u32(kSector).u32(kChunk).u32(2 * kSlot).u32(kSlot);
    writer.u32(static_cast<uint32_t>(blocks.size())).u32(0).u64(0).u64(0);
    for (const uint64_t block : blocks)
        writer.u64(block);
    std::vector<uint8_t> bytes = writer.result();
    setChecksum(bytes, 36);
    return bytes;
}

std::vector<uint8_t> record()
{
    ByteWriter writer;
    writer.text("FVE-EOWBR", true).u16(0x24).u32(kSector).u32(1).u64(1).u32(1).u32(0).pad(kSector);
    std::vector<uint8_t> bytes = writer.result();
    setChecksum(bytes, 32);
    return bytes;
}

// A region of one chunk, whose log is the one that all regions share.
std::vector<uint8_t> block(uint32_t number)
{
    ByteWriter writer;
    writer.text("FVE-EOWBM", true).u16(0x3c).u32(kBlock).u32(number);
    writer.u64(uint64_t{number} * kChunk).u64(kChunk).u64(kLogAt);
    writer.u32(kSector).u32(2 * kSector).u32(kSector).u32(0).pad(kSector);
    std::vector<uint8_t> bytes = writer.result();
    setChecksum(bytes, 56);
    return ByteWriter().bytes(bytes).bytes(record()).bytes(record()).result();
}

std::vector<uint8_t> slot()
{
    ByteWriter record;
    record.u16(0x20).u16(1).u64(1).u64(0).u32(0).u32(Crc32().value());
    record.u32(Crc32().add(record.result()).value());
    return ByteWriter().bytes(record.result()).pad(kSlot).result();
}

CountingSource imageWith(const std::vector<uint64_t> &blocks)
{
    std::vector<uint8_t> image(kLogAt + kSector + 2 * kSlot);
    maker::putBytes(image, kInformationAt, information(blocks));
    for (uint32_t number = 0; number < kMostRegions; ++number)
        maker::putBytes(image, kBlocksAt + number * kBlock, block(number));
    maker::putBytes(image, kLogAt, ByteWriter().text("OLRDHEVF2", true).result());
    maker::putBytes(image, kLogAt + kSector, slot());
    maker::putBytes(image, kLogAt + kSector + kSlot, slot());
    return CountingSource(std::move(image));
}

std::vector<uint64_t> blocks(size_t count)
{
    std::vector<uint64_t> places;
    for (size_t number = 0; number < count; ++number)
        places.push_back(kBlocksAt + number * kBlock);
    return places;
}

Result<ConversionMap> readMap(const CountingSource &image)
{
    return ConversionMapReader(image, kSector).read({kInformationAt, 0});
}

TEST(HostileMapTest, RegionsWithBlocksOfTheirOwnAreRead)
{
    const CountingSource image = imageWith(blocks(3));
    const Result<ConversionMap> map = readMap(image);
    ASSERT_TRUE(map) << describe(map.error());
    EXPECT_EQ(map->runAt(2 * kChunk).state, ConversionMap::State::Plain);
    EXPECT_EQ(map->runAt(3 * kChunk).state, ConversionMap::State::Unknown);
}

TEST(HostileMapTest, ABlockThatIsNamedForEveryRegionIsRefusedBeforeItIsRead)
{
    const CountingSource image = imageWith(std::vector<uint64_t>(kMostRegions, kBlocksAt));
    const Result<ConversionMap> map = readMap(image);
    ASSERT_FALSE(map);
    EXPECT_EQ(map.error().detail, "a block is named for two regions");
    EXPECT_LT(image.bytesRead(), 0x20000U);
}

TEST(HostileMapTest, ABlockThatIsNamedTwiceAmongOthersIsRefused)
{
    std::vector<uint64_t> places = blocks(5);
    places.push_back(places[1]);
    const Result<ConversionMap> map = readMap(imageWith(places));
    ASSERT_FALSE(map);
    EXPECT_EQ(map.error().detail, "a block is named for two regions");
}

// Each of them would have its 8 MiB of log read.
TEST(HostileMapTest, ManyBlocksThatShareALogAreNotReadToTheirEnd)
{
    const CountingSource image = imageWith(blocks(kMostRegions));
    const Result<ConversionMap> map = readMap(image);
    ASSERT_FALSE(map);
    EXPECT_EQ(map.error().detail, "it is too large");
    EXPECT_LE(image.bytesRead(), ConversionMapReader::kMostRead);
}

}  // namespace
}  // namespace vx::bitlocker
