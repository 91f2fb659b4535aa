// Where the parts of a FAT or exFAT volume lie.
// Format: Microsoft, "FAT32 File System Specification" and "exFAT file system specification".
#pragma once

#include "ByteView.h"

#include <cstdint>
#include <optional>

namespace vx {

struct FatGeometry {
    enum class Kind { k12, k16, k32, kExfat };

    static constexpr uint32_t kFirstCluster = 2;

    Kind kind = Kind::k32;
    uint8_t media = 0;  // what the table begins with
    uint32_t clusterBytes = 0;
    uint64_t tableOffset = 0;  // of the file allocation table; bytes, as all offsets
    uint64_t tableBytes = 0;
    bool isSecondTable = false;   // of exFAT: the second of two tables is the one in use
    unsigned tableCopies = 1;     // one after the other, all with the same contents
    uint64_t clustersOffset = 0;  // of cluster 2, the first one
    uint64_t clusters = 0;
    uint32_t lastCluster = 0;  // of those that the table has room for
    uint32_t rootCluster = 0;  // 0: the root folder lies before the clusters, at
    uint64_t rootOffset = 0;
    uint32_t rootBytes = 0;

    bool IsOnVolume(uint32_t cluster) const
    {
        return cluster >= kFirstCluster && cluster <= lastCluster;
    }
    // No file is longer.
    uint64_t MostBytes() const { return uint64_t{lastCluster - kFirstCluster + 1} * clusterBytes; }
};

// Which of the four it is, and where its parts lie; nothing if the sector is not valid as the first
// one of a volume.
std::optional<FatGeometry> TakeFatGeometry(ByteView sector);

}  // namespace vx
