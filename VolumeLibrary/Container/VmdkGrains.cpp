#include "VmdkGrains.h"

#include "ByteReader.h"
#include "ZlibStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;
constexpr uint32_t kReadsAsZeros = VmdkHeader::kReadsAsZeros;
// Stands for one whose place is not known. No file that is compared is so long.
constexpr uint32_t kUnknown = ~uint32_t{0};

Error Damaged(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

Error AtPlace(Error error, uint64_t offset)
{
    if (error.status == Status::kTruncatedImage)
        error = Damaged("the VMDK image ends before this place");
    error.detail = "read at " + std::to_string(offset) + ": " + error.detail;
    return error;
}

}  // namespace

Error VmdkGrains::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    auto *place = static_cast<uint8_t *>(buffer);
    while (count > 0) {
        Sectors sectors;
        if (Error error = Find(offset, count, &sectors))
            return AtPlace(std::move(error), offset);
        const uint64_t first = offset / GrainBytes();
        while (count > 0 && offset / GrainBytes() - first < sectors.count) {
            const auto grain = static_cast<size_t>(offset / GrainBytes() - first);
            const size_t piece = SideBySide(sectors, grain, offset, count);
            if (Error error = ReadRun(sectors.at[grain], offset, place, piece))
                return AtPlace(std::move(error), offset);
            offset += piece;
            place += piece;
            count -= piece;
        }
    }
    return {};
}

size_t VmdkGrains::SideBySide(const Sectors &sectors, size_t grain, uint64_t offset,
                              size_t count) const
{
    uint64_t length = GrainBytes() - offset % GrainBytes();
    for (; length < count && grain + 1 < sectors.count; ++grain, length += GrainBytes()) {
        const uint64_t here = sectors.at[grain];
        const uint64_t next = sectors.at[grain + 1];
        const bool areZeros = here <= kReadsAsZeros && next <= kReadsAsZeros;
        const bool isNext =
            !_header.isPacked && here > kReadsAsZeros && next == here + _header.grain;
        if (!areZeros && !isNext)
            break;
    }
    return static_cast<size_t>(std::min<uint64_t>(length, count));
}

Error VmdkGrains::ReadRun(uint32_t sector, uint64_t offset, uint8_t *place, size_t count) const
{
    if (sector <= kReadsAsZeros) {
        std::memset(place, 0, count);
        return {};
    }
    if (sector == kUnknown && (!_places.disputed.empty() || !_places.hasAllDisputed))
        return Damaged("the tables of the VMDK image contradict each other");
    if (TouchesRange(_places.contested, GrainsOf(sector, offset, count)))
        return Damaged("the VMDK image keeps two pieces in the same place");
    if (!_header.isPacked)
        return _file->ReadAt(sector * kSector + offset % GrainBytes(), place, count);
    return count == GrainBytes() ? Unpack(sector, offset / GrainBytes(), place)
                                 : CopyPacked(sector, offset, place, count);
}

// Where the whole grains of the range lie, which are side by side in the file.
ByteRange VmdkGrains::GrainsOf(uint32_t sector, uint64_t offset, size_t count) const
{
    const uint64_t grains = (offset % GrainBytes() + count - 1) / GrainBytes() + 1;
    return {sector * kSector, grains * GrainBytes()};
}

Error VmdkGrains::Find(uint64_t offset, size_t count, Sectors *sectors) const
{
    const uint64_t number = offset / GrainBytes();
    const uint64_t last = (offset + count - 1) / GrainBytes();
    const uint64_t inTable = _header.entries - number % _header.entries;
    sectors->count = static_cast<size_t>(
        std::min({last - number + 1, inTable, static_cast<uint64_t>(Sectors::kMost)}));
    Error error = FindIn(_header.directory, number, sectors);
    if (!error)
        return Compare(number, sectors);
    if (_header.secondDirectory == 0)
        return error;
    return FindIn(_header.secondDirectory, number, sectors) ? error : Error{};
}

