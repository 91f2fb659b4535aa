#include "FolderDamage.h"

namespace vx {

void FolderDamage::Note(VolumeObstacle reason)
{
    if (_report.isWhole)
        _report.reason = reason;
    _report.isWhole = false;
}

void FolderDamage::Lose()
{
    Note(VolumeObstacle::kDamaged);
    _report.missingEntries += _isLosing ? 0 : 1;
    _isLosing = true;
}

void FolderDamage::Recover()
{
    Note(VolumeObstacle::kDamaged);
    ++_report.recoveredEntries;
    _isLosing = false;
}

}  // namespace vx
