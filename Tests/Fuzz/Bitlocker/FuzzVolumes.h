// Sound volumes, one of each layout, for the fuzz targets to damage.
#pragma once

#include "Maker/VolumePlan.h"

namespace vx::bitlocker {

constexpr char kFuzzPassword[] = "fuzz";

struct FuzzVolume {
    std::vector<uint8_t> image;
    maker::VolumePlan plan;
    std::vector<size_t> places;  // worth damaging
};

std::vector<FuzzVolume> MakeFuzzVolumes();

}  // namespace vx::bitlocker
