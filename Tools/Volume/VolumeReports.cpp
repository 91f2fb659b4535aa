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

void AddPlace(void *ranges, uint64_t, uint64_t offset, uint64_t length)
{
    AddRange(ranges, offset, length);
}

void AddStream(void *streams, const char16_t *name, uint64_t size)
{
    static_cast<std::vector<VolumeStream> *>(streams)->push_back({name, size});
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
      _filePlaces(
          FunctionOf<VolumeLibraryFilePlacesFunction>(library, "volume_library_file_places")),
      _visitTablesRead(FunctionOf<VolumeLibraryVisitTablesReadFunction>(
          library, "volume_library_visit_tables_read")),
      _isGone(FunctionOf<VolumeLibraryIsGoneFunction>(library, "volume_library_is_gone")),
      _describeUnlocking(FunctionOf<VolumeLibraryDescribeUnlockingFunction>(
          library, "volume_library_describe_unlocking")),
      _visitStreams(
          FunctionOf<VolumeLibraryVisitStreamsFunction>(library, "volume_library_visit_streams")),
      _openStream(
          FunctionOf<VolumeLibraryOpenStreamFunction>(library, "volume_library_open_stream"))
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

std::vector<ByteRange> VolumeReports::Places(VolumeHandle file) const
{
    std::vector<ByteRange> places;
    if (_filePlaces != nullptr)
        _filePlaces(&_volume, file, AddPlace, &places);
    return places;
}

std::vector<ByteRange> VolumeReports::TablesRead() const
{
    std::vector<ByteRange> tables;
    if (_visitTablesRead != nullptr)
        _visitTablesRead(&_volume, AddRange, &tables);
    return tables;
}

bool VolumeReports::VisitStreams(const std::u16string &path,
                                 std::vector<VolumeStream> *streams) const
{
    return _visitStreams == nullptr || _visitStreams(&_volume, path.c_str(), AddStream, streams);
}

VolumeHandle VolumeReports::OpenStream(const std::u16string &path, const std::u16string &name) const
{
    VolumeHandle handle = nullptr;
    if (_openStream != nullptr)
        _openStream(&_volume, path.c_str(), name.c_str(), &handle);
    return handle;
}

bool VolumeReports::IsGone() const
{
    return _isGone != nullptr && _isGone(&_volume);
}

bool VolumeReports::IsKeyProven() const
{
    VolumeUnlockingReport report;
    return _describeUnlocking == nullptr || !_describeUnlocking(&_volume, &report) ||
           report.isKeyProven != 0;
}

}  // namespace vx
