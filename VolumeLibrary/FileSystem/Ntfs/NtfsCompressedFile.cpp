#include "NtfsCompressedFile.h"

#include "Lznt1.h"

#include <algorithm>
#include <cstring>

namespace vx {

NtfsCompressedFile::NtfsCompressedFile(std::shared_ptr<const ByteSource> source,
                                       FileExtents extents, uint32_t unitBytes)
    : _source(std::move(source)), _extents(std::move(extents)), _unitBytes(unitBytes)
{
}

uint32_t NtfsCompressedFile::ReadAt(int64_t position, char *buffer, uint32_t count,
                                    ByteRanges *unread)
{
    const auto start = static_cast<uint64_t>(position);
    if (start >= _extents.size)
        return 0;
    count = static_cast<uint32_t>(std::min<uint64_t>(count, _extents.size - start));
    for (uint32_t done = 0; done < count;) {
        const uint64_t at = start + done;
        LoadUnit(at / _unitBytes);
        const auto skip = static_cast<uint32_t>(at % _unitBytes);
        const uint32_t piece = std::min(count - done, _unitBytes - skip);
        std::memcpy(buffer + done, _unit.data() + skip, piece);
        AddWithin(_unread, {at, piece}, unread);
        done += piece;
    }
    return count;
}

// Of units: a packed one lies in its first clusters, whichever of its bytes is wanted.
void NtfsCompressedFile::VisitPlaces(const StoredPlaceVisitor &visit) const
{
    const uint64_t written = std::min(_extents.initialised, _extents.size);
    LocateRuns(*_source, _extents.runs, (written + _unitBytes - 1) / _unitBytes * _unitBytes,
               visit);
}

void NtfsCompressedFile::LoadUnit(uint64_t number)
{
    if (number == _loaded)
        return;
    _loaded = kNoUnit;
    _unread.clear();
    _unit.resize(_unitBytes);
    const uint64_t position = number * _unitBytes;
    ReadUnit(position);
    const uint64_t good = _extents.initialised - std::min(_extents.initialised, position);
    if (good < _unitBytes)
        std::memset(_unit.data() + good, 0, static_cast<size_t>(_unitBytes - good));
    CutRanges(position + good, &_unread);
    _loaded = number;
}

void NtfsCompressedFile::ReadUnit(uint64_t position)
{
    const uint64_t good = _extents.initialised - std::min(_extents.initialised, position);
    if (!AreCovered(_extents.runs, position, std::min<uint64_t>(good, _unitBytes))) {
        // Whether what is left of it is compressed is unknown.
        std::memset(_unit.data(), 0, _unit.size());
        AddRange(position, _unitBytes, &_unread);
        return;
    }
    const auto stored = static_cast<uint32_t>(StoredBytes(_extents.runs, position, _unitBytes));
    if (stored > 0 && stored < _unitBytes)
        ReadPacked(position, stored);
    else
        SalvageRuns(*_source, _extents.runs, position, reinterpret_cast<char *>(_unit.data()),
                    _unitBytes, &_unread);
}

void NtfsCompressedFile::ReadPacked(uint64_t position, uint32_t stored)
{
    _packed.resize(stored);
    ByteRanges gaps;
    SalvageRuns(*_source, _extents.runs, position, reinterpret_cast<char *>(_packed.data()), stored,
                &gaps);
    const bool isWhole = gaps.empty();
    const auto readable = static_cast<size_t>(isWhole ? stored : gaps.front().offset - position);
    const size_t good =
        DecompressLznt1(ByteView(_packed).First(readable), isWhole, _unit.data(), _unitBytes);
    AddRange(position + good, _unitBytes - good, &_unread);
}

}  // namespace vx
