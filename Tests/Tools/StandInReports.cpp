// What a volume library can say beyond IVolume, of the stand-in's volumes.
#include "StandInVolume.h"

namespace {

vx::StandInVolume *Own(IVolume *volume)
{
    return static_cast<vx::StandInVolume *>(volume);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_entry(IVolume *volume, const char16_t *path, VolumeEntryReport *report)
{
    return Own(volume)->DescribeEntry(path, report);
}

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_listing(IVolume *volume, VolumeHandle search, VolumeListingReport *report)
{
    return Own(volume)->DescribeListing(search, report);
}

extern "C" __attribute__((visibility("default"))) bool
volume_library_unread_ranges(IVolume *volume, VolumeHandle file, VolumeRangeFunction range,
                             void *context)
{
    return Own(volume)->ReportUnread(file, range, context);
}

extern "C" __attribute__((visibility("default"))) bool
volume_library_visit_streams(IVolume *volume, const char16_t *path, VolumeStreamFunction stream,
                             void *context)
{
    return Own(volume)->VisitStreams(path, stream, context);
}

extern "C" __attribute__((visibility("default"))) bool
volume_library_open_stream(IVolume *volume, const char16_t *path, const char16_t *stream,
                           VolumeHandle *handle)
{
    return Own(volume)->OpenStream(path, stream, handle);
}

extern "C" __attribute__((visibility("default"))) bool volume_library_is_gone(IVolume *volume)
{
    return Own(volume)->IsGone();
}
