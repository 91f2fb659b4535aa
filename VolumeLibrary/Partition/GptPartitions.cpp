#include "GptPartitions.h"

#include "GptTable.h"

#include <utility>

namespace vx {
namespace {

// The backup lies in the last sector of the disk; in an image longer than its disk, where the first
// table says.
GptTable ReadBackup(const ByteSource &disk, uint64_t sectorBytes, const GptTable &first)
{
    const uint64_t sectors = disk.Size() / sectorBytes;
    GptTable backup = GptTable::Read(disk, sectorBytes, sectors > 1 ? sectors - 1 : sectors);
    if (backup.isInItsPlace || first.otherSector <= 1)
        return backup;
    return GptTable::Read(disk, sectorBytes, first.otherSector);
}

int Faults(const GptTable &table)
{
    return (table.isInItsPlace ? 0 : 1) + (table.isHeaderRight ? 0 : 1) +
           (table.areEntriesRight ? 0 : 1);
}

// For an image that was cut short, or a device that is larger than it reports.
std::string NoteOfSoundTable(const GptTable &first, uint64_t sectors)
{
    if (first.otherSector < sectors)
        return "";
    return "the image or device ends before the backup of the table of partitions; the first table "
           "was used";
}

std::string NoteOfBackup(const GptTable &first, const GptTable &backup)
{
    const std::string why = first.unread ? "cannot be read" : "is damaged";
    const std::string used = backup.IsSound() ? "" : ", whose checksums are wrong,";
    return "the first table of partitions " + why + "; its backup at the end of the disk" + used +
           " was used";
}

GptPartitions Take(GptTable table, bool isBackup, std::string note)
{
    return {std::move(table.places), std::move(note), isBackup, std::move(table.unread)};
}

}  // namespace

GptPartitions GptPartitions::Read(const ByteSource &disk, uint64_t sectorBytes)
{
    GptTable first = GptTable::Read(disk, sectorBytes, 1);
    if (first.IsSound()) {
        std::string note = NoteOfSoundTable(first, disk.Size() / sectorBytes);
        return Take(std::move(first), false, std::move(note));
    }
    GptTable backup = ReadBackup(disk, sectorBytes, first);
    // A table that only happens to lie at the end, such as that of a disk inside an image, is not a
    // backup.
    const bool hasBackup = backup.isFound && backup.isInItsPlace;
    if (hasBackup && (!first.isFound || Faults(backup) < Faults(first))) {
        std::string note = NoteOfBackup(first, backup);
        return Take(std::move(backup), true, std::move(note));
    }
    if (first.isFound)
        return Take(std::move(first), false,
                    "the first table of partitions is damaged, and there is no sound backup of it; "
                    "the first table was used");
    first.places.clear();
    if (!first.unread)
        first.unread = std::move(backup.unread);
    return Take(std::move(first), false, "");
}

}  // namespace vx
