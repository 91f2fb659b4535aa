#include "MbrPartitions.h"

#include "ByteReader.h"
#include "PartitionTypes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace vx {
namespace {

constexpr size_t kMostLinks = 256;
constexpr uint8_t kEmpty = 0;
constexpr uint8_t kProtectsGpt = 0xEE;
constexpr uint8_t kDynamicDisk = 0x42;

struct TableEntry {
    uint8_t type = kEmpty;
    uint32_t firstSector = 0;
    uint32_t sectors = 0;

    bool IsExtended() const { return type == 0x05 || type == 0x0F || type == 0x85; }
    bool IsVolume() const
    {
        return type != kEmpty && type != kProtectsGpt && !IsExtended() && sectors > 0;
    }
    PartitionUse Use() const
    {
        return type == kDynamicDisk ? PartitionUse::kDynamicDisk : PartitionUse::kOrdinary;
    }
};
using Entries = std::array<TableEntry, 4>;

std::optional<Entries> EntriesIn(ByteView sector)
{
    constexpr size_t kEntriesAt = 446;
    constexpr size_t kMarkAt = 510;
    constexpr uint16_t kMark = 0xAA55;
    if (U16At(sector, kMarkAt) != kMark)
        return std::nullopt;
    ByteReader reader(sector, kEntriesAt);
    Entries entries;
    for (TableEntry &entry : entries) {
        reader.Skip(4);  // whether it is active, and its first sector as cylinder, head and sector
        entry.type = reader.U8();
        reader.Skip(3);  // its last sector in the same form
        entry.firstSector = reader.U32();
        entry.sectors = reader.U32();
    }
    return entries;
}

class Reader {
public:
    Reader(const ByteSource &disk, uint64_t sectorBytes) : _disk(disk), _sectorBytes(sectorBytes) {}

    MbrPartitions Read()
    {
        const auto entries = ReadTable(0);
        if (!entries)
            return std::move(_found);
        AddVolumes(*entries, 0);
        for (const TableEntry &entry : *entries) {
            _found.protectsGpt = _found.protectsGpt || entry.type == kProtectsGpt;
            if (entry.IsExtended())
                AddChain(entry.firstSector);
        }
        return std::move(_found);
    }

private:
    std::optional<Entries> ReadTable(uint64_t sector)
    {
        uint8_t bytes[512];
        Error error = _disk.ReadAt(sector * _sectorBytes, bytes, sizeof bytes);
        if (!error)
            return EntriesIn({bytes, sizeof bytes});
        if (error.status == Status::kSystemError)
            _found.unread = std::move(error);
        return std::nullopt;
    }

    // base: the sector from which the entries count.
    void AddVolumes(const Entries &entries, uint64_t base)
    {
        for (const TableEntry &entry : entries) {
            if (entry.IsVolume())
                _found.places.push_back({base + entry.firstSector,
                                         entry.sectors,
                                         {},
                                         entry.Use(),
                                         MbrTypeName(entry.type)});
        }
    }

    // An extended partition is a chain of tables, each with a volume and the place of the next
    // table, which counts from the beginning of the chain.
    void AddChain(uint64_t begin)
    {
        std::vector<uint64_t> visited;
        uint64_t table = begin;
        while (visited.size() < kMostLinks &&
               std::find(visited.begin(), visited.end(), table) == visited.end()) {
            visited.push_back(table);
            const auto entries = ReadTable(table);
            if (!entries)
                return;
            AddVolumes(*entries, table);
            const auto next =
                std::find_if(entries->begin(), entries->end(),
                             [](const TableEntry &entry) { return entry.IsExtended(); });
            if (next == entries->end())
                return;
            table = begin + next->firstSector;
        }
    }

    const ByteSource &_disk;
    const uint64_t _sectorBytes;
    MbrPartitions _found;
};

}  // namespace

MbrPartitions MbrPartitions::Read(const ByteSource &disk, uint64_t sectorBytes)
{
    return Reader(disk, sectorBytes).Read();
}

}  // namespace vx
