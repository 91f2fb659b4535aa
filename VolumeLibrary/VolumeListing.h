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

    // The disk is gone: there will be no more entries.
    void Stop() { _isStopped = true; }
    bool IsStopped() const { return _isStopped; }

private:
    bool _isStopped = false;
};

}  // namespace vx
