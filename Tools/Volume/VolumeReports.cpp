#include "VolumeReports.h"

#include <dlfcn.h>

namespace vx {
namespace {

template <typename Function>
Function FunctionOf(void *library, const char *name)
{
    return library == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(library, name));
}

void AddRange(void *ranges, uint64_t offset, uint64_t length)
{
    static_cast<std::vector<ByteRange> *>(ranges)->push_back({offset, length});
}

}  // namespace

VolumeReports::VolumeReports(void *library, IVolume &volume)
    : _volume(volume),
      _describeEntry(
          FunctionOf<VolumeLibraryDescribeEntryFunction>(library, "volume_library_describe_entry")),
      _describeListing(FunctionOf<VolumeLibraryDescribeListingFunction>(
          library, "volume_library_describe_listing")),
      _unreadRanges(
          FunctionOf<VolumeLibraryUnreadRangesFunction>(library, "volume_library_unread_ranges")),
      _isGone(FunctionOf<VolumeLibraryIsGoneFunction>(library, "volume_library_is_gone"))
{
}

bool VolumeReports::DescribeEntry(const std::u16string &path, VolumeEntryReport *report) const
{
    return _describeEntry != nullptr && _describeEntry(&_volume, path.c_str(), report);
}

bool VolumeReports::DescribeListing(VolumeHandle search, VolumeListingReport *report) const
{
    return _describeListing != nullptr && _describeListing(&_volume, search, report);
}

std::vector<ByteRange> VolumeReports::UnreadRanges(VolumeHandle file) const
{
    std::vector<ByteRange> ranges;
    if (_unreadRanges != nullptr)
        _unreadRanges(&_volume, file, AddRange, &ranges);
    return ranges;
}

bool VolumeReports::IsGone() const
{
    return _isGone != nullptr && _isGone(&_volume);
}

}  // namespace vx
