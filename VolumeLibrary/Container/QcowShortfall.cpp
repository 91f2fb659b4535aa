#include "QcowShortfall.h"

#include "ByteReader.h"

#include <algorithm>
#include <vector>

namespace vx {
namespace {

constexpr uint64_t kNone = ~uint64_t{0};
constexpr uint64_t kEntryBytes = 8;
constexpr uint32_t kMostRefcountOrder = 6;

}  // namespace

// A file may end within the L1 table or another table of one entry, but not within other clusters.
bool QcowShortfallSearch::MayBeShort() const
{
    if (_header.hasDataFile)
        return _clusterFileBytes < _header.diskBytes;
    const uint64_t size = _file.Size();
    const uint64_t lastPlace = size / _header.ClusterBytes() * _header.ClusterBytes();
    if (lastPlace < size && !_tables.OwnPlaces().Holds(lastPlace))
        return true;
    const uint64_t highest = HighestCluster();
    return highest != kNone &&
           highest >= (size + _header.ClusterBytes() - 1) / _header.ClusterBytes();
}

QcowShortfall QcowShortfallSearch::Count() const
{
    QcowShortfall found;
    uint64_t offset = 0;
    for (uint64_t step = 0; offset < _header.diskBytes; ++step) {
        if (step == kMostSteps) {
            found.isLeast = true;
            break;
        }
        const auto extent = _tables.Find(offset, _header.diskBytes - offset);
        const uint64_t inCluster = _header.ClusterBytes() - offset % _header.ClusterBytes();
        const uint64_t length =
            extent ? extent->length : std::min(inCluster, _header.diskBytes - offset);
        found.missingBytes += extent ? 0 : length;
        offset += length;
    }
    return found;
}

// The number of the last cluster that is in use; kNone if the counts do not say so.
uint64_t QcowShortfallSearch::HighestCluster() const
{
    constexpr int kMostBlocks = 16;
    if (_header.refcountOrder > kMostRefcountOrder)
        return kNone;
    const uint64_t ofBlock = _header.ClusterBytes() * 8 >> _header.refcountOrder;
    uint64_t bytes = _header.refcountTableClusters * _header.ClusterBytes();
    for (int tried = 0; tried < kMostBlocks; ++tried) {
        const uint64_t last = LastNonZero(_header.refcountTableAt, bytes);
        if (last == kNone)
            return kNone;
        const uint64_t entry = last / kEntryBytes;
        uint8_t place[kEntryBytes];
        if (_file.ReadAt(_header.refcountTableAt + entry * kEntryBytes, place, sizeof place))
            return kNone;
        const uint64_t block = ByteReader({place, sizeof place}).BigU64();
        if (block >= _file.Size())
            return _file.Size() / _header.ClusterBytes() + 1;
        const uint64_t highest = HighestIn(block);
        if (highest != kNone)
            return entry * ofBlock + highest;
        bytes = entry * kEntryBytes;
    }
    return kNone;
}

// The number within its block of the last count that is not 0. Counts of less than a byte begin
// with the lowest bits.
uint64_t QcowShortfallSearch::HighestIn(uint64_t block) const
{
    const uint64_t last = LastNonZero(block, _header.ClusterBytes());
    uint8_t byte = 0;
    if (last == kNone || _file.ReadAt(block + last, &byte, 1))
        return kNone;
    uint64_t highestBit = 0;
    while (byte >> (highestBit + 1) != 0)
        ++highestBit;
    return (last * 8 + highestBit) >> _header.refcountOrder;
}

// Where in the range the last byte lies that is not 0.
uint64_t QcowShortfallSearch::LastNonZero(uint64_t at, uint64_t length) const
{
    constexpr uint64_t kPieceBytes = uint64_t{64} << 10;
    const uint64_t size = _file.Size();
    length = std::min(length, size - std::min(size, at));
    std::vector<uint8_t> bytes;
    while (length > 0) {
        const uint64_t piece = std::min(kPieceBytes, length);
        bytes.resize(static_cast<size_t>(piece));
        ByteRanges gaps;
        (void)_file.Salvage(at + length - piece, bytes.data(), bytes.size(), &gaps);
        const auto last =
            std::find_if(bytes.rbegin(), bytes.rend(), [](uint8_t byte) { return byte != 0; });
        if (last != bytes.rend())
            return length - 1 - static_cast<uint64_t>(last - bytes.rbegin());
        length -= piece;
    }
    return kNone;
}

}  // namespace vx
