#include "VolumeOpener.h"

#include "CoreDumps.h"
#include "OpenedVolumeBuilder.h"

#include <algorithm>

namespace vx::bitlocker {

bool VolumeOpener::Recognises(const ByteSource &source)
{
    uint8_t sector[BootSector::kSize];
    if (source.Size() < sizeof sector || source.ReadAt(0, sector, sizeof sector))
        return false;
    const Result<BootSector> boot = BootSector::Parse({sector, sizeof sector});
    return boot || boot.Failure().status != Status::kNotBitlocker;
}

std::string VolumeOpener::Describe(const ByteSource &source)
{
    uint8_t sector[BootSector::kSize];
    if (source.Size() < sizeof sector || source.ReadAt(0, sector, sizeof sector))
        return {};
    const Result<BootSector> boot = BootSector::Parse({sector, sizeof sector});
    if (!boot)
        return {};
    for (const uint64_t offset : boot->metadataOffsets) {
        if (offset >= source.Size())
            continue;
        std::vector<uint8_t> area(static_cast<size_t>(
            std::min<uint64_t>(MetadataBlock::kAreaSize, source.Size() - offset)));
        if (source.ReadAt(offset, area.data(), area.size()))
            continue;
        if (const Result<MetadataBlock> block = MetadataBlock::Parse(area, offset))
            return block->description;
    }
    return {};
}

Result<OpenedVolume> VolumeOpener::Open(std::shared_ptr<const ByteSource> source,
                                        const Secret &secret, const CancelFlag *cancel) const
{
    ForbidCoreDumps();
    return OpenedVolumeBuilder(std::move(source), _stretcher, cancel).Open(secret);
}

}  // namespace vx::bitlocker
