#include "VolumeOpener.h"

#include "CoreDumps.h"
#include "OpenedVolumeBuilder.h"

#include <algorithm>

namespace vx::bitlocker {

bool VolumeOpener::recognises(const ByteSource &source)
{
    uint8_t sector[BootSector::kSize];
    if (source.size() < sizeof sector || source.readAt(0, sector, sizeof sector))
        return false;
    const Result<BootSector> boot = BootSector::parse({sector, sizeof sector});
    return boot || boot.error().status != Status::NotBitlocker;
}

std::string VolumeOpener::describe(const ByteSource &source)
{
    uint8_t sector[BootSector::kSize];
    if (source.size() < sizeof sector || source.readAt(0, sector, sizeof sector))
        return {};
    const Result<BootSector> boot = BootSector::parse({sector, sizeof sector});
    if (!boot)
        return {};
    for (const uint64_t offset : boot->metadataOffsets) {
        if (offset >= source.size())
            continue;
        std::vector<uint8_t> area(static_cast<size_t>(
            std::min<uint64_t>(MetadataBlock::kAreaSize, source.size() - offset)));
        if (source.readAt(offset, area.data(), area.size()))
            continue;
        if (const Result<MetadataBlock> block = MetadataBlock::parse(area, offset))
            return block->description;
    }
    return {};
}

Result<OpenedVolume> VolumeOpener::open(std::shared_ptr<const ByteSource> source,
                                        const Secret &secret, const CancelFlag *cancel) const
{
    forbidCoreDumps();
    return OpenedVolumeBuilder(std::move(source), _stretcher, cancel).open(secret);
}

}  // namespace vx::bitlocker
