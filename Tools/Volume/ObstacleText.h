// Why an entry did not arrive, in words.
#pragma once

#include "VolumeReports.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

// Whether entries with this obstacle are counted in one line, since there may be many.
bool IsCounted(VolumeObstacle obstacle);

// "12 files are only in the cloud". Of an obstacle that is counted.
std::string CountedText(VolumeObstacle obstacle, bool areFolders, int64_t count);

// Its name in what programs read, "only-in-cloud"; null for none. docs/volumes.md lists them.
const char *ObstacleName(VolumeObstacle obstacle);

// "bytes 1048576 to 1052671 could not be read and are zero"; the first few ranges, or all.
std::string UnreadText(const std::vector<ByteRange> &unread, bool namesAll);

// "this folder is incomplete: at least 3 entries are missing"
std::string ListingText(const VolumeListingReport &listing);

}  // namespace vx
