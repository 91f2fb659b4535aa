#include "VolumeLibrary.h"

#include "CancelFlag.h"
#include "DiskDescription.h"
#include "DiskSearch.h"
#include "Mutex.h"
#include "OpenVolume.h"
#include "StatusOfError.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace vx {
namespace {

struct KeptVolumes {
    Mutex mutex;
    std::vector<std::unique_ptr<OwnedVolume>> volumes VX_GUARDED_BY(mutex);
};

// Keeps the volume until the process ends. The list itself is never destroyed: a thread may still
// be reading while the process exits.
IVolume *Keep(std::unique_ptr<OwnedVolume> volume)
{
    static auto &kept = *new KeptVolumes;
    const MutexLock lock(kept.mutex);
    kept.volumes.push_back(std::move(volume));
    return kept.volumes.back().get();
}

OwnedVolume *Owned(IVolume *volume)
{
    return static_cast<OwnedVolume *>(volume);
}

// What the last opening on this thread reports beyond its status.
thread_local std::string lastDetail;

// For the next openings on this thread.
thread_local OpeningOptions nextOptions;

bool AreSorted(const ByteRange *ranges, uint64_t count)
{
    uint64_t end = 0;
    for (uint64_t i = 0; i < count; ++i) {
        const ByteRange &range = ranges[i];
        if (range.offset < end || range.length == 0 || range.length > UINT64_MAX - range.offset)
            return false;
        end = range.offset + range.length;
    }
    return true;
}

bool AreKnown(const VolumeOpeningOptions &options)
{
    return options.bytes == sizeof options &&
           options.unreadCount <= VolumeOpeningOptions::kMostRanges &&
           (options.unreadCount == 0 || options.unread != nullptr) &&
           AreSorted(options.unread, options.unreadCount);
}

OpeningOptions Copied(const VolumeOpeningOptions &options)
{
    OpeningOptions copy;
    if (options.unreadCount > 0)
        copy.limits.withheld = std::make_shared<const ByteRanges>(
            options.unread, options.unread + options.unreadCount);
    copy.limits.retries = options.retries;
    copy.limits.slowMilliseconds = options.slowMilliseconds;
    copy.recordsReads = options.recordsReads != 0;
    copy.progress = {options.progress, options.progressContext};
    copy.keepsRecoveryPasswords = options.keepsRecoveryPasswords != 0;
    copy.keepsMasterKey = options.keepsMasterKey != 0;
    copy.opensContents = options.opensContents != 0;
    copy.unlocksOnly = options.unlocksOnly != 0;
    return copy;
}

VolumeLibraryStatus OpenAndKeep(const OpenRequest &request, IVolume **volume)
{
    OpenRequest withOptions = request;
    withOptions.options = nextOptions;
    Result<OpenedVolume> opened = OpenVolume(withOptions);
    lastDetail = opened ? NotesText(opened->notes) : opened.Failure().detail;
    if (!opened)
        return StatusOfError(opened.Failure());
    *volume = Keep(std::move(opened->volume));
    return VolumeLibraryStatus::kSuccess;
}

VolumeLibraryStatus DescribeAndRelease(const char *device, const DiskReport **report)
{
    auto described = DescribeDevice(device, nextOptions);
    if (!described) {
        lastDetail = described.Failure().detail;
        return StatusOfError(described.Failure());
    }
    *report = described->release();
    return VolumeLibraryStatus::kSuccess;
}

// Nothing is thrown at a caller.
template <typename Operation>
VolumeLibraryStatus StatusOf(Operation operation) noexcept
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return VolumeLibraryStatus::kOutOfMemory;
    } catch (...) {
        return VolumeLibraryStatus::kInternalError;
    }
}

VolumeLibraryStatus SearchAndReport(const char *device, const CancelFlag &cancel,
                                    DiskFindingFunction finding, void *context,
                                    DiskSearchGaps *gaps)
{
    const Result<DiskSearchResult> searched = SearchDisk(device, &cancel, nextOptions);
    lastDetail = searched ? NotesText(searched->notes) : searched.Failure().detail;
    if (!searched)
        return StatusOfError(searched.Failure());
    if (searched->error)
        lastDetail = searched->error.detail;
    if (gaps != nullptr)
        *gaps = searched->gaps;
    ReportFindings(*searched, finding, context);
    return StatusOfError(searched->error);
}

}  // namespace
}  // namespace vx

int32_t open_bitlocker_device(const char *device, const char *unlockKind, const char *secret,
                              IVolume **volume) noexcept
{
    const vx::CancelFlag cancel;
    VolumeLibraryStatus status = VolumeLibraryStatus::kArgumentMissing;
    vx::lastDetail.clear();
    if (volume != nullptr)
        *volume = nullptr;
    if (volume != nullptr && device != nullptr && unlockKind != nullptr && secret != nullptr)
        status = vx::StatusOf([&] {
            return vx::OpenAndKeep({device, unlockKind, secret, &cancel}, volume);
        });
    return static_cast<int32_t>(status);
}

