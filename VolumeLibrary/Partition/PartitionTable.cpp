#include "PartitionTable.h"

#include "GptPartitions.h"
#include "MbrPartitions.h"
#include "PartOfSource.h"

#include <optional>
#include <utility>

namespace vx {
namespace {

using Kind = PartitionTable::Kind;

// What one of the tables says.
struct Layout {
    PartitionTable::Kind kind;
    std::vector<PartitionPlace> places;
    std::string note;
    Error unread;
};

// Nothing if no disk can have such a partition.
std::optional<Partition> PartitionAt(const PartitionPlace &place, uint64_t sectorBytes)
{
    Partition partition = {0, 0, WithoutControls(place.name), place.use, place.type};
    uint64_t end = 0;
    const bool isPossible =
        !__builtin_mul_overflow(place.firstSector, sectorBytes, &partition.offset) &&
        !__builtin_mul_overflow(place.sectors, sectorBytes, &partition.size) &&
        !__builtin_add_overflow(partition.offset, partition.size, &end);
    return isPossible ? std::optional(std::move(partition)) : std::nullopt;
}

// The likeliest first. The backup of a GUID table often survives when a disk is given an MBR
// instead, so an MBR that does not refer to a GUID table comes before a backup.
std::vector<Layout> LayoutsOf(const ByteSource &disk, uint64_t sectorBytes)
{
    GptPartitions gpt = GptPartitions::Read(disk, sectorBytes);
    const bool hasGpt = !gpt.places.empty();
    Layout ofGpt = {hasGpt ? Kind::kGpt : Kind::kNone, std::move(gpt.places), std::move(gpt.note),
                    std::move(gpt.unread)};
    if (hasGpt && !gpt.areOfBackup)
        return {ofGpt};
    MbrPartitions mbr = MbrPartitions::Read(disk, sectorBytes);
    const bool hasMbr = !mbr.places.empty();
    if (hasGpt && (mbr.protectsGpt || !hasMbr))
        return {ofGpt};
    Layout ofMbr = {hasMbr ? Kind::kMbr : Kind::kNone, std::move(mbr.places), "",
                    std::move(mbr.unread)};
    if (hasGpt)
        return {ofMbr, ofGpt};
    if (!hasMbr && !ofMbr.unread)
        ofMbr.unread = std::move(ofGpt.unread);
    return {ofMbr};
}

PartitionTable TableOf(Layout layout, uint64_t sectorBytes, uint64_t diskBytes)
{
    PartitionTable table;
    table.kind = layout.kind;
    table.unread = std::move(layout.unread);
    table.note = std::move(layout.note);
    for (const PartitionPlace &place : layout.places) {
        auto partition = PartitionAt(place, sectorBytes);
        if (!partition)
            continue;
        if (partition->offset < diskBytes)
            table.partitions.push_back(std::move(*partition));
        else if (!table.unread)
            table.unread = {Status::kTruncatedImage, "a partition begins beyond the end of it"};
    }
    return table;
}

}  // namespace

std::shared_ptr<const ByteSource> Partition::In(std::shared_ptr<const ByteSource> disk) const
{
    return std::make_shared<PartOfSource>(std::move(disk), offset, size);
}

std::vector<PartitionTable> PartitionTable::ReadAll(const ByteSource &disk, uint64_t sectorBytes)
{
    std::vector<PartitionTable> tables;
    for (Layout &layout : LayoutsOf(disk, sectorBytes))
        tables.push_back(TableOf(std::move(layout), sectorBytes, disk.Size()));
    return tables;
}

std::string WithoutControls(const std::string &text)
{
    std::string printable;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isC1 =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (isC1)
            ++i;
        else if (byte >= 0x20 && byte != 0x7F)
            printable.push_back(text[i]);
    }
    return printable;
}

}  // namespace vx
