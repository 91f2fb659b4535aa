// The header of a VMDK file that grows.
//
// Format: "Virtual Disk Format 5.0", VMware, technical note; numbers are little-endian.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

#include <algorithm>
#include <string_view>

namespace vx {

// Places and sizes are in sectors of 512 bytes, except for entries.
struct VmdkHeader {
    static constexpr uint64_t kSector = 512;
    static constexpr uint64_t kLargestPackedGrain = uint64_t{1} << 12;
    // Before a packed grain: its sector on the disk, 64 bits, and its length in bytes, 32 bits.
    static constexpr size_t kMarkerBytes = 12;
    // The place of a grain that reads as zeros, as does 0, one that was never written.
    static constexpr uint32_t kReadsAsZeros = 1;

    // How much of the tables, in bytes, is looked at before the disk is read, of each directory:
    // those of all the pieces of 64 KiB that the numbers of a table can tell apart.
    static constexpr uint64_t kMostChecked = uint64_t{128} << 20;

    bool isPacked = false;
    uint64_t capacity = 0;         // at most 2^42
    uint64_t grain = 0;            // the size of a piece of the disk: a power of two up to 2^16
    uint64_t entries = 0;          // of a table: 1 to 2^16
    uint64_t directory = 0;        // where the list of tables lies
    uint64_t secondDirectory = 0;  // where its copy lies; 0 if there is none
    uint64_t text = 0;             // where the description of the image lies; 0 if there is none
    uint64_t textSectors = 0;

    // Where in a file of so many bytes a grain that is not packed can begin at most; in bytes.
    uint64_t LastPlace(uint64_t number, uint64_t fileBytes) const
    {
        const uint64_t needed = std::min(grain, capacity - number * grain) * kSector;
        return fileBytes - std::min(fileBytes, needed);
    }
};

constexpr std::string_view kVmdkMark = "KDMV";

// Whether the first bytes of a file are those of such a header.
bool IsVmdkThatGrows(ByteView head);
// The same by all but the mark.
bool IsVmdkBesideItsMark(ByteView head);

// The header, or its copy at the end of the file if only that has the place of the directory.
// Errors: those of the file's reads; DamagedVmdk if the header is not valid; kTruncatedImage if the
// copy has no such place or is not valid, or the file is too short.
Result<VmdkHeader> ReadVmdkHeader(const ByteSource &file);

// For a VMDK image that contradicts itself: kDamagedContainer.
Error DamagedVmdk();

}  // namespace vx