int32_t volume_library_describe_disk(const char *device, const DiskReport **report) noexcept
{
    VolumeLibraryStatus status = VolumeLibraryStatus::kArgumentMissing;
    vx::lastDetail.clear();
    if (report != nullptr)
        *report = nullptr;
    if (report != nullptr && device != nullptr)
        status = vx::StatusOf([&] { return vx::DescribeAndRelease(device, report); });
    return static_cast<int32_t>(status);
}

void volume_library_release_disk_report(const DiskReport *report) noexcept
{
    delete static_cast<const vx::OwnedDiskReport *>(report);
}

bool volume_library_set_opening_options(const VolumeOpeningOptions *options) noexcept
{
    if (options != nullptr && !vx::AreKnown(*options))
        return false;
    try {
        vx::nextOptions = options != nullptr ? vx::Copied(*options) : vx::OpeningOptions();
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}

const char *volume_library_last_error() noexcept
{
    return vx::lastDetail.c_str();
}

bool volume_library_describe_entry(IVolume *volume, const char16_t *path,
                                   VolumeEntryReport *report) noexcept
{
    return volume != nullptr && vx::Owned(volume)->DescribeEntry(path, report);
}

bool volume_library_describe_listing(IVolume *volume, VolumeHandle search,
                                     VolumeListingReport *report) noexcept
{
    return volume != nullptr && vx::Owned(volume)->DescribeListing(search, report);
}

bool volume_library_unread_ranges(IVolume *volume, VolumeHandle file, VolumeRangeFunction range,
                                  void *context) noexcept
{
    return volume != nullptr && vx::Owned(volume)->VisitUnreadRanges(file, range, context);
}

bool volume_library_file_places(IVolume *volume, VolumeHandle file, VolumePlaceFunction place,
                                void *context) noexcept
{
    return volume != nullptr && vx::Owned(volume)->VisitPlaces(file, place, context);
}

bool volume_library_visit_tables_read(IVolume *volume, VolumeRangeFunction range,
                                      void *context) noexcept
{
    try {
        return volume != nullptr && vx::Owned(volume)->VisitTablesRead(range, context);
    } catch (const std::bad_alloc &) {
        return false;
    }
}

bool volume_library_is_gone(IVolume *volume) noexcept
{
    return volume != nullptr && vx::Owned(volume)->IsGone();
}

bool volume_library_visit_streams(IVolume *volume, const char16_t *path,
                                  VolumeStreamFunction stream, void *context) noexcept
{
    return volume != nullptr && vx::Owned(volume)->VisitStreams(path, stream, context);
}

bool volume_library_open_stream(IVolume *volume, const char16_t *path, const char16_t *stream,
                                VolumeHandle *handle) noexcept
{
    return volume != nullptr && vx::Owned(volume)->OpenStream(path, stream, handle);
}

bool volume_library_describe_file_system(IVolume *volume, VolumeFileSystemReport *report) noexcept
{
    return volume != nullptr && vx::Owned(volume)->DescribeFileSystem(report);
}

bool volume_library_describe_unlocking(IVolume *volume, VolumeUnlockingReport *report) noexcept
{
    return volume != nullptr && vx::Owned(volume)->DescribeUnlocking(report);
}

bool volume_library_visit_recovery_passwords(IVolume *volume,
                                             VolumeRecoveryPasswordFunction password,
                                             void *context) noexcept
{
    return volume != nullptr && vx::Owned(volume)->VisitRecoveryPasswords(password, context);
}

bool volume_library_visit_master_key(IVolume *volume, VolumeMasterKeyFunction key,
                                     void *context) noexcept
{
    return volume != nullptr && vx::Owned(volume)->VisitMasterKey(key, context);
}

void volume_library_cancel_opening() noexcept
{
    vx::CancelFlag::RaiseAll();
}

int32_t volume_library_search_disk(const char *device, DiskFindingFunction finding, void *context,
                                   DiskSearchGaps *gaps) noexcept
{
    const vx::CancelFlag cancel;
    vx::lastDetail.clear();
    if (gaps != nullptr)
        *gaps = {};
    if (device == nullptr || finding == nullptr)
        return static_cast<int32_t>(VolumeLibraryStatus::kArgumentMissing);
    const VolumeLibraryStatus status =
        vx::StatusOf([&] { return vx::SearchAndReport(device, cancel, finding, context, gaps); });
    return static_cast<int32_t>(status);
}
