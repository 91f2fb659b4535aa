// The base of every kind of volume in this library: IVolume, a destructor for its owner, and what
// the library's other functions answer about the volume (VolumeReport.h). They follow IVolume's
// operations in the virtual table and do not move them.
#pragma once

#include "IVolume.h"
#include "VolumeReport.h"

namespace vx {

class OwnedVolume : public IVolume {
public:
    virtual ~OwnedVolume() = default;

    virtual bool DescribeEntry(const char16_t *path, VolumeEntryReport *report) = 0;
    virtual bool DescribeListing(VolumeHandle search, VolumeListingReport *report) = 0;
    virtual bool VisitUnreadRanges(VolumeHandle file, VolumeRangeFunction range, void *context) = 0;
    virtual bool VisitPlaces(VolumeHandle file, VolumePlaceFunction place, void *context) = 0;
    virtual bool VisitTablesRead(VolumeRangeFunction range, void *context) = 0;
    virtual bool IsGone() = 0;
    virtual bool VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context) = 0;
    virtual bool OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle) = 0;
    virtual bool DescribeFileSystem(VolumeFileSystemReport *report) = 0;
    virtual bool DescribeUnlocking(VolumeUnlockingReport *report) = 0;
    virtual bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password, void *context) = 0;
    virtual bool VisitMasterKey(VolumeMasterKeyFunction key, void *context) = 0;
};

}  // namespace vx
