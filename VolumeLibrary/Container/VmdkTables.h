// The tables of a VMDK file that grows, which say where each piece ("grain") of the disk lies in
// the file. They tell what a file that was cut short lacks before anybody reads it.
#pragma once

#include "ByteSource.h"
#include "VmdkHeader.h"

namespace vx {

struct VmdkShortfall {
    bool isOfTables = false;    // the file ends before its tables do
    bool isPacked = false;      // its pieces are compressed
    uint64_t missingBytes = 0;  // of the disk, beyond the end of the file
};

// shortfall receives what the file lacks, by the tables of the header's first directory. Each byte
// of the file is read once at most. Errors: those of the file's reads.
Error FindVmdkShortfall(const ByteSource &file, const VmdkHeader &header, VmdkShortfall *shortfall);

}  // namespace vx
