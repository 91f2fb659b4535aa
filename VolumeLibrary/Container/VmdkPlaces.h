// The tables of a VMDK file that grows and their copy, read once as a whole before the disk is:
// which pieces ("grains") they name differently, and which places of the file are claimed twice.
//
// Where the two differ, one of them is damaged. A place is taken from that one whose place lies in
// the file and is no other grain's and no table; if that is true of both or of none, the grain
// cannot be read. A grain that one of them calls never written is zeros only if the place that the
// other one names is another grain's. A table that cannot be read has no say. Packed grains are
// left out, since each names its own place on the disk.
//
// Of tables beyond VmdkHeader::kMostChecked nothing is known before they are used.
//
// Memory: that of PieceClaims and 4 MiB while it runs, then four lists of 64 KiB, which say too
// much once they are full.
#pragma once

#include "ByteSource.h"
#include "VmdkHeader.h"

#include <optional>

namespace vx {

struct VmdkPlaces {
    ByteRanges disputed;     // sorted, as below; of the disk: the grains that are named differently
    ByteRanges contested;    // of the file
    ByteRanges implausible;  // of the file: where disputed grains cannot begin
    // Those of them that seem to lie on a table. It may be the table that is wrong, so this does
    // not prove that the grain was never written.
    ByteRanges onTables;
    uint64_t disputedGrains = 0;
    bool isComplete = true;      // false: the image is too large to compare all its places
    bool hasAllDisputed = true;  // false: some tables were not compared with their copy

    // Errors: none but of memory. Reads each directory with its tables, as far as they are checked,
    // four times at most.
    static VmdkPlaces Examine(const ByteSource &file, const VmdkHeader &header);

    // The sector of a grain that is named differently; nothing if it is not known. last: where in
    // the file it may begin at most, in bytes.
    std::optional<uint32_t> Choose(uint32_t one, uint32_t other, uint64_t last) const;
};

}  // namespace vx
