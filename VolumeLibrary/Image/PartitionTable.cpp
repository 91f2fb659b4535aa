#include "PartitionTable.h"

#include "GptPartitions.h"
#include "MbrPartitions.h"
#include "PartOfSource.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

constexpr size_t kMostPartitions = 256;

// A name goes to a terminal; what steers one is left out.
std::string Printable(const std::string &text)
{
    std::string printable;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F)
            printable.push_back(c);
    }
    return printable;
}

// False if the partition does not lie on the disk or holds nothing that is known.
bool Describes(const PartitionPlace &place, uint64_t sectorBytes, const Source &disk,
               Partition *partition)
{
    if (__builtin_mul_overflow(place.firstSector, sectorBytes, &partition->offset) ||
        __builtin_mul_overflow(place.sectors, sectorBytes, &partition->size))
        return false;
    uint64_t end = 0;
    if (__builtin_add_overflow(partition->offset, partition->size, &end) ||
        partition->offset >= disk->size())
        return false;
    partition->kind = ProbeFileSystem(*partition->In(disk));
    partition->name = Printable(place.name);
    return partition->kind != FileSystemKind::kUnknown;
}

std::vector<Partition> ReadIn(const Source &disk, uint64_t sectorBytes)
{
    std::vector<PartitionPlace> places = ReadGptPartitions(*disk, sectorBytes);
    if (places.empty())
        places = ReadMbrPartitions(*disk, sectorBytes);
    std::vector<Partition> partitions;
    for (const PartitionPlace &place : places) {
        Partition partition;
        if (partitions.size() < kMostPartitions && Describes(place, sectorBytes, disk, &partition))
            partitions.push_back(std::move(partition));
    }
    std::stable_sort(partitions.begin(), partitions.end(),
                     [](const Partition &a, const Partition &b) { return a.offset < b.offset; });
    return partitions;
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

}  // namespace

Source Partition::In(Source disk) const
{
    return std::make_shared<PartOfSource>(std::move(disk), offset, size);
}

std::vector<Partition> PartitionTable::Read(const Source &disk)
{
    for (const uint64_t sectorBytes : {512, 4096}) {
        std::vector<Partition> partitions = ReadIn(disk, sectorBytes);
        if (!partitions.empty())
            return partitions;
    }
    return {};
}

std::string PartitionTable::Describe(const std::vector<Partition> &partitions)
{
    std::string text;
    for (size_t i = 0; i < partitions.size(); ++i) {
        const Partition &partition = partitions[i];
        text += (i == 0 ? "" : "; ") + std::to_string(i + 1) + ": " +
                FileSystemName(partition.kind) + ", " + SizeText(partition.size);
        if (!partition.name.empty())
            text += " (" + partition.name + ")";
    }
    return text;
}

}  // namespace vx
