// How many clusters of a file system are free.
//
// Nothing is guessed: if a part of what says so cannot be read, the number is not known. Reading is
// bounded by the largest file systems that there are. Threads: any.
#pragma once

#include "ByteView.h"
#include "ExtentFile.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace vx {

// No file system here has more.
constexpr uint64_t kMostCountedClusters = uint64_t{1} << 32;

// The clear bits among the first ones of a bitmap that lies in the runs.
std::optional<uint64_t> CountClearBits(const ByteSource &volume, const FileExtents &bitmap,
                                       uint64_t bits);

// The sum of count(piece) over the bytes from begin to end of what the runs hold, in pieces of
// 1 MiB that begin at multiples of that from begin on.
std::optional<uint64_t> SumOverPieces(const ByteSource &volume, const FileExtents &extents,
                                      uint64_t begin, uint64_t end,
                                      const std::function<uint64_t(ByteView piece)> &count);

}  // namespace vx
