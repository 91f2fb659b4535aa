// One of the two GUID partition tables of a disk: its header and its entries.
//
// Both carry a CRC-32. A table whose checksum is wrong is still read, and reported as such: it may
// be the only one left. Format: UEFI Specification, "GUID Partition Table (GPT) Disk Layout".
// Ownership: holds copies of what it needs. Units: sectors of the size that the table counts in.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <vector>

namespace vx {

struct GptTable {
    // A table that claims more than these is ignored.
    static constexpr uint32_t kMostEntries = 1024;
    static constexpr uint32_t kLargestEntry = 4096;  // bytes

    bool isFound = false;        // there is a header that leads to entries on the disk
    bool isInItsPlace = false;   // it lies where its header says
    bool isHeaderRight = false;  // the header fits its checksum
    bool areEntriesRight = false;
    uint64_t otherSector = 0;  // where the other table is; only if isHeaderRight
    std::vector<PartitionPlace> places;
    Error unread;  // why the table or a part of it could not be read, or none

    bool IsSound() const { return isInItsPlace && isHeaderRight && areEntriesRight; }

    // sector: of the header. Entries that cannot be read are left out.
    static GptTable Read(const ByteSource &disk, uint64_t sectorBytes, uint64_t sector);
};

}  // namespace vx
