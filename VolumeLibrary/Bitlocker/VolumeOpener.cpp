#include "VolumeOpener.h"

#include "CoreDumps.h"
#include "OpenedVolumeBuilder.h"

namespace vx::bitlocker {

bool VolumeOpener::recognises(const ByteSource &source)
{
    uint8_t sector[BootSector::kSize];
    if (source.size() < sizeof sector || source.readAt(0, sector, sizeof sector))
        return false;
    const Result<BootSector> boot = BootSector::parse({sector, sizeof sector});
    return boot || boot.error().status != Status::NotBitlocker;
}

Result<OpenedVolume> VolumeOpener::open(std::shared_ptr<const ByteSource> source,
                                        const Secret &secret, const CancelFlag *cancel) const
{
    forbidCoreDumps();
    return OpenedVolumeBuilder(std::move(source), _stretcher, cancel).open(secret);
}

}  // namespace vx::bitlocker
