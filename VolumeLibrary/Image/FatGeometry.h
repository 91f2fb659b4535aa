// Where the parts of a FAT or exFAT volume lie.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "OpenError.h"

namespace vx {

struct FatGeometry {
    enum class Kind { k12, k16, k32, kExfat };

    Kind kind = Kind::k32;
    uint32_t clusterBytes = 0;
    uint64_t tableOffset = 0;  // of the file allocation table; bytes, as all offsets
    uint64_t tableBytes = 0;
    uint64_t clustersOffset = 0;  // of cluster 2, the first one
    uint64_t clusters = 0;
    uint32_t lastCluster = 0;  // of those that the table has room for
    uint32_t rootCluster = 0;  // 0: the root folder lies before the clusters, at
    uint64_t rootOffset = 0;
    uint32_t rootBytes = 0;
};

// Which of the four it is, and where its parts lie. Errors: kFileSystemDamaged.
OpenError ReadFatGeometry(const bitlocker::ByteSource &volume, FatGeometry *geometry);

}  // namespace vx
