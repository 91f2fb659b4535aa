#include "ReportedVolume.h"

#include "VolumeReader.h"

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

ReportedStreams StreamsOf(OwnedVolume &volume, const std::u16string &path)
{
    ReportedStreams found;
    const auto take = [](void *context, const char16_t *name, uint64_t size) {
        static_cast<ReportedStreams *>(context)->streams.emplace_back(name, size);
    };
    found.areAll = volume.VisitStreams(path.c_str(), take, &found);
    return found;
}

std::optional<std::string> ReadWholeStream(OwnedVolume &volume, const std::u16string &path,
                                           const std::u16string &stream)
{
    VolumeHandle file = nullptr;
    if (!volume.OpenStream(path.c_str(), stream.c_str(), &file))
        return std::nullopt;
    return ReadToEnd(volume, file);
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
