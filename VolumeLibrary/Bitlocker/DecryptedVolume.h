// The plaintext of an unlocked volume, as a byte source.
//
// Relocated sectors are put back, the areas of the metadata read as zeros, and what a stopped
// conversion left unencrypted is passed on as it is. Made by VolumeOpener.
//
// Threads: readAt from any number of threads at once; there is no common lock.
// Errors of readAt: TruncatedImage for what lies behind the end of the image, SystemError as
// the source gives it, DamagedConversionMap where no map says what a sector is. A failed read
// concerns its own range only.
#pragma once

#include "ReadLanePool.h"
#include "VolumeLayout.h"

namespace vx::bitlocker {

class DecryptedVolume : public ByteSource {
public:
    // Bytes that are not as they are stored, in the first sector of a Vista volume.
    struct Patch {
        uint64_t offset = 0;
        std::array<uint8_t, 8> bytes{};
    };

    // cipher: null for a volume without any encrypted sector.
    DecryptedVolume(std::shared_ptr<const ByteSource> source, VolumeLayout layout,
                    std::unique_ptr<SectorCipher> cipher, std::vector<Patch> patches);

    // A multiple of sectorSize(). A truncated image keeps the size that the volume had.
    uint64_t size() const override { return _layout.size(); }
    uint32_t sectorSize() const { return _layout.sectorSize(); }
    Error readAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    Error readPieces(ReadLane &lane, uint64_t offset, uint8_t *place, size_t count) const;
    Error readPart(ReadLane &lane, const Extent &extent, size_t skip, uint8_t *place,
                   size_t count) const;
    // count: a multiple of the sector size.
    Error readSectors(ReadLane &lane, const Extent &extent, uint8_t *place, size_t count) const;
    Error readEncrypted(ReadLane &lane, const Extent &extent, uint8_t *place, size_t count) const;
    void keepPlainSectors(ReadLane &lane, const Extent &extent, uint8_t *place, size_t count) const;
    void applyPatches(uint64_t offset, uint8_t *place, size_t count) const;

    const std::shared_ptr<const ByteSource> _source;
    const VolumeLayout _layout;
    const std::vector<Patch> _patches;
    mutable ReadLanePool _lanes;
};

}  // namespace vx::bitlocker
