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

// False if no disk can have such a partition.
bool TakePlace(const PartitionPlace &place, uint64_t sectorBytes, Partition *partition)
{
    uint64_t end = 0;
    partition->name = Printable(place.name);
    return !__builtin_mul_overflow(place.firstSector, sectorBytes, &partition->offset) &&
           !__builtin_mul_overflow(place.sectors, sectorBytes, &partition->size) &&
           !__builtin_add_overflow(partition->offset, partition->size, &end);
}

FileSystemKind KindOf(const Partition &partition, const Source &disk)
{
    const auto kind = ProbeFileSystem(*partition.In(disk));
    return kind ? *kind : FileSystemKind::kUnreadable;
}

std::vector<PartitionPlace> PlacesOf(const bitlocker::ByteSource &disk, uint64_t sectorBytes,
                                     bitlocker::Error *unread)
{
    bitlocker::Error unreadGpt;
    std::vector<PartitionPlace> places = ReadGptPartitions(disk, sectorBytes, &unreadGpt);
    if (places.empty())
        places = ReadMbrPartitions(disk, sectorBytes, unread);
    if (places.empty() && !*unread)
        *unread = std::move(unreadGpt);
    return places;
}

std::vector<Partition> ReadIn(const Source &disk, uint64_t sectorBytes, bitlocker::Error *unread)
{
    std::vector<Partition> partitions;
    for (const PartitionPlace &place : PlacesOf(*disk, sectorBytes, unread)) {
        Partition partition;
        if (partitions.size() == kMostPartitions || !TakePlace(place, sectorBytes, &partition))
            continue;
        if (partition.offset >= disk->size()) {
            if (!*unread)
                *unread = {bitlocker::Status::TruncatedImage,
                           "a partition begins behind the end of it"};
            continue;
        }
        partition.kind = KindOf(partition, disk);
        if (partition.kind != FileSystemKind::kUnknown)
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

std::vector<Partition> PartitionTable::Read(const Source &disk, bitlocker::Error *unread)
{
    bitlocker::Error first;
    for (const uint64_t sectorBytes : {512, 4096}) {
        bitlocker::Error error;
        std::vector<Partition> partitions = ReadIn(disk, sectorBytes, &error);
        if (!partitions.empty()) {
            *unread = std::move(error);
            return partitions;
        }
        if (!first)
            first = std::move(error);
    }
    *unread = std::move(first);
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
