#include "ReportedVolume.h"

#include <gtest/gtest.h>

namespace vx {

ReportedListing ListWithReport(OwnedVolume &volume, const std::u16string &folder)
{
    ReportedListing listing;
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile((folder + u"/*").c_str(), &record);
    listing.isListed = search != nullptr;
    bool isThere = listing.isListed && record.name[0] != 0;
    while (isThere) {
        listing.names.emplace_back(record.name);
        isThere = volume.FindNextFile(search, &record);
    }
    EXPECT_EQ(volume.DescribeListing(search, &listing.report), listing.isListed);
    volume.FindClose(search);
    return listing;
}

VolumeEntryReport ReportOf(OwnedVolume &volume, const std::u16string &path)
{
    VolumeEntryReport report;
    EXPECT_TRUE(volume.DescribeEntry(path.c_str(), &report));
    return report;
}

VolumeObstacle ObstacleOf(OwnedVolume &volume, const std::u16string &path)
{
    return ReportOf(volume, path).obstacle;
}

}  // namespace vx
