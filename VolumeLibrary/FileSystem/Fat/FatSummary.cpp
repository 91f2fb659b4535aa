#include "FatSummary.h"

#include "ByteReader.h"
#include "FatBoot.h"
#include "FatLabel.h"
#include "FolderBytes.h"
#include "FreeClusters.h"
#include "SerialText.h"
#include "TextField.h"

namespace vx {
namespace {

using Kind = FatGeometry::Kind;
using State = VolumeFileSystemState;

const char *NameOf(Kind kind)
{
    switch (kind) {
    case Kind::k12:
        return "FAT12";
    case Kind::k16:
        return "FAT16";
    case Kind::k32:
        return "FAT32";
    case Kind::kExfat:
        break;
    }
    return "exFAT";
}

State WorstOf(bool isDamaged, bool isInUse, State otherwise)
{
    if (isDamaged)
        return State::kDamaged;
    return isInUse ? State::kInUse : otherwise;
}

uint64_t CountFree12(ByteView table, uint32_t lastCluster)
{
    uint64_t free = 0;
    for (uint32_t cluster = FatGeometry::kFirstCluster; cluster <= lastCluster; ++cluster) {
        const unsigned pair = U16At(table, cluster + cluster / 2);
        free += (cluster % 2 == 0 ? pair & 0xFFF : pair >> 4) == 0 ? 1 : 0;
    }
    return free;
}

uint64_t CountFree16(ByteView entries)
{
    uint64_t free = 0;
    for (size_t at = 0; at + 2 <= entries.size; at += 2)
        free += U16At(entries, at) == 0 ? 1 : 0;
    return free;
}

uint64_t CountFree32(ByteView entries)
{
    constexpr uint32_t kEntryBits = 0x0FFFFFFF;
    uint64_t free = 0;
    for (size_t at = 0; at + 4 <= entries.size; at += 4)
        free += (U32At(entries, at) & kEntryBits) == 0 ? 1 : 0;
    return free;
}

class Summary {
public:
    Summary(const ByteSource &volume, const ByteSource &tables, const FatGeometry &geometry,
            const FatChain &chain)
        : _volume(volume), _tables(tables), _geometry(geometry), _chain(chain)
    {
    }

    void Take(VolumeFileSystemReport *report) const
    {
        PutText(NameOf(_geometry.kind), report->name);
        PutText(FatLabel(_tables), report->label);
        report->clusterBytes = _geometry.clusterBytes;
        report->totalBytes = _geometry.clusters * _geometry.clusterBytes;
        if (const auto boot = FindFatBoot(_tables))
            TakeBoot(*boot, report);
        if (const auto free = CountFree())
            report->freeBytes = *free * _geometry.clusterBytes;
    }

private:
    bool IsExfat() const { return _geometry.kind == Kind::kExfat; }

    void TakeBoot(const FatBoot &boot, VolumeFileSystemReport *report) const
    {
        const ByteView sector = boot.sector;
        if (IsExfat()) {
            PutText(SerialText(U32At(sector, 100)), report->serial);
            report->state = boot.isBackup ? State::kUnknown : StateOfExfat(sector);
            return;
        }
        const size_t fields = _geometry.kind == Kind::k32 ? 64 : 36;
        const uint8_t mark = U8At(sector, fields + 2);
        const bool hasSerial = mark == 0x28 || mark == 0x29;
        if (hasSerial)
            PutText(SerialText(U32At(sector, fields + 3)), report->serial);
        report->state =
            StateOfFat(hasSerial && !boot.isBackup ? U8At(sector, fields + 1) : uint8_t{0});
    }

    static State StateOfExfat(ByteView sector)
    {
        constexpr unsigned kIsInUse = 2;
        constexpr unsigned kHasFailed = 4;
        const unsigned flags = U16At(sector, 106);
        return WorstOf((flags & kHasFailed) != 0, (flags & kIsInUse) != 0, State::kClean);
    }

