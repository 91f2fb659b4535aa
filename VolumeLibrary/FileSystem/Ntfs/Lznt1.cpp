#include "Lznt1.h"

#include "ByteReader.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

// A unit consists of chunks, each of which gives this much but for the last.
constexpr size_t kChunkBytes = 4096;

// How many bits of a back reference are its length: the further on in the chunk, the more are
// needed for the distance.
unsigned LengthBits(size_t done)
{
    unsigned bits = 12;
    for (size_t reach = done - 1; reach >= 16; reach >>= 1)
        --bits;
    return bits;
}

// Copies what lies some bytes back; the two may overlap.
bool CopyBack(uint16_t reference, uint8_t *chunk, size_t capacity, size_t *done)
{
    if (*done == 0)
        return false;
    const unsigned lengthBits = LengthBits(*done);
    const size_t distance = (reference >> lengthBits) + 1u;
    const size_t length = (reference & ((1u << lengthBits) - 1)) + 3u;
    if (distance > *done || length > capacity - *done)
        return false;
    for (size_t i = 0; i < length; ++i, ++*done)
        chunk[*done] = chunk[*done - distance];
    return true;
}

// Each bit of a flag byte says whether one of the eight items that follow is a byte or a reference.
bool DecompressChunk(ByteView packed, uint8_t *chunk, size_t capacity)
{
    size_t done = 0;
    while (packed.size > 0) {
        unsigned flags = U8At(packed, 0);
        packed = packed.From(1);
        for (int item = 0; item < 8 && packed.size > 0; ++item, flags >>= 1) {
            const size_t taken = (flags & 1) != 0 ? 2 : 1;
            if (packed.size < taken)
                return false;
            if (taken == 1 && done == capacity)
                return false;
            if (taken == 1)
                chunk[done++] = U8At(packed, 0);
            else if (!CopyBack(U16At(packed, 0), chunk, capacity, &done))
                return false;
            packed = packed.From(taken);
        }
    }
    std::memset(chunk + done, 0, capacity - done);
    return true;
}

// A chunk, which may be stored as it is, without its header.
bool TakeChunk(uint16_t header, ByteView chunk, uint8_t *bytes, size_t room)
{
    constexpr uint16_t kIsPacked = 0x8000;
    if ((header & kIsPacked) != 0)
        return DecompressChunk(chunk, bytes, room);
    const size_t copied = std::min(room, chunk.size);
    std::memcpy(bytes, chunk.data, copied);
    std::memset(bytes + copied, 0, room - copied);
    return true;
}

}  // namespace

size_t DecompressLznt1(ByteView packed, bool isWhole, uint8_t *bytes, size_t capacity)
{
    size_t done = 0;
    bool isGood = true;
    while (done < capacity && U16At(packed, 0) != 0) {
        const uint16_t header = U16At(packed, 0);
        const size_t length = (header & 0xFFFu) + 1;
        const size_t room = std::min(capacity - done, kChunkBytes);
        isGood = length <= packed.size - 2 &&
                 TakeChunk(header, packed.From(2).First(length), bytes + done, room);
        if (!isGood)
            break;
        done += room;
        packed = packed.From(2 + length);
    }
    std::memset(bytes + done, 0, capacity - done);
    const bool hasEnded = packed.size >= 2 || isWhole;  // with what marks the end, or all of it
    return isGood && hasEnded ? capacity : done;
}

}  // namespace vx
