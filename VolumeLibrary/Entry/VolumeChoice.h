// The first text of the library's entry for a disk or an image: "PATH" or "PATH#2".
#pragma once

#include <cstddef>
#include <string>

namespace vx {

struct VolumeChoice {
    std::string path;
    size_t number = 0;  // of the volume, from 1 on; 0 if none was chosen

    // A "#" that belongs to the name of something that exists is no choice.
    static VolumeChoice Parse(const std::string &device);
};

}  // namespace vx
