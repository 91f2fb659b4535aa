// The text of a VMDK image. It names the files that hold the disk and, for a snapshot, the parent.
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
    uint64_t sectors = 0;  // at most kMostSectors, also for all extents together
    uint64_t first = 0;    // kFlat: the sector in its file, at most kMostSectors
    std::string name;      // of its file, as written in the text
};

struct VmdkDescription {
    static constexpr uint64_t kMostSectors = uint64_t{1} << 50;
    static constexpr size_t kMostExtents = 4096;
    static constexpr size_t kLongestText = size_t{1} << 20;

    std::vector<VmdkExtent> extents;

    // Errors: kUnsupportedContainer for a snapshot, with its parent, and for an extent of an
    // unknown kind; kDamagedContainer for a text that is not valid.
    static Result<VmdkDescription> Parse(const std::string &text);
};

}  // namespace vx
