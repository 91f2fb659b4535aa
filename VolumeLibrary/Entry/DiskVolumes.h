// The volumes of a disk with an MBR or a GPT, in the order in which they lie on it.
//
// Only partitions with an encrypted volume or a known file system are numbered. One whose first
// sector cannot be read could be such a partition and is numbered too, so that the others keep
// their numbers. The rest is kept for messages.
#pragma once

#include "FileSystemKind.h"
#include "KnownContents.h"
#include "PartitionTable.h"

namespace vx {

struct DiskVolume : Partition {
    FileSystemKind kind = FileSystemKind::kUnknown;
    bool isByBackup = false;  // its first sector does not say so, or cannot be read
};

struct DiskVolumes {
    using Source = std::shared_ptr<const ByteSource>;

    // No disk has more of either; a table that claims so is not read to its end.
    static constexpr size_t kMostPartitions = 256;

    std::vector<DiskVolume> volumes;  // the n-th one has the number n + 1
    std::vector<DiskVolume> others;   // kUnknown, all of them
    PartitionTable::Kind kind = PartitionTable::Kind::kNone;
    uint32_t sectorBytes = 0;  // in which the table counts
    bool isCut = false;        // there are more partitions than these
    std::string note;          // as PartitionTable's
    Error unread;              // as PartitionTable's: there may be more volumes than those

    // By the first table in which there are volumes. Empty if there is none.
    static DiskVolumes Read(const Source &disk);

    // What one of the others is; null for what is unknown or, as reserved partitions are, blank.
    // Reads it.
    static const KnownContents *ContentsOf(const Partition &partition, const Source &disk);

    // Null if there is no such volume, or several fit. number: from 1 on; 0 if none was chosen. A
    // secret fits an encrypted volume, and one that cannot be read.
    const DiskVolume *Choose(size_t number, bool isUnlocking) const;
    // Why Choose returned null, with a list of the volumes.
    Error NotChosen(const Source &disk, size_t number) const;

    bool IsEmpty() const { return volumes.empty() && others.empty(); }
    // Where an encrypted volume may be that has lost its first sector, if none has one: the
    // partitions that hold nothing known, four at most; or the chosen one, if it is unreadable.
    std::vector<Partition> PlacesOfLost(const Source &disk, size_t number) const;

    // "1: NTFS "Data", 60.0 GiB (Basic data partition); 2: encrypted, 40.0 GiB, "LAPTOP C:
    // 1/2/2026"". Reads the labels.
    std::string DescribeVolumes(const Source &disk) const;
    // Those of the others that hold something known: "a LUKS volume, 40.0 GiB: open it with
    // cryptsetup; ...". Empty if there is none. Reads them.
    std::string DescribeOthers(const Source &disk) const;
};

}  // namespace vx