    // flags: of the boot sector.
    State StateOfFat(unsigned flags) const
    {
        constexpr unsigned kIsInUse = 1;
        constexpr unsigned kHasFailed = 2;
        bool isInUse = (flags & kIsInUse) != 0;
        bool isDamaged = (flags & kHasFailed) != 0;
        if (_geometry.kind == Kind::k12)
            return WorstOf(isDamaged, isInUse, State::kUnknown);
        const auto second = SecondEntry();
        if (!second)
            return WorstOf(isDamaged, isInUse, State::kUnknown);
        const uint32_t highest = _geometry.kind == Kind::k32 ? 1U << 27 : 1U << 15;
        isInUse = isInUse || (*second & highest) == 0;
        isDamaged = isDamaged || (*second & highest >> 1) == 0;
        return WorstOf(isDamaged, isInUse, State::kClean);
    }

    std::optional<uint32_t> SecondEntry() const
    {
        const size_t entryBytes = _geometry.kind == Kind::k32 ? 4 : 2;
        for (unsigned copy = 0; copy < _geometry.tableCopies; ++copy) {
            std::array<uint8_t, 4> bytes = {};
            if (_chain.IsTableGood(copy) &&
                !_tables.ReadAt(TableAt(copy) + entryBytes, bytes.data(), entryBytes))
                return U32At(bytes, 0);
        }
        return std::nullopt;
    }

    uint64_t TableAt(unsigned copy) const
    {
        return _geometry.tableOffset + copy * _geometry.tableBytes;
    }

    std::optional<uint64_t> CountFree() const
    {
        if (_geometry.lastCluster + uint64_t{1} != _geometry.clusters + FatGeometry::kFirstCluster)
            return std::nullopt;
        if (IsExfat())
            return CountInBitmap();
        for (unsigned copy = 0; copy < _geometry.tableCopies; ++copy) {
            const auto free = _chain.IsTableGood(copy) ? CountInTable(copy) : std::nullopt;
            if (free)
                return free;
        }
        return std::nullopt;
    }

    std::optional<uint64_t> CountInTable(unsigned copy) const
    {
        constexpr uint32_t kLastOfFat32 = 0x0FFFFFF6;
        const uint64_t size = _geometry.tableBytes;
        const FileExtents table = {size, size, {{0, size, TableAt(copy), FileRun::Kind::kStored}}};
        const uint64_t end = uint64_t{_geometry.lastCluster} + 1;
        switch (_geometry.kind) {
        case Kind::k12:
            return SumOverPieces(_volume, table, 0, end + end / 2 + end % 2, [&](ByteView bytes) {
                return CountFree12(bytes, _geometry.lastCluster);
            });
        case Kind::k16:
            return SumOverPieces(_volume, table, 4, 2 * end, CountFree16);
        case Kind::k32:
            return _geometry.lastCluster <= kLastOfFat32
                       ? SumOverPieces(_volume, table, 8, 4 * end, CountFree32)
                       : std::nullopt;
        case Kind::kExfat:
            break;
        }
        return std::nullopt;
    }

    // The root folder names the file of the bitmap; of two, the first one is that of the first
    // table.
    std::optional<uint64_t> CountInBitmap() const
    {
        constexpr uint8_t kBitmap = 0x81;
        constexpr uint64_t kLargestFolder = uint64_t{256} << 20;
        FolderBytes root(_tables, _chain.FollowToEnd(_geometry.rootCluster, kLargestFolder));
        FolderBytes::Entry entry = {};
        while (root.Next(&entry) == FolderBytes::Step::kEntry) {
            if (entry[0] == kBitmap && (entry[1] & 1) == (_geometry.isSecondTable ? 1 : 0))
                return CountIn(U32At(entry, 20), U64At(entry, 24));
        }
        return std::nullopt;
    }

    std::optional<uint64_t> CountIn(uint32_t firstCluster, uint64_t size) const
    {
        if (size > _geometry.MostBytes())
            return std::nullopt;
        FatRuns found = _chain.Follow(firstCluster, size);
        if (found.obstacle != VolumeObstacle::kNone)
            return std::nullopt;
        return CountClearBits(_volume, {size, size, std::move(found.runs)}, _geometry.clusters);
    }

    const ByteSource &_volume;
    const ByteSource &_tables;
    const FatGeometry &_geometry;
    const FatChain &_chain;
};

}  // namespace

void SummariseFat(const ByteSource &volume, const ByteSource &tables, const FatGeometry &geometry,
                  const FatChain &chain, VolumeFileSystemReport *report)
{
    Summary(volume, tables, geometry, chain).Take(report);
}

}  // namespace vx
