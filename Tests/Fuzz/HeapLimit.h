// The promise that no volume makes the library take more memory than this, held against every
// input: the heap is counted while one of these objects lives, and the process stops if it grows
// further.
#pragma once

#include <cstddef>

namespace vx {

class HeapLimit {
public:
    static constexpr long kMostBytes = 64L << 20;

    HeapLimit();
    ~HeapLimit();
    HeapLimit(const HeapLimit &) = delete;
    HeapLimit &operator=(const HeapLimit &) = delete;
};

}  // namespace vx
