// Searches the whole of a disk or an image for encrypted volumes, and says what opens each.
#pragma once

#include "DiskReport.h"
#include "OpenVolume.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

// An encrypted volume of the disk, and where it is. Units: bytes.
struct DiskSearchFinding {
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

struct DiskSearchResult {
    std::vector<DiskSearchFinding> findings;  // in the order of the disk
    DiskSearchGaps gaps = {};
    std::vector<std::string> notes;  // about the container, a sentence each
    // kCancelled, or why the search ended early; what was found until then is there.
    Error error;
};

// device: as for OpenVolume; a choice after the path is passed over. Errors: those of opening a
// container; kPlacesNotKept. May throw std::bad_alloc.
Result<DiskSearchResult> SearchDisk(const std::string &device, const CancelFlag *cancel,
                                    const OpeningOptions &options);

// Calls the function for each finding.
void ReportFindings(const DiskSearchResult &result, DiskFindingFunction finding, void *context);

}  // namespace vx
