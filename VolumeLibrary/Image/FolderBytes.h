// Reads a folder of FAT or exFAT front to back, entry by entry of 32 bytes.
// Ownership: borrows the source. Threads: one at a time.
#pragma once

#include "ExtentFile.h"

#include <array>

namespace vx {

class FolderBytes {
public:
    static constexpr size_t kEntryBytes = 32;
    using Entry = std::array<uint8_t, kEntryBytes>;
    enum class Step { kEntry, kEnd, kError };

    FolderBytes(const bitlocker::ByteSource &source, std::vector<Extent> runs)
        : _source(source), _runs(std::move(runs))
    {
    }

    Step Next(Entry *entry);

private:
    const bitlocker::ByteSource &_source;
    const std::vector<Extent> _runs;
    uint64_t _position = 0;
};

}  // namespace vx
