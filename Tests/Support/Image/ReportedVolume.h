// What a volume reports beyond IVolume (VolumeReport.h), in a form that tests compare.
#pragma once

#include "OwnedVolume.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct ReportedListing {
    bool isListed = false;
    std::vector<std::u16string> names;  // in the order of the volume
    VolumeListingReport report;
};

// Lists the whole folder; a test failure if the volume then has no report.
ReportedListing ListWithReport(OwnedVolume &volume, const std::u16string &folder);

struct ReportedStreams {
    bool areAll = false;
    std::vector<std::pair<std::u16string, uint64_t>> streams;  // names and sizes
};

ReportedStreams StreamsOf(OwnedVolume &volume, const std::u16string &path);
// Its bytes, or nothing if it does not open or a read fails.
std::optional<std::string> ReadWholeStream(OwnedVolume &volume, const std::u16string &path,
                                           const std::u16string &stream);

VolumeEntryReport ReportOf(OwnedVolume &volume, const std::u16string &path);
VolumeObstacle ObstacleOf(OwnedVolume &volume, const std::u16string &path);

}  // namespace vx
