// A folder as it is listed, with the report of the volume: whether the list is complete, and which
// entries have a problem.
#pragma once

#include "OwnedVolume.h"
#include "ReportedVolume.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

struct Listed {
    std::vector<std::u16string> names;  // sorted
    VolumeListingReport report;
};

// Nothing if the folder cannot be listed.
std::optional<Listed> ListAndReport(OwnedVolume &volume, const std::u16string &pattern);

// The bytes of a file up to the first that cannot be read, and whether that was all of it.
struct ReadPrefix {
    std::string bytes;
    bool isWhole = false;
};

// Reads the file in pieces of this size; nothing if it does not open.
std::optional<ReadPrefix> ReadToBreak(IVolume &volume, const std::u16string &path, uint32_t piece);

}  // namespace vx
