// An entry of a FAT folder that stands for a file, a folder or a label, and how much it looks like
// one: folders hold no checksums, so damage shows only in what no program writes.
#pragma once

#include "FatGeometry.h"
#include "FolderBytes.h"

namespace vx {

struct FatEntry {
    static constexpr size_t kShortBytes = 11;
    static constexpr uint8_t kStandsForE5 = 0x05;  // as the first byte of a name

    explicit FatEntry(const FolderBytes::Entry &bytes);

    bool IsFolder() const;
    uint32_t FirstCluster(FatGeometry::Kind kind) const;
    // How many fields hold what they should not: letters that no short name has, reserved
    // attributes, a first cluster off the volume, an impossible time, a size of a folder.
    int Oddities(const FatGeometry &geometry) const;
    // Whether its short name has bytes that no name has. Other oddities are found in real names.
    bool HasControlsInName() const;

    std::array<uint8_t, kShortBytes> shortName = {};  // as it is stored
    uint8_t attributes = 0;
    uint8_t smallLetters = 0;  // which parts of the short name are shown in them
    uint8_t createdHundredths = 0;
    uint16_t createdTime = 0;  // times and dates as FileTimeFromFat takes them
    uint16_t createdDate = 0;
    uint16_t accessedDate = 0;
    uint16_t clusterHigh = 0;  // FAT12 and FAT16 use it for other ends
    uint16_t writtenTime = 0;
    uint16_t writtenDate = 0;
    uint16_t clusterLow = 0;
    uint32_t size = 0;
};

}  // namespace vx
