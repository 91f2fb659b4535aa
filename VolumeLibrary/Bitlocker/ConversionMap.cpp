#include "ConversionMap.h"

#include "ConversionMapReader.h"

#include <algorithm>

namespace vx::bitlocker {

Result<ConversionMap> ConversionMap::load(const ByteSource &source, std::array<uint64_t, 2> offsets,
                                          uint32_t sectorSize)
{
    return ConversionMapReader(source, sectorSize).read(offsets);
}

// Where the run of equal bits that begins with the chunk ends, in bytes of the volume.
uint64_t ConversionMap::Region::endOfSame(uint64_t chunk) const
{
    const bool value = bit(chunk);
    const uint64_t count = chunkCount();
    while (chunk < count && bit(chunk) == value)
        ++chunk;
    return chunk == count ? offset + length : offset + chunk * chunkSize;
}

ConversionMap::Run ConversionMap::runAt(uint64_t offset) const
{
    const auto next = std::upper_bound(
        _regions.begin(), _regions.end(), offset,
        [](uint64_t place, const Region &region) { return place < region.offset; });
    const uint64_t nextBegin = next == _regions.end() ? UINT64_MAX : next->offset;
    if (next == _regions.begin())
        return {State::Unknown, nextBegin};
    const Region &region = *std::prev(next);
    if (offset - region.offset >= region.length)
        return {State::Unknown, nextBegin};
    const uint64_t chunk = (offset - region.offset) / region.chunkSize;
    Run run = {region.bit(chunk) ? State::Encrypted : State::Plain, region.endOfSame(chunk)};
    for (const InterruptedChunk &interrupted : region.interrupted) {
        if (offset < interrupted.offset)
            run.end = std::min(run.end, interrupted.offset);
        else if (offset - interrupted.offset < interrupted.length)
            run = {State::Interrupted, interrupted.offset + interrupted.length, &interrupted};
    }
    return run;
}

bool ConversionMap::isAllPlain() const
{
    const auto isPlain = [](const Region &region) {
        return region.interrupted.empty() && !region.bit(0) &&
               region.endOfSame(0) == region.offset + region.length;
    };
    return std::all_of(_regions.begin(), _regions.end(), isPlain);
}

}  // namespace vx::bitlocker
