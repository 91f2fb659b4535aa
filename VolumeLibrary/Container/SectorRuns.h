// Blocks of which only some sectors are stored: a bit for each sector says which.
#pragma once

#include "Error.h"

#include <algorithm>
#include <cstdint>

namespace vx {

// Splits the range from begin to end into runs of sectors that are all stored, or all not.
// isStored(sector): of the sector of this number, counted from where begin counts. visit(begin,
// count, isStored): returns an Error, which ends the visit and is returned, with the bytes before
// the run added to bytesRead. Units: bytes.
template <typename Bits, typename Visitor>
Error VisitSectorRuns(uint64_t begin, uint64_t end, uint64_t sectorBytes, const Bits &isStored,
                      const Visitor &visit)
{
    for (uint64_t at = begin; at < end;) {
        const bool isStoredHere = isStored(at / sectorBytes);
        uint64_t next = (at / sectorBytes + 1) * sectorBytes;
        while (next < end && isStored(next / sectorBytes) == isStoredHere)
            next += sectorBytes;
        const auto count = static_cast<size_t>(std::min(next, end) - at);
        if (Error error = visit(at, count, isStoredHere)) {
            error.bytesRead += static_cast<size_t>(at - begin);
            return error;
        }
        at += count;
    }
    return {};
}

}  // namespace vx
