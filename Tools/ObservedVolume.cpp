#include "ObservedVolume.h"

#include <algorithm>
#include <iterator>

namespace vx {
namespace {

// Microsoft Learn, "File Attribute Constants": FILE_ATTRIBUTE_REPARSE_POINT
constexpr uint32_t kAttributeLink = 0x400;

}  // namespace

bool ObservedVolume::IsLink(const std::u16string &path) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _links.count(path) != 0;
}

bool ObservedVolume::ReadFailed(const std::u16string &path) const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _failed.count(path) != 0;
}

VolumeHandle ObservedVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    VolumeHandle search = _volume.FindFirstFile(pattern, record);
    if (search == nullptr)
        return nullptr;
    std::u16string folder(pattern);
    folder.pop_back();  // the "*"
    {
        const std::lock_guard<std::mutex> lock(_mutex);
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
    return found;
}

bool ObservedVolume::FindClose(VolumeHandle search)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _folders.erase(search);
    }
    return _volume.FindClose(search);
}

VolumeHandle ObservedVolume::OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                      uint32_t mode3)
{
    VolumeHandle file = _volume.OpenFile(path, mode1, mode2, mode3);
    if (file == nullptr)
        return nullptr;
    const std::lock_guard<std::mutex> lock(_mutex);
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
    const bool told = _volume.QueryFileSize(file, low, high);
    if (!told)
        NoteFailure(file);
    return told;
}

bool ObservedVolume::CloseHandle(VolumeHandle file)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _files.erase(file);
    }
    return _volume.CloseHandle(file);
}

void ObservedVolume::NoteEntry(VolumeHandle search, const VolumeFindData &record)
{
    if ((record.attributes & kAttributeLink) == 0)
        return;
    const char16_t *end = std::find(std::begin(record.name), std::end(record.name), u'\0');
    const std::lock_guard<std::mutex> lock(_mutex);
    _links.insert(_folders[search] + std::u16string(std::begin(record.name), end));
}

void ObservedVolume::NoteFailure(VolumeHandle file)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _failed.insert(_files[file]);
}

}  // namespace vx
