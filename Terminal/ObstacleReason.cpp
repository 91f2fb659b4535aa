#include "ObstacleReason.h"

#include "VolumeReport.h"

namespace vx {

const char *ObstacleReason(VolumeObstacle obstacle)
{
    switch (obstacle) {
    case VolumeObstacle::kDamaged:
        return "its records on the disk contradict each other";
    case VolumeObstacle::kUnreadable:
        return "blocks that it needs cannot be read";
    case VolumeObstacle::kDeviceGone:
        return "the disk is gone";
    case VolumeObstacle::kSameName:
        return "an earlier entry of its folder has the same name";
    case VolumeObstacle::kNoPermission:
        return "no permission to read it";
    case VolumeObstacle::kNotThere:
        return "it no longer exists";
    case VolumeObstacle::kOutOfMemory:
        return "there is not enough memory";
    case VolumeObstacle::kPacked:
        return "it is packed by Windows in an unknown form or into a WIM image";
    case VolumeObstacle::kOnlyInCloud:
        return "it is only in the cloud";
    case VolumeObstacle::kDeduplicated:
        return "it is deduplicated by Windows Server";
    case VolumeObstacle::kEncryptedFile:
        return "it is encrypted by Windows on its own (EFS)";
    case VolumeObstacle::kUnknownReparsePoint:
        return "it is a reparse point of a kind that is not known";
    case VolumeObstacle::kLink:
    case VolumeObstacle::kNone:
        break;
    }
    return "";
}

}  // namespace vx
