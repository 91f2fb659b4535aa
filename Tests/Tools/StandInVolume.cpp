#include "StandInVolume.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace vx {

StandInVolume::StandInVolume(std::vector<StandInEntry> entries, std::string stallFolder)
    : _entries(std::move(entries)), _stallFolder(std::move(stallFolder))
{
}

const StandInEntry *StandInVolume::EntryAt(const std::u16string &path) const
{
    for (const StandInEntry &entry : _entries) {
        if (entry.folder + u"/" + entry.name == path)
            return &entry;
    }
    return nullptr;
}

std::u16string StandInVolume::FolderOf(VolumeHandle search)
{
    return static_cast<Search *>(search)->folder;
}

VolumeHandle StandInVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    std::u16string folder(pattern);
    folder.resize(folder.size() - 2);
    const StandInEntry *entry = EntryAt(folder);
    if (!folder.empty() && (entry == nullptr || !entry->opens))
        return nullptr;
    if (_isGone || (entry != nullptr && _failedListings[folder]++ < entry->listingsThatFail))
        return nullptr;
    if (entry != nullptr && entry->listingStalls)
        Stall();
    auto *search = new Search{folder, 0};
    FindNextFile(search, record);
    return search;
}

bool StandInVolume::FindNextFile(VolumeHandle handle, VolumeFindData *record)
{
    auto *search = static_cast<Search *>(handle);
    while (search->next < _entries.size()) {
        const StandInEntry &entry = _entries[search->next++];
        if (entry.folder != search->folder || entry.isStream)
            continue;
        *record = {};
        record->attributes = entry.attributes != 0 ? entry.attributes : 0x80;
        record->creationTime = entry.created;
        record->lastAccessTime = entry.accessed;
        record->lastWriteTime = entry.modified;
        record->sizeLow = entry.listedSize;
        record->reserved = entry.reparseTag;
        std::copy(entry.name.begin(), entry.name.end(), record->name);
        return true;
    }
    return false;
}

bool StandInVolume::FindClose(VolumeHandle search)
{
    delete static_cast<Search *>(search);
    return true;
}

VolumeHandle StandInVolume::OpenFile(const char16_t *path, uint32_t, uint32_t, uint32_t)
{
    const StandInEntry *entry = EntryAt(path);
    return entry != nullptr && !entry->isStream ? OpenEntry(*entry) : nullptr;
}

VolumeHandle StandInVolume::OpenEntry(const StandInEntry &opened)
{
    const StandInEntry *entry = &opened;
    if (_isGone || !entry->opens || (entry->attributes & 0x10) != 0)
        return nullptr;
    const unsigned char seed = entry->changes ? ++_opened : 0;
    return new File{entry, 0, 0, seed, 0};
}

bool StandInVolume::ReadFile(VolumeHandle handle, void *buffer, uint32_t count, uint32_t *done)
{
    auto *file = static_cast<File *>(handle);
    if (++file->reads == file->entry->stallsAtRead)
        Stall();
    if (file->reads == file->entry->goesAtRead)
        _isGone = true;
    *done = 0;
    if (_isGone || file->entry->readsFail)
        return false;
    *done = std::min(count, file->entry->size - file->position);
    *done -= std::min(*done, file->entry->lacks);
    auto *bytes = static_cast<unsigned char *>(buffer);
    for (uint32_t i = 0; i < *done; ++i)
        bytes[i] = static_cast<unsigned char>((file->position + i) * 7 + file->seed);
    const bool isWhole = BlankUnread(*file, *done, bytes);
    file->position += *done;
    file->readTo = std::max(file->readTo, file->position);
    if (!isWhole)
        --*done;
    return isWhole;
}

// False if some of the bytes just read cannot be read.
bool StandInVolume::BlankUnread(const File &file, uint32_t count, unsigned char *bytes)
{
    bool isWhole = true;
    for (const auto &range : file.entry->unread) {
        const uint32_t start = std::max(range.first, file.position);
        const uint32_t end = std::min(range.first + range.second, file.position + count);
        if (start >= end)
            continue;
        std::fill(bytes + (start - file.position), bytes + (end - file.position), 0);
        isWhole = false;
    }
    return isWhole;
}

bool StandInVolume::SetFilePosition(VolumeHandle handle, uint32_t *low, uint32_t *high, uint32_t)
{
    static_cast<File *>(handle)->position = *low;
    *high = 0;
    return true;
}

bool StandInVolume::QueryFileSize(VolumeHandle handle, uint32_t *low, uint32_t *high)
{
    *low = static_cast<File *>(handle)->entry->size;
    *high = static_cast<File *>(handle)->entry->sizeHigh;
    return true;
}

bool StandInVolume::CloseHandle(VolumeHandle file)
{
    delete static_cast<File *>(file);
    return true;
}

bool StandInVolume::DescribeEntry(const char16_t *path, VolumeEntryReport *report) const
{
    const StandInEntry *entry = EntryAt(path);
    if (entry == nullptr)
        return false;
    report->obstacle = entry->obstacle;
    report->reparseTag = entry->reparseTag;
    return true;
}

bool StandInVolume::DescribeListing(VolumeHandle search, VolumeListingReport *report) const
{
    const StandInEntry *entry = EntryAt(static_cast<Search *>(search)->folder);
    if (entry == nullptr)
        return false;
    report->missingEntries = entry->missingEntries;
    report->recoveredEntries = entry->recoveredEntries;
    report->isWhole = entry->missingEntries == 0;
    return true;
}

bool StandInVolume::VisitStreams(const char16_t *path, VolumeStreamFunction stream,
                                 void *context) const
{
    const std::u16string owner = std::u16string(path) + u":";
    for (const StandInEntry &entry : _entries) {
        const std::u16string whole = entry.folder + u"/" + entry.name;
        if (entry.isStream && whole.compare(0, owner.size(), owner) == 0)
            stream(context, whole.c_str() + owner.size(), entry.listedSize);
    }
    const StandInEntry *entry = EntryAt(path);
    return entry == nullptr || !entry->hasMoreStreams;
}

bool StandInVolume::OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle)
{
    const StandInEntry *entry = EntryAt(std::u16string(path) + u":" + stream);
    VolumeHandle opened = entry != nullptr && entry->isStream ? OpenEntry(*entry) : nullptr;
    if (opened != nullptr)
        *handle = opened;
    return opened != nullptr;
}

bool StandInVolume::ReportUnread(VolumeHandle handle, VolumeRangeFunction range,
                                 void *context) const
{
    const auto *file = static_cast<File *>(handle);
    for (const auto &unread : file->entry->unread) {
        if (unread.first < file->readTo)
            range(context, unread.first, unread.second);
    }
    return true;
}

void StandInVolume::Stall() const
{
    const int stalled = open((_stallFolder + "/stalled").c_str(), O_WRONLY);
    // It waits in poll: ThreadSanitizer holds back a signal that comes while a thread waits in
    // open.
    const int release = open((_stallFolder + "/release").c_str(), O_RDONLY | O_NONBLOCK);
    pollfd released = {release, POLLIN, 0};
    while (poll(&released, 1, -1) < 0 && errno == EINTR)
        continue;
    close(stalled);
    close(release);
}

}  // namespace vx
