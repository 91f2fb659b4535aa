// Numbers by 64-bit hashes, in about 16 bytes each: for a million keys that are never listed and
// hardly ever found. Two keys with one hash are one key.
//
// Threads: one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx {

class NumberTable {
public:
    static constexpr uint32_t kNone = ~uint32_t{0};

    // expected: how many keys there will probably be.
    explicit NumberTable(size_t expected);

    void Set(uint64_t hash, uint32_t number);
    // The number of the key, or kNone.
    uint32_t At(uint64_t hash) const;

private:
    size_t SlotOf(uint64_t hash) const;
    void Resize(size_t slots);

    std::vector<uint64_t> _hashes;  // 0: the slot is free
    std::vector<uint32_t> _numbers;
    size_t _used = 0;
};

}  // namespace vx
