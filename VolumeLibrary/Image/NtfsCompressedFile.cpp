#include "NtfsCompressedFile.h"

#include "Lznt1.h"

#include <algorithm>
#include <cstring>

namespace vx {

NtfsCompressedFile::NtfsCompressedFile(std::shared_ptr<const bitlocker::ByteSource> source,
                                       FileExtents extents, uint32_t unitBytes)
    : _source(std::move(source)), _extents(std::move(extents)), _unitBytes(unitBytes)
{
}

bool NtfsCompressedFile::ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    const auto start = static_cast<uint64_t>(position);
    if (start >= _extents.size)
        return true;
    count = static_cast<uint32_t>(std::min<uint64_t>(count, _extents.size - start));
    while (*done < count) {
        const uint64_t at = start + *done;
        if (!LoadUnit(at / _unitBytes))
            return false;
        const auto skip = static_cast<uint32_t>(at % _unitBytes);
        const uint32_t piece = std::min(count - *done, _unitBytes - skip);
        std::memcpy(buffer + *done, _unit.data() + skip, piece);
        *done += piece;
    }
    return true;
}

bool NtfsCompressedFile::LoadUnit(uint64_t number)
{
    if (number == _loaded)
        return true;
    _loaded = kNoUnit;
    _unit.resize(_unitBytes);
    const uint64_t position = number * _unitBytes;
    if (!ReadUnit(position))
        return false;
    const uint64_t good = _extents.initialised - std::min(_extents.initialised, position);
    if (good < _unitBytes)
        std::memset(_unit.data() + good, 0, static_cast<size_t>(_unitBytes - good));
    _loaded = number;
    return true;
}

bool NtfsCompressedFile::ReadUnit(uint64_t position)
{
    const auto stored = static_cast<uint32_t>(StoredBytes(_extents.runs, position, _unitBytes));
    const bool isPacked = stored > 0 && stored < _unitBytes;
    std::vector<uint8_t> &bytes = isPacked ? _packed : _unit;
    bytes.resize(isPacked ? stored : _unitBytes);
    if (stored == 0)
        std::memset(bytes.data(), 0, bytes.size());
    uint32_t done = 0;
    return ReadRuns(*_source, _extents.runs, position, reinterpret_cast<char *>(bytes.data()),
                    stored, &done) &&
           (!isPacked || DecompressLznt1(_packed, _unit.data(), _unitBytes));
}

}  // namespace vx
