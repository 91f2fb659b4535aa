// The tables of a VMDK file that grows say where each piece ("grain") of the disk lies in the file.
// So they show, before the disk is read, what is missing from a file that was cut short.
#pragma once

#include "ByteSource.h"
#include "VmdkHeader.h"

namespace vx {

struct VmdkShortfall {
    bool isOfTables = false;    // the file ends before its tables do
    bool isPacked = false;      // its pieces are compressed
    uint64_t missingBytes = 0;  // of the disk, beyond the end of the file
    bool isOfAll = true;        // false: there are more tables than are checked
};

// What the file lacks according to the tables of the header's first directory. Reads no more bytes
// than the file has, nor than VmdkHeader::kMostChecked. Errors: those of the file's reads.
Result<VmdkShortfall> FindVmdkShortfall(const ByteSource &file, const VmdkHeader &header);

}  // namespace vx
