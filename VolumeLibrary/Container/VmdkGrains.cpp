#include "VmdkGrains.h"

#include "ByteReader.h"
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
    constexpr uint32_t kReadsAsZeros = 1;  // as does 0, a grain that was never written
    const auto found = FindGrain(offset / GrainBytes());
    if (!found)
        return found.Failure();
    const uint32_t sector = *found;
    if (sector <= kReadsAsZeros) {
        std::memset(place, 0, count);
        return {};
    }
    if (!_header.isPacked)
        return _file->ReadAt(sector * kSector + offset % GrainBytes(), place, count);
    return count == GrainBytes() ? Unpack(sector, offset / GrainBytes(), place)
                                 : CopyPacked(sector, offset, place, count);
}

Result<uint32_t> VmdkGrains::FindGrain(uint64_t number) const
{
    auto sector = FindIn(_header.directory, number);
    if (sector || _header.secondDirectory == 0)
        return sector;
    auto inCopy = FindIn(_header.secondDirectory, number);
    return inCopy ? inCopy : sector;
}

Result<uint32_t> VmdkGrains::FindIn(uint64_t directory, uint64_t number) const
{
    constexpr uint32_t kNoTable = 0;
    auto table = ReadNumber(directory, number / _header.entries);
    if (!table || *table == kNoTable)
        return table;
    return ReadNumber(*table, number % _header.entries);
}

Result<uint32_t> VmdkGrains::ReadNumber(uint64_t sector, uint64_t index) const
{
    uint8_t bytes[4];
    if (sector > _file->Size() / kSector)
        return Damaged("a table of the VMDK image lies beyond its end");
    if (Error error = _file->ReadAt(sector * kSector + index * sizeof bytes, bytes, sizeof bytes))
        return error;
    return U32At({bytes, sizeof bytes}, 0);
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
