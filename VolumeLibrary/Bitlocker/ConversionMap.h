// Which chunks of a volume in conversion are encrypted and which are not.
//
// Read once when the volume is opened; unchanging afterwards and safe from any thread.
// Units: bytes in the volume, of the place where a sector is stored.
#pragma once

#include "ByteSource.h"

#include <array>
#include <vector>

namespace vx::bitlocker {

class ConversionMap {
public:
    // A chunk whose conversion was interrupted: a sector is encrypted if its first 16 stored
    // bytes are those that were noted before the conversion, else it is plaintext.
    struct InterruptedChunk {
        uint64_t offset = 0;
        uint64_t length = 0;
        std::vector<uint8_t> saved;  // 16 bytes for each sector
    };

    // Which way a conversion runs.
    enum class Direction { kIdle, kEncrypting, kDecrypting };

    struct Progress {
        uint64_t coveredBytes = 0;  // by regions
        uint64_t encryptedBytes = 0;
        bool isInterrupted = false;  // amid a chunk
        Direction direction = Direction::kIdle;
    };

    enum class State { kPlain, kEncrypted, kInterrupted, kUnknown };

    struct Run {
        State state = State::kUnknown;
        uint64_t end = 0;                         // the state holds up to here
        const InterruptedChunk *chunk = nullptr;  // with kInterrupted only
    };

    // offsets: of the copies of the conversion information. Errors: kDamagedConversionMap (also
    // when the image ends before a part of the map), kSystemError.
    static Result<ConversionMap> Load(const ByteSource &source, std::array<uint64_t, 2> offsets,
                                      uint32_t sectorSize);

    // kUnknown for a place that no region covers.
    Run RunAt(uint64_t offset) const;
    // Whether nothing at all is encrypted.
    bool IsAllPlain() const;
    Progress Count() const;

private:
    friend class ConversionMapReader;

    struct Region {
        uint64_t offset = 0;
        uint64_t length = 0;
        uint64_t chunkSize = 0;
        std::vector<uint8_t> bits;
        Direction direction = Direction::kIdle;
        std::vector<InterruptedChunk> interrupted;  // one at most

        uint64_t ChunkCount() const { return (length + chunkSize - 1) / chunkSize; }
        bool Bit(uint64_t chunk) const { return (bits[chunk / 8] >> (chunk % 8) & 1) != 0; }
        uint64_t EndOfSame(uint64_t chunk) const;
        uint64_t EncryptedBytes() const;
    };

    std::vector<Region> _regions;  // by offset, not overlapping
};

}  // namespace vx::bitlocker
