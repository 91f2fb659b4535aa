#include "QcowTables.h"

#include "ByteReader.h"
#include "QcowEntry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace vx {
namespace {

using namespace qcow;
using Kind = QcowExtent::Kind;

// Few, since every image of a chain of backing files has its own.
constexpr size_t kCachedBlocks = 6;
constexpr uint64_t kPartsOfCluster = 32;

Error Failed(const char *what)
{
    return {Status::kSystemError, what, EIO};
}

Error DamagedTable()
{
    return Failed("a table of the QCOW2 image is damaged");
}

Error OfAnother()
{
    return Failed("the QCOW2 image keeps two clusters in the same place");
}

Error BeyondEnd()
{
    return Failed("the QCOW2 image ends before this place");
}

bool Continues(const QcowExtent &extent, const QcowExtent &next)
{
    return next.kind == extent.kind && extent.kind != Kind::kPacked &&
           (extent.kind != Kind::kStored || next.place == extent.place + extent.length);
}

}  // namespace

QcowTables::QcowTables(std::shared_ptr<const ByteSource> file, const QcowHeader &header,
                       uint64_t clusterFileBytes)
    : _file(std::move(file)),
      _cached(_file, kCachedBlocks),
      _header(header),
      _own(*_file, header),
      _clusterFileBytes(clusterFileBytes),
      _contested(_file, header, _own, clusterFileBytes)
{
}

Result<QcowExtent> QcowTables::Find(uint64_t offset, uint64_t count) const
{
    constexpr uint64_t kEntriesAtOnce = 128;
    const uint64_t clusterBytes = _header.ClusterBytes();
    const uint64_t number = offset / clusterBytes;
    const uint64_t first = number % _header.L2Entries();
    const uint64_t skip = offset % clusterBytes;
    const auto table = FindL2Table(number / _header.L2Entries());
    if (!table)
        return table.Failure();
    const uint64_t left = (_header.L2Entries() - first) * clusterBytes - skip;
    if (*table == 0)
        return QcowExtent{Kind::kBelow, std::min(count, left)};
    std::array<uint8_t, kEntriesAtOnce * 16> bytes;
    const uint64_t needed = (skip + std::min(count, left) + clusterBytes - 1) / clusterBytes;
    uint64_t entries = std::min({needed, kEntriesAtOnce, _header.L2Entries() - first});
    const uint64_t at = *table + first * _header.L2EntryBytes();
    Error error = _cached.ReadAt(at, bytes.data(), entries * _header.L2EntryBytes());
    if (error && entries > 1) {
        entries = 1;
        error = _cached.ReadAt(at, bytes.data(), _header.L2EntryBytes());
    }
    if (error)
        return error.status == Status::kTruncatedImage ? BeyondEnd() : error;
    auto extent = Describe(EntryAt(bytes, 0), skip);
    uint64_t end = clusterBytes - skip;
    for (uint64_t i = 1; extent && i < entries && extent->length == end; ++i) {
        const auto next = Describe(EntryAt(bytes, i), 0);
        if (!next || !Continues(*extent, *next))
            break;
        extent->length += next->length;
        end += clusterBytes;
    }
    if (extent)
        extent->length = std::min(extent->length, count);
    return extent;
}

// The place of the table; 0 if there is none.
Result<uint64_t> QcowTables::FindL2Table(uint64_t number) const
{
    uint8_t bytes[8];
    if (number >= _header.l1Entries)
        return Failed("the L1 table of the QCOW2 image ends before this place");
    if (Error error = _cached.ReadAt(_header.l1At + number * sizeof bytes, bytes, sizeof bytes))
        return error;
    const uint64_t entry = ByteReader({bytes, sizeof bytes}).BigU64();
    const uint64_t place = entry & kPlaceBits;
    if ((entry & ~(kPlaceBits | kOnlyOnceBit)) != 0 || place % _header.ClusterBytes() != 0)
        return DamagedTable();
    if (place >= _file->Size())
        return BeyondEnd();
    if (place != 0 && !_own.MayBeL2Table(place))
        return DamagedTable();
    return place;
}

QcowTables::Entry QcowTables::EntryAt(ByteView bytes, uint64_t index) const
{
    ByteReader reader(bytes, static_cast<size_t>(index * _header.L2EntryBytes()));
    Entry entry;
    entry.descriptor = reader.BigU64();
    if (_header.hasSubclusters)
        entry.bits = reader.BigU64();
    return entry;
}

