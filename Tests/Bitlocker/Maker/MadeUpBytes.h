// Keys, nonces and identifiers for test volumes: the same seed and label give the same bytes,
// so that a volume can be made again.
#pragma once

#include "Guid.h"

#include <string>
#include <vector>

namespace vx::bitlocker::maker {

class MadeUpBytes {
public:
    explicit MadeUpBytes(uint32_t seed) : _seed(seed) {}

    std::vector<uint8_t> Bytes(const std::string &label, size_t count) const;
    Guid GuidOf(const std::string &label) const;

private:
    uint32_t _seed;
};

// The 32 bytes of the startup key for a protector.
std::vector<uint8_t> StartupKeyOf(const Guid &protector);

}  // namespace vx::bitlocker::maker
