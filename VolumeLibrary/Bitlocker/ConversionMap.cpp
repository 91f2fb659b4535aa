#include "ConversionMap.h"

#include "ConversionMapReader.h"

#include <algorithm>

namespace vx::bitlocker {

Result<ConversionMap> ConversionMap::Load(const ByteSource &source, std::array<uint64_t, 2> offsets,
                                          uint32_t sectorSize)
{
    return ConversionMapReader(source, sectorSize).Read(offsets);
}

// Where the run of equal bits that begins with the chunk ends, in bytes of the volume.
uint64_t ConversionMap::Region::EndOfSame(uint64_t chunk) const
{
    const bool value = Bit(chunk);
    const uint64_t count = ChunkCount();
    while (chunk < count && Bit(chunk) == value)
        ++chunk;
    return chunk == count ? offset + length : offset + chunk * chunkSize;
}

uint64_t ConversionMap::Region::EncryptedBytes() const
{
    uint64_t bytes = 0;
    for (uint64_t chunk = 0; chunk < ChunkCount(); ++chunk)
        bytes += Bit(chunk) ? std::min(chunkSize, length - chunk * chunkSize) : 0;
    return bytes;
}

ConversionMap::Run ConversionMap::RunAt(uint64_t offset) const
{
    const auto next = std::upper_bound(
        _regions.begin(), _regions.end(), offset,
        [](uint64_t place, const Region &region) { return place < region.offset; });
    const uint64_t nextBegin = next == _regions.end() ? UINT64_MAX : next->offset;
    if (next == _regions.begin())
        return {State::kUnknown, nextBegin};
    const Region &region = *std::prev(next);
    if (offset - region.offset >= region.length)
        return {State::kUnknown, nextBegin};
    const uint64_t chunk = (offset - region.offset) / region.chunkSize;
    Run run = {region.Bit(chunk) ? State::kEncrypted : State::kPlain, region.EndOfSame(chunk)};
    for (const InterruptedChunk &interrupted : region.interrupted) {
        if (offset < interrupted.offset)
            run.end = std::min(run.end, interrupted.offset);
        else if (offset - interrupted.offset < interrupted.length)
            run = {State::kInterrupted, interrupted.offset + interrupted.length, &interrupted};
    }
    return run;
}

bool ConversionMap::IsAllPlain() const
{
    const auto isPlain = [](const Region &region) {
        return region.interrupted.empty() && !region.Bit(0) &&
               region.EndOfSame(0) == region.offset + region.length;
    };
    return std::all_of(_regions.begin(), _regions.end(), isPlain);
}

ConversionMap::Progress ConversionMap::Count() const
{
    Progress progress;
    for (const Region &region : _regions) {
        progress.coveredBytes += region.length;
        progress.encryptedBytes += region.EncryptedBytes();
        progress.isInterrupted = progress.isInterrupted || !region.interrupted.empty();
        if (progress.direction == Direction::kIdle)
            progress.direction = region.direction;
    }
    return progress;
}

}  // namespace vx::bitlocker
