// What one pass over a folder finds to be missing from it. Entries that are lost one directly after
// the other count as one, since one damaged entry can look like several.
//
// Threads: one at a time.
#pragma once

#include "VolumeReport.h"

namespace vx {

class FolderDamage {
public:
    // Entries are missing, nobody knows how many. The first reason is the one that is reported.
    void Note(VolumeObstacle reason);
    // An entry that is there cannot be shown.
    void Lose();
    // An entry is shown that the folder itself does not vouch for.
    void Recover();
    // An intact entry.
    void Resume() { _isLosing = false; }

    // Whether what came last could not be shown.
    bool IsLosing() const { return _isLosing; }
    const VolumeListingReport &Report() const { return _report; }

private:
    VolumeListingReport _report;
    bool _isLosing = false;
};

}  // namespace vx
