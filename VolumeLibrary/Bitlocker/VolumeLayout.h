// Where the plaintext of each sector comes from: hidden, relocated, encrypted or not.
//
// Unchanging after it was made; safe from any thread. Units: bytes.
#pragma once

#include "BootSector.h"
#include "ConversionMap.h"
#include "MetadataBlock.h"

#include <optional>

namespace vx::bitlocker {

struct Extent {
    enum class Kind {
        kZeros,        // hidden: the decryptor's own data lies there
        kPlain,        // stored as it is
        kEncrypted,    // stored encrypted
        kInterrupted,  // each sector on its own, see ConversionMap
        kUnknown,      // no map covers it
    };

    Kind kind = Kind::kZeros;
    uint64_t stored = 0;  // where the first sector is stored
    uint64_t length = 0;  // a multiple of the sector size, never 0
    const ConversionMap::InterruptedChunk *chunk = nullptr;  // with kInterrupted only
};

class VolumeLayout {
public:
    // The sectors at the front that Vista stores in the clear.
    static constexpr uint64_t kVistaPlainSectors = 16;

    // size: of the volume, a multiple of sectorSize. map: of a volume in conversion.
    VolumeLayout(const MetadataBlock &block, uint32_t sectorSize, uint64_t size,
                 std::optional<ConversionMap> map);

    uint32_t SectorSize() const { return _sectorSize; }
    uint64_t Size() const { return _size; }
    // offset: a multiple of the sector size, less than Size().
    Extent ExtentAt(uint64_t offset) const;

    // Treats relocated sectors as encrypted if they should be plain, and the other way round.
    void FlipRelocated() { _relocatedFlipped = !_relocatedFlipped; }

private:
    struct Range {
        uint64_t begin = 0;
        uint64_t end = 0;
    };

    void Hide(uint64_t begin, uint64_t length);
    void ApplyState(Extent &extent) const;
    uint64_t RoundedUp(uint64_t offset) const;

    bool _vista;
    uint32_t _sectorSize;
    uint64_t _size;
    uint64_t _encryptedSize;
    uint64_t _relocatedLength;
    uint64_t _relocationOffset;
    std::optional<ConversionMap> _map;
    std::vector<Range> _hidden;
    bool _relocatedFlipped = false;
};

}  // namespace vx::bitlocker
