#include "QcowOwnPlaces.h"

#include "ByteReader.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kEntryBytes = 8;

}  // namespace

QcowOwnPlaces::QcowOwnPlaces(const ByteSource &file, const QcowHeader &header)
    : _clusterBytes(header.ClusterBytes())
{
    constexpr uint64_t kL2Places = 0x00FFFFFFFFFFFE00;
    constexpr uint64_t kBlockPlaces = ~uint64_t{0x1FF};
    constexpr uint64_t kMostRefcountEntries = uint64_t{1} << 20;
    const bool hasRefcounts =
        header.refcountTableAt > 0 && header.refcountTableAt % _clusterBytes == 0;
    const uint64_t refcounts =
        hasRefcounts ? header.refcountTableClusters * _clusterBytes / kEntryBytes : 0;
    const uint64_t known = std::min(refcounts, kMostRefcountEntries);
    _fixed = {{0, _clusterBytes},
              {header.l1At, header.l1Entries * kEntryBytes},
              {header.refcountTableAt, known * kEntryBytes}};
    if (header.snapshotsAt > 0)
        _fixed.push_back({header.snapshotsAt, _clusterBytes});
    TakeTable(file, header.l1At, header.l1Entries, kL2Places);
    TakeTable(file, header.refcountTableAt, known, kBlockPlaces);
    std::sort(_tables.begin(), _tables.end());
    for (size_t i = 1; i < _tables.size(); ++i) {
        if (_tables[i] == _tables[i - 1])
            _shared.push_back(_tables[i]);
    }
}

// The places that the entries of a table name.
void QcowOwnPlaces::TakeTable(const ByteSource &file, uint64_t at, uint64_t entries, uint64_t mask)
{
    constexpr uint64_t kEntriesAtOnce = 8192;
    if (at > file.Size())
        return;
    entries = std::min(entries, (file.Size() - at) / kEntryBytes);
    std::vector<uint8_t> bytes;
    for (uint64_t first = 0; first < entries && _tables.size() < kMostKept;
         first += kEntriesAtOnce) {
        bytes.resize(static_cast<size_t>(std::min(kEntriesAtOnce, entries - first)) * kEntryBytes);
        ByteRanges gaps;
        (void)file.Salvage(at + first * kEntryBytes, bytes.data(), bytes.size(), &gaps);
        ByteReader reader(bytes);
        while (reader.Left() > 0 && _tables.size() < kMostKept) {
            const uint64_t place = reader.BigU64() & mask;
            if (place != 0 && place < file.Size())
                _tables.push_back(place);
        }
    }
}

bool QcowOwnPlaces::MayBeL2Table(uint64_t place) const
{
    return !IsFixed(place) && !IsIn(_shared, place);
}

bool QcowOwnPlaces::IsFixed(uint64_t place) const
{
    return std::any_of(_fixed.begin(), _fixed.end(), [&](const ByteRange &range) {
        return place >= range.offset && place - range.offset < range.length;
    });
}

bool QcowOwnPlaces::IsIn(const std::vector<uint64_t> &places, uint64_t place)
{
    return std::binary_search(places.begin(), places.end(), place);
}

}  // namespace vx
