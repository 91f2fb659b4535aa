// A volume that passes everything on to another one and records what the catalogue and the export
// engine do not report: links, folders that are not whole, reads that failed, sizes that are not
// known, and whether the disk is still there.
//
// Ownership: borrows the other volume and its reports, which must outlive it.
// Threads: as the other volume allows; a lock guards the records.
// Paths: volume paths in UTF-16, as they were passed to the volume; the root is an empty text.
#pragma once

#include "IVolume.h"
#include "Mutex.h"
#include "VolumeReports.h"

#include <atomic>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vx {

class ObservedVolume final : public IVolume {
public:
    ObservedVolume(IVolume &volume, const VolumeReports &reports)
        : _volume(volume), _reports(reports)
    {
    }
    ~ObservedVolume() = default;
    ObservedVolume(const ObservedVolume &) = delete;
    ObservedVolume &operator=(const ObservedVolume &) = delete;

    // Whether the entry was listed with the mark of a link. A reparse point without a tag is one
    // only where the library cannot say more of it.
    bool IsLink(const std::u16string &path) const;
    // Why the entry's data cannot be read; asks the library.
    VolumeObstacle ObstacleOf(const std::u16string &path) const;
    // Whether, at any time, part of the file could not be read or its size is not known.
    bool ReadFailed(const std::u16string &path) const;
    // What the reads of the file could not read, as of its last closing.
    std::vector<ByteRange> UnreadRangesOf(const std::u16string &path) const;
    // Whether, at any time, the folder could not be listed.
    bool ListingFailed(const std::u16string &path) const;
    // The report of its first listing.
    VolumeListingReport ListingOf(const std::u16string &path) const;
    // Whether the disk went away. Asks the library, once something has failed.
    bool IsGone() const;

    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override;
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) override;
    bool FindClose(VolumeHandle search) override;
    VolumeHandle OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                          uint32_t mode3) override;
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) override;
    bool WriteFile(VolumeHandle file, const void *buffer, uint32_t count, uint32_t *done) override;
    bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                         uint32_t origin) override;
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) override;
    bool CloseHandle(VolumeHandle file) override;

private:
    void NoteEntry(VolumeHandle search, const VolumeFindData &record);
    void NoteListing(VolumeHandle search);
    void NoteFailure(VolumeHandle file);
    void NoteUnread(VolumeHandle file);

    IVolume &_volume;
    const VolumeReports &_reports;
    mutable Mutex _mutex;
    // Of searches: ends with "/".
    std::unordered_map<VolumeHandle, std::u16string> _folders VX_GUARDED_BY(_mutex);
    std::unordered_map<VolumeHandle, std::u16string> _files VX_GUARDED_BY(_mutex);  // open ones
    std::unordered_set<std::u16string> _links VX_GUARDED_BY(_mutex);
    std::unordered_set<std::u16string> _untagged VX_GUARDED_BY(_mutex);  // reparse points
    std::unordered_set<std::u16string> _failed VX_GUARDED_BY(_mutex);
    std::unordered_set<std::u16string> _unlistable VX_GUARDED_BY(_mutex);
    std::unordered_map<std::u16string, VolumeListingReport> _damagedListings VX_GUARDED_BY(_mutex);
    std::unordered_map<std::u16string, std::vector<ByteRange>> _unread VX_GUARDED_BY(_mutex);
    std::atomic<bool> _hasFailed{false};
};

}  // namespace vx
