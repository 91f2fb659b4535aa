// The set of 32-byte entries that describes one file of exFAT.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vx {

struct ExfatEntry {
    std::u16string name;
    uint16_t attributes = 0x20;
    bool isContiguous = true;
    uint32_t firstCluster = 0;
    uint64_t size = 0;
    uint64_t written = 0;
};

std::vector<uint8_t> ExfatSetOf(const ExfatEntry &entry);

// The checksum of the set. count: its size in bytes.
uint16_t ExfatCheckOf(const uint8_t *set, size_t count);

}  // namespace vx
