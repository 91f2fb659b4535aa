// Whether the disk of the destination has room for an export.
#pragma once

#include <cstdint>

namespace vx {

// How much the disk needs while files arrive one after the other. A file takes whole blocks, and
// the blocks of the file that it replaces are freed only when it is complete.
class RoomCount {
public:
    // blockSize: of the destination's disk, in bytes.
    explicit RoomCount(uint64_t blockSize) : _blockSize(blockSize) {}

    // size: of the file that arrives; replaced: what is freed then; both in bytes.
    void Add(int64_t size, int64_t replaced);

    // The most that is needed at any time, in bytes.
    uint64_t Peak() const { return _peak; }

private:
    const uint64_t _blockSize;
    int64_t _taken = 0;
    uint64_t _peak = 0;
};

struct DiskSpace {
    uint64_t blockSize = 0;
    uint64_t freeBytes = 0;  // for this user
};

// Of the disk of an open folder. False: the system does not say.
bool LookAtSpace(int folder, DiskSpace *space);

}  // namespace vx
