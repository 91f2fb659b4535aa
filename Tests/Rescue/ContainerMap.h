// Where each sector of a disk lies in the files of the container that it was put into: found by
// looking for the sector's bytes, not by a reader of the container.
//
// Sectors of zeros, and others that the disk holds twice, are not found.
#pragma once

#include "RescueVolume.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vx {

class ContainerMap {
public:
    // folder: holds nothing but the container's files. raw: the disk. inChunks: whether the sectors
    // begin anywhere, in chunks of 32 KiB, as in an E01 image, and not at multiples of 512 bytes.
    ContainerMap(const std::string &folder, const std::string &raw, bool inChunks);

    const std::vector<std::string> &Parts() const { return _parts; }
    // Where the sector with that place on the disk lies.
    std::optional<Spot> SpotOf(uint64_t place) const;

private:
    void FindSectors(const std::string &raw, const std::string &bytes, size_t part);
    void FindChunks(const std::string &raw, const std::string &bytes, size_t part);

    std::vector<std::string> _parts;
    std::unordered_map<uint64_t, Spot> _spots;  // by the place on the disk
};

}  // namespace vx
