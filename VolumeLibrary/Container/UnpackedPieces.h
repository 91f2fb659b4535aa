// The pieces of a packed image that were unpacked last, so that reads of parts of one do not unpack
// it each time.
//
// Ownership: a piece is shared with those who read it. Threads: any number at a time; nothing is
// unpacked under the lock. Memory: at most kBytes in this image, or one piece if that is larger,
// and kBytesOfAll in all images of the process; beyond that nothing is kept.
#pragma once

#include "Mutex.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace vx {

class UnpackedPieces {
public:
    static constexpr size_t kBytes = size_t{1} << 20;
    static constexpr size_t kBytesOfAll = size_t{16} << 20;

    using Piece = std::shared_ptr<const std::vector<uint8_t>>;

    UnpackedPieces() = default;
    ~UnpackedPieces();
    UnpackedPieces(const UnpackedPieces &) = delete;
    UnpackedPieces &operator=(const UnpackedPieces &) = delete;

    // Null if it is not kept.
    Piece Find(uint64_t number) const;
    void Keep(uint64_t number, const Piece &piece);

private:
    struct Kept {
        uint64_t number;
        Piece piece;
    };

    void DropOldest() VX_REQUIRES(_mutex);

    mutable Mutex _mutex;
    std::deque<Kept> _kept VX_GUARDED_BY(_mutex);  // the oldest first
    size_t _bytes VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
