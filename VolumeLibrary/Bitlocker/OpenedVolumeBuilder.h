// One opening of a volume, step by step; the work behind VolumeOpener. Used once, by one
// thread.
#pragma once

#include "VolumeOpener.h"

namespace vx::bitlocker {

class OpenedVolumeBuilder {
public:
    // The stretcher and the flag must outlive the builder; cancel may be null.
    OpenedVolumeBuilder(std::shared_ptr<const ByteSource> source, const KeyStretcher &stretcher,
                        const CancelFlag *cancel);

    Result<OpenedVolume> Open(const Secret &secret);

private:
    using VolumePointer = std::shared_ptr<const DecryptedVolume>;

    Error ReadMetadata();
    void LoadMap();
    Error Unlock(const Secret &secret);
    bool NeedsNoKey() const;
    UnlockedKey WithoutKey() const;
    Error CheckReadable() const;
    Result<OpenedVolume> Build() const;
    Result<VolumePointer> MakeVolume(uint32_t sectorSize, bool flipRelocated) const;
    // The sizes to try, the likeliest first.
    std::vector<uint32_t> SectorSizes() const;
    uint64_t VolumeSize(uint32_t sectorSize) const;
    VolumeFacts Facts(const DecryptedVolume &volume, bool looksLikeFileSystem) const;

    const std::shared_ptr<const ByteSource> _source;
    const KeyStretcher &_stretcher;
    const CancelFlag *const _cancel;
    BootSector _boot;
    MetadataCopies _copies;
    std::optional<ConversionMap> _map;
    Error _mapError;
    UnlockedKey _key;
};

}  // namespace vx::bitlocker
