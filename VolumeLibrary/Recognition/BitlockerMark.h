// What a BitLocker volume begins with, so that other readers do not mistake it for FAT.
#pragma once

#include "ByteView.h"
#include "Guid.h"

namespace vx {

// 4967d63b-2e29-4ad8-8399-f6a339e3d001: an ordinary encrypted volume.
constexpr Guid kOrdinaryVolume{{0x3b, 0xd6, 0x67, 0x49, 0x29, 0x2e, 0xd8, 0x4a, 0x83, 0x99, 0xf6,
                                0xa3, 0x39, 0xe3, 0xd0, 0x01}};
// 92a84d3b-dd80-4d0e-9e4e-b1e3284eaed8: a volume with a conversion map in force.
constexpr Guid kConvertingVolume{{0x3b, 0x4d, 0xa8, 0x92, 0x80, 0xdd, 0x0e, 0x4d, 0x9e, 0x4e, 0xb1,
                                  0xe3, 0x28, 0x4e, 0xae, 0xd8}};

// Whether the sector is the first one of a BitLocker To Go volume, which imitates FAT32.
bool HasBitlockerToGoMark(ByteView sector);

}  // namespace vx
