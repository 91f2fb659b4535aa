// The text of a VMDK image, which names the files that hold the disk and the image that it is a
// snapshot of.
//
// Format: "Virtual Disk Format 5.0", VMware, technical note. The text is a list of lines; those of
// extents look like: RW 16384 FLAT "disk-flat.vmdk" 0
#pragma once

#include "Error.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

// A part of the disk, in the order of the text.
struct VmdkExtent {
    enum class Kind { kFlat, kGrowing, kZeros };

    Kind kind = Kind::kFlat;
    uint64_t sectors = 0;  // at most kMostSectors, as are those of all together
    uint64_t first = 0;    // of a flat one: where it begins in its file, at most kMostSectors
    std::string name;      // of its file, as it was written
};

struct VmdkDescription {
    static constexpr uint64_t kMostSectors = uint64_t{1} << 50;
    static constexpr size_t kMostExtents = 4096;
    static constexpr size_t kLongestText = size_t{1} << 20;

    std::vector<VmdkExtent> extents;

    // Errors: kContainerNotSupported for a snapshot, with its parent, and for an extent of a kind
    // that is not known; kReadFailed for what makes no sense.
    static Error Parse(const std::string &text, VmdkDescription *description);
};

// A name of the text for a message: control characters could do harm to a terminal.
std::string ShownName(std::string name);

}  // namespace vx
