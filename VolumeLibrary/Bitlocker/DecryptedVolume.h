// The plaintext of an unlocked volume, as a byte source.
//
// Relocated sectors are put back, the areas of the metadata read as zeros, and what a stopped
// conversion left unencrypted is returned as it is. Made by VolumeOpener.
//
// Threads: ReadAt from any number of threads at once; there is no common lock.
// Errors of ReadAt: kTruncatedImage for what lies beyond the end of the image, kSystemError as the
// source gives it, kDamagedConversionMap where no map says what a sector is. A failed read concerns
// its own range only. What the source cannot read costs the whole sectors that contain it.
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

    // A multiple of SectorSize(). A truncated image keeps the size that the volume had.
    uint64_t Size() const override { return _layout.Size(); }
    uint32_t SectorSize() const { return _layout.SectorSize(); }
    // Whether the sector with the byte is stored encrypted. False beyond the end.
    bool IsEncrypted(uint64_t offset) const;
    // Whether nothing but zeros is stored in the sector with the byte. False if it cannot be read.
    bool IsBlank(uint64_t offset) const;
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override;

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    // A range of the volume, and where its bytes go.
    struct Piece {
        uint64_t offset;
        uint8_t *place;
        size_t count;
    };

    // Each adds to gaps what it could not read, continues after it and returns the first error.
    Error ReadPieces(ReadLane &lane, Piece whole, ByteRanges *gaps) const;
    Error ReadPart(ReadLane &lane, const Extent &extent, const Piece &part, ByteRanges *gaps) const;
    // Whole sectors.
    Error ReadSectors(ReadLane &lane, const Extent &extent, const Piece &piece,
                      ByteRanges *gaps) const;
    Error ReadEncrypted(ReadLane &lane, const Extent &extent, const Piece &piece,
                        ByteRanges *gaps) const;
    Error ReadRun(ReadLane &lane, const Extent &run, const Piece &piece, ByteRanges *gaps) const;
    void AddSectors(const ByteRanges &stored, uint64_t begin, const Piece &piece,
                    ByteRanges *gaps) const;
    void KeepPlainSectors(ReadLane &lane, const Extent &extent, uint8_t *place, size_t count) const;
    void ApplyPatches(uint64_t offset, uint8_t *place, size_t count) const;

    const std::shared_ptr<const ByteSource> _source;
    const VolumeLayout _layout;
    const std::vector<Patch> _patches;
    mutable ReadLanePool _lanes;
};

}  // namespace vx::bitlocker
