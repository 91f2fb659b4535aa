#include "RebuiltBootSector.h"

#include "BitlockerMark.h"
#include "ByteReader.h"
#include "Crc32.h"
#include "FirstSector.h"
#include "MarkSearch.h"
#include "MetadataLocator.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

namespace vx::bitlocker {

namespace {

using ConversionOffsets = std::array<uint64_t, 2>;

// The record of a conversion was always seen within a few mebibytes after a copy of the metadata.
constexpr uint64_t kNearMetadata = 64ULL << 20;

// Places in the sector.
constexpr size_t kNameAt = 3;
constexpr size_t kSectorSizeAt = 11;
constexpr size_t kClusterSectorsAt = 13;
constexpr size_t kVistaClusterAt = 56;
constexpr size_t kIdentifierAt = 160;
constexpr size_t kConversionAt = 200;
constexpr size_t kToGoIdentifierAt = 424;
constexpr size_t kEndAt = 510;

void Put(RebuiltBootSector &sector, size_t at, uint64_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        sector[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

void PutText(RebuiltBootSector &sector, size_t at, std::string_view text)
{
    std::copy(text.begin(), text.end(), sector.begin() + static_cast<std::ptrdiff_t>(at));
}

// Whether this is the sound information about a conversion, which states its own place.
std::optional<ConversionOffsets> ParseConversion(const ByteSource &volume, uint64_t offset,
                                                 ByteView sector)
{
    constexpr size_t kHeaderBytes = 0x38;
    constexpr size_t kChecksumAt = 36;
    const size_t size = U16At(sector, 10);
    const ConversionOffsets named = {U64At(sector, 40), U64At(sector, 48)};
    if (size < kHeaderBytes || (named[0] != offset && named[1] != offset))
        return std::nullopt;
    std::vector<uint8_t> whole(size);
    if (volume.ReadAt(offset, whole.data(), size) ||
        Crc32WithoutField(whole, kChecksumAt) != U32At(whole, kChecksumAt))
        return std::nullopt;
    return named;
}

// The front of the volume, and what follows the copies of the metadata beyond it.
std::vector<ByteRange> PlacesToSearch(const MetadataBlock &block)
{
    std::vector<ByteRange> places = {{0, MetadataLocator::kSearchLimit}};
    for (const uint64_t copy : block.copies) {
        const uint64_t begin = copy - copy % MarkSearch::kSectorBytes;
        if (begin >= MetadataLocator::kSearchLimit && begin <= UINT64_MAX - kNearMetadata)
            places.push_back({begin, kNearMetadata});
    }
    return places;
}

// Zeros if there is none, or there are several: one of them is left from an earlier conversion.
Result<ConversionOffsets> FindConversion(const ByteSource &volume, const MetadataBlock &block,
                                         const CancelFlag *cancel, const ProgressReceiver &progress)
{
    MarkSearch search(volume, cancel, progress);
    std::set<ConversionOffsets> found;
    for (const ByteRange &place : PlacesToSearch(block)) {
        Error error = search.Visit(place, BeginsConversion, [&](uint64_t offset, ByteView sector) {
            if (const auto offsets = ParseConversion(volume, offset, sector))
                found.insert(*offsets);
            return found.size() < 2;
        });
        if (error)
            return error;
    }
    return found.size() == 1 ? *found.begin() : ConversionOffsets{};
}

// What the metadata says about a record of a conversion, which Windows keeps since version 8. With
// an older one the size of the encrypted part says all.
enum class ConversionState { kNone, kPossible, kRunning };

ConversionState ConversionStateOf(const MetadataBlock &block)
{
    // Every volume in conversion that was seen has both of these, and no other volume.
    constexpr uint64_t kConverting = 0x42;
    if (!block.volumeHeader)
        return ConversionState::kPossible;
    const bool isRunning = (block.volumeHeader->flags & kConverting) == kConverting;
    return isRunning ? ConversionState::kRunning : ConversionState::kNone;
}

// 0: to be found by trial.
uint32_t SectorSizeOf(const MetadataBlock &block)
{
    if (!block.volumeHeader)
        return 0;
    if (block.volumeHeader->sectorSize != 0 || block.relocatedSectors == 0)
        return block.volumeHeader->sectorSize;
    const uint64_t size = block.volumeHeader->length / block.relocatedSectors;
    return size <= UINT32_MAX && IsSectorSize(static_cast<uint32_t>(size))
               ? static_cast<uint32_t>(size)
               : 0;
}

// Its first copy is named in clusters, which are of one sector here.
RebuiltBootSector VistaSector(const MetadataBlock &block)
{
    RebuiltBootSector sector{};
    PutText(sector, 0, "\xEB\x52\x90");
    PutText(sector, kNameAt, "-FVE-FS-");
    sector[kClusterSectorsAt] = 1;
    Put(sector, kVistaClusterAt, block.copies[0] / BootSector::kSize, 8);
    Put(sector, kEndAt, 0xAA55, 2);
    return sector;
}

RebuiltBootSector NewerSector(const MetadataBlock &block, const Guid &identifier, bool isToGo)
{
    const size_t identifierAt = isToGo ? kToGoIdentifierAt : kIdentifierAt;
    RebuiltBootSector sector{};
    PutText(sector, 0, "\xEB\x58\x90");
    PutText(sector, kNameAt, isToGo ? "MSWIN4.1" : "-FVE-FS-");
    Put(sector, kSectorSizeAt, SectorSizeOf(block), 2);
    std::copy(identifier.bytes.begin(), identifier.bytes.end(), sector.begin() + identifierAt);
    for (size_t copy = 0; copy < block.copies.size(); ++copy)
        Put(sector, identifierAt + sizeof(Guid) + 8 * copy, block.copies[copy], 8);
    Put(sector, kEndAt, 0xAA55, 2);
    return sector;
}

RebuiltBootSector ConvertingSector(const MetadataBlock &block, const ConversionOffsets &conversion)
{
    RebuiltBootSector sector = NewerSector(block, kConvertingVolume, false);
    for (size_t copy = 0; copy < conversion.size(); ++copy)
        Put(sector, kConversionAt + 8 * copy, conversion[copy], 8);
    return sector;
}

}  // namespace

bool IsConverting(const MetadataBlock &block)
{
    return block.version != 1 && ConversionStateOf(block) == ConversionState::kRunning;
}

bool IsToGo(const MetadataBlock &block)
{
    constexpr uint64_t kMostOnNtfs = 64 * 1024;
    return block.volumeHeader && block.volumeHeader->length > kMostOnNtfs;
}

Result<RebuiltBootSector> RebuildBootSector(const ByteSource &volume, const MetadataBlock &block,
                                            const CancelFlag *cancel,
                                            const ProgressReceiver &progress)
{
    if (block.version == 1)
        return VistaSector(block);
    const ConversionState state = ConversionStateOf(block);
    ConversionOffsets conversion{};
    if (state != ConversionState::kNone) {
        const auto found = FindConversion(volume, block, cancel, progress);
        if (!found)
            return found.Failure();
        conversion = *found;
    }
    if (state == ConversionState::kRunning || conversion != ConversionOffsets{})
        return ConvertingSector(block, conversion);
    return NewerSector(block, kOrdinaryVolume, IsToGo(block));
}

}  // namespace vx::bitlocker
