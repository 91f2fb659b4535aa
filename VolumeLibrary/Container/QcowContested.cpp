#include "QcowContested.h"

#include "ByteReader.h"
#include "CarefulSource.h"
#include "QcowEntry.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vx {
namespace {

using namespace qcow;

constexpr uint64_t kPieceBytes = uint64_t{64} << 10;

// What the entries say of each cluster of the file.
class Claims {
public:
    Claims(const QcowHeader &header, uint64_t clusterFileBytes)
        : _header(header),
          _clusters(
              std::min(QcowContested::kMostClusters, clusterFileBytes / header.ClusterBytes() + 1)),
          _claimed(static_cast<size_t>(_clusters)),
          _claimedOnce(static_cast<size_t>(_clusters)),
          _contested(static_cast<size_t>(_clusters))
    {
    }

    // An entry that is damaged claims nothing.
    void Take(uint64_t entry)
    {
        const bool isOnly = (entry & kOnlyOnceBit) != 0;
        if ((entry & kPackedBit) != 0) {
            const uint64_t place = PackedPlace(entry, _header.clusterBits);
            if (!isOnly)
                Claim(place, false);
            return;
        }
        const uint64_t place = entry & kPlaceBits;
        const uint64_t zeros = _header.hasSubclusters || _header.version < 3 ? 0 : kZerosBit;
        const bool isDamaged = (entry & ~(kPlaceBits | kOnlyOnceBit | zeros)) != 0 ||
                               place % _header.ClusterBytes() != 0;
        const bool isSomewhere = place != 0 || (_header.hasDataFile && entry == kOnlyOnceBit);
        if (!isDamaged && isSomewhere)
            Claim(place, isOnly);
    }

    ByteRanges Contested() const
    {
        ByteRanges ranges;
        const uint64_t bytes = _header.ClusterBytes();
        for (uint64_t number = 0; _hasContested && number < _clusters; ++number) {
            if (!_contested[static_cast<size_t>(number)])
                continue;
            AddRange(number * bytes, bytes, &ranges);
            if (ranges.size() == QcowContested::kMostRanges) {
                ranges.back().length = UINT64_MAX - ranges.back().offset;
                break;
            }
        }
        return ranges;
    }

private:
    void Claim(uint64_t place, bool isOnly)
    {
        const auto number = static_cast<size_t>(place / _header.ClusterBytes());
        if (number >= _clusters)
            return;
        if (_claimed[number] && (isOnly || _claimedOnce[number])) {
            _contested[number] = true;
            _hasContested = true;
        }
        _claimed[number] = true;
        _claimedOnce[number] = _claimedOnce[number] || isOnly;
    }

    const QcowHeader &_header;
    const uint64_t _clusters;
    std::vector<bool> _claimed;
    std::vector<bool> _claimedOnce;  // by an entry that says that it is the only one
    std::vector<bool> _contested;
    bool _hasContested = false;
};

// Calls visit with the first number of each entry of a table, until it returns false. What cannot
// be read is 0.
template <typename Visit>
bool VisitEntries(const ByteSource &file, uint64_t at, uint64_t entries, uint64_t entryBytes,
                  const Visit &visit)
{
    std::vector<uint8_t> bytes;
    for (uint64_t left = entries * entryBytes; left > 0;) {
        ByteRanges gaps;
        bytes.resize(static_cast<size_t>(std::min(kPieceBytes, left)));
        (void)file.Salvage(at, bytes.data(), bytes.size(), &gaps);
        for (size_t skip = 0; skip < bytes.size(); skip += static_cast<size_t>(entryBytes)) {
            if (!visit(ByteReader(bytes, skip).BigU64()))
                return false;
        }
        at += bytes.size();
        left -= bytes.size();
    }
    return true;
}

}  // namespace

QcowContested::QcowContested(std::shared_ptr<const ByteSource> file, const QcowHeader &header,
                             const QcowOwnPlaces &own, uint64_t clusterFileBytes)
{
    const uint64_t most = std::min(kMostTables, kMostTableBytes / header.ClusterBytes());
    const CarefulSource careful(std::move(file));
    Claims claims(header, clusterFileBytes);
    uint64_t tables = 0;
    const auto takeEntry = [&](uint64_t entry) {
        claims.Take(entry);
        return true;
    };
    const auto takeTable = [&](uint64_t entry) {
        const uint64_t place = entry & kPlaceBits;
        const bool isTable = place != 0 && place < careful.Size() &&
                             place % header.ClusterBytes() == 0 && own.MayBeL2Table(place);
        if (isTable) {
            VisitEntries(careful, place, header.L2Entries(), header.L2EntryBytes(), takeEntry);
            ++tables;
        }
        return tables < most;
    };
    VisitEntries(careful, header.l1At, header.l1Entries, sizeof(uint64_t), takeTable);
    _ranges = claims.Contested();
}

}  // namespace vx
