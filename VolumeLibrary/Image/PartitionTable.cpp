#include "PartitionTable.h"

#include "GptPartitions.h"
#include "KnownContents.h"
#include "MbrPartitions.h"
#include "PartOfSource.h"
#include "VolumeLabel.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace vx {
namespace {

using Source = PartitionTable::Source;

constexpr size_t kMostPartitions = 256;
constexpr size_t kMostDescribed = 16;

// One reading of what is at the front and the end of a disk.
struct Layout {
    std::vector<PartitionPlace> places;
    std::string note;
    bitlocker::Error unread;
};

// A name goes to a terminal; what steers one is left out.
std::string Printable(const std::string &text)
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

// False if no disk can have such a partition.
bool TakePlace(const PartitionPlace &place, uint64_t sectorBytes, Partition *partition)
{
    uint64_t end = 0;
    partition->name = Printable(place.name);
    partition->use = place.use;
    return !__builtin_mul_overflow(place.firstSector, sectorBytes, &partition->offset) &&
           !__builtin_mul_overflow(place.sectors, sectorBytes, &partition->size) &&
           !__builtin_add_overflow(partition->offset, partition->size, &end);
}

FileSystemKind KindOf(const Partition &partition, const Source &disk)
{
    const auto kind = ProbeFileSystem(*partition.In(disk));
    return kind ? *kind : FileSystemKind::kUnreadable;
}

// The likeliest first. A backup of a GUID table outlives the table that was made after it, so an
// MBR that does not speak of one is looked at before it.
std::vector<Layout> LayoutsOf(const bitlocker::ByteSource &disk, uint64_t sectorBytes)
{
    GptPartitions gpt = GptPartitions::Read(disk, sectorBytes);
    const bool hasGpt = !gpt.places.empty();
    Layout ofGpt = {std::move(gpt.places), std::move(gpt.note), std::move(gpt.unread)};
    if (hasGpt && !gpt.areOfBackup)
        return {ofGpt};
    MbrPartitions mbr = MbrPartitions::Read(disk, sectorBytes);
    const bool hasMbr = !mbr.places.empty();
    if (hasGpt && (mbr.protectsGpt || !hasMbr))
        return {ofGpt};
    Layout ofMbr = {std::move(mbr.places), "", std::move(mbr.unread)};
    if (hasGpt)
        return {ofMbr, ofGpt};
    if (!hasMbr && !ofMbr.unread)
        ofMbr.unread = std::move(ofGpt.unread);
    return {ofMbr};
}

void SortByOffset(std::vector<Partition> *partitions)
{
    std::stable_sort(partitions->begin(), partitions->end(),
                     [](const Partition &a, const Partition &b) { return a.offset < b.offset; });
}

PartitionTable ReadLayout(const Source &disk, uint64_t sectorBytes, Layout layout)
{
    PartitionTable table;
    table.unread = std::move(layout.unread);
    table.note = std::move(layout.note);
    for (const PartitionPlace &place : layout.places) {
        Partition partition;
        if (!TakePlace(place, sectorBytes, &partition))
            continue;
        if (partition.offset >= disk->size()) {
            if (!table.unread)
                table.unread = {bitlocker::Status::TruncatedImage,
                                "a partition begins beyond the end of it"};
            continue;
        }
        partition.kind = KindOf(partition, disk);
        const bool isOther = partition.kind == FileSystemKind::kUnknown;
        std::vector<Partition> *list = isOther ? &table.others : &table.volumes;
        if (list->size() < kMostPartitions)
            list->push_back(std::move(partition));
    }
    SortByOffset(&table.volumes);
    SortByOffset(&table.others);
    return table;
}

std::string SizeText(uint64_t bytes)
{
    constexpr uint64_t kMiB = uint64_t{1} << 20;
    char text[32];
    if (bytes < 1024 * kMiB)
        std::snprintf(text, sizeof text, "%" PRIu64 " MiB", bytes / kMiB);
    else
        std::snprintf(text, sizeof text, "%.1f GiB", static_cast<double>(bytes) / (1024.0 * kMiB));
    return text;
}

// An encrypted volume keeps its label to itself; what the system noted about it is in its place.
std::string DescribeVolume(const Partition &volume, const Source &disk)
{
    const std::string label = Printable(VolumeLabel(*volume.In(disk), volume.kind));
    const std::string quoted = label.empty() ? "" : "\"" + label + "\"";
    std::string text = FileSystemName(volume.kind);
    if (volume.kind == FileSystemKind::kEncrypted)
        text += ", " + SizeText(volume.size) + (label.empty() ? "" : ", " + quoted);
    else
        text += (label.empty() ? "" : " " + quoted) + ", " + SizeText(volume.size);
    return volume.name.empty() ? text : text + " (" + volume.name + ")";
}

// Null for what is unknown or, as reserved partitions are, blank.
const KnownContents *ContentsOf(const Partition &partition, const Source &disk)
{
    if (partition.use == PartitionUse::kStorageSpaces)
        return &kPartOfStorageSpaces;
    if (const KnownContents *known = KnownContents::FindMarked(*partition.In(disk)))
        return known;
    return partition.use == PartitionUse::kDynamicDisk ? &kPartOfDynamicDisk : nullptr;
}

}  // namespace

Source Partition::In(Source disk) const
{
    return std::make_shared<PartOfSource>(std::move(disk), offset, size);
}

PartitionTable PartitionTable::Read(const Source &disk)
{
    PartitionTable best;
    for (const uint64_t sectorBytes : {512, 4096}) {
        for (Layout &layout : LayoutsOf(*disk, sectorBytes)) {
            PartitionTable table = ReadLayout(disk, sectorBytes, std::move(layout));
            if (!table.volumes.empty())
                return table;
            if (best.unread)
                table.unread = best.unread;
            if (best.others.empty())
                best = std::move(table);
        }
    }
    return best;
}

std::string PartitionTable::DescribeVolumes(const Source &disk) const
{
    std::string text;
    for (size_t i = 0; i < volumes.size(); ++i)
        text +=
            (i == 0 ? "" : "; ") + std::to_string(i + 1) + ": " + DescribeVolume(volumes[i], disk);
    return text;
}

std::string PartitionTable::DescribeOthers(const Source &disk) const
{
    std::string text;
    for (size_t i = 0; i < std::min(others.size(), kMostDescribed); ++i) {
        if (const KnownContents *known = ContentsOf(others[i], disk))
            text += (text.empty() ? "" : "; ") + known->Phrase(SizeText(others[i].size));
    }
    return text;
}

}  // namespace vx
