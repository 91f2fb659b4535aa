// Reads a file of the volume and its copy again, piece by piece, and compares them.
//
// Ownership: owns its two buffers, which are used for all files. Threads: one at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "OpenVolumeFile.h"

namespace vx {

class FileComparison {
public:
    // What the volume cannot read: a failure, or zeros, as in a copy that is known to be damaged.
    enum class Unread { kIsFailure, kIsZero };

    // Called with the bytes of each piece; false ends the comparison.
    using PieceCompared = std::function<bool(int64_t bytes)>;

    FileComparison();

    // Why the first size bytes differ, or could not be compared; empty if they are equal, or if
    // the comparison was ended. file: open, at any position. copy: a descriptor.
    std::string Difference(OpenVolumeFile *file, int64_t size, int copy, Unread unread,
                           const PieceCompared &compared);

private:
    static constexpr int64_t kPieceSize = int64_t(1) << 20;

    std::string DifferenceAt(OpenVolumeFile *file, int64_t position, size_t count, int copy,
                             Unread unread);

    std::vector<char> _original;
    std::vector<char> _copy;
};

}  // namespace vx
