#include "VmdkTables.h"

#include "Little.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;

class Tables {
public:
    Tables(const ByteSource &file, const VmdkHeader &header, VmdkShortfall *shortfall)
        : _file(file), _shortfall(*shortfall), _header(header)
    {
    }

    Error Walk();

private:
    Error ReadNumbers(uint64_t sector, uint64_t count, std::vector<uint8_t> *bytes);
    Error WalkDirectory();
    Error WalkTable(uint64_t sector, uint64_t firstGrain);
    void CheckGrain(uint64_t sector, uint64_t number);
    Error CheckLastPacked();

    const ByteSource &_file;
    VmdkShortfall &_shortfall;
    const VmdkHeader &_header;
    uint64_t _bytesRead = 0;
    uint64_t _lastPacked = 0;  // the sector where the last packed piece of the file begins
};

// Nothing is read if the numbers do not all lie in the file. No tables of a sound file are larger
// than that in all; those of another one are left.
Error Tables::ReadNumbers(uint64_t sector, uint64_t count, std::vector<uint8_t> *bytes)
{
    bytes->clear();
    const uint64_t size = _file.Size();
    const uint64_t length = count * 4;
    if (sector > size / kSector || length > size - sector * kSector) {
        _shortfall.isOfTables = true;
        return {};
    }
    _bytesRead += length;
    if (_bytesRead > size)
        return {};
    bytes->resize(static_cast<size_t>(length));
    return _file.ReadAt(sector * kSector, bytes->data(), bytes->size());
}

Error Tables::Walk()
{
    _shortfall.isPacked = _header.isPacked;
    if (Error error = WalkDirectory())
        return error;
    return CheckLastPacked();
}

Error Tables::WalkDirectory()
{
    constexpr uint64_t kNumbersAtOnce = 4096;
    const uint64_t ofTable = _header.grain * _header.entries;
    const uint64_t tables = (_header.capacity + ofTable - 1) / ofTable;
    std::vector<uint8_t> numbers;
    for (uint64_t first = 0; first < tables; first += kNumbersAtOnce) {
        const uint64_t count = std::min(kNumbersAtOnce, tables - first);
        if (Error error = ReadNumbers(_header.directory + first * 4 / kSector, count, &numbers))
            return error;
        if (numbers.empty())
            break;
        for (size_t i = 0; i < count; ++i) {
            const uint32_t sector = Little32(numbers.data() + 4 * i);
            if (sector == 0)  // nothing was written there yet
                continue;
            if (Error error = WalkTable(sector, (first + i) * _header.entries))
                return error;
        }
    }
    return {};
}

Error Tables::WalkTable(uint64_t sector, uint64_t firstGrain)
{
    std::vector<uint8_t> numbers;
    if (Error error = ReadNumbers(sector, _header.entries, &numbers))
        return error;
    for (size_t i = 0; i < numbers.size() / 4; ++i)
        CheckGrain(Little32(numbers.data() + 4 * i), firstGrain + i);
    return {};
}

void Tables::CheckGrain(uint64_t sector, uint64_t number)
{
    constexpr uint64_t kReadsAsZeros = 1;  // and 0 does so, too
    const uint64_t before = number * _header.grain;
    if (sector <= kReadsAsZeros || before >= _header.capacity)
        return;
    if (_header.isPacked) {
        _lastPacked = std::max(_lastPacked, sector);
        return;
    }
    const uint64_t stored = std::min(_header.grain, _header.capacity - before) * kSector;
    const uint64_t left = _file.Size() - std::min(_file.Size(), sector * kSector);
    _shortfall.missingBytes += stored - std::min(stored, left);
}

// How long a packed piece is only the piece itself tells.
Error Tables::CheckLastPacked()
{
    uint8_t marker[12];
    if (_lastPacked == 0)
        return {};
    const uint64_t left = _file.Size() - std::min(_file.Size(), _lastPacked * kSector);
    uint64_t length = sizeof marker;
    if (left >= length) {
        if (Error error = _file.ReadAt(_lastPacked * kSector, marker, sizeof marker))
            return error;
        length += Little32(marker + 8);
    }
    if (left < length)
        _shortfall.missingBytes = _header.grain * kSector;
    return {};
}

}  // namespace

Error FindVmdkShortfall(const ByteSource &file, const VmdkHeader &header, VmdkShortfall *shortfall)
{
    return Tables(file, header, shortfall).Walk();
}

}  // namespace vx
