// The bits of an entry of an L1 or L2 table of a QCOW2 image. Format: as in QcowHeader.h.
#pragma once

#include <cstdint>

namespace vx::qcow {

constexpr uint64_t kPlaceBits = 0x00FFFFFFFFFFFE00;
constexpr uint64_t kOnlyOnceBit = uint64_t{1} << 63;  // nothing else refers to the cluster
constexpr uint64_t kPackedBit = uint64_t{1} << 62;
constexpr uint64_t kZerosBit = 1;

// In the entry of a compressed cluster: how many bits say where it begins.
constexpr unsigned BitsOfPackedPlace(uint32_t clusterBits)
{
    return 62 - (clusterBits - 8);
}

constexpr uint64_t PackedPlace(uint64_t entry, uint32_t clusterBits)
{
    return entry & ((uint64_t{1} << BitsOfPackedPlace(clusterBits)) - 1);
}

}  // namespace vx::qcow
