// Why an entry of a volume cannot be had as it is, in the words of every program on a terminal.
//
// Threads: any.
#pragma once

#include <cstdint>

enum class VolumeObstacle : uint32_t;

namespace vx {

// Follows what is said of the entry and a colon: "blocks that it needs cannot be read"; empty where
// there is nothing to say.
const char *ObstacleReason(VolumeObstacle obstacle);

}  // namespace vx
