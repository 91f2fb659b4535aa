#include "PartitionTable.h"

#include "Little.h"
#include "PartOfSource.h"
#include "TskError.h"
#include "TskImage.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <tsk/libtsk.h>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

constexpr size_t kMostPartitions = 256;
constexpr uint32_t kMostGptEntries = 1024;

struct CloseTable {
    void operator()(TSK_VS_INFO *table) const { tsk_vs_close(table); }
};
using Table = std::unique_ptr<TSK_VS_INFO, CloseTable>;

// libtsk reads as many entries as the header claims, and sorts them in one by one.
bool IsGptTooLarge(const bitlocker::ByteSource &disk)
{
    constexpr size_t kCountAt = 80;
    for (const uint64_t sectorSize : {512, 4096}) {
        uint8_t header[kCountAt + 4];
        if (disk.readAt(sectorSize, header, sizeof header))
            continue;
        if (std::memcmp(header, "EFI PART", 8) != 0)
            continue;
        if (Little32(header + kCountAt) > kMostGptEntries)
            return true;
    }
    return false;
}

Table OpenTable(const TskImage &image)
{
    for (const TSK_VS_TYPE_ENUM type : {TSK_VS_TYPE_GPT, TSK_VS_TYPE_DOS}) {
        Table table(tsk_vs_open(image.Get(), 0, type));
        if (table)
            return table;
        TakeTskError();
    }
    return nullptr;
}

// A name goes to a terminal; what steers one is left out.
std::string Printable(const char *text)
{
    std::string printable;
    for (; *text != 0; ++text) {
        if (static_cast<unsigned char>(*text) >= 0x20 && *text != 0x7F)
            printable.push_back(*text);
    }
    return printable;
}

// False if the partition does not lie on the disk or holds nothing that is known.
bool Describes(const TSK_VS_PART_INFO &part, uint64_t sectorSize, const Source &disk,
               Partition *partition)
{
    if ((part.flags & TSK_VS_PART_FLAG_ALLOC) == 0)
        return false;
    if (__builtin_mul_overflow(part.start, sectorSize, &partition->offset) ||
        __builtin_mul_overflow(part.len, sectorSize, &partition->size))
        return false;
    uint64_t end = 0;
    if (__builtin_add_overflow(partition->offset, partition->size, &end) ||
        partition->offset >= disk->size())
        return false;
    partition->kind = ProbeFileSystem(*partition->In(disk));
    partition->name = Printable(part.desc != nullptr ? part.desc : "");
    return partition->kind != FileSystemKind::kUnknown;
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
    std::vector<Partition> partitions;
    if (IsGptTooLarge(*disk))
        return partitions;
    const TskImage image(disk);
    const Table table = OpenTable(image);
    if (!table)
        return partitions;
    const TSK_VS_PART_INFO *part = table->part_list;
    for (; part != nullptr && partitions.size() < kMostPartitions; part = part->next) {
        Partition partition;
        if (Describes(*part, table->block_size, disk, &partition))
            partitions.push_back(std::move(partition));
    }
    return partitions;
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
