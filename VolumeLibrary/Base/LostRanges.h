// The parts of one file that could not be read, in the file's order.
//
// Once there are kMost of them, or no memory for more, a further one makes its neighbour longer:
// the list may then say too much, but never too little. Threads: one at a time. Units: bytes.
#pragma once

#include "ByteRange.h"

#include <cstddef>

namespace vx {

class LostRanges {
public:
    static constexpr size_t kMost = 4096;

    LostRanges();
    // Joins the range with those that it touches. length: not 0.
    void Add(const ByteRange &range) noexcept;
    const ByteRanges &All() const { return _ranges; }

private:
    bool HasRoom() noexcept;
    void Widen(ByteRanges::iterator next, const ByteRange &range) noexcept;

    ByteRanges _ranges;
};

}  // namespace vx
