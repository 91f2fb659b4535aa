// The first text of the library's entry for a disk or an image: "PATH", "PATH#2" or
// "PATH@1048576".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vx {

struct VolumeChoice {
    std::string path;
    size_t number = 0;  // of the volume, from 1 on; 0 if none was chosen
    // Of an encrypted volume or of a copy of its metadata: bytes from the beginning of the disk.
    std::optional<uint64_t> offset = {};

    // A mark that belongs to the name of something that exists chooses nothing, nor does one that
    // no number follows. An offset is decimal, or hexadecimal after "0x".
    static VolumeChoice Parse(const std::string &device);
};

}  // namespace vx
