#include "ObservedVolume.h"

namespace vx {

VolumeHandle ObservedVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    VolumeHandle search = _volume.FindFirstFile(pattern, record);
    if (search == nullptr)
        _hasFailed = true;
    return search;
}

// The end of a listing may be a failure, too.
bool ObservedVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    if (_volume.FindNextFile(search, record))
        return true;
    VolumeListingReport report;
    _reports.DescribeListing(search, &report);
    if (!report.isWhole || report.recoveredEntries != 0)
        _hasFailed = true;
    return false;
}

bool ObservedVolume::FindClose(VolumeHandle search)
{
    return _volume.FindClose(search);
}

VolumeHandle ObservedVolume::OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                      uint32_t mode3)
{
    VolumeHandle file = _volume.OpenFile(path, mode1, mode2, mode3);
    if (file == nullptr)
        _hasFailed = true;
    return file;
}

VolumeHandle ObservedVolume::OpenStream(const std::u16string &path, const std::u16string &stream)
{
    VolumeHandle file = _reports.OpenStream(path, stream);
    if (file == nullptr)
        _hasFailed = true;
    return file;
}

bool ObservedVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    const bool isRead = _volume.ReadFile(file, buffer, count, done);
    if (!isRead || *done != count)
        _hasFailed = true;
    return isRead;
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
        _hasFailed = true;
    return isKnown;
}

bool ObservedVolume::CloseHandle(VolumeHandle file)
{
    return _volume.CloseHandle(file);
}

}  // namespace vx
