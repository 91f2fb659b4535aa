// A volume that reports to a host what it does not give: the unread ranges of a file when it is
// closed, a file that does not open or a folder that is not whole because of damage, and once that
// the disk is gone. Everything else it passes on. What is known of open files is at hand if the
// process ends first (OpenFileDamage.h).
//
// What was never on this disk, or is encrypted by Windows itself, does not open and is reported,
// too; a link is not. Ownership: owns the volume, shares the channel. Its handles are its own.
// Threads: as the volume. Errors: those of the volume. A report that cannot be made is counted as
// lost; none delays or fails an operation.
#pragma once

#include "ChildChannel.h"
#include "OpenFileDamage.h"
#include "OwnedVolume.h"

#include <atomic>
#include <memory>
#include <string>

namespace vx {

class ReportingVolume final : public OwnedVolume {
public:
    ReportingVolume(std::unique_ptr<OwnedVolume> volume, std::shared_ptr<ChildChannel> channel);

    std::shared_ptr<OpenFileDamage> OfOpenFiles() const { return _ofOpenFiles; }

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

    bool DescribeEntry(const char16_t *path, VolumeEntryReport *report) override;
    bool DescribeListing(VolumeHandle search, VolumeListingReport *report) override;
    bool VisitUnreadRanges(VolumeHandle file, VolumeRangeFunction range, void *context) override;
    bool VisitPlaces(VolumeHandle file, VolumePlaceFunction place, void *context) override;
    bool VisitTablesRead(VolumeRangeFunction range, void *context) override;
    bool IsGone() override;
    bool VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context) override;
    bool OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle) override;
    bool DescribeFileSystem(VolumeFileSystemReport *report) override;
    bool DescribeUnlocking(VolumeUnlockingReport *report) override;
    bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password, void *context) override;
    bool VisitMasterKey(VolumeMasterKeyFunction key, void *context) override;

private:
    struct Listing;
    struct File;

    static VolumeHandle Below(const Listing *listing);
    static VolumeHandle Below(const File *file);
    VolumeObstacle ObstacleAt(const std::u16string &path);
    void ReportUnlisted(const std::u16string &folder);
    void ReportListing(const Listing &listing);
    void ReportUnopened(const std::u16string &path);
    void NoteFailure(File *file);
    void ReportFile(const File &file);
    void Report(ChannelDamageKind kind, VolumeObstacle obstacle, const std::u16string &path,
                ByteRanges ranges = {}, uint64_t more = 0);
    void ReportIfGone();
    template <typename Make>
    void TryToReport(Make make) noexcept;

    const std::unique_ptr<OwnedVolume> _volume;
    const std::shared_ptr<ChildChannel> _channel;
    const std::shared_ptr<OpenFileDamage> _ofOpenFiles = std::make_shared<OpenFileDamage>();
    std::atomic<bool> _isGoneReported{false};
};

}  // namespace vx
