// The search of a disk for encrypted volumes whose first sector, or whose table of partitions, is
// lost.
//
// Threads: the main thread, since signals that arrive meanwhile end the search
// (OpeningInterruption).
#pragma once

#include "LoadedLibrary.h"

#include <string>
#include <vector>

namespace vx {

// A copy of what DiskFinding says.
struct FoundVolume {
    uint64_t offset = 0;
    uint64_t bytes = 0;
    bool hasBootSector = false;
    bool isInTable = false;
    std::string address;
    std::string method;
    std::string identifier;
    std::string description;
    std::vector<uint64_t> copies;
};

struct DiskSearch {
    std::vector<FoundVolume> found;  // in the order of the disk; until then if it was cancelled
    DiskSearchGaps gaps = {};
    int32_t status = 0;  // as the library returned it
    std::string error;   // why there is no search, or it ended early; empty if it was cancelled
    bool isCancelled = false;
    std::vector<std::string> warnings;  // damage of the image that did not prevent it
};

// The progress goes to standard error.
DiskSearch SearchDisk(const LoadedLibrary &library, const std::string &disk);

}  // namespace vx