// skip: where in the cluster the extent begins. It ends with the cluster or before.
Result<QcowExtent> QcowTables::Describe(const Entry &entry, uint64_t skip) const
{
    const uint64_t length = _header.ClusterBytes() - skip;
    if ((entry.descriptor & kPackedBit) != 0)
        return DescribePacked(entry.descriptor, length);
    if (_header.hasSubclusters)
        return DescribeParts(entry, skip);
    const bool isZeros = (entry.descriptor & kZerosBit) != 0;
    if (isZeros && _header.version < 3)
        return DamagedTable();
    if ((entry.descriptor & ~(kPlaceBits | kOnlyOnceBit | kZerosBit)) != 0)
        return DamagedTable();
    if (isZeros)
        return QcowExtent{Kind::kZeros, length};
    if (entry.descriptor == 0)
        return QcowExtent{Kind::kBelow, length};
    // In a file of its own the first cluster may be stored, too.
    const bool isNowhere = entry.descriptor == kOnlyOnceBit && !_header.hasDataFile;
    return isNowhere ? DamagedTable() : DescribeStored(entry.descriptor, skip, length);
}

Result<QcowExtent> QcowTables::DescribeStored(uint64_t descriptor, uint64_t skip,
                                              uint64_t length) const
{
    const uint64_t cluster = descriptor & kPlaceBits;
    const bool isOwn = !_header.hasDataFile && _own.Holds(cluster);
    if (cluster % _header.ClusterBytes() != 0 || isOwn)
        return DamagedTable();
    if (_contested.Holds(cluster))
        return OfAnother();
    const uint64_t place = cluster + skip;
    if (place >= _clusterFileBytes)
        return BeyondEnd();
    return QcowExtent{Kind::kStored, std::min(length, _clusterFileBytes - place), place};
}

// Compressed data ends within the last of a number of sectors of 512 bytes.
Result<QcowExtent> QcowTables::DescribePacked(uint64_t descriptor, uint64_t length) const
{
    constexpr uint64_t kSector = 512;
    const uint64_t place = PackedPlace(descriptor, _header.clusterBits);
    const uint64_t sectors =
        ((descriptor & (kPackedBit - 1)) >> BitsOfPackedPlace(_header.clusterBits)) + 1;
    const uint64_t end = (place / kSector + sectors) * kSector;
    if ((descriptor & kOnlyOnceBit) != 0 || _header.hasDataFile)
        return DamagedTable();
    if (place >= _clusterFileBytes)
        return BeyondEnd();
    if (_contested.Holds(place))
        return OfAnother();
    const uint64_t cluster = _header.ClusterBytes();
    for (uint64_t at = place / cluster * cluster; at < end; at += cluster) {
        if (_own.Holds(at))
            return DamagedTable();
    }
    return QcowExtent{Kind::kPacked, length, place, std::min(end, _clusterFileBytes)};
}

// Of a cluster with subclusters: the parts from skip on that are stored in the same way.
Result<QcowExtent> QcowTables::DescribeParts(const Entry &entry, uint64_t skip) const
{
    const uint64_t partBytes = _header.ClusterBytes() / kPartsOfCluster;
    if ((entry.descriptor & ~(kPlaceBits | kOnlyOnceBit)) != 0)
        return DamagedTable();
    const auto stateOf = [&](uint64_t part) {
        const uint64_t isStored = entry.bits >> part & 1;
        const uint64_t isZeros = entry.bits >> (kPartsOfCluster + part) & 1;
        return isStored | isZeros << 1;
    };
    const uint64_t first = skip / partBytes;
    const uint64_t state = stateOf(first);
    uint64_t end = first + 1;
    while (end < kPartsOfCluster && stateOf(end) == state)
        ++end;
    const uint64_t length = end * partBytes - skip;
    const bool isNowhere =
        entry.descriptor == 0 || (entry.descriptor == kOnlyOnceBit && !_header.hasDataFile);
    switch (state) {
    case 0:
        return QcowExtent{Kind::kBelow, length};
    case 1:
        return isNowhere ? DamagedTable() : DescribeStored(entry.descriptor, skip, length);
    case 2:
        return QcowExtent{Kind::kZeros, length};
    default:
        return DamagedTable();
    }
}

}  // namespace vx
