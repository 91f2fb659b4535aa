// What a volume reports beyond IVolume (VolumeReport.h), in a form that tests compare.
#pragma once

#include "OwnedVolume.h"

#include <string>
#include <vector>

namespace vx {

struct ReportedListing {
    bool isListed = false;
    std::vector<std::u16string> names;  // in the order of the volume
    VolumeListingReport report;
};

// Lists the whole folder; a test failure if the volume then has no report.
ReportedListing ListWithReport(OwnedVolume &volume, const std::u16string &folder);

VolumeEntryReport ReportOf(OwnedVolume &volume, const std::u16string &path);
VolumeObstacle ObstacleOf(OwnedVolume &volume, const std::u16string &path);

}  // namespace vx
