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
    default:
        return "";
    }
}

}  // namespace vx
