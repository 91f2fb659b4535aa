// Where the contents of a file lie, and what keeps them from being read. Decided by the reparse
// point and by where the data is, never by the file's attributes: those may be stale, and one bit
// means different things on disk and in a listing.
//
// Threads: any number at a time.
#pragma once

#include "NtfsReparsePoint.h"

namespace vx {

struct NtfsContents {
    VolumeObstacle obstacle = VolumeObstacle::kNone;
    // Whether there is something to open; with an obstacle only part of it can be read, and the
    // rest is in no run.
    bool canOpen = false;
    NtfsStream data;
    // Of a file that Windows packed: data is then the packed stream.
    std::optional<WofPacking> packing;
    uint64_t size = 0;  // of the file
};

NtfsContents FindContents(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                          uint64_t number, const NtfsReparsePoint &point);

}  // namespace vx
