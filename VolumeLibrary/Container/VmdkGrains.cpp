#include "VmdkGrains.h"

#include "Little.h"
#include "ZlibStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;

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
        const auto piece =
            static_cast<size_t>(std::min<uint64_t>(count, GrainBytes() - offset % GrainBytes()));
        if (Error error = ReadInGrain(offset, place, piece))
            return AtPlace(std::move(error), offset);
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

Error VmdkGrains::ReadInGrain(uint64_t offset, uint8_t *place, size_t count) const
{
    constexpr uint32_t kReadsAsZeros = 1;  // and 0, which was never written, does so, too
    uint32_t sector = 0;
    if (Error error = FindGrain(offset / GrainBytes(), &sector))
        return error;
    if (sector <= kReadsAsZeros) {
        std::memset(place, 0, count);
        return {};
    }
    if (!_header.isPacked)
        return _file->ReadAt(sector * kSector + offset % GrainBytes(), place, count);
    return count == GrainBytes() ? Unpack(sector, offset / GrainBytes(), place)
                                 : CopyPacked(sector, offset, place, count);
}

Error VmdkGrains::FindGrain(uint64_t number, uint32_t *sector) const
{
    Error error = FindIn(_header.directory, number, sector);
    if (error && _header.secondDirectory != 0 && !FindIn(_header.secondDirectory, number, sector))
        return {};
    return error;
}

Error VmdkGrains::FindIn(uint64_t directory, uint64_t number, uint32_t *sector) const
{
    uint32_t table = 0;
    if (Error error = ReadNumber(directory, number / _header.entries, &table))
        return error;
    *sector = 0;
    return table == 0 ? Error{} : ReadNumber(table, number % _header.entries, sector);
}

Error VmdkGrains::ReadNumber(uint64_t sector, uint64_t index, uint32_t *number) const
{
    uint8_t bytes[4];
    if (sector > _file->Size() / kSector)
        return Damaged("a table of the VMDK image lies beyond its end");
    if (Error error = _file->ReadAt(sector * kSector + index * sizeof bytes, bytes, sizeof bytes))
        return error;
    *number = Little32(bytes);
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

// Before a packed grain lie the sector of the disk where it begins and its length. A stream of
// blocks that hold nothing could be longer than what it unpacks to; no sound one is.
Error VmdkGrains::Unpack(uint32_t sector, uint64_t number, uint8_t *place) const
{
    constexpr uint64_t kSlack = 1024;
    uint8_t marker[12];
    const uint64_t at = sector * kSector;
    if (Error error = _file->ReadAt(at, marker, sizeof marker))
        return error;
    const uint64_t begin = at + sizeof marker;
    const uint64_t length = Little32(marker + 8);
    if (Little64(marker) != number * _header.grain || length > 2 * GrainBytes() + kSlack)
        return Damaged("a packed piece of the VMDK image is damaged");
    size_t done = 0;
    if (Error error = UnpackZlib(*_file, {begin, begin + length}, place, GrainBytes(), &done))
        return error;
    const uint64_t needed = std::min(GrainBytes(), Size() - number * GrainBytes());
    return done >= needed ? Error{} : Damaged("a packed piece of the VMDK image is too short");
}

}  // namespace vx
