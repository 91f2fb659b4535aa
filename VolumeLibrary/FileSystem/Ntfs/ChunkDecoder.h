// Unpacks the chunks of a file that Windows packed. A chunk stands for itself.
//
// Ownership: keeps its tables from chunk to chunk. Threads: one at a time. Memory: tens of KiB,
// taken when it is made, whatever a chunk says.
#pragma once

#include "ByteView.h"

#include <cstring>

namespace vx {

class ChunkDecoder {
public:
    virtual ~ChunkDecoder() = default;
    // Unpacks to exactly size bytes. False if the chunk is damaged; the bytes are undefined then,
    // since what comes before the place where damage shows need not be right. Never reads or writes
    // beyond the two; takes time in proportion to size. What follows the last of the bytes in
    // packed is not looked at.
    virtual bool Decode(ByteView packed, uint8_t *bytes, size_t size) = 0;

protected:
    // Repeats length bytes that begin distance before done; the two may overlap. False if they do
    // not lie in what is done, or do not fit.
    static bool Repeat(size_t distance, size_t length, uint8_t *bytes, size_t *done, size_t size)
    {
        if (distance == 0 || distance > *done || length > size - *done)
            return false;
        uint8_t *to = bytes + *done;
        const uint8_t *from = to - distance;
        *done += length;
        if (distance >= kStep && size - *done >= kStep) {
            // What is copied too much is overwritten by what follows.
            for (size_t i = 0; i < length; i += kStep)
                std::memcpy(to + i, from + i, kStep);
            return true;
        }
        for (size_t i = 0; i < length; ++i)
            to[i] = from[i];
        return true;
    }

private:
    static constexpr size_t kStep = 8;
};

}  // namespace vx
