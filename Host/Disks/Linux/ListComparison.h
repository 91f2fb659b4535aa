// Looks at the disks twice a second and compares: for a stand-in, which announces nothing.
//
// Threads: that of the watch.
#pragma once

#include "AttachedDisks.h"
#include "DiskEvents.h"

namespace vx {

class ListComparison : public DiskEvents {
public:
    bool Await(int stop) override;

private:
    std::vector<AttachedVolume> _known = ListAttachedVolumes();
};

}  // namespace vx
