// Reads the conversion map from a volume and checks every part of it.
//
// Nothing is guessed: a part that is damaged makes the whole map damaged. A map that names one
// block for several regions, or would have more read for it than any map is long, is damaged as
// well: otherwise a few sectors could keep the reader busy for minutes.
#pragma once

#include "ByteView.h"
#include "ConversionMap.h"

namespace vx::bitlocker {

class ConversionMapReader {
public:
    // The most that is kept in memory for one volume.
    static constexpr size_t kMostMemory = 16 * 1024 * 1024;
    // The most that is read; a volume of 16 TiB needs about 40 MiB.
    static constexpr size_t kMostRead = 128 * 1024 * 1024;

    // source must outlive the reader.
    ConversionMapReader(const ByteSource &source, uint32_t sectorSize);

    Result<ConversionMap> Read(std::array<uint64_t, 2> offsets);

private:
    // The fields of the conversion information that are used.
    struct Information {
        uint32_t chunkSize = 0;
        uint32_t slotLength = 0;
        std::vector<uint64_t> blocks;
    };
    // A slot of a conversion log.
    struct LogSlot {
        uint64_t sequence = 0;
        uint64_t chunk = 0;  // 0: none
        std::vector<uint8_t> saved;
    };

    Result<Information> ReadInformation(uint64_t offset);
    Result<ConversionMap::Region> ReadRegion(const Information &information, uint64_t block);
    Error ReadBits(ByteView block, ConversionMap::Region &region);
    Error ReadLog(const Information &information, uint64_t log, ConversionMap::Region &region);
    Error ReadSlot(const Information &information, uint64_t offset, std::vector<LogSlot> &slots);
    Error AddInterrupted(const LogSlot &slot, ConversionMap::Region &region) const;
    Result<std::vector<uint8_t>> ReadBytes(uint64_t offset, size_t count);
    Error CheckOrder(std::vector<ConversionMap::Region> &regions) const;
    static bool NamesBlockTwice(const Information &information);

    const ByteSource &_source;
    const uint32_t _sectorSize;
    size_t _memory = 0;
    size_t _read = 0;
};

}  // namespace vx::bitlocker
