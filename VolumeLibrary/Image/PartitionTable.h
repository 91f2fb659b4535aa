// The volumes of a disk with an MBR or a GPT, in the order in which they lie on it.
//
// Only partitions that hold something this library can tell are numbered: encrypted volumes and
// known file systems. One whose first sector cannot be read could be such a one and is numbered as
// well, so that the others keep their numbers. The rest is kept for messages.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "FileSystemKind.h"
#include "PartitionPlace.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct Partition {
    uint64_t offset = 0;  // bytes from the start of the disk
    uint64_t size = 0;    // bytes
    FileSystemKind kind = FileSystemKind::kUnknown;
    std::string name;  // what the table says of it, UTF-8; may be empty
    PartitionUse use = PartitionUse::kOrdinary;

    std::shared_ptr<const bitlocker::ByteSource>
    In(std::shared_ptr<const bitlocker::ByteSource> disk) const;
};

struct PartitionTable {
    using Source = std::shared_ptr<const bitlocker::ByteSource>;

    std::vector<Partition> volumes;  // the n-th one has the number n + 1
    std::vector<Partition> others;   // kUnknown, all of them
    std::string note;                // what was noticed about the table, for a person; may be empty
    // If there may be more volumes than those, why: SystemError where a table could not be read,
    // TruncatedImage where a partition begins beyond the end of the disk.
    bitlocker::Error unread;

    // Empty if there is no table, or one of which nothing makes sense.
    static PartitionTable Read(const Source &disk);

    // "1: NTFS "Data", 60.0 GiB (Basic data partition); 2: encrypted, 40.0 GiB, "LAPTOP C:
    // 1/2/2026"". Reads the labels.
    std::string DescribeVolumes(const Source &disk) const;
    // Those of the others that hold something known: "a LUKS volume, 40.0 GiB: open it with
    // cryptsetup; ...". Empty if there is none. Reads them.
    std::string DescribeOthers(const Source &disk) const;
};

}  // namespace vx
