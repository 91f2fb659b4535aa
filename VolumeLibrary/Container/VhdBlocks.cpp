#include "VhdBlocks.h"

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

constexpr uint64_t kSector = VhdBlocks::kSector;
constexpr uint64_t kBits = 8;
// The bytes that the bits of one sector describe.
constexpr uint64_t kMostAtOnce = kSector * kBits * kSector;

// offset: on the disk.
Error AtPlace(Error error, uint64_t offset)
{
    return AtPlaceOfDisk(std::move(error), offset, "VHD");
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
    return ReadPiecewise(offset, buffer, count, std::min<uint64_t>(_shape.blockBytes, kMostAtOnce),
                         [this](uint64_t at, uint8_t *place, size_t bytes) {
                             return ReadInBlock(at, place, bytes);
                         });
}

Error VhdBlocks::ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const
{
    const uint64_t number = offset / _shape.blockBytes;
    if (number >= _shape.entries)
        return AtPlace(
            {Status::kSystemError, "the table of the VHD image ends before this place", EIO},
            offset);
    uint8_t bytes[kEntryBytes];
    if (Error error = _file->ReadAt(_shape.tableAt + number * sizeof bytes, bytes, sizeof bytes)) {
        error.bytesRead = 0;
        return AtPlace(std::move(error), offset);
    }
    const uint32_t sector = ByteReader({bytes, sizeof bytes}).BigU32();
    return sector == kNotStored ? ReadElsewhere(offset, place, count)
                                : ReadStored(sector * kSector, offset, place, count);
}

// block: its place in the file. At most kMostAtOnce bytes, whose bits fill one sector at most.
Error VhdBlocks::ReadStored(uint64_t block, uint64_t offset, uint8_t *place, size_t count) const
{
    if (TouchesRange(_contested, {block, _shape.NeededBytes(offset / _shape.blockBytes)}))
        return AtPlace(
            {Status::kSystemError, "the VHD image keeps two blocks in the same place", EIO},
            offset);
    const uint64_t data = block + _shape.BytesOfBits();
    const uint64_t skip = offset % _shape.blockBytes;
    const uint64_t last = (skip + count - 1) / kSector;
    const uint64_t firstBits = skip / kSector / kBits;
    std::array<uint8_t, kSector> bits;
    if (Error error = _file->ReadAt(block + firstBits, bits.data(), last / kBits - firstBits + 1)) {
        error.bytesRead = 0;
        return AtPlace(std::move(error), offset);
    }
    const auto isStored = [&](uint64_t sector) {
        return IsSet(bits.data(), sector - firstBits * kBits);
    };
    const auto read = [&](uint64_t at, size_t bytes, bool isHere) {
        const uint64_t onDisk = offset - skip + at;
        if (!isHere)
            return ReadUnmarked(data + at, onDisk, place + (at - skip), bytes);
        Error error = _file->ReadAt(data + at, place + (at - skip), bytes);
        return error ? AtPlace(std::move(error), onDisk) : Error();
    };
    return VisitSectorRuns(skip, skip + count, kSector, isStored, read);
}

// Sectors without a bit, which have this place in the file nevertheless.
Error VhdBlocks::ReadUnmarked(uint64_t stored, uint64_t offset, uint8_t *place, size_t count) const
{
    if (_parent != nullptr)
        return ReadElsewhere(offset, place, count);
    ByteRanges gaps;
    (void)_file->Salvage(stored, place, count, &gaps);  // what cannot be read counts as zeros here
    const uint8_t *const data =
        std::find_if(place, place + count, [](uint8_t b) { return b != 0; });
    if (data == place + count)
        return {};
    const uint64_t found = offset + static_cast<uint64_t>(data - place);
    const uint64_t first = std::max(offset, found / kSector * kSector);
    Error error = {Status::kSystemError,
                   "the VHD image says that it was never written, and yet holds data for it, which "
                   "qemu-img convert takes",
                   EIO};
    error.bytesRead = static_cast<size_t>(first - offset);
    return AtPlace(std::move(error), first);
}

// What the file does not hold.
Error VhdBlocks::ReadElsewhere(uint64_t offset, uint8_t *place, size_t count) const
{
    if (_parent != nullptr)
        return _parent->ReadAt(offset, place, count);
    std::memset(place, 0, count);
    return {};
}

}  // namespace vx
