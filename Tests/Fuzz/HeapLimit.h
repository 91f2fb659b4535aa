// Checks for every input that no volume makes the library take more memory than this: the heap is
// counted while one of these objects lives, and the process ends if it exceeds the limit.
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
