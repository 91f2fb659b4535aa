// Areas of a disk, collected in any order.
//
// Memory: twice kMostAreas. Once there are more, areas that lie near each other are joined: the
// result may then name too much, but never too little. Threads: one at a time. Units: bytes.
#pragma once

#include "ByteRange.h"

#include <cstddef>

namespace vx {

class DiskAreas {
public:
    static constexpr size_t kMostAreas = size_t{1} << 20;

    explicit DiskAreas(size_t mostAreas = kMostAreas) : _mostAreas(mostAreas) {}

    void Add(uint64_t offset, uint64_t length);
    // In whole sectors, in the order of the disk, without overlaps.
    ByteRanges All();

private:
    void Join();

    const size_t _mostAreas;
    uint64_t _nearest = 0;  // areas that are no further apart are joined
    ByteRanges _areas;
    bool _isSorted = true;
};

}  // namespace vx
