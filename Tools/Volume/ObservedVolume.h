// A volume that passes everything on to another one and notices whether anything has failed, so
// that the library is asked only then whether the disk is still there.
//
// Ownership: borrows the other volume and its reports, which must outlive it.
// Threads: as the other volume allows.
#pragma once

#include "IVolume.h"
#include "VolumeReports.h"

#include <atomic>

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

    // Whether the disk went away.
    bool IsGone() const { return _hasFailed && _reports.IsGone(); }

    // Null if the stream cannot be opened; the handle is read and closed as a file's.
    VolumeHandle OpenStream(const std::u16string &path, const std::u16string &stream);

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
    IVolume &_volume;
    const VolumeReports &_reports;
    std::atomic<bool> _hasFailed{false};
};

}  // namespace vx
