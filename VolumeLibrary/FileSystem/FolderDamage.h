// What one pass over a folder finds missing. Entries lost one directly after the other count as
// one, since one damaged entry can look like several.
//
// Threads: one at a time.
#pragma once

#include "VolumeReport.h"

namespace vx {

class FolderDamage {
public:
    // Entries are missing; how many is unknown. The first reason is reported.
    void Note(VolumeObstacle reason)
    {
        if (_report.isWhole)
            _report.reason = reason;
        _report.isWhole = false;
    }
    // An entry that is there cannot be shown.
    void Lose()
    {
        Note(VolumeObstacle::kDamaged);
        _report.missingEntries += _isLosing ? 0 : 1;
        _isLosing = true;
    }
    // An entry is shown that the folder itself does not confirm.
    void Recover()
    {
        Note(VolumeObstacle::kDamaged);
        ++_report.recoveredEntries;
        _isLosing = false;
    }
    // An intact entry.
    void Resume() { _isLosing = false; }

    // Whether the last entry could not be shown.
    bool IsLosing() const { return _isLosing; }
    const VolumeListingReport &Report() const { return _report; }

private:
    VolumeListingReport _report;
    bool _isLosing = false;
};

}  // namespace vx
