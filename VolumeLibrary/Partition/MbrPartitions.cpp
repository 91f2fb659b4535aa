#include "MbrPartitions.h"

#include "Little.h"

#include <algorithm>
#include <array>
#include <optional>

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

std::optional<Entries> ReadEntries(const ByteSource &disk, uint64_t offset, Error *unread)
{
    uint8_t sector[512];
    if (Error error = disk.ReadAt(offset, sector, sizeof sector)) {
        if (error.status == Status::kSystemError)
            *unread = std::move(error);
        return std::nullopt;
    }
    if (sector[510] != 0x55 || sector[511] != 0xAA)
        return std::nullopt;
    Entries entries;
    const uint8_t *at = sector + 446;
    for (TableEntry &entry : entries) {
        entry = {at[4], Little32(at + 8), Little32(at + 12)};
        at += 16;
    }
    return entries;
}

void AddVolumes(const Entries &entries, uint64_t base, std::vector<PartitionPlace> *places)
{
    for (const TableEntry &entry : entries) {
        if (entry.IsVolume())
            places->push_back({base + entry.firstSector, entry.sectors, {}, entry.Use()});
    }
}

// An extended partition is a chain of tables, each with a volume and the place of the next table,
// which is counted from the beginning of the chain.
void AddChain(const ByteSource &disk, uint64_t sectorBytes, uint64_t begin,
              std::vector<PartitionPlace> *places, Error *unread)
{
    std::vector<uint64_t> visited;
    uint64_t table = begin;
    while (visited.size() < kMostLinks &&
           std::find(visited.begin(), visited.end(), table) == visited.end()) {
        visited.push_back(table);
        const auto entries = ReadEntries(disk, table * sectorBytes, unread);
        if (!entries)
            return;
        AddVolumes(*entries, table, places);
        const auto next = std::find_if(entries->begin(), entries->end(),
                                       [](const TableEntry &entry) { return entry.IsExtended(); });
        if (next == entries->end())
            return;
        table = begin + next->firstSector;
    }
}

}  // namespace

MbrPartitions MbrPartitions::Read(const ByteSource &disk, uint64_t sectorBytes)
{
    MbrPartitions found;
    const auto entries = ReadEntries(disk, 0, &found.unread);
    if (!entries)
        return found;
    AddVolumes(*entries, 0, &found.places);
    for (const TableEntry &entry : *entries) {
        found.protectsGpt = found.protectsGpt || entry.type == kProtectsGpt;
        if (entry.IsExtended())
            AddChain(disk, sectorBytes, entry.firstSector, &found.places, &found.unread);
    }
    return found;
}

}  // namespace vx
