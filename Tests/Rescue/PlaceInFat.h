// Where the table of FAT or exFAT keeps what follows a cluster, from the numbers of the boot
// sector (Microsoft, "FAT: General Overview of On-Disk Format" and "exFAT file system
// specification").
#pragma once

#include <cstdint>
#include <string>

namespace vx {

enum class FatWidth { k16, k32, kExfat };

// boot: the image's first sector. data: a place in the data of a file. Both in bytes.
uint64_t PlaceInTable(FatWidth width, const std::string &boot, uint64_t data);

}  // namespace vx
