// A volume that passes everything on to another one and remembers what the catalogue and the
// export engine keep silent about: links, reads that failed, sizes that could not be told.
//
// Ownership: borrows the other volume, which must outlive it.
// Threads: as the other volume allows; what is remembered is guarded by a lock.
// Paths: volume paths in UTF-16, as the volume was given them.
#pragma once

#include "IVolume.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace vx {

class ObservedVolume final : public IVolume {
public:
    explicit ObservedVolume(IVolume &volume) : _volume(volume) {}
    ~ObservedVolume() = default;
    ObservedVolume(const ObservedVolume &) = delete;
    ObservedVolume &operator=(const ObservedVolume &) = delete;

    // Whether the entry was listed with the mark of a link.
    bool IsLink(const std::u16string &path) const;
    // Whether, at any time, part of the file could not be read or its size could not be told.
    bool ReadFailed(const std::u16string &path) const;

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
    void NoteFailure(VolumeHandle file);

    IVolume &_volume;
    mutable std::mutex _mutex;
    std::unordered_map<VolumeHandle, std::u16string> _folders;  // of searches: ends with "/"
    std::unordered_map<VolumeHandle, std::u16string> _files;    // open ones
    std::unordered_set<std::u16string> _links;
    std::unordered_set<std::u16string> _failed;
};

}  // namespace vx
