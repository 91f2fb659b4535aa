// What an encrypted volume says about itself without a key: how it is encrypted and how far, what
// opens it, and which copies of its metadata are good.
//
// Ownership: holds copies of what it needs, no secret among them but the clear key that lies open
// on the disk. Threads: any. Units: bytes.
#pragma once

#include "BootSector.h"
#include "ConversionMap.h"
#include "MetadataLocator.h"
#include "Method.h"

namespace vx::bitlocker {

enum class EncryptionState {
    kUnknown,
    kEncrypted,
    kDecrypted,
    kEncrypting,
    kDecrypting,
    kPaused,  // between the two, and in neither direction
};

struct EncryptionFacts {
    // Of encryptedBytes: the metadata, or the map of a conversion, does not say.
    static constexpr uint64_t kUnknownBytes = ~uint64_t{0};

    Layout layout = Layout::kWindows7;
    bool isConverting = false;  // a map says what is encrypted
    EncryptionState state = EncryptionState::kUnknown;
    uint64_t encryptedBytes = kUnknownBytes;
    uint64_t statedBytes = 0;            // of the volume; 0 if nothing says so
    uint32_t sectorBytes = 0;            // that are encrypted as a unit; 0 if nothing says so
    std::vector<ExaminedCopy> examined;  // of the metadata
    std::optional<MetadataBlock> copy;   // the one that counts; none if none is usable
    std::vector<std::string> warnings;   // damage that examined does not show

    enum class MapReading { kAllowed, kForbidden };

    // Reads what the boot sector and the copies name, and searches for nothing. A map may be long
    // (ConversionMapReader.h). Errors: of reading the boot sector, kNotBitlocker, kDamagedMetadata.
    static Result<EncryptionFacts> Read(const ByteSource &volume, MapReading map);

private:
    void TakeMap(const ByteSource &volume, const BootSector &boot);
    void TakeMapState(const ConversionMap &map, uint64_t volumeBytes);
    void TakeStateOfBlock(uint64_t volumeBytes);
};

}  // namespace vx::bitlocker
