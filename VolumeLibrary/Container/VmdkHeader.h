// The header of a VMDK file that grows.
//
// Format: "Virtual Disk Format 5.0", VMware, technical note; numbers are little-endian.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

#include <optional>

namespace vx {

// Places and sizes are in sectors of 512 bytes, but for entries.
struct VmdkHeader {
    static constexpr uint64_t kSector = 512;
    static constexpr uint64_t kLargestPackedGrain = uint64_t{1} << 12;

    bool isPacked = false;
    uint64_t capacity = 0;         // at most 2^42
    uint64_t grain = 0;            // the size of a piece of the disk: a power of two up to 2^16
    uint64_t entries = 0;          // of a table: 1 to 2^16
    uint64_t directory = 0;        // where the list of tables lies
    uint64_t secondDirectory = 0;  // where its copy lies; 0: there is none
    uint64_t text = 0;             // where the description of the image lies; 0: there is none
    uint64_t textSectors = 0;
};

// Whether such a file begins like this.
bool IsVmdkThatGrows(ByteView head);

// header receives the header, that at the end if the first one leaves the place of the directory
// to it; nothing if it makes no sense. Errors: those of the file's reads, TruncatedImage if the
// file ends before it.
Error ReadVmdkHeader(const ByteSource &file, std::optional<VmdkHeader> *header);

}  // namespace vx
