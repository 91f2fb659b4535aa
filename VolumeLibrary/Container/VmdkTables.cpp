#include "VmdkTables.h"

#include "ByteReader.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kSector = VmdkHeader::kSector;

class Tables {
public:
    Tables(const ByteSource &file, const VmdkHeader &header) : _file(file), _header(header) {}

    Result<VmdkShortfall> Walk();

private:
    Result<std::vector<uint8_t>> ReadNumbers(uint64_t sector, uint64_t count);
    Error WalkDirectory();
    Error WalkTable(uint64_t sector, uint64_t firstGrain);
    void CheckGrain(uint64_t sector, uint64_t number);
    Error CheckLastPacked();

    const ByteSource &_file;
    const VmdkHeader &_header;
    VmdkShortfall _shortfall;
    uint64_t _bytesRead = 0;
    uint64_t _lastPacked = 0;  // the sector where the last packed grain of the file begins
};

// No bytes if the numbers do not all lie in the file, or if more would be read in all than the file
// has, since the tables of a sound file do not overlap, or than is checked.
Result<std::vector<uint8_t>> Tables::ReadNumbers(uint64_t sector, uint64_t count)
{
    std::vector<uint8_t> bytes;
    const uint64_t size = _file.Size();
    const uint64_t length = count * 4;
    if (sector > size / kSector || length > size - sector * kSector) {
        _shortfall.isOfTables = true;
        return bytes;
    }
    _bytesRead += length;
    _shortfall.isOfAll = _bytesRead <= VmdkHeader::kMostChecked;
    if (_bytesRead > size || !_shortfall.isOfAll)
        return bytes;
    bytes.resize(static_cast<size_t>(length));
    if (Error error = _file.ReadAt(sector * kSector, bytes.data(), bytes.size()))
        return error;
    return bytes;
}

Result<VmdkShortfall> Tables::Walk()
{
    _shortfall.isPacked = _header.isPacked;
    if (Error error = WalkDirectory())
        return error;
    if (Error error = CheckLastPacked())
        return error;
    return _shortfall;
}

Error Tables::WalkDirectory()
{
    constexpr uint64_t kNumbersAtOnce = 4096;
    const uint64_t ofTable = _header.grain * _header.entries;
    const uint64_t tables = (_header.capacity + ofTable - 1) / ofTable;
    for (uint64_t first = 0; first < tables; first += kNumbersAtOnce) {
        const uint64_t count = std::min(kNumbersAtOnce, tables - first);
        const auto numbers = ReadNumbers(_header.directory + first * 4 / kSector, count);
        if (!numbers)
            return numbers.Failure();
        if (numbers->empty())
            break;
        for (size_t i = 0; i < count; ++i) {
            const uint32_t sector = U32At(*numbers, 4 * i);
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
    const auto numbers = ReadNumbers(sector, _header.entries);
    if (!numbers)
        return numbers.Failure();
    for (size_t i = 0; i < numbers->size() / 4; ++i)
        CheckGrain(U32At(*numbers, 4 * i), firstGrain + i);
    return {};
}

void Tables::CheckGrain(uint64_t sector, uint64_t number)
{
    const uint64_t before = number * _header.grain;
    if (sector <= VmdkHeader::kReadsAsZeros || before >= _header.capacity)
        return;
    if (_header.isPacked) {
        _lastPacked = std::max(_lastPacked, sector);
        return;
    }
    const uint64_t stored = std::min(_header.grain, _header.capacity - before) * kSector;
    const uint64_t left = _file.Size() - std::min(_file.Size(), sector * kSector);
    _shortfall.missingBytes += stored - std::min(stored, left);
}

// Only its marker says how long a packed grain is.
Error Tables::CheckLastPacked()
{
    constexpr size_t kLengthAt = 8;
    uint8_t marker[VmdkHeader::kMarkerBytes];
    if (_lastPacked == 0)
        return {};
    const uint64_t left = _file.Size() - std::min(_file.Size(), _lastPacked * kSector);
    uint64_t length = sizeof marker;
    if (left >= length) {
        if (Error error = _file.ReadAt(_lastPacked * kSector, marker, sizeof marker))
            return error;
        length += U32At({marker, sizeof marker}, kLengthAt);
    }
    if (left < length)
        _shortfall.missingBytes = _header.grain * kSector;
    return {};
}

}  // namespace

Result<VmdkShortfall> FindVmdkShortfall(const ByteSource &file, const VmdkHeader &header)
{
    return Tables(file, header).Walk();
}

}  // namespace vx
