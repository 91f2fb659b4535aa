// One pass over a folder's entries: an open search of a volume.
// Threads: one at a time.
#pragma once

#include "IVolume.h"
#include "VolumeReport.h"

namespace vx {

class VolumeListing {
public:
    enum class Step { kEntry, kEnd, kError };

    virtual ~VolumeListing() = default;
    // kEntry: the record holds one more entry. Otherwise the record is left as it was.
    virtual Step Next(VolumeFindData *record) = 0;
    // Of what has been read so far.
    virtual VolumeListingReport Report() const { return {}; }

    // There will be no more entries, for this reason, although there may be more in the folder.
    void Stop(VolumeObstacle reason) { _stopReason = reason; }
    // kNone: it was not stopped.
    VolumeObstacle StopReason() const { return _stopReason; }

private:
    VolumeObstacle _stopReason = VolumeObstacle::kNone;
};

}  // namespace vx
