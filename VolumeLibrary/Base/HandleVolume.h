// The operations of IVolume over two small interfaces, a listing and a file, so that a kind of
// volume only says how it begins a listing and how it opens a file.
//
// Ownership: a handle is a VolumeListing or a VolumeFile, which FindClose or CloseHandle
// deletes. Handles must be closed before the volume goes.
// Threads: takes no lock; as many at a time as the kind of volume allows.
// Errors: null or false, for null pointers too; nothing is thrown, also when memory runs out. Once
// the disk is gone, no further read is tried.
#pragma once

#include "OwnedVolume.h"
#include "VolumeFile.h"
#include "VolumeListing.h"
#include "VolumePath.h"
#include "VolumeUnlocking.h"

#include <functional>
#include <memory>
#include <string>

namespace vx {

class HandleVolume : public OwnedVolume {
public:
    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) final;
    // A folder that fails while it is listed ends there; DescribeListing says so.
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) final;
    bool FindClose(VolumeHandle search) final;

    // The three modes make no difference.
    VolumeHandle OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                          uint32_t mode3) final;
    // True with fewer bytes than count at the end of the file. The buffer is always filled, see
    // VolumeFile; done receives the bytes that were really read.
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) final;
    // Always false, with nothing done.
    bool WriteFile(VolumeHandle file, const void *buffer, uint32_t count, uint32_t *done) final;
    // The halves receive the position that holds afterwards, also when the move is refused.
    bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high, uint32_t origin) final;
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) final;
    bool CloseHandle(VolumeHandle file) final;

    bool DescribeEntry(const char16_t *path, VolumeEntryReport *report) final;
    bool DescribeListing(VolumeHandle search, VolumeListingReport *report) final;
    bool VisitUnreadRanges(VolumeHandle file, VolumeRangeFunction range, void *context) final;
    bool VisitPlaces(VolumeHandle file, VolumePlaceFunction place, void *context) final;
    // A kind of volume that knows them overrides it.
    bool VisitTablesRead(VolumeRangeFunction, void *) override { return false; }
    bool IsGone() override { return false; }
    bool VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context) final;
    bool OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle) final;
    bool DescribeFileSystem(VolumeFileSystemReport *report) final;
    bool DescribeUnlocking(VolumeUnlockingReport *report) final;
    bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password, void *context) final;
    bool VisitMasterKey(VolumeMasterKeyFunction key, void *context) final;

    // How it was unlocked; null if it is not encrypted.
    void SetUnlocking(std::shared_ptr<const VolumeUnlocking> unlocking)
    {
        _unlocking = std::move(unlocking);
    }

protected:
    // Each returns null if that is not possible, and may throw std::bad_alloc.
    virtual std::unique_ptr<VolumeListing> OpenListing(const VolumePath &folder) = 0;
    virtual std::unique_ptr<VolumeFile> OpenVolumeFile(const VolumePath &file) = 0;
    // What stands in the way of exporting what lies at the path.
    virtual VolumeEntryReport Describe(const VolumePath &entry) = 0;

    // What is known of the file system; false if there is none.
    virtual bool DescribeWhole(VolumeFileSystemReport *) { return false; }

    // A stream beside the data of an entry: its name in the disk's bytes, and its size or
    // kUnknownStreamSize.
    using StreamVisitor = std::function<void(const std::string &name, uint64_t size)>;
    // False if streams may be missing among those visited. A kind of volume with streams says more.
    virtual bool VisitEntryStreams(const VolumePath &, const StreamVisitor &) { return true; }
    // Null if that is not possible.
    virtual std::unique_ptr<VolumeFile> OpenEntryStream(const VolumePath &, const std::string &)
    {
        return nullptr;
    }

private:
    std::shared_ptr<const VolumeUnlocking> _unlocking;
};

}  // namespace vx
