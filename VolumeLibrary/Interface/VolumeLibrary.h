// The library's entry, the text of its failures, and what it can say about an opened volume: the
// only symbols that it exports. Callers look them up at run time by their names (see
// OpenBitlockerDeviceFunction in IVolume.h); the statuses and the meaning of the three texts are in
// VolumeLibraryStatus.h, the functions about an opened volume in VolumeReport.h, those about a disk
// in DiskReport.h, and how a failing disk is read in VolumeOpeningOptions.h.
//
// Ownership: an opened volume belongs to the library and stays until the process ends.
// Threads: may be called on several threads. Nothing is thrown.
//
// The process: once an encrypted volume was tried, it leaves no core dump, since the keys of its
// sectors would be in it. On Linux it is made undumpable (PR_SET_DUMPABLE), which also keeps
// debuggers of the same user away and gives its files in /proc to root; programs that it starts are
// not concerned, and its limits stay as they are. Elsewhere its soft limit of RLIMIT_CORE becomes
// 0. A program may undo either, and then has the keys in its dumps. Folders and plain images change
// nothing.
#pragma once

#include "DiskReport.h"
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <cstdint>

// volume receives the opened volume, or null together with a status other than 0.
extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *device, const char *unlockKind, const char *secret,
                      IVolume **volume) noexcept;

// What the last opening on the calling thread reports beyond its status. After a success: what was
// noticed and did not prevent it, a line each; empty if nothing. Never null; stays as it is until
// the next opening on this thread.
extern "C" __attribute__((visibility("default"))) const char *volume_library_last_error() noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_entry(IVolume *volume, const char16_t *path,
                              VolumeEntryReport *report) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_listing(IVolume *volume, VolumeHandle search,
                                VolumeListingReport *report) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_unread_ranges(IVolume *volume, VolumeHandle file, VolumeRangeFunction range,
                             void *context) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_file_places(IVolume *volume, VolumeHandle file, VolumePlaceFunction place,
                           void *context) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_visit_tables_read(IVolume *volume, VolumeRangeFunction range,
                                 void *context) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_set_opening_options(const VolumeOpeningOptions *options) noexcept;

extern "C" __attribute__((visibility("default"))) int32_t
volume_library_describe_disk(const char *device, const DiskReport **report) noexcept;

extern "C" __attribute__((visibility("default"))) void
volume_library_release_disk_report(const DiskReport *report) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_is_gone(IVolume *volume) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_visit_streams(IVolume *volume, const char16_t *path, VolumeStreamFunction stream,
                             void *context) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_open_stream(IVolume *volume, const char16_t *path, const char16_t *stream,
                           VolumeHandle *handle) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_file_system(IVolume *volume, VolumeFileSystemReport *report) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_describe_unlocking(IVolume *volume, VolumeUnlockingReport *report) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_visit_recovery_passwords(IVolume *volume, VolumeRecoveryPasswordFunction password,
                                        void *context) noexcept;

extern "C" __attribute__((visibility("default"))) bool
volume_library_visit_master_key(IVolume *volume, VolumeMasterKeyFunction key,
                                void *context) noexcept;

extern "C" __attribute__((visibility("default"))) void volume_library_cancel_opening() noexcept;

extern "C" __attribute__((visibility("default"))) int32_t
volume_library_search_disk(const char *device, DiskFindingFunction finding, void *context,
                           DiskSearchGaps *gaps) noexcept;
