#include "VhdxBlocks.h"

#include "ByteReader.h"
#include "PiecewiseRead.h"
#include "SectorRuns.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vx {
namespace {

// How many bits are read at a time: those of 2 MiB if a sector has 512 bytes.
constexpr uint64_t kBitsAtOnce = 4096;
constexpr uint64_t kBits = 8;

// offset: on the disk.
Error AtPlace(Error error, uint64_t offset)
{
    return AtPlaceOfDisk(std::move(error), offset, "VHDX");
}

Error Damaged(const char *what, uint64_t offset)
{
    return AtPlace({Status::kSystemError, what, EIO}, offset);
}

}  // namespace

VhdxBlocks::Entry VhdxBlocks::ParseEntry(uint64_t number)
{
    constexpr uint64_t kStateBits = 7;
    constexpr uint64_t kPlaceBits = ~uint64_t{0} << 20;
    const uint64_t at = number & kPlaceBits;
    if ((number & ~kPlaceBits & ~kStateBits) != 0)
        return {State::kDamaged, at};
    switch (number & kStateBits) {
    case 0:
        return {State::kNotPresent, at};
    case 1:  // undefined
    case 2:  // zeros
    case 3:  // unmapped
        return {State::kZeros, at};
    case 6:
        return {State::kPresent, at};
    case 7:
        return {State::kPartlyPresent, at};
    default:
        return {State::kDamaged, at};
    }
}

Error VhdxBlocks::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    return ReadPiecewise(offset, buffer, count, _shape.blockBytes,
                         [this](uint64_t at, uint8_t *place, size_t bytes) {
                             return ReadInBlock(at, place, bytes);
                         });
}

Error VhdxBlocks::ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const
{
    const auto entry = ReadEntry(_shape.EntryOfBlock(offset / _shape.blockBytes), offset);
    if (!entry)
        return entry.Failure();
    const uint64_t skip = offset % _shape.blockBytes;
    switch (entry->state) {
    case State::kNotPresent:
        return ReadElsewhere(offset, place, count);
    case State::kZeros:
        std::memset(place, 0, count);
        return {};
    case State::kPresent:
        return ReadStored(offset, {entry->at, _shape.blockBytes}, skip, place, count);
    case State::kPartlyPresent:
        if (_parent != nullptr)
            return ReadPartly(offset, entry->at, place, count);
        break;
    case State::kDamaged:
        break;
    }
    return Damaged("the table of the VHDX image is damaged", offset);
}

// block: where the block lies in the file.
Error VhdxBlocks::ReadPartly(uint64_t offset, uint64_t block, uint8_t *place, size_t count) const
{
    const uint64_t number = offset / _shape.blockBytes;
    const auto entry = ReadEntry(_shape.EntryOfBits(number), offset);
    if (!entry)
        return entry.Failure();
    if (entry->state != State::kPresent)
        return Damaged("the table of the VHDX image lacks the bits of a block", offset);
    const uint64_t piece = kBitsAtOnce * _shape.sectorBytes;
    const uint64_t chunk = uint64_t{_shape.sectorBytes} * kBits * kBytesOfBits;
    for (uint64_t at = offset; at < offset + count;) {
        const uint64_t end = std::min(offset + count, (at / piece + 1) * piece);
        const uint64_t first = at % chunk / _shape.sectorBytes / kBits;
        const uint64_t last = (end - 1) % chunk / _shape.sectorBytes / kBits;
        std::array<uint8_t, kBitsAtOnce / kBits> bits;
        Error error =
            ReadStored(at, {entry->at, kBytesOfBits}, first, bits.data(), last - first + 1);
        const auto isStored = [&](uint64_t sector) {
            const uint64_t bit = sector % (kBytesOfBits * kBits) - first * kBits;
            return (bits[bit / kBits] >> bit % kBits & 1u) != 0;
        };
        const auto read = [&](uint64_t from, size_t bytes, bool isHere) {
            uint8_t *const to = place + (from - offset);
            return isHere ? ReadStored(from, {block, _shape.blockBytes}, from % _shape.blockBytes,
                                       to, bytes)
                          : ReadElsewhere(from, to, bytes);
        };
        if (error)
            error.bytesRead = 0;
        else
            error = VisitSectorRuns(at, end, _shape.sectorBytes, isStored, read);
        if (error) {
            error.bytesRead += static_cast<size_t>(at - offset);
            return error;
        }
        at = end;
    }
    return {};
}

// block: in the file. Its part after skip is read, for this place on the disk.
Error VhdxBlocks::ReadStored(uint64_t offset, const ByteRange &block, uint64_t skip, uint8_t *place,
                             size_t count) const
{
    if (block.offset == 0)
        return Damaged("the table of the VHDX image is damaged", offset);
    if (block.offset >= kFurthest)
        return Damaged("the VHDX image ends before this place", offset);
    if (TouchesRange(_contested, block))
        return Damaged("the VHDX image keeps two blocks in the same place", offset);
    Error error = _file->ReadAt(block.offset + skip, place, count);
    return error ? AtPlace(std::move(error), offset) : Error();
}

// What the file does not hold.
Error VhdxBlocks::ReadElsewhere(uint64_t offset, uint8_t *place, size_t count) const
{
    if (_parent != nullptr)
        return _parent->ReadAt(offset, place, count);
    std::memset(place, 0, count);
    return {};
}

// offset: the place on the disk that is wanted.
Result<VhdxBlocks::Entry> VhdxBlocks::ReadEntry(uint64_t index, uint64_t offset) const
{
    if (index >= _shape.tableBytes / kEntryBytes)
        return Damaged("the table of the VHDX image ends before this place", offset);
    uint8_t bytes[kEntryBytes];
    if (Error error = _file->ReadAt(_shape.tableAt + index * kEntryBytes, bytes, sizeof bytes)) {
        error.bytesRead = 0;
        return AtPlace(std::move(error), offset);
    }
    return ParseEntry(U64At({bytes, sizeof bytes}, 0));
}

}  // namespace vx
