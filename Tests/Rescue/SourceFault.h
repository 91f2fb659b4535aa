// What is wrong with the disk while a volume is exported, and what of the files that may cost.
#pragma once

#include "FaultPlan.h"
#include "RescueVolume.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

enum class SourceFault {
    kNone,
    kOneSector,    // in the middle of a large file
    kFirstSector,  // of a file
    kLastSector,
    kSmallFile,  // a sector of a file of a few
    kSeveral,    // in two files, and on both sides of the end of a chunk
    kWide,       // 256 KiB in one piece
    kTransient,  // fails once
    kTransientTwice,
    kSlow,  // takes long
    kSlowAndBad,
    kGoneInTheMiddle,  // the device does not exist any more, in a large file
    kGoneSoon,         // in the first file of a chunk
    kGoneAsError,      // in the middle, with the error of a bad sector
    kEntry,            // where a folder names a file
    kRecord,           // what NTFS knows of a file
    kTable,            // where a file goes on
    kBoot,             // the first sector
    kPacked,           // of a compressed file
    kSparse,           // of a sparse file
};

const std::vector<SourceFault> &AllSourceFaults();
std::string NameOf(SourceFault fault);

struct FaultEffect {
    LostBytes lost;           // by bad sectors; nothing else of a file is
    bool mayLoseAny = false;  // what leads to the files is damaged
    bool isGone = false;
    size_t badSectors = 0;
};

// Adds the fault to the plan. Nothing, if the volume has no such place.
std::optional<FaultEffect> AimAt(const RescueVolume &volume, SourceFault fault, FaultPlan *plan);

}  // namespace vx
