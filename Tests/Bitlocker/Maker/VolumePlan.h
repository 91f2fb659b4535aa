// Where everything lies in a volume that is made. Units: bytes in the volume.
#pragma once

#include "VolumeRecipe.h"

namespace vx::bitlocker::maker {

struct VolumePlan {
    uint64_t plainSize = 0;  // of the plain image, which comes first
    uint64_t size = 0;       // of the volume
    size_t areaSize = 0;     // of one copy of the metadata
    std::array<uint64_t, 3> copies{};
    uint64_t relocationOffset = 0;
    uint32_t relocatedSectors = 0;
    uint64_t encryptedSize = 0;
    // The conversion map; zeros without one.
    std::array<uint64_t, 2> conversionOffsets{};
    uint64_t bitmapsOffset = 0;
    uint64_t logsOffset = 0;

    // Errors are impossible; the plain size must be a multiple of the sector size.
    static VolumePlan Make(const VolumeRecipe &recipe, uint64_t plainSize);
};

// Sizes of the parts of a conversion map.
constexpr uint64_t kRecordLength = 512;
constexpr uint64_t kBitmapBlockLength = 3 * kRecordLength;
constexpr size_t kRegions = 3;

uint32_t SlotLength(const VolumeRecipe &recipe);
uint64_t LogLength(const VolumeRecipe &recipe);

}  // namespace vx::bitlocker::maker
