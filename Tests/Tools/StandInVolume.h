// A volume made of a table, for what real folders do not do: files that do not open, stall, fail
// or change while they are read, folders that cannot be listed, names that try to escape, disks
// with bad places and disks that go away.
//
// Threads: one lists while another reads. Handles are the table's own.
#pragma once

#include "VolumeReport.h"

#include <atomic>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct StandInEntry {
    std::u16string folder;  // volume path, empty for the root
    std::u16string name;
    uint32_t attributes = 0;
    uint32_t listedSize = 0;  // in bytes
    uint32_t size = 0;        // when opened
    uint32_t sizeHigh = 0;    // the upper half of what is then said of it
    uint32_t reparseTag = 0;
    uint64_t created = 0;  // the three times: 100 ns since 1601
    uint64_t accessed = 0;
    uint64_t modified = 132459588000000000;
    bool opens = true;  // a folder: can be listed
    bool readsFail = false;
    uint32_t lacks = 0;          // bytes that each read gives too few, with success
    bool changes = false;        // each time it is opened
    int stallsAtRead = 0;        // which read waits, from 1; 0 for none
    bool listingStalls = false;  // a folder
    int listingsThatFail = 0;    // a folder: so many, and then it is listed
    VolumeObstacle obstacle = VolumeObstacle::kNone;
    uint64_t missingEntries = 0;  // a folder
    uint64_t recoveredEntries = 0;
    // Given as zeros: offset and length, in bytes and in order.
    std::vector<std::pair<uint32_t, uint32_t>> unread;
    int goesAtRead = 0;           // at which read the disk goes away, from 1
    bool isStream = false;        // named "f:s", of the entry "f" of its folder
    bool hasMoreStreams = false;  // that are not found
};

class StandInVolume final : public IVolume {
public:
    // stallFolder: holds two FIFOs. The call that stalls opens "stalled" for writing, then
    // "release" for reading, and goes on when the test has opened the other ends.
    StandInVolume(std::vector<StandInEntry> entries, std::string stallFolder);
    ~StandInVolume() = default;

    // Of an open search: the folder's volume path.
    static std::u16string FolderOf(VolumeHandle search);

    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override;
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) override;
    bool FindClose(VolumeHandle search) override;
    VolumeHandle OpenFile(const char16_t *path, uint32_t, uint32_t, uint32_t) override;
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) override;
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                         uint32_t origin) override;
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) override;
    bool CloseHandle(VolumeHandle file) override;

    bool DescribeEntry(const char16_t *path, VolumeEntryReport *report) const;
    bool DescribeListing(VolumeHandle search, VolumeListingReport *report) const;
    bool ReportUnread(VolumeHandle file, VolumeRangeFunction range, void *context) const;
    bool IsGone() const { return _isGone; }
    bool VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context) const;
    bool OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle);

private:
    struct Search {
        std::u16string folder;
        size_t next = 0;
    };
    struct File {
        const StandInEntry *entry = nullptr;
        uint32_t position = 0;
        int reads = 0;
        unsigned char seed = 0;
        uint32_t readTo = 0;  // the end of what was read so far
    };

    VolumeHandle OpenEntry(const StandInEntry &opened);
    const StandInEntry *EntryAt(const std::u16string &path) const;
    static bool BlankUnread(const File &file, uint32_t count, unsigned char *bytes);
    void Stall() const;

    const std::vector<StandInEntry> _entries;
    const std::string _stallFolder;
    unsigned char _opened = 0;
    std::atomic<bool> _isGone{false};
    std::map<std::u16string, int> _failedListings;
};

}  // namespace vx
