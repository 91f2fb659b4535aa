// Which places of an image file its tables name as those of pieces of the disk, which are all of
// one length. What is claimed twice, or is also a table, cannot be trusted: one of its entries is
// wrong, and the piece would hold the bytes of another.
//
// Threads: one at a time. Units: bytes; places are multiples of 512. Memory: 2 bytes for each piece
// that the file has room for, kMostSlots * 2 (64 MiB) at most, what lies beside pieces, and 64 KiB
// for the contested places. That list says too much once there are thousands.
#pragma once

#include "LostRanges.h"

#include <vector>

namespace vx {

class PieceClaims {
public:
    static constexpr uint64_t kMostSlots = uint64_t{1} << 25;

    // beside: what lies in the file beside pieces, in any order.
    PieceClaims(uint64_t fileBytes, uint64_t pieceBytes, ByteRanges beside);

    // Contests the place if it is taken. What lies beyond the end of the file is left out.
    void Add(uint64_t at) { Add(at, _pieceBytes); }
    // For a last piece that is needed only in part.
    void Add(uint64_t at, uint64_t bytes);
    bool IsTaken(uint64_t at) const { return IsTaken(at, _pieceBytes); }
    // Whether a piece there would overlap what lies beside pieces.
    bool IsBeside(uint64_t at) const { return TouchesRange(_beside, {at, _pieceBytes}); }

    const ByteRanges &Contested() const { return _contested.All(); }
    // Whether every place was compared: the file has no more room than there are slots.
    bool IsComplete() const { return _isComplete; }

private:
    bool IsTaken(uint64_t at, uint64_t bytes) const;

    // Each slot holds where the one piece begins that begins in it, as the sector in the slot and
    // 1; 0 for none. No slot is longer than a piece, so a second one would overlap it.
    const uint64_t _fileBytes;
    const uint64_t _pieceBytes;
    const uint64_t _slotSectors;
    ByteRanges _beside;  // sorted, without overlaps
    std::vector<uint16_t> _slots;
    LostRanges _contested;
    bool _isComplete = true;
};

}  // namespace vx
