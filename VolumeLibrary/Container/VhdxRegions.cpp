#include "VhdxRegions.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "VhdxHeader.h"

#include <vector>

namespace vx {
namespace {

constexpr uint64_t kPlaces[] = {uint64_t{192} << 10, uint64_t{256} << 10};
constexpr size_t kTableBytes = size_t{64} << 10;
constexpr uint32_t kMostEntries = 2047;

constexpr const char *kBlocks = "2dc27766-f623-4200-9d64-115e9bfd4a08";
constexpr const char *kMetadata = "8b7ca206-4790-4b9a-b8fe-575f050f886e";

bool MakesSense(const VhdxRegion &region)
{
    return region.at >= kVhdxUnit && region.at % kVhdxUnit == 0 && region.bytes != 0 &&
           region.bytes % kVhdxUnit == 0 && region.at <= uint64_t{INT64_MAX} - region.bytes;
}

Result<VhdxRegions> Parse(ByteView table)
{
    constexpr size_t kCountAt = 8;
    VhdxRegions regions;
    ByteReader reader(table, kCountAt);
    const uint32_t count = reader.U32();
    reader.Skip(4);
    if (count > kMostEntries)
        return DamagedVhdx("its table of regions is too long");
    for (uint32_t number = 0; number < count; ++number) {
        const std::string id = reader.TakeGuid().Text();
        VhdxRegion region;
        region.at = reader.U64();
        region.bytes = reader.U32();
        const bool isRequired = (reader.U32() & 1) != 0;
        VhdxRegion *known = id == kBlocks     ? &regions.blocks
                            : id == kMetadata ? &regions.metadata
                                              : nullptr;
        if (known == nullptr && isRequired)
            return Error{Status::kUnsupportedContainer,
                         "it is a VHDX image with the unknown region " + id};
        if (known == nullptr)
            continue;
        if (known->at != 0 || !MakesSense(region))
            return DamagedVhdx("its table of regions makes no sense");
        *known = region;
    }
    if (regions.blocks.at == 0 || regions.metadata.at == 0)
        return DamagedVhdx("its table of regions lacks one");
    return regions;
}

Result<VhdxRegions> ReadAt(const ByteSource &file, uint64_t place)
{
    constexpr size_t kChecksumAt = 4;
    std::vector<uint8_t> table(kTableBytes);
    if (Error error = file.ReadAt(place, table.data(), table.size()))
        return error.status == Status::kTruncatedImage ? CutVhdx() : error;
    if (!ByteReader(table).TakeMark("regi") ||
        U32At(table, kChecksumAt) !=
            Crc32WithoutField(table, kChecksumAt, Crc32::Kind::kCastagnoli))
        return DamagedVhdx("its tables of regions are not valid");
    return Parse(table);
}

}  // namespace

Result<VhdxRegions> ReadVhdxRegions(const ByteSource &file)
{
    auto regions = ReadAt(file, kPlaces[0]);
    if (!regions && regions.Failure().status != Status::kUnsupportedContainer) {
        auto copy = ReadAt(file, kPlaces[1]);
        if (!copy)
            return regions;
        copy->isCopy = true;
        regions = std::move(copy);
    }
    if (!regions)
        return regions;
    const bool isCut = regions->blocks.End() > file.Size() || regions->metadata.End() > file.Size();
    return isCut ? CutVhdx() : regions;
}

}  // namespace vx
