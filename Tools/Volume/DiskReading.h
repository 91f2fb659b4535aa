// How a disk is to be read; the volume library is asked before it opens the volume.
//
// Units: bytes, milliseconds. Errors: one line without a line end.
#pragma once

#include "ByteRange.h"

#include <cstdint>
#include <string>

namespace vx {

class OpeningProgress;

struct DiskReading {
    ByteRanges unread;          // is never read; sorted, without overlaps
    uint32_t retries = 0;       // of a sector that cannot be read
    uint32_t slowAfter = 0;     // a read that takes longer is followed by a skip; 0: none is
    bool recordsReads = false;  // what is read as tables
    // The volume itself, as its only file, and not what its file system has.
    bool opensContents = false;

    // library: the handle of the loaded one. Concerns the next opening on this thread, which
    // reports to progress. False if the library cannot do it; what asks for nothing can always be
    // done, without reports at worst.
    bool Request(void *library, OpeningProgress *progress, std::string *error) const;
    // So that a later opening is not concerned.
    static void Reset(void *library);

private:
    bool IsUsual() const;
};

}  // namespace vx
