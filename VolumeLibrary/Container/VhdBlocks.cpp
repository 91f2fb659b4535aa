#include "VhdBlocks.h"

#include "ByteReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;
constexpr uint64_t kBits = 8;
// The bytes that the bits of one sector describe.
constexpr uint64_t kMostAtOnce = kSector * kBits * kSector;

Error Missing(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

Error AtPlace(Error error, uint64_t offset)
{
    if (error.status == Status::kTruncatedImage)
        error = Missing("the VHD image ends before this place");
    error.detail = "read at " + std::to_string(offset) + ": " + error.detail;
    return error;
}

bool IsSet(const uint8_t *bits, uint64_t number)
{
    return (bits[number / kBits] & 0x80u >> number % kBits) != 0;
}

}  // namespace

Error VhdBlocks::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    auto *place = static_cast<uint8_t *>(buffer);
    while (count > 0) {
        const uint64_t unit = std::min<uint64_t>(_shape.blockBytes, kMostAtOnce);
        const auto piece = static_cast<size_t>(std::min<uint64_t>(count, unit - offset % unit));
        if (Error error = ReadInBlock(offset, place, piece))
            return AtPlace(std::move(error), offset);
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

Error VhdBlocks::ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const
{
    constexpr uint32_t kNotStored = 0xFFFFFFFF;
    const uint64_t number = offset / _shape.blockBytes;
    if (number >= _shape.entries)
        return Missing("the table of the VHD image ends before this place");
    uint8_t bytes[4];
    if (Error error = _file->ReadAt(_shape.tableAt + number * sizeof bytes, bytes, sizeof bytes))
        return error;
    const uint32_t sector = ByteReader({bytes, sizeof bytes}).BigU32();
    if (sector != kNotStored)
        return ReadStored(sector * kSector, offset % _shape.blockBytes, place, count);
    std::memset(place, 0, count);
    return {};
}

// block: its place in the file; skip: the offset in its data. At most kMostAtOnce bytes, whose bits
// fill one sector at most.
Error VhdBlocks::ReadStored(uint64_t block, uint64_t skip, uint8_t *place, size_t count) const
{
    const uint64_t sectors = _shape.blockBytes / kSector;
    const uint64_t data = block + (sectors / kBits + kSector - 1) / kSector * kSector;
    const uint64_t last = (skip + count - 1) / kSector;
    const uint64_t firstBits = skip / kSector / kBits;
    std::array<uint8_t, kSector> bits;
    if (Error error = _file->ReadAt(block + firstBits, bits.data(), last / kBits - firstBits + 1))
        return error;
    while (count > 0) {
        const auto isStored = [&](uint64_t at) {
            return IsSet(bits.data(), at / kSector - firstBits * kBits);
        };
        uint64_t end = (skip / kSector + 1) * kSector;
        while (end < skip + count && isStored(end) == isStored(skip))
            end += kSector;
        const auto piece = static_cast<size_t>(std::min<uint64_t>(count, end - skip));
        if (!isStored(skip))
            std::memset(place, 0, piece);
        else if (Error error = _file->ReadAt(data + skip, place, piece))
            return error;
        skip += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

}  // namespace vx
