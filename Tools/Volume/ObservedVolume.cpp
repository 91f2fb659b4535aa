#include "ObservedVolume.h"

#include "FolderRecords.h"

#include <algorithm>
#include <iterator>

namespace vx {

bool ObservedVolume::IsLink(const std::u16string &path) const
{
    {
        const MutexLock lock(_mutex);
        if (_links.count(path) != 0)
            return true;
        if (_untagged.count(path) == 0)
            return false;
    }
    VolumeEntryReport report;
    return !_reports.DescribeEntry(path, &report);
}

VolumeObstacle ObservedVolume::ObstacleOf(const std::u16string &path) const
{
    VolumeEntryReport report;
    _reports.DescribeEntry(path, &report);
    return report.obstacle;
}

bool ObservedVolume::ReadFailed(const std::u16string &path) const
{
    const MutexLock lock(_mutex);
    return _failed.count(path) != 0;
}

std::vector<ByteRange> ObservedVolume::UnreadRangesOf(const std::u16string &path) const
{
    const MutexLock lock(_mutex);
    const auto unread = _unread.find(path);
    return unread == _unread.end() ? std::vector<ByteRange>() : unread->second;
}

bool ObservedVolume::ListingFailed(const std::u16string &path) const
{
    const MutexLock lock(_mutex);
    return _unlistable.count(path) != 0;
}

VolumeListingReport ObservedVolume::ListingOf(const std::u16string &path) const
{
    const MutexLock lock(_mutex);
    const auto damaged = _damagedListings.find(path);
    return damaged == _damagedListings.end() ? VolumeListingReport() : damaged->second;
}

bool ObservedVolume::IsGone() const
{
    return _hasFailed && _reports.IsGone();
}

VolumeHandle ObservedVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    std::u16string folder(pattern);
    folder.pop_back();  // the "*"
    VolumeHandle search = _volume.FindFirstFile(pattern, record);
    if (search == nullptr) {
        folder.pop_back();
        _hasFailed = true;
        const MutexLock lock(_mutex);
        _unlistable.insert(std::move(folder));
        return nullptr;
    }
    {
        const MutexLock lock(_mutex);
        _folders[search] = std::move(folder);
    }
    NoteEntry(search, *record);
    return search;
}

bool ObservedVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    const bool found = _volume.FindNextFile(search, record);
    if (found)
        NoteEntry(search, *record);
    else
        NoteListing(search);
    return found;
}

bool ObservedVolume::FindClose(VolumeHandle search)
{
    {
        const MutexLock lock(_mutex);
        _folders.erase(search);
    }
    return _volume.FindClose(search);
}

VolumeHandle ObservedVolume::OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                      uint32_t mode3)
{
    VolumeHandle file = _volume.OpenFile(path, mode1, mode2, mode3);
    if (file == nullptr) {
        _hasFailed = true;
        return nullptr;
    }
    const MutexLock lock(_mutex);
    _files[file] = path;
    return file;
}

bool ObservedVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    const bool read = _volume.ReadFile(file, buffer, count, done);
    if (!read || *done != count)
        NoteFailure(file);
    return read;
}

bool ObservedVolume::WriteFile(VolumeHandle file, const void *buffer, uint32_t count,
                               uint32_t *done)
{
    return _volume.WriteFile(file, buffer, count, done);
}

bool ObservedVolume::SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                     uint32_t origin)
{
    return _volume.SetFilePosition(file, low, high, origin);
}

bool ObservedVolume::QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high)
{
    const bool isKnown = _volume.QueryFileSize(file, low, high);
    if (!isKnown)
        NoteFailure(file);
    return isKnown;
}

bool ObservedVolume::CloseHandle(VolumeHandle file)
{
    NoteUnread(file);
    {
        const MutexLock lock(_mutex);
        _files.erase(file);
    }
    return _volume.CloseHandle(file);
}

void ObservedVolume::NoteEntry(VolumeHandle search, const VolumeFindData &record)
{
    const auto tag = static_cast<uint32_t>(record.reserved);
    const bool isLink = (tag & kReparseTagNameSurrogate) != 0;
    if (!isLink && (tag != 0 || (record.attributes & kAttributeReparsePoint) == 0))
        return;
    const char16_t *end = std::find(std::begin(record.name), std::end(record.name), u'\0');
    const MutexLock lock(_mutex);
    (isLink ? _links : _untagged)
        .insert(_folders[search] + std::u16string(std::begin(record.name), end));
}

void ObservedVolume::NoteListing(VolumeHandle search)
{
    VolumeListingReport report;
    _reports.DescribeListing(search, &report);
    if (report.isWhole && report.recoveredEntries == 0)
        return;
    _hasFailed = true;
    const MutexLock lock(_mutex);
    std::u16string folder = _folders[search];
    folder.pop_back();  // the "/"
    _damagedListings.insert({std::move(folder), report});
}

void ObservedVolume::NoteFailure(VolumeHandle file)
{
    _hasFailed = true;
    const MutexLock lock(_mutex);
    _failed.insert(_files[file]);
}

void ObservedVolume::NoteUnread(VolumeHandle file)
{
    std::vector<ByteRange> unread = _reports.UnreadRanges(file);
    if (unread.empty())
        return;
    const MutexLock lock(_mutex);
    _failed.insert(_files[file]);
    _unread[_files[file]] = std::move(unread);
}

}  // namespace vx
