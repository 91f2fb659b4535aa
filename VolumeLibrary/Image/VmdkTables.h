// The tables of a VMDK file that grows, which say where each piece ("grain") of the disk lies in
// the file. libtsk takes a file that was cut short for a whole one as long as nobody reads what is
// missing.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "Bitlocker/ByteView.h"

namespace vx {

struct VmdkShortfall {
    bool isOfTables = false;    // the file ends before its tables do
    bool isPacked = false;      // its pieces are compressed
    uint64_t missingBytes = 0;  // of the disk, behind the end of the file
};

// shortfall receives what the file lacks. Tables that make no sense are said to lack nothing: who
// reads them says what is wrong. Each byte of the file is read once at most. Errors: those of the
// file's reads.
bitlocker::Error FindVmdkShortfall(const bitlocker::ByteSource &file, VmdkShortfall *shortfall);

// Whether such a file begins like this.
bool IsVmdkThatGrows(bitlocker::ByteView head);

}  // namespace vx
