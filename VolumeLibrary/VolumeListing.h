// One pass over a folder's entries: an open search of a volume.
// Threads: one at a time.
#pragma once

#include "IVolume.h"

namespace vx {

class VolumeListing {
public:
    enum class Step { kEntry, kEnd, kError };

    virtual ~VolumeListing() = default;
    // kEntry: the record holds one more entry. Otherwise the record is left as it was.
    virtual Step Next(VolumeFindData *record) = 0;
};

}  // namespace vx