// Replaces the places that are disputed by those that are right.
Error VmdkGrains::Compare(uint64_t number, Sectors *sectors) const
{
    const bool isDisputed =
        TouchesRange(_places.disputed, {number * GrainBytes(), sectors->count * GrainBytes()});
    if (!isDisputed && (_places.hasAllDisputed || _header.secondDirectory == 0))
        return {};
    Sectors others;
    others.count = sectors->count;
    if (Error error = FindIn(_header.secondDirectory, number, &others))
        return isDisputed ? error : Error{};
    for (size_t i = 0; i < sectors->count; ++i) {
        const uint64_t last = _header.LastPlace(number + i, _file->Size());
        const uint32_t one = sectors->at[i];
        if (isDisputed && one != others.at[i])
            sectors->at[i] = _places.Choose(one, others.at[i], last).value_or(kUnknown);
        else if (std::max(one, kReadsAsZeros) != std::max(others.at[i], kReadsAsZeros))
            sectors->at[i] = kUnknown;
    }
    return {};
}

Error VmdkGrains::FindIn(uint64_t directory, uint64_t number, Sectors *sectors) const
{
    constexpr uint32_t kNoTable = 0;
    Sectors table;
    table.count = 1;
    if (Error error = ReadNumbers(directory, number / _header.entries, &table))
        return error;
    if (table.at[0] != kNoTable)
        return ReadNumbers(table.at[0], number % _header.entries, sectors);
    std::fill_n(sectors->at, sectors->count, kNoTable);
    return {};
}

Error VmdkGrains::ReadNumbers(uint64_t sector, uint64_t index, Sectors *numbers) const
{
    uint8_t bytes[sizeof(uint32_t) * Sectors::kMost];
    const size_t size = numbers->count * sizeof(uint32_t);
    if (sector > _file->Size() / kSector)
        return Damaged("a table of the VMDK image lies beyond its end");
    if (Error error = _file->ReadAt(sector * kSector + index * sizeof(uint32_t), bytes, size))
        return error;
    for (size_t i = 0; i < numbers->count; ++i)
        numbers->at[i] = U32At({bytes, size}, i * sizeof(uint32_t));
    return {};
}

Error VmdkGrains::CopyPacked(uint32_t sector, uint64_t offset, uint8_t *place, size_t count) const
{
    const uint64_t number = offset / GrainBytes();
    const MutexLock lock(_mutex);
    if (number != _kept) {
        _kept = kNone;
        _grain.resize(static_cast<size_t>(GrainBytes()));
        if (Error error = Unpack(sector, number, _grain.data()))
            return error;
        _kept = number;
    }
    std::memcpy(place, _grain.data() + offset % GrainBytes(), count);
    return {};
}

// A packed grain comes after a marker with its sector on the disk and its length. The limit of the
// length is for streams of empty blocks, which could be as long as the file.
Error VmdkGrains::Unpack(uint32_t sector, uint64_t number, uint8_t *place) const
{
    constexpr uint64_t kSlack = 1024;
    uint8_t bytes[VmdkHeader::kMarkerBytes];
    const uint64_t at = sector * kSector;
    if (Error error = _file->ReadAt(at, bytes, sizeof bytes))
        return error;
    ByteReader marker({bytes, sizeof bytes});
    const uint64_t sectorOfDisk = marker.U64();
    const uint64_t length = marker.U32();
    if (sectorOfDisk != number * _header.grain || length > 2 * GrainBytes() + kSlack)
        return Damaged("a packed piece of the VMDK image is damaged");
    const uint64_t begin = at + sizeof bytes;
    const auto unpacked = UnpackZlib(*_file, {begin, begin + length}, place, GrainBytes());
    if (!unpacked)
        return unpacked.Failure();
    const uint64_t needed = std::min(GrainBytes(), Size() - number * GrainBytes());
    return *unpacked >= needed ? Error{} : Damaged("a packed piece of the VMDK image is too short");
}

}  // namespace vx
